#include "effects/WarpFrame.h"

namespace dib {

namespace {

template <class Depth>
DIB_ALWAYS_INLINE void samplePixels(const SampleSource& source, unsigned int flags, const WarpRow& row,
                                    unsigned char* out) {
    for (int x = 0; x < row.width; ++x) {
        Depth::put(out, x, sample<Depth::kBits>(source, row.sourceX[x], row.sourceY[x], flags));
    }
}

}  // namespace

template <class Depth>
void sampleRow(const SampleSource& source, unsigned int flags, const WarpRow& row, unsigned char* out) {
    runKernel<samplePixels<Depth>>(source, flags, row, out);
}

template void sampleRow<Depth1>(const SampleSource&, unsigned int, const WarpRow&, unsigned char*);
template void sampleRow<Depth4>(const SampleSource&, unsigned int, const WarpRow&, unsigned char*);
template void sampleRow<Depth8>(const SampleSource&, unsigned int, const WarpRow&, unsigned char*);
template void sampleRow<Depth16>(const SampleSource&, unsigned int, const WarpRow&, unsigned char*);
template void sampleRow<Depth24>(const SampleSource&, unsigned int, const WarpRow&, unsigned char*);
template void sampleRow<Depth32>(const SampleSource&, unsigned int, const WarpRow&, unsigned char*);

}  // namespace dib

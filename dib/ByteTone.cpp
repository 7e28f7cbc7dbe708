#include "dib/ByteTone.h"

#include "dib/Kernels.h"

namespace dib {

namespace {

DIB_ALWAYS_INLINE void invertBody(unsigned char* bytes, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) bytes[i] = static_cast<unsigned char>(~bytes[i]);
}

}  // namespace

void invertBytes(unsigned char* bytes, std::size_t count) { runKernel<invertBody>(bytes, count); }

}  // namespace dib

#include "operations/pixels/Compare.h"

#include <algorithm>
#include <cstdlib>

#include "dib/MoveBlocks.h"
#include "operations/pixels/Pixels.h"

namespace operations {

namespace {

unsigned char amplified(int difference, int gain) {
    return static_cast<unsigned char>(std::min(std::abs(difference) * gain, 255));
}

}  // namespace

bool showDifference(const Job& job, DibStream& second, int gain) {
    rowsOf(job.image);
    rowsOf(second);
    widenQuietly(job.image, 32);
    widenQuietly(second, 32);
    const dib::Raster a = rowsOf(job.image);
    const dib::Raster b = rowsOf(second);
    DibStream shown;
    createImage(shown, std::max(a.width, b.width), std::max(a.height, b.height), 24);
    const dib::Raster to = rowsOf(shown);
    const int width = std::min(a.width, b.width);
    const bool isDone = forEachRow(job, to.height, [&](int y) {
        unsigned char* out = to.row(y);
        std::fill_n(out, 3 * to.width, std::uint8_t{255});
        if (y >= a.height || y >= b.height) return;
        const unsigned char* left = a.row(y);
        const unsigned char* right = b.row(y);
        for (int x = 0; x < width; ++x, left += 4, right += 4, out += 3) {
            const unsigned char ofAlpha = amplified(left[3] - right[3], gain);
            for (int channel = 0; channel < 3; ++channel)
                out[channel] = std::max(amplified(left[channel] - right[channel], gain), ofAlpha);
        }
    });
    if (isDone) dib::moveBlocks(shown, job.image);
    return isDone;
}

}  // namespace operations

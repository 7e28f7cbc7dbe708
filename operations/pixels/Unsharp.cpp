#include "operations/pixels/Unsharp.h"

#include <cmath>
#include <cstddef>
#include <optional>

#include "dib/Kernels.h"
#include "dib/MoveBlocks.h"
#include "effects/weighted/AlphaPlane.h"
#include "operations/pixels/FloatRows.h"
#include "operations/pixels/Gaussian.h"
#include "operations/pixels/GaussianWords.h"
#include "operations/pixels/Pixels.h"

namespace operations {

namespace {

DIB_ALWAYS_INLINE unsigned char sharpened(unsigned char from, float blurred, float amount, float threshold) {
    const auto value = static_cast<float>(from);
    const float difference = value - blurred;
    // A factor instead of a branch, so that loops vectorise.
    const float factor = std::fabs(difference) < threshold ? 0.0F : amount;
    return byteOf(value + factor * difference);
}

DIB_ALWAYS_INLINE void sharpenRow(const unsigned char* __restrict row, const float* __restrict blurred,
                                  std::ptrdiff_t count, float amount, float threshold,
                                  unsigned char* __restrict out) {
    for (std::ptrdiff_t i = 0; i < count; ++i) out[i] = sharpened(row[i], blurred[i], amount, threshold);
}

// The same of a row in fractions of a level.
DIB_ALWAYS_INLINE void sharpenWords(const unsigned char* __restrict row,
                                    const std::int16_t* __restrict blurred, std::ptrdiff_t count,
                                    float amount, float threshold, unsigned char* __restrict out) {
    constexpr float kUnit = 1.0F / (1 << GaussianWords::kFraction);
    for (std::ptrdiff_t i = 0; i < count; ++i)
        out[i] = sharpened(row[i], static_cast<float>(blurred[i]) * kUnit, amount, threshold);
}

// The same where colours of the blurred row were multiplied with alpha. Alpha stays, and so do colours that
// nothing visible is near to.
DIB_ALWAYS_INLINE void sharpenWeighted(const unsigned char* __restrict row, const float* __restrict blurred,
                                       std::ptrdiff_t count, float amount, float threshold,
                                       unsigned char* __restrict out) {
    for (std::ptrdiff_t i = 0; i < count; i += 4) {
        // Where nothing visible is near the sums of colours are 0, too.
        const float alpha = blurred[i + 3] > 0 ? blurred[i + 3] : 1.0F;
        for (int c = 0; c < 3; ++c)
            out[i + c] = sharpened(row[i + c], blurred[i + c] / alpha, amount, threshold);
        out[i + 3] = row[i + 3];
    }
}

}  // namespace

bool unsharp(const Job& job, const UnsharpMask& mask) {
    widen(job);
    const dib::Raster rows = rowsOf(job.image);
    const std::optional<std::uint8_t> alpha = dib::commonAlpha(job.image);
    const bool isWeighted = rows.bitCount == 32 && !alpha;
    DibStream result;
    createLike(job.image, rows.width, rows.height, result);
    const dib::Raster to = rowsOf(result);
    const Gaussian gaussian = {mask.deviation, static_cast<int>(std::ceil(3 * mask.deviation)), false, false};
    const auto sharpen = [&] {
        if (!isWeighted && GaussianWords::suits(gaussian)) {
            GaussianWords blurred(rows, gaussian);
            return forEachRow(job, rows.height, [&](int y) {
                const unsigned char* row = rows.row(y);
                dib::runKernel<sharpenWords>(row, blurred.row(y), blurred.samples(), mask.amount,
                                             mask.threshold, to.row(y));
            });
        }
        GaussianRows blurred(rows, gaussian, isWeighted);
        return forEachRow(job, rows.height, [&](int y) {
            const float* sums = blurred.row(y);
            const unsigned char* row = rows.row(y);
            const std::ptrdiff_t samples = blurred.samples();
            isWeighted
                ? dib::runKernel<sharpenWeighted>(row, sums, samples, mask.amount, mask.threshold, to.row(y))
                : dib::runKernel<sharpenRow>(row, sums, samples, mask.amount, mask.threshold, to.row(y));
        });
    };
    if (!sharpen()) return false;
    if (alpha) dib::fillAlpha(result, *alpha);
    dib::moveBlocks(result, job.image);
    return true;
}

}  // namespace operations

// Random effects. Callers who seed rand() get the same picture again, so the number and order of draws (row
// by row, from the left) are part of the result.
#include <algorithm>
#include <cstdlib>

#include "dib/Kernels.h"
#include "dib/PixelKernels.h"
#include "effects/EffectFrame.h"

namespace {

using dib::Depth16;
using dib::Depth24;
using dib::Depth32;
using dib::Depth8;

// Draws are made for a run of pixels at a time, so that the arithmetic on them vectorises.
constexpr int kRun = 256;

// The remainder of a draw by a modulus that may have wrapped around to a negative number. A remainder has the
// sign of the draw, which is never negative. Two multiplications replace the division, as the modulus stays
// the same.
class Remainder {
public:
    explicit Remainder(std::uint32_t wrappedModulus)
        : modulus_(wrappedModulus > INT32_MAX ? 0U - wrappedModulus : wrappedModulus),
          inverse_(~std::uint64_t{0} / modulus_ + 1) {}

    int of(int draw) const {
        const std::uint64_t fraction = inverse_ * static_cast<std::uint64_t>(draw);
        const std::uint64_t high = (fraction >> 32) * modulus_;
        const std::uint64_t low = (fraction & 0xFFFFFFFFU) * modulus_;
        return static_cast<int>((high + (low >> 32)) >> 32);
    }

private:
    std::uint64_t modulus_;
    std::uint64_t inverse_;
};

std::uint32_t sideOf(int radius) { return 2U * static_cast<std::uint32_t>(radius) + 1U; }

// The colour channels. The fourth byte of 32 bits is not one of them.
template <class Depth>
constexpr int kColors = Depth::kBits == 8 ? 1 : 3;

template <class Depth>
DIB_ALWAYS_INLINE void addOffsets(unsigned char* __restrict pixels, const int* __restrict offsets,
                                  int count) {
    constexpr int kStep = Depth::kBits / 8;
    for (int x = 0; x < count; ++x) {
        for (int c = 0; c < kColors<Depth>; ++c) {
            const int sum = pixels[kStep * x + c] + offsets[x];
            pixels[kStep * x + c] = static_cast<unsigned char>(std::clamp(sum, 0, 255));
        }
    }
}

// 255 x 256: the largest draw at full strength replaces a channel completely.
constexpr int kFullWeight = 65280;

template <class Depth>
DIB_ALWAYS_INLINE void pullTowards(unsigned char* __restrict pixels, const int* __restrict weights,
                                   DibBGRA target, int count) {
    constexpr int kStep = Depth::kBits / 8;
    const int targets[] = {target.blue, target.green, target.red};
    for (int x = 0; x < count; ++x) {
        for (int c = 0; c < kColors<Depth>; ++c) {
            const int mixed = (kFullWeight - weights[x]) * pixels[kStep * x + c] + weights[x] * targets[c];
            pixels[kStep * x + c] = static_cast<unsigned char>(mixed / kFullWeight);
        }
    }
}

// Calls `change(pixels, draws, count)` for runs of pixels of a row, with one `draw()` for each pixel.
template <class Depth, class Draw, class Change>
void changeRow(unsigned char* row, int width, const Draw& draw, const Change& change) {
    int draws[kRun];
    for (int x = 0; x < width; x += kRun) {
        const int count = std::min(width - x, kRun);
        std::generate_n(draws, count, draw);
        change(row + std::ptrdiff_t{x} * (Depth::kBits / 8), draws, count);
    }
}

}  // namespace

bool DibEffectNoise(DibProgressCallback callback, void* user, DibStream* image, int amount) {
    if (amount < 0) return false;
    const Remainder remainder(sideOf(amount));
    const auto draw = [&] { return remainder.of(std::rand() >> 4) - amount; };
    return dib::changePixels<Depth8, Depth24, Depth32>(
        {callback, user}, image, [&](auto depth, unsigned char* row, int width) {
            using Depth = decltype(depth);
            changeRow<Depth>(row, width, draw, [](unsigned char* pixels, const int* offsets, int count) {
                dib::runKernel<addOffsets<Depth>>(pixels, offsets, count);
            });
        });
}

bool DibEffectColorNoise(DibProgressCallback callback, void* user, DibStream* image, DibBGRA color,
                         float strength) {
    const float scaled = strength * 256.0F;
    if (!(scaled > -1.0F && scaled < 257.0F)) return false;
    const int level = static_cast<int>(scaled);
    const auto draw = [&] { return ((std::rand() >> 4) & 255) * level; };
    // An index is pulled towards the brightness of the colour, as if it were a grey.
    const std::uint8_t grey = dib::greyOf(color.blue, color.green, color.red);
    return dib::changePixels<Depth8, Depth24, Depth32>(
        {callback, user}, image, [&](auto depth, unsigned char* row, int width) {
            using Depth = decltype(depth);
            const DibBGRA target = Depth::kBits == 8 ? DibBGRA{grey, grey, grey, 0} : color;
            changeRow<Depth>(row, width, draw, [&](unsigned char* pixels, const int* weights, int count) {
                dib::runKernel<pullTowards<Depth>>(pixels, weights, target, count);
            });
        });
}

bool DibEffectColorNoise(DibProgressCallback callback, void* user, DibStream* image, unsigned int color,
                         float strength) {
    const auto byte = [color](int shift) -> std::uint8_t { return color >> shift & 255; };
    // The fourth byte repeats red, which callers that inspect the colour expect; the effect ignores it.
    const DibBGRA repacked{byte(0), byte(8), byte(16), byte(16)};
    return DibEffectColorNoise(callback, user, image, repacked, strength);
}

namespace {

// Replaces each pixel by one from a random position in its square.
class Scatter {
public:
    Scatter(int radius, unsigned int flags) : radius_(radius), flags_(flags), remainder_(sideOf(radius)) {}

    bool prepare(const dib::FullCopy& copy, const dib::Raster& image) {
        rows_ = copy.rows();
        across_ = dib::axisX(image, flags_);
        down_ = dib::axisY(image, flags_);
        return true;
    }

    template <class Depth>
    void row(unsigned char* out, int y) const {
        for (int x = 0; x < across_.size; ++x) {
            // The column is drawn first.
            const int fromX = across_.at(x - radius_ + draw());
            const int fromY = down_.at(y - radius_ + draw());
            Depth::put(out, x, Depth::get(rows_[fromY], fromX));
        }
    }

private:
    int draw() const { return remainder_.of(std::rand() >> 8); }

    int radius_;
    unsigned int flags_;
    Remainder remainder_;
    const unsigned char* const* rows_ = nullptr;
    dib::EdgeAxis across_;
    dib::EdgeAxis down_;
};

}  // namespace

bool DibEffectDiffuse(DibProgressCallback callback, void* user, DibStream* image, int radius,
                      unsigned int flags) {
    if (image == nullptr || radius < 0) return false;
    if (radius == 0) return true;
    return dib::filterImage<Depth8, Depth16, Depth24, Depth32>({callback, user}, image,
                                                               Scatter(radius, flags));
}

bool DibEffectNoise(DibProgressCallback callback, void* user, DibStream* image, DENoiseInfo* info) {
    return DibEffectNoise(callback, user, image, info->amount);
}

bool DibEffectColorNoise(DibProgressCallback callback, void* user, DibStream* image, DEColorNoiseInfo* info) {
    return DibEffectColorNoise(callback, user, image, info->color, info->strength);
}

bool DibEffectDiffuse(DibProgressCallback callback, void* user, DibStream* image, DEDiffuseInfo* info) {
    return DibEffectDiffuse(callback, user, image, info->radius, info->flags);
}

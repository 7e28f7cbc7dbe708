// While x + dx stays in one power-of-two range its fraction is the same for every x, because whole columns
// are multiples of the spacing of floats there. A tap over such a run is a shifted, weighted row.
#include "effects/TapRow.h"

#include "dib/Bytes.h"
#include "dib/Kernels.h"

namespace dib {

namespace {

// Positions before the first run are sampled pixel by pixel: their power-of-two ranges are short.
constexpr float kFirstRun = 16.0F;
// Wider rows are sampled pixel by pixel: floats are too coarse there.
constexpr int kWidestRow = 1 << 22;

template <class Depth>
DIB_ALWAYS_INLINE void addShifted(const unsigned char* __restrict row, std::uint32_t* __restrict sums,
                                  std::uint32_t weight, std::ptrdiff_t count) {
    if constexpr (Depth::kBits == 8) {
        for (std::ptrdiff_t x = 0; x < count; ++x) sums[x] += weight * row[x];
    } else {
        for (std::ptrdiff_t x = 0; x < count; ++x) {
            const auto [blue, green, red] = Depth16::split(Depth16::get(row, x));
            sums[3 * x] += weight * blue;
            sums[3 * x + 1] += weight * green;
            sums[3 * x + 2] += weight * red;
        }
    }
}

// The weights of the right and the lower neighbours of a position, in 256ths, and of the tap.
struct TapMix {
    std::uint32_t right;
    std::uint32_t lower;
    std::uint32_t weight;
};

template <class Depth>
DIB_ALWAYS_INLINE void addMixed(const unsigned char* __restrict upper, const unsigned char* __restrict lower,
                                std::uint32_t* __restrict sums, TapMix mix, std::ptrdiff_t count) {
    constexpr int kStep = Depth::kChannels;
    const auto right = wordOf(mix.right);
    const auto left = wordOf(256 - mix.right);
    for (std::ptrdiff_t i = 0; i < count * kStep; ++i) {
        const auto above = wordOf(upper[i] * left + upper[i + kStep] * right);
        const auto below = wordOf(lower[i] * left + lower[i + kStep] * right);
        sums[i] += mix.weight * ((above * (256U - mix.lower) + below * mix.lower) >> 16);
    }
}

// Samples exactly on the pixels.
template <class Depth>
DIB_ALWAYS_INLINE void addWhole(const unsigned char* __restrict row, std::uint32_t* __restrict sums,
                                std::uint32_t weight, std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count * Depth::kChannels; ++i) sums[i] += weight * row[i];
}

}  // namespace

template <class Whole, class Each>
void TapRow::splitRow(float dx, const Whole& whole, const Each& each) const {
    const int width = source_.width;
    const auto sampledAt = [dx](int x) { return positionOf(x) + dx; };
    int x = 0;
    // The first pixel whose position is in a run. NaN and far positions never are.
    const float lead = kFirstRun - dx;
    if (lead > 0.0F) x = lead < source_.widthReal ? pixelAt(lead) : width;
    while (x < width && !(sampledAt(x) >= kFirstRun)) ++x;
    const float lastPosition = source_.widthReal - 1.0F;
    if (width > kWidestRow) x = width;

    each(0, x);
    while (x < width && sampledAt(x) < lastPosition) {
        const float position = sampledAt(x);
        const float binadeEnd = std::ldexp(1.0F, std::ilogb(position) + 1);
        const float end = std::min(binadeEnd, lastPosition);
        int last = pixelAt(std::min(source_.widthReal, std::ceil(end - dx)));
        while (last > x + 1 && !(sampledAt(last - 1) < end)) --last;
        const int index = pixelAt(position);
        whole(x, std::max(last, x + 1), index - x,
              static_cast<std::uint32_t>((position - positionOf(index)) * 256.0F));
        x = std::max(last, x + 1);
    }
    each(x, width);
}

template <class Depth>
void TapRow::add(float dx, float dy, std::int32_t weight) {
    constexpr int kChannels = Depth::kChannels;
    const float y = positionOf(y_) + dy;
    const SamplePosition line =
        samplePosition(y, source_.height, source_.heightReal, (flags_ & DIB_WRAP_Y) != 0);
    const unsigned char* upper = source_.row(line.index);
    const auto wrapped = static_cast<std::uint32_t>(weight);

    const auto whole = [&](int first, int last, int shift, std::uint32_t right) {
        std::uint32_t* sums = sums_.get() + std::ptrdiff_t{first} * kChannels;
        const unsigned char* from = upper + std::ptrdiff_t{first + shift} * (Depth::kBits / 8);
        const std::ptrdiff_t count = last - first;
        if constexpr (Depth::kBits <= 16) {
            runKernel<addShifted<Depth>>(from, sums, wrapped, count);
        } else {
            const bool hasBelow = line.index + 1 < source_.height;
            const bool mixesRows = hasBelow || (flags_ & DIB_WRAP_Y) != 0;
            const unsigned char* lower = hasBelow    ? from + source_.rowStep
                                         : mixesRows ? source_.top + (from - upper)
                                                     : from;
            const std::uint32_t below = mixesRows ? line.weight : 0;
            if (right == 0 && below == 0) {
                runKernel<addWhole<Depth>>(from, sums, wrapped, count);
            } else {
                runKernel<addMixed<Depth>>(from, lower, sums, TapMix{right, below, wrapped}, count);
            }
        }
    };
    const auto each = [&](int first, int last) {
        std::uint32_t* sums = sums_.get() + std::ptrdiff_t{first} * kChannels;
        for (int x = first; x < last; ++x) {
            const std::uint32_t color = sample<Depth>(source_, positionOf(x) + dx, y, flags_);
            for (const std::uint32_t channel : Depth::split(color)) *sums++ += wrapped * channel;
        }
    };
    splitRow(dx, whole, each);
}

template void TapRow::add<Depth8>(float, float, std::int32_t);
template void TapRow::add<Depth16>(float, float, std::int32_t);
template void TapRow::add<Depth24>(float, float, std::int32_t);
template void TapRow::add<Depth32>(float, float, std::int32_t);

}  // namespace dib

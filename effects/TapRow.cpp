// While x + dx stays in one power-of-two range its fraction is the same for every x, because whole columns
// are multiples of the spacing of floats there. A tap over such a run is a shifted, weighted row.
#include "effects/TapRow.h"

#include <algorithm>

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

// (above * (256 - lower) + below * lower) >> 16, by words: the high and the low bytes of both apart.
DIB_ALWAYS_INLINE std::uint16_t mixWords(std::uint16_t above, std::uint16_t below, std::uint16_t lower) {
    const auto upper = wordOf(256U - lower);
    const auto high = wordOf((above >> 8) * upper + (below >> 8) * lower);
    const auto low = wordOf((above & 255) * upper + (below & 255) * lower);
    return wordOf(wordOf(high + (low >> 8)) >> 8);
}

template <class Depth>
DIB_ALWAYS_INLINE void addMixed(const unsigned char* __restrict upper, const unsigned char* __restrict lower,
                                std::uint32_t* __restrict sums, TapMix mix, std::ptrdiff_t count) {
    constexpr int kStep = Depth::kChannels;
    const auto right = wordOf(mix.right);
    const auto left = wordOf(256 - mix.right);
    const auto down = wordOf(mix.lower);
    for (std::ptrdiff_t i = 0; i < count * kStep; ++i) {
        const auto above = wordOf(upper[i] * left + upper[i + kStep] * right);
        const auto below = wordOf(lower[i] * left + lower[i + kStep] * right);
        sums[i] += mix.weight * mixWords(above, below, down);
    }
}

// Samples exactly on the pixels.
template <class Depth>
DIB_ALWAYS_INLINE void addWhole(const unsigned char* __restrict row, std::uint32_t* __restrict sums,
                                std::uint32_t weight, std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count * Depth::kChannels; ++i) sums[i] += weight * row[i];
}

// The same sample for all pixels, channel by channel times the weight.
template <class Depth>
DIB_ALWAYS_INLINE void addOne(Channels<Depth::kChannels> products, std::uint32_t* __restrict sums,
                              std::ptrdiff_t count) {
    for (std::ptrdiff_t x = 0; x < count; ++x) {
        for (const std::uint32_t product : products) *sums++ += product;
    }
}

// The first pixel for which a rule does not hold that holds up to some pixel.
template <class Rule>
int partitionPoint(int first, int last, const Rule& holds) {
    while (first < last) {
        const int middle = first + (last - first) / 2;
        if (holds(middle)) {
            first = middle + 1;
        } else {
            last = middle;
        }
    }
    return first;
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
void TapRow::addEach(int first, int last, float dx, float y, std::uint32_t weight) {
    const auto productsAt = [&](int x) {
        auto products = Depth::split(sample<Depth>(source_, positionOf(x) + dx, y, flags_));
        for (std::uint32_t& channel : products) channel *= weight;
        return products;
    };
    const auto sumsAt = [&](int x) { return sums_.get() + std::ptrdiff_t{x} * Depth::kChannels; };
    const auto repeat = [&](int from, int to) {
        if (from < to) runKernel<addOne<Depth>>(productsAt(from), sumsAt(from), to - from);
    };
    int inside = first;
    int beyond = last;
    if ((flags_ & DIB_WRAP_X) == 0) {
        // Positions never fall from pixel to pixel. Those outside are clamped to the first and last pixel.
        const auto isBefore = [dx](int x) { return !(positionOf(x) + dx > 0.0F); };
        const auto isInside = [&](int x) { return positionOf(x) + dx < source_.widthReal - 1.0F; };
        inside = partitionPoint(first, last, isBefore);
        beyond = partitionPoint(inside, last, isInside);
    }
    repeat(first, inside);
    for (int x = inside; x < beyond; ++x) addOne<Depth>(productsAt(x), sumsAt(x), 1);
    repeat(beyond, last);
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
                runWidestKernel<addWhole<Depth>>(from, sums, wrapped, count);
            } else {
                runWidestKernel<addMixed<Depth>>(from, lower, sums, TapMix{right, below, wrapped}, count);
            }
        }
    };
    splitRow(dx, whole, [&](int first, int last) { addEach<Depth>(first, last, dx, y, wrapped); });
}

template void TapRow::add<Depth8>(float, float, std::int32_t);
template void TapRow::add<Depth16>(float, float, std::int32_t);
template void TapRow::add<Depth24>(float, float, std::int32_t);
template void TapRow::add<Depth32>(float, float, std::int32_t);

}  // namespace dib

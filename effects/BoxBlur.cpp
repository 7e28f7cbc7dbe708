// The box blur: the mean of the square around each pixel, at a cost that does not depend on its size.
//
// A row of column sums moves down the picture: each step adds the row that enters the square and subtracts
// the row that leaves it. Along the row, window sums do the same with columns. All sums wrap at 32 bits, so
// that what is added and later subtracted cancels out.

#include <DibEffect.h>

#include <algorithm>
#include <array>
#include <cstring>

#include "effects/BoxMean.h"
#include "effects/EffectFrame.h"
#include "effects/RollingCopy.h"

namespace {

// Up to this radius column sums, and differences of two, fit 16 bits.
constexpr int kShortRadius = 63;
static_assert((2 * kShortRadius + 1) * 255 <= INT16_MAX);

template <class Column>
DIB_ALWAYS_INLINE void addTimes(Column* __restrict sums, const unsigned char* __restrict row,
                                std::ptrdiff_t count, std::uint32_t times) {
    for (std::ptrdiff_t i = 0; i < count; ++i) sums[i] = static_cast<Column>(sums[i] + row[i] * times);
}

template <class Column>
DIB_ALWAYS_INLINE void exchange(Column* __restrict sums, const unsigned char* __restrict entering,
                                const unsigned char* __restrict leaving, std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        sums[i] = static_cast<Column>(sums[i] + static_cast<Column>(entering[i] - leaving[i]));
    }
}

// Lanes for the channels of one pixel, or for four pixels of one channel.
using Lanes = std::uint32_t __attribute__((vector_size(16)));

DIB_ALWAYS_INLINE Lanes load(const std::uint32_t* from) {
    Lanes lanes;
    std::memcpy(&lanes, from, sizeof lanes);
    return lanes;
}

// The difference of two column sums, which may be negative, in 32 bits.
DIB_ALWAYS_INLINE std::uint32_t change(std::uint16_t entering, std::uint16_t leaving) {
    return static_cast<std::uint32_t>(static_cast<std::int16_t>(entering - leaving));
}
DIB_ALWAYS_INLINE std::uint32_t change(std::uint32_t entering, std::uint32_t leaving) {
    return entering - leaving;
}

// Pixels of a row that are summed and divided at a time; their sums stay in the first-level cache.
constexpr std::ptrdiff_t kBlock = 256;
// Three channels are stored as four lanes, the last of which the next pixel overwrites; single channels in
// fours.
constexpr std::ptrdiff_t kSlack = 4;

using Block = std::array<std::uint32_t, kBlock * 4 + kSlack>;

// The sums of `width` windows along a row of column sums. `sum` is that of the first window, afterwards that
// of the window after the last.
template <int Channels, class Column>
DIB_ALWAYS_INLINE void slide(const Column* __restrict columns, std::ptrdiff_t window, std::ptrdiff_t width,
                             std::uint32_t* __restrict sum, std::uint32_t* __restrict sums) {
    // All differences first, so that each sum is one addition after the one before it. The sums
    // overwrite the differences: a second array would suffer 4 KiB store-to-load aliasing.
    const Column* const entering = columns + window * Channels;
    for (std::ptrdiff_t i = 0; i < width * Channels; ++i) {
        sums[i] = change(entering[i], columns[i]);
    }
    Lanes lanes = load(sum);
    if constexpr (Channels > 1) {
        Lanes step = load(sums);
        for (std::ptrdiff_t x = 0; x < width; ++x) {
            const Lanes next = load(sums + (x + 1) * Channels);
            std::memcpy(sums + x * Channels, &lanes, sizeof lanes);
            lanes += step;
            step = next;
        }
        std::memcpy(sum, &lanes, sizeof lanes);
    } else {
        // Four windows of one channel at once: the differences up to each, plus the sum before them.
        const Lanes none{};
        Lanes before = none + sum[0];
        for (std::ptrdiff_t x = 0; x < width; x += 4) {
            const Lanes steps = load(sums + x);
            const Lanes pairs = steps + __builtin_shufflevector(none, steps, 3, 4, 5, 6);
            const Lanes upTo = pairs + __builtin_shufflevector(none, pairs, 2, 3, 4, 5);
            const Lanes each = before + __builtin_shufflevector(none, upTo, 3, 4, 5, 6);
            std::memcpy(sums + x, &each, sizeof each);
            before += __builtin_shufflevector(upTo, upTo, 3, 3, 3, 3);
        }
        sum[0] = before[0];
    }
}

DIB_ALWAYS_INLINE void splitWords(const unsigned char* __restrict words, unsigned char* __restrict channels,
                                  std::ptrdiff_t width) {
    for (std::ptrdiff_t x = 0; x < width; ++x) {
        const auto [blue, green, red] = dib::Depth16::split(dib::Depth16::get(words, x));
        dib::Depth8::put(channels, 3 * x, blue);
        dib::Depth8::put(channels, 3 * x + 1, green);
        dib::Depth8::put(channels, 3 * x + 2, red);
    }
}

template <class Column>
class BoxFilter {
public:
    BoxFilter(int radius, unsigned int flags) : radius_(radius), flags_(flags), mean_(radius) {}

    bool prepare(const dib::Raster& image) {
        if (image.width == 0) return true;
        across_ = {dib::axisX(image, flags_), radius_};
        down_ = {dib::axisY(image, flags_), radius_};
        width_ = image.width;
        channels_ = dib::channelsOf(image);
        const std::ptrdiff_t samples = width_ * channels_;
        padding_ = std::ptrdiff_t{across_.reach()} * channels_;
        // One column more than the windows need enters after the last pixel.
        columns_ = dib::allocateZeroed<Column>(samples + 2 * padding_ + channels_ + kSlack);
        firstVisits_ = dib::allocateArray<std::uint32_t>(width_);
        if (image.bitCount == 16) split_ = dib::allocateArray<unsigned char>(2 * samples);
        if (!columns_ || !firstVisits_ || (image.bitCount == 16 && !split_)) return false;
        for (int x = 0; x < image.width; ++x) firstVisits_[x] = across_.visitsOf(0, x);
        // A row leaves the square one step after the last row that needs it. Wrapped rows enter once more.
        return source_.prepare(image, down_.reach() + 1, down_.axis().wrap ? down_.reach() : 0);
    }

    template <class Depth>
    void row(unsigned char* out, int y) {
        if (width_ == 0) return;
        constexpr std::ptrdiff_t kChannels = Depth::kChannels;
        moveColumnsTo<Depth>(y);
        source_.keepNext();
        across_.axis().pad(middle(), across_.reach(), across_.reach(), Depth::kChannels);
        std::uint32_t sum[4] = {};
        sumFirstWindow(sum);
        const std::ptrdiff_t window = 2 * std::ptrdiff_t{across_.reach()} + 1;
        for (std::ptrdiff_t x = 0; x < width_; x += kBlock) {
            Block sums;
            const std::ptrdiff_t count = std::min(kBlock, width_ - x);
            dib::runKernel<slide<Depth::kChannels, Column>>(columns_.get() + x * kChannels, window, count,
                                                            +sum, sums.data());
            if constexpr (Depth::kBits == 16) {
                putWords(sums.data(), out + 2 * x, count);
            } else {
                mean_.ofSums(sums.data(), out + x * kChannels, count * kChannels);
            }
        }
    }

private:
    Column* middle() { return columns_.get() + padding_; }

    // The channels of a source row as bytes. Words are split into one of two buffers.
    template <class Depth>
    const unsigned char* channelsOfRow(int y, std::ptrdiff_t buffer) {
        const unsigned char* row = source_.row(y);
        if constexpr (Depth::kBits != 16) return row;
        unsigned char* channels = split_.get() + buffer * width_ * 3;
        dib::runKernel<splitWords>(row, channels, width_);
        return channels;
    }

    template <class Depth>
    void moveColumnsTo(int y) {
        const std::ptrdiff_t samples = width_ * channels_;
        const dib::EdgeAxis& axis = down_.axis();
        if (y > 0) {
            const unsigned char* entering = channelsOfRow<Depth>(axis.at(std::int64_t{y} + down_.reach()), 0);
            const unsigned char* leaving =
                channelsOfRow<Depth>(axis.at(std::int64_t{y} - 1 - down_.reach()), 1);
            dib::runWidestKernel<exchange<Column>>(middle(), entering, leaving, samples);
            return;
        }
        for (int from = 0; from < axis.size; ++from) {
            const std::uint32_t visits = down_.visitsOf(0, from);
            if (visits == 0) continue;
            dib::runKernel<addTimes<Column>>(middle(), channelsOfRow<Depth>(from, 0), samples, visits);
        }
    }

    void sumFirstWindow(std::uint32_t* first) {
        const Column* column = middle();
        const std::ptrdiff_t end = across_.axis().wrap ? width_ : across_.count(0);
        for (std::ptrdiff_t x = 0; x < end; ++x) {
            for (std::ptrdiff_t c = 0; c < channels_; ++c) first[c] += firstVisits_[x] * *column++;
        }
    }

    void putWords(const std::uint32_t* sum, unsigned char* out, std::ptrdiff_t count) {
        for (std::ptrdiff_t x = 0; x < count; ++x, sum += 3) {
            const std::uint32_t word = mean_.of(sum[2]) * 1024 + mean_.of(sum[1]) * 32 + mean_.of(sum[0]);
            // Bit 15 is never set, even where sums of huge squares have wrapped.
            dib::Depth16::put(out, x, word & 0x7FFFU);
        }
    }

    int radius_;
    unsigned int flags_;
    dib::BoxMean mean_;
    dib::RollingCopy source_;
    dib::EdgeWindow across_;
    dib::EdgeWindow down_;
    std::ptrdiff_t width_ = 0;
    std::ptrdiff_t channels_ = 0;
    std::ptrdiff_t padding_ = 0;                 // samples before the row, and after it
    dib::MallocPtr<Column> columns_;             // sums down the square, padded
    dib::MallocPtr<std::uint32_t> firstVisits_;  // by column, how often the first window reads it
    dib::MallocPtr<unsigned char> split_;        // two rows of words as bytes
};

}  // namespace

bool DibEffectBlur(DibProgressCallback callback, void* user, DibStream* image, int radius,
                   unsigned int flags) {
    if (image == nullptr || radius < 0) return false;
    if (radius == 0) return true;
    const auto filter = [&](auto&& boxFilter) {
        return dib::filterInPlace<dib::Depth8, dib::Depth16, dib::Depth24, dib::Depth32>({callback, user},
                                                                                         image, boxFilter);
    };
    if (radius <= kShortRadius) return filter(BoxFilter<std::uint16_t>(radius, flags));
    return filter(BoxFilter<std::uint32_t>(radius, flags));
}

bool DibEffectBlur(DibProgressCallback callback, void* user, DibStream* image, DEBlurInfo* info) {
    return DibEffectBlur(callback, user, image, info->radius, info->flags);
}

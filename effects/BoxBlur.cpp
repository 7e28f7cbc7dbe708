// The box blur: the mean of the square around each pixel, at a cost that does not depend on its size.
//
// A row of column sums moves down the picture, gaining the row that enters the square and losing the one that
// leaves it; along that row the same is done with columns. All sums wrap at 32 bits, so what is added and
// taken away again cancels out whatever happens in between.

#include <DibEffect.h>

#include <algorithm>
#include <array>
#include <cstring>

#include "effects/BoxMean.h"
#include "effects/EffectFrame.h"
#include "effects/RollingCopy.h"

namespace {

// The positions from -radius to radius of one axis, brought inside by the edge rule.
struct Span {
    std::int64_t radius;
    std::int64_t size;
    bool wrap;

    // A shorter reach that meets the same positions while the square moves: each step takes in position at +
    // reach + 1 and lets go of position at - reach.
    std::int64_t reach() const { return wrap ? radius % size : std::min(radius, size); }

    // How often a square around position 0 meets a position; what exceeds 32 bits wraps like the sums.
    std::uint32_t timesMet(std::int64_t position) const {
        std::int64_t times = 0;
        if (wrap) {
            const std::int64_t after = radius >= position ? (radius - position) / size : -1;
            times = after + (radius + position) / size + 1;
        } else {
            times = position <= radius ? 1 : 0;
            if (position == 0) times += radius;
            if (position == size - 1) times += std::max<std::int64_t>(radius - position, 0);
        }
        return static_cast<std::uint32_t>(times);
    }
};

// Up to here column sums, and differences of two, fit 16 bits.
constexpr int kShortRadius = 63;
static_assert((2 * kShortRadius + 1) * 255 <= INT16_MAX);

template <class Column>
DIB_ALWAYS_INLINE void addTimes(Column* __restrict sums, const unsigned char* __restrict row,
                                std::size_t count, std::uint32_t times) {
    for (std::size_t i = 0; i < count; ++i) sums[i] = static_cast<Column>(sums[i] + row[i] * times);
}

template <class Column>
DIB_ALWAYS_INLINE void exchange(Column* __restrict sums, const unsigned char* __restrict entering,
                                const unsigned char* __restrict leaving, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
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

// Pixels of a row that are summed and divided at a time; so many sums stay in the nearest cache.
constexpr std::size_t kBlock = 256;
// Three channels move in four lanes whose last is overwritten by the next pixel, and single channels in fours.
constexpr std::size_t kSlack = 4;

using Block = std::array<std::uint32_t, kBlock * 4 + kSlack>;

// The sums of the windows along a piece of a row of column sums; `sum` is that of the first window, and then of
// the one behind the last.
template <int Channels, class Column>
DIB_ALWAYS_INLINE void slide(const Column* __restrict columns, std::size_t window, std::size_t width,
                             std::uint32_t* __restrict sum, std::uint32_t* __restrict sums) {
    // All changes first: what is left for one pixel to wait for the one before it is a single addition. The sums take
    // their place: in an array of their own, processors take them for each other where both lie alike in their pages.
    const Column* const entering = columns + window * Channels;
    for (std::size_t i = 0; i < width * Channels; ++i) {
        sums[i] = change(entering[i], columns[i]);
    }
    Lanes lanes = load(sum);
    if constexpr (Channels > 1) {
        Lanes step = load(sums);
        for (std::size_t x = 0; x < width; ++x) {
            const Lanes next = load(sums + (x + 1) * Channels);
            std::memcpy(sums + x * Channels, &lanes, sizeof lanes);
            lanes += step;
            step = next;
        }
        std::memcpy(sum, &lanes, sizeof lanes);
    } else {
        // Of one channel four windows are found at once: the changes up to each, then the sum before them.
        const Lanes none{};
        Lanes before = none + sum[0];
        for (std::size_t x = 0; x < width; x += 4) {
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
                                  std::size_t width) {
    for (std::size_t x = 0; x < width; ++x) {
        const auto value = static_cast<unsigned>(words[2 * x] | (words[2 * x + 1] << 8));
        channels[3 * x] = static_cast<unsigned char>(value & 31U);
        channels[3 * x + 1] = static_cast<unsigned char>((value >> 5) & 31U);
        channels[3 * x + 2] = static_cast<unsigned char>((value >> 10) & 31U);
    }
}

template <class Column>
class BoxFilter {
public:
    BoxFilter(int radius, unsigned int flags) : radius_(radius), flags_(flags), mean_(radius) {}

    bool prepare(const dib::Raster& image) {
        if (image.width == 0) return true;
        channels_ = image.bitCount == 8 ? 1 : image.bitCount == 32 ? 4 : 3;
        isWords_ = image.bitCount == 16;
        width_ = static_cast<std::size_t>(image.width);
        across_ = {radius_, image.width, (flags_ & DIB_WRAP_X) != 0};
        down_ = {radius_, image.height, (flags_ & DIB_WRAP_Y) != 0};
        const std::size_t samples = width_ * channels_;
        const std::size_t padding = static_cast<std::size_t>(across_.reach()) * channels_;
        // One column more than the windows need enters after the last pixel.
        columns_ = dib::allocateZeroed<Column>(samples + 2 * padding + channels_ + kSlack);
        timesMet_ = dib::allocateArray<std::uint32_t>(width_);
        if (isWords_) split_ = dib::allocateArray<unsigned char>(2 * samples);
        if (!columns_ || !timesMet_ || (isWords_ && !split_)) return false;
        // Rows leave the square one step after the last that needs them; wrapped ones enter it once more.
        const int reach = static_cast<int>(down_.reach());
        if (!source_.prepare(image, reach + 1, down_.wrap ? reach : 0)) return false;
        for (std::size_t x = 0; x < width_; ++x) {
            timesMet_[x] = across_.timesMet(static_cast<std::int64_t>(x));
        }
        return true;
    }

    template <class Depth>
    void row(unsigned char* out, int y) {
        if (width_ == 0) return;
        moveColumnsTo(y);
        source_.keepNext();
        padColumns<Depth::kChannels>();
        std::uint32_t sum[4] = {};
        sumFirstWindow(sum);
        const std::size_t window = 2 * static_cast<std::size_t>(across_.reach()) + 1;
        for (std::size_t x = 0; x < width_; x += kBlock) {
            Block sums;
            const std::size_t count = std::min(kBlock, width_ - x);
            dib::runKernel<slide<Depth::kChannels, Column>>(
                static_cast<const Column*>(columns_.get() + x * channels_), window, count, +sum, sums.data());
            if constexpr (Depth::kBits == 16) {
                putWords(sums.data(), out + 2 * x, count);
            } else {
                mean_.ofSums(sums.data(), out + x * channels_, count * channels_);
            }
        }
    }

private:
    // The channels of a source row as bytes; of words in one of two places.
    const unsigned char* channelsOf(std::int64_t y, int place) {
        const unsigned char* row = source_.row(static_cast<int>(y));
        if (!isWords_) return row;
        unsigned char* channels = split_.get() + static_cast<std::size_t>(place) * width_ * 3;
        dib::runKernel<splitWords>(row, channels, width_);
        return channels;
    }

    Column* middle() { return columns_.get() + static_cast<std::size_t>(across_.reach()) * channels_; }

    void moveColumnsTo(int y) {
        const std::size_t samples = width_ * channels_;
        if (y == 0) {
            for (std::int64_t sourceY = 0; sourceY < down_.size; ++sourceY) {
                const std::uint32_t times = down_.timesMet(sourceY);
                if (times == 0) continue;
                dib::runKernel<addTimes<Column>>(middle(), channelsOf(sourceY, 0), samples, times);
            }
            return;
        }
        const auto size = static_cast<int>(down_.size);
        const std::int64_t entering = y + down_.reach();
        const int leaving = static_cast<int>(y - 1 - down_.reach());
        dib::runWidestKernel<exchange<Column>>(
            middle(),
            channelsOf(down_.wrap ? entering % size : std::min<std::int64_t>(entering, size - 1), 0),
            channelsOf(dib::getLoopY(leaving, size, flags_), 1), samples);
    }

    // Lays out the columns beyond the edges, so that every window is a run of columns.
    template <std::size_t Channels>
    void padColumns() {
        const std::size_t reach = static_cast<std::size_t>(across_.reach()) * Channels;
        const std::size_t row = width_ * Channels;
        Column* const columns = middle();
        if (across_.wrap) {
            std::copy_n(columns + row - reach, reach, columns - reach);
            std::copy_n(columns, reach, columns + row);
            return;
        }
        for (std::size_t i = 0; i < reach; i += Channels) {
            std::copy_n(columns, Channels, columns - reach + i);
            std::copy_n(columns + row - Channels, Channels, columns + row + i);
        }
    }

    void sumFirstWindow(std::uint32_t* first) {
        const Column* column = middle();
        for (std::size_t x = 0; x < width_; ++x) {
            for (std::size_t c = 0; c < channels_; ++c) first[c] += timesMet_[x] * *column++;
            if (!across_.wrap && static_cast<std::int64_t>(x) >= across_.radius) return;
        }
    }

    void putWords(const std::uint32_t* sum, unsigned char* out, std::size_t count) {
        for (std::size_t x = 0; x < count; ++x, sum += 3) {
            const std::uint32_t word = mean_.of(sum[2]) * 1024 + mean_.of(sum[1]) * 32 + mean_.of(sum[0]);
            // Bit 15 is never set, even where sums of huge squares have wrapped.
            dib::Depth16::put(out, static_cast<std::ptrdiff_t>(x), word & 0x7FFFU);
        }
    }

    int radius_;
    unsigned int flags_;
    dib::BoxMean mean_;
    dib::RollingCopy source_;
    std::size_t channels_ = 0;
    bool isWords_ = false;
    std::size_t width_ = 0;
    Span across_{};
    Span down_{};
    dib::MallocPtr<Column> columns_;          // sums down the square, with `reach` columns on either side
    dib::MallocPtr<std::uint32_t> timesMet_;  // by column, in the first window
    dib::MallocPtr<unsigned char> split_;     // two rows of words taken apart
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

// The box blur: the mean of the square around each pixel, at a cost that does not depend on its size.
//
// A row of column sums moves down the picture, gaining the row that enters the square and losing the one that
// leaves it; along that row the same is done with columns. All sums wrap at 32 bits, so what is added and
// taken away again cancels out whatever happens in between.

#include <DibEffect.h>

#include <algorithm>
#include <cstring>

#include "effects/BoxMean.h"
#include "effects/EffectFrame.h"

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

DIB_ALWAYS_INLINE void addTimes(std::uint32_t* __restrict sums, const unsigned char* __restrict row,
                                std::size_t count, std::uint32_t times) {
    for (std::size_t i = 0; i < count; ++i) sums[i] += row[i] * times;
}

DIB_ALWAYS_INLINE void exchange(std::uint32_t* __restrict sums, const unsigned char* __restrict entering,
                                const unsigned char* __restrict leaving, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        sums[i] += static_cast<std::uint32_t>(entering[i] - leaving[i]);
    }
}

// Lanes for the channels of one pixel, or for four pixels of one channel.
using Lanes = std::uint32_t __attribute__((vector_size(16)));

DIB_ALWAYS_INLINE Lanes load(const std::uint32_t* from) {
    Lanes lanes;
    std::memcpy(&lanes, from, sizeof lanes);
    return lanes;
}

// The sums of the windows along a row of column sums; `first` is the window of the first pixel. Three
// channels move in four lanes whose last is overwritten by the next pixel, so `sums` and `columns` extend
// kSlack beyond their ends.
constexpr std::size_t kSlack = 4;

template <int Channels>
DIB_ALWAYS_INLINE void slide(const std::uint32_t* __restrict columns, std::size_t window, std::size_t width,
                             const std::uint32_t* __restrict first, std::uint32_t* __restrict sums) {
    Lanes sum = load(first);
    for (std::size_t x = 0; x < width; ++x) {
        std::memcpy(sums + x * Channels, &sum, sizeof sum);
        sum += load(columns + (x + window) * Channels) - load(columns + x * Channels);
    }
}

// Of one channel four windows are found at once: the changes up to each, then the sum before them.
template <>
DIB_ALWAYS_INLINE void slide<1>(const std::uint32_t* __restrict columns, std::size_t window,
                                std::size_t width, const std::uint32_t* __restrict first,
                                std::uint32_t* __restrict sums) {
    const Lanes none{};
    Lanes before = none + first[0];
    for (std::size_t x = 0; x < width; x += 4) {
        const Lanes change = load(columns + x + window) - load(columns + x);
        const Lanes pairs = change + __builtin_shufflevector(none, change, 3, 4, 5, 6);
        const Lanes upTo = pairs + __builtin_shufflevector(none, pairs, 2, 3, 4, 5);
        const Lanes sum = before + __builtin_shufflevector(none, upTo, 3, 4, 5, 6);
        std::memcpy(sums + x, &sum, sizeof sum);
        before += __builtin_shufflevector(upTo, upTo, 3, 3, 3, 3);
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

class BoxFilter {
public:
    BoxFilter(int radius, unsigned int flags) : radius_(radius), flags_(flags), mean_(radius) {}

    bool prepare(const dib::WorkingCopy& source, const dib::Raster& image) {
        if (image.width == 0) return true;
        source_ = &source;
        channels_ = image.bitCount == 8 ? 1 : image.bitCount == 32 ? 4 : 3;
        isWords_ = image.bitCount == 16;
        width_ = static_cast<std::size_t>(image.width);
        across_ = {radius_, image.width, (flags_ & DIB_WRAP_X) != 0};
        down_ = {radius_, image.height, (flags_ & DIB_WRAP_Y) != 0};
        const std::size_t samples = width_ * channels_;
        const std::size_t padding = static_cast<std::size_t>(across_.reach()) * channels_;
        // One column more than the windows need enters after the last pixel.
        columns_ = dib::allocateZeroed<std::uint32_t>(samples + 2 * padding + channels_ + kSlack);
        sums_ = dib::allocateZeroed<std::uint32_t>(samples + kSlack);
        timesMet_ = dib::allocateArray<std::uint32_t>(width_);
        if (isWords_) split_ = dib::allocateArray<unsigned char>(2 * samples);
        if (!columns_ || !sums_ || !timesMet_ || (isWords_ && !split_)) return false;
        for (std::size_t x = 0; x < width_; ++x) {
            timesMet_[x] = across_.timesMet(static_cast<std::int64_t>(x));
        }
        return true;
    }

    template <class Depth>
    void row(unsigned char* out, int y) {
        if (width_ == 0) return;
        moveColumnsTo(y);
        padColumns();
        std::uint32_t first[4] = {};
        sumFirstWindow(first);
        const std::size_t window = 2 * static_cast<std::size_t>(across_.reach()) + 1;
        dib::runKernel<slide<Depth::kChannels>>(static_cast<const std::uint32_t*>(columns_.get()), window,
                                                width_, static_cast<const std::uint32_t*>(first),
                                                sums_.get());
        if constexpr (Depth::kBits == 16) {
            putWords(out);
        } else {
            mean_.ofSums(sums_.get(), out, width_ * channels_);
        }
    }

private:
    // The channels of a source row as bytes; of words in one of two places.
    const unsigned char* channelsOf(std::int64_t y, int place) {
        const unsigned char* row = source_->row(static_cast<std::ptrdiff_t>(y));
        if (!isWords_) return row;
        unsigned char* channels = split_.get() + static_cast<std::size_t>(place) * width_ * 3;
        dib::runKernel<splitWords>(row, channels, width_);
        return channels;
    }

    std::uint32_t* middle() { return columns_.get() + static_cast<std::size_t>(across_.reach()) * channels_; }

    void moveColumnsTo(int y) {
        const std::size_t samples = width_ * channels_;
        if (y == 0) {
            for (std::int64_t sourceY = 0; sourceY < down_.size; ++sourceY) {
                const std::uint32_t times = down_.timesMet(sourceY);
                if (times == 0) continue;
                dib::runKernel<addTimes>(middle(), channelsOf(sourceY, 0), samples, times);
            }
            return;
        }
        const auto size = static_cast<int>(down_.size);
        const std::int64_t entering = y + down_.reach();
        const int leaving = static_cast<int>(y - 1 - down_.reach());
        dib::runKernel<exchange>(
            middle(),
            channelsOf(down_.wrap ? entering % size : std::min<std::int64_t>(entering, size - 1), 0),
            channelsOf(dib::getLoopY(leaving, size, flags_), 1), samples);
    }

    // Lays out the columns beyond the edges, so that every window is a run of columns.
    void padColumns() {
        const auto reach = static_cast<std::size_t>(across_.reach());
        std::uint32_t* const columns = middle();
        const auto copyColumn = [&](std::ptrdiff_t to, std::size_t from) {
            std::copy_n(columns + from * channels_, channels_,
                        columns + to * static_cast<std::ptrdiff_t>(channels_));
        };
        for (std::size_t i = 0; i < reach; ++i) {
            const auto distance = static_cast<std::ptrdiff_t>(i) + 1;
            copyColumn(-distance, across_.wrap ? width_ - 1 - i : 0);
            copyColumn(static_cast<std::ptrdiff_t>(width_ + i), across_.wrap ? i : width_ - 1);
        }
    }

    void sumFirstWindow(std::uint32_t* first) {
        const std::uint32_t* column = middle();
        for (std::size_t x = 0; x < width_; ++x) {
            for (std::size_t c = 0; c < channels_; ++c) first[c] += timesMet_[x] * *column++;
            if (!across_.wrap && static_cast<std::int64_t>(x) >= across_.radius) return;
        }
    }

    void putWords(unsigned char* out) {
        for (std::size_t x = 0; x < width_; ++x) {
            const std::uint32_t* sum = sums_.get() + 3 * x;
            const std::uint32_t word = mean_.of(sum[2]) * 1024 + mean_.of(sum[1]) * 32 + mean_.of(sum[0]);
            // Bit 15 is never set, even where sums of huge squares have wrapped.
            dib::Depth16::put(out, static_cast<std::ptrdiff_t>(x), word & 0x7FFFU);
        }
    }

    int radius_;
    unsigned int flags_;
    dib::BoxMean mean_;
    const dib::WorkingCopy* source_ = nullptr;
    std::size_t channels_ = 0;
    bool isWords_ = false;
    std::size_t width_ = 0;
    Span across_{};
    Span down_{};
    dib::MallocPtr<std::uint32_t> columns_;   // sums down the square, with `reach` columns on either side
    dib::MallocPtr<std::uint32_t> sums_;      // of the squares
    dib::MallocPtr<std::uint32_t> timesMet_;  // by column, in the first window
    dib::MallocPtr<unsigned char> split_;     // two rows of words taken apart
};

}  // namespace

bool DibEffectBlur(DibProgressCallback callback, void* user, DibStream* image, int radius,
                   unsigned int flags) {
    if (image == nullptr || radius < 0) return false;
    if (radius == 0) return true;
    return dib::filterImage<dib::Depth8, dib::Depth16, dib::Depth24, dib::Depth32>({callback, user}, image,
                                                                                   BoxFilter(radius, flags));
}

bool DibEffectBlur(DibProgressCallback callback, void* user, DibStream* image, DEBlurInfo* info) {
    return DibEffectBlur(callback, user, image, info->radius, info->flags);
}

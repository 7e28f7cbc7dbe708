#include "operations/PictureDifference.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <vector>

#include "dib/Bytes.h"
#include "dib/Depths.h"
#include "dib/MoveBlocks.h"
#include "dib/Numbers.h"
#include "effects/weighted/AlphaPlane.h"
#include "operations/pixels/Pixels.h"

namespace operations {

namespace {

// The rows of a picture of any depth as pixels of blue, green, red and alpha.
class ColorRows {
public:
    explicit ColorRows(const DibStream& image) : rows_(rowsOf(image)), pixels_(4 * rows_.columns()) {
        if (rows_.bitCount > 8) return;
        table_ = dib::readColorTable(*image.Header);
        for (DibBGRA& entry : table_) entry.alpha = 255;
    }

    int width() const { return rows_.width; }
    int height() const { return rows_.height; }

    // Valid until the next call.
    const unsigned char* row(int y) {
        const unsigned char* from = rows_.row(y);
        if (rows_.bitCount == 32) return from;
        unsigned char* to = pixels_.data();
        if (rows_.bitCount == 24) {
            dib::runKernel<addAlpha>(from, to, rows_.width);
        } else if (rows_.bitCount == 16) {
            for (int x = 0; x < rows_.width; ++x)
                dib::Depth32::put(to, x, ofWord(dib::Depth16::get(from, x)));
        } else {
            dib::withDepth<dib::Depth1, dib::Depth4, dib::Depth8>(rows_.bitCount, [&](auto depth) {
                for (int x = 0; x < rows_.width; ++x)
                    std::memcpy(to + 4 * x, &table_[decltype(depth)::get(from, x)], 4);
                return true;
            });
        }
        return to;
    }

private:
    static DIB_ALWAYS_INLINE void addAlpha(const unsigned char* __restrict from, unsigned char* __restrict to,
                                           std::ptrdiff_t count) {
        for (std::ptrdiff_t x = 0; x < count; ++x)
            dib::Depth32::put(to, x, dib::Depth24::get(from, x) | 0xFF000000U);
    }
    // 5 bits become 8 with their high bits repeated, so that white is 255.
    static std::uint32_t ofWord(std::uint32_t word) {
        dib::Channels<4> wide{0, 0, 0, 255};
        const dib::Channels<3> channels = dib::Depth16::split(word);
        for (std::size_t i = 0; i < 3; ++i) wide[i] = channels[i] << 3 | channels[i] >> 2;
        return dib::Depth32::join(wide);
    }

    dib::Raster rows_;
    std::vector<unsigned char> pixels_;
    std::array<DibBGRA, 256> table_{};
};

// Sums over the pixels of a part of a row.
struct Sums {
    std::uint64_t squares = 0;
    std::uint32_t differentPixels = 0;
    std::uint32_t largest = 0;
};

// The squares of so many pixels fit in 32 bits.
constexpr std::ptrdiff_t kPart = 4096;

DIB_ALWAYS_INLINE void addPart(const unsigned char* a, const unsigned char* b, std::ptrdiff_t count,
                               Sums* sums) {
    std::uint32_t squares = 0;
    std::uint32_t largest = 0;
    for (std::ptrdiff_t i = 0; i < 4 * count; ++i) {
        const auto difference = static_cast<std::uint32_t>(std::abs(a[i] - b[i]));
        squares += difference * difference;
        largest = std::max(largest, difference);
    }
    std::uint32_t different = 0;
    for (std::ptrdiff_t x = 0; x < count; ++x)
        different += dib::Depth32::get(a, x) != dib::Depth32::get(b, x) ? 1U : 0U;
    sums->squares += squares;
    sums->largest = std::max(sums->largest, largest);
    sums->differentPixels += different;
}

Sums sumsOf(const unsigned char* a, const unsigned char* b, std::ptrdiff_t width) {
    Sums sums;
    for (std::ptrdiff_t x = 0; x < width; x += kPart) {
        const std::ptrdiff_t count = std::min(kPart, width - x);
        dib::runKernel<addPart>(a + 4 * x, b + 4 * x, count, &sums);
    }
    return sums;
}

// The first pixel with a channel that differs so much.
int firstWith(const unsigned char* a, const unsigned char* b, std::uint32_t difference) {
    int i = 0;
    while (static_cast<std::uint32_t>(std::abs(a[i] - b[i])) != difference) ++i;
    return i / 4;
}

DIB_ALWAYS_INLINE void showRow(const unsigned char* __restrict a, const unsigned char* __restrict b, int gain,
                               unsigned char* __restrict out, std::ptrdiff_t count) {
    for (std::ptrdiff_t x = 0; x < count; ++x) {
        const int ofAlpha = std::abs(a[4 * x + 3] - b[4 * x + 3]);
        for (std::ptrdiff_t c = 0; c < 3; ++c) {
            const int difference = std::max(std::abs(a[4 * x + c] - b[4 * x + c]), ofAlpha);
            out[3 * x + c] = dib::byteOf(std::min(difference * gain, 255));
        }
    }
}

bool isOpaque(const DibStream& image) {
    return image.Header->biBitCount != 32 || dib::commonAlpha(image) == 255;
}

// The two pictures and what is found.
class Comparison {
public:
    Comparison(const DibStream& first, const DibStream& second)
        : a_(first),
          b_(second),
          channels_(isOpaque(first) && isOpaque(second) ? 3 : 4),
          commonWidth_(std::min(a_.width(), b_.width())),
          width_(std::max(a_.width(), b_.width())) {}

    int width() const { return width_; }
    int height() const { return std::max(a_.height(), b_.height()); }

    // `out` gets the row of the picture that shows the difference, unless it is null.
    void addRow(int y, int gain, unsigned char* out) {
        if (out != nullptr) std::fill_n(out, 3 * width_, std::uint8_t{255});
        if (y >= a_.height() || y >= b_.height()) return addMissing(0, y);
        const unsigned char* a = a_.row(y);
        const unsigned char* b = b_.row(y);
        const Sums sums = sumsOf(a, b, commonWidth_);
        found_.differentPixels += sums.differentPixels;
        squares_ += sums.squares;
        if (dib::asInt(sums.largest) > found_.largest) {
            found_.largest = dib::asInt(sums.largest);
            found_.x = firstWith(a, b, sums.largest);
            found_.y = y;
        }
        if (out != nullptr) dib::runKernel<showRow>(a, b, gain, out, std::ptrdiff_t{commonWidth_});
        addMissing(commonWidth_, y);
    }

    DibDifference result() const {
        DibDifference difference = found_;
        difference.pixels = std::int64_t{width()} * height();
        const double samples = static_cast<double>(difference.pixels) * channels_;
        difference.meanSquare = static_cast<double>(squares_) / samples;
        difference.psnr = squares_ == 0 ? std::numeric_limits<double>::infinity()
                                        : 10 * std::log10(255 * 255 / difference.meanSquare);
        difference.isSameSize = a_.width() == b_.width() && a_.height() == b_.height();
        return difference;
    }

private:
    // Pixels from a column on that only one of the two has, or none.
    void addMissing(int column, int y) {
        if (column == width_) return;
        const std::int64_t pixels = width_ - column;
        found_.differentPixels += pixels;
        squares_ += static_cast<std::uint64_t>(pixels) * 255 * 255 * static_cast<std::uint64_t>(channels_);
        if (found_.largest == 255) return;
        found_.largest = 255;
        found_.x = column;
        found_.y = y;
    }

    ColorRows a_;
    ColorRows b_;
    int channels_;
    int commonWidth_;
    int width_;
    std::uint64_t squares_ = 0;
    DibDifference found_;
};

}  // namespace

bool compare(const DibStream& first, const DibStream& second, int gain, DibDifference& difference,
             DibStream* shown, DibProgressCallback callback, void* user) {
    Comparison comparison(first, second);
    const int height = comparison.height();
    DibStream made;
    dib::Raster to;
    if (shown != nullptr) {
        createImage(made, comparison.width(), height, 24);
        to = rowsOf(made);
    }
    for (int y = 0; y < height; ++y) {
        comparison.addRow(y, gain, shown != nullptr ? to.row(y) : nullptr);
        const float done = static_cast<float>(y + 1) / static_cast<float>(height);
        if (callback != nullptr && !callback(done, user)) return false;
    }
    difference = comparison.result();
    if (shown != nullptr) dib::moveBlocks(made, *shown);
    return true;
}

}  // namespace operations

bool DibCompare(const DibStream* first, const DibStream* second, DibDifference* difference, DibStream* shown,
                int gain, DibOperationResult* result, DibProgressCallback callback, void* user) {
    return operations::runCall(result, [&](DibOperationResult&) {
        operations::requirePixels(first);
        operations::requirePixels(second);
        if (difference == nullptr) throw operations::Refusal{DIB_ERROR_INVALID, "there is no record"};
        if (gain < 1 || gain > 255)
            throw operations::Refusal{DIB_ERROR_INVALID, "gain: must be from 1 to 255"};
        DibDifference found;
        if (!operations::compare(*first, *second, gain, found, shown, callback, user))
            throw operations::Refusal{DIB_ERROR_INTERRUPTED, "cancelled"};
        found.size = std::min(difference->size, sizeof found);
        std::memcpy(difference, &found, found.size);
        return true;
    });
}

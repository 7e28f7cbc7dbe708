#include <algorithm>
#include <array>
#include <cstdlib>

#include "dib/Depths.h"
#include "dib/Numbers.h"
#include "operations/pixels/Pixels.h"
#include "operations/pixels/Place.h"

namespace operations {

namespace {

// The channels of pixel values as bytes, with alpha, or 255 where there is none.
using Color = std::array<int, 4>;

Color colorOf(int bitCount, std::uint32_t value, const std::array<DibBGRA, 256>& table) {
    if (bitCount <= 8) return {table[value].blue, table[value].green, table[value].red, 255};
    if (bitCount == 16) {
        const auto widened = [value](int shift) { return dib::asInt((value >> shift & 31U) * 255 / 31); };
        return {widened(0), widened(5), widened(10), 255};
    }
    const auto byte = [value](int shift) { return dib::asInt(value >> shift & 255U); };
    return {byte(0), byte(8), byte(16), bitCount == 32 ? byte(24) : 255};
}

bool differ(const Color& a, const Color& b, int tolerance) {
    if (a[3] == 0 && b[3] == 0) return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (std::abs(a[i] - b[i]) > tolerance) return true;
    }
    return false;
}

// The rectangle of the pixels that are content, found row by row. False when the caller cancels; the
// rectangle is empty without content.
template <class Depth>
class ContentSearch {
public:
    ContentSearch(const Job& job, const dib::Raster& rows, int tolerance)
        : job_(job), rows_(rows), tolerance_(tolerance), table_(dib::readColorTable(*job.image.Header)) {
        border_ = borderValue();
        borderColor_ = colorOf(Depth::kBits, border_, table_);
    }

    bool run() {
        while (top < bottom_ && isBlank(top)) {
            ++top;
            if (!reportRow()) return false;
        }
        while (bottom_ > top && isBlank(bottom_ - 1)) {
            --bottom_;
            if (!reportRow()) return false;
        }
        left = rows_.width;
        for (int y = top; y < bottom_; ++y) {
            const unsigned char* row = rows_.row(y);
            int x = 0;
            while (x < left && !isContent(row, x)) ++x;
            left = x;
            x = rows_.width;
            while (x > right_ && !isContent(row, x - 1)) --x;
            right_ = x;
            if (!reportRow()) return false;
        }
        return true;
    }

    int left = 0;
    int top = 0;
    int width() const { return right_ - left; }
    int height() const { return bottom_ - top; }

private:
    std::uint32_t at(int x, int y) const { return Depth::get(rows_.row(y), x); }

    // Of the first corner that is like most others.
    std::uint32_t borderValue() const {
        const int lastX = rows_.width - 1;
        const int lastY = rows_.height - 1;
        const std::array<std::uint32_t, 4> corners = {at(0, 0), at(lastX, 0), at(0, lastY), at(lastX, lastY)};
        const auto alike = [&](std::uint32_t value) {
            return std::count(corners.begin(), corners.end(), value);
        };
        return *std::max_element(corners.begin(), corners.end(),
                                 [&](std::uint32_t a, std::uint32_t b) { return alike(a) < alike(b); });
    }

    bool isContent(const unsigned char* row, int x) const {
        const std::uint32_t value = Depth::get(row, x);
        return value != border_ && differ(colorOf(Depth::kBits, value, table_), borderColor_, tolerance_);
    }
    bool isBlank(int y) const {
        const unsigned char* row = rows_.row(y);
        for (int x = 0; x < rows_.width; ++x) {
            if (isContent(row, x)) return false;
        }
        return true;
    }
    bool reportRow() { return report(job_, ++rowsDone_, rows_.height); }

    const Job& job_;
    const dib::Raster& rows_;
    int tolerance_;
    std::array<DibBGRA, 256> table_;
    std::uint32_t border_ = 0;
    Color borderColor_{};
    int right_ = 0;
    int bottom_ = rows_.height;
    int rowsDone_ = 0;
};

}  // namespace

bool trim(const Job& job, int tolerance) {
    const dib::Raster rows = rowsOf(job.image);
    return dib::withAnyDepth(rows.bitCount, [&](auto depth) {
        ContentSearch<decltype(depth)> content(job, rows, tolerance);
        if (!content.run()) return false;
        if (content.height() == 0) {
            addNote(job.result, DIB_NOTE_WARNING, "trim: the picture has one colour and was left as it is");
            return true;
        }
        return job.image.ClipCut(content.left, content.top, content.width(), content.height());
    });
}

}  // namespace operations

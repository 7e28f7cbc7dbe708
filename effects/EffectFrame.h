// What every effect shares: judging the image, the working copy, edges, and the loop over rows that reports
// progress. An effect adds its parameter check and its pixel rule.
#ifndef EFFECTS_EFFECT_FRAME_H
#define EFFECTS_EFFECT_FRAME_H

#include <DibEffect.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <type_traits>
#include <utility>

#include "dib/Depths.h"
#include "dib/ImageSize.h"
#include "dib/Memory.h"

namespace dib {

// The rows of an image, counted from the top of the picture.
struct Raster {
    unsigned char* top = nullptr;
    std::ptrdiff_t rowStep = 0;  // to the next row down the picture
    int width = 0;
    int height = 0;
    int bitCount = 0;
    std::size_t rowBytes = 0;  // pitch

    bool hasPixels() const { return width > 0 && height > 0; }
    unsigned char* row(std::ptrdiff_t y) const { return top + y * rowStep; }
    // Bytes of a row that hold pixels; above 4 bits per pixel no byte is shared with row fill.
    std::size_t pixelBytes() const {
        return (static_cast<std::size_t>(width) * static_cast<std::size_t>(bitCount) + 7) / 8;
    }
};

// Whether an effect may work on an image; false for null, a missing block and sizes that cannot exist.
// `raster` is filled when it may.
bool admitImage(DibStream* image, Raster& raster);

// The same for an effect that accepts these depths only.
template <class... Depths>
bool admitImage(DibStream* image, Raster& raster) {
    return admitImage(image, raster) && isOneOf<Depths...>(raster.bitCount);
}

// The rows of an image as a table of |biHeight| pointers, top of the picture first. Null when memory is
// short.
using RowTable = MallocPtr<unsigned char*>;
RowTable initRow(DibStream& image);

// A copy of an image whose error code stays what it was. Null when memory is short.
std::unique_ptr<DibStream> cloneOf(DibStream& image);

// An unchanged copy that an effect reads while it writes the image itself, with the copy's rows.
class WorkingCopy {
public:
    // Makes the copy of an admitted image.
    explicit WorkingCopy(DibStream& image);
    // Whether memory sufficed; nothing else may be called when it did not.
    bool ready() const { return rows_ != nullptr; }

    DibStream& image() const { return *copy_; }
    const unsigned char* row(std::ptrdiff_t y) const { return rows_[static_cast<std::size_t>(y)]; }
    const unsigned char* const* rows() const { return rows_.get(); }

private:
    std::unique_ptr<DibStream> copy_;
    RowTable rows_;
};

// Positions of an integer-coordinate effect, brought into 0 to size - 1 by clamping or wrapping; exact for
// every `int`. An axis without pixels gives 0 when it wraps.
int getLoopX(int x, int width, unsigned int flags);
int getLoopY(int y, int height, unsigned int flags);

// The resolved positions from -before to size - 1 + after of one axis: resolved[i] is the position of i -
// before. Built once per image, so that no tap of a neighbourhood resolves its own edge. Null when memory is
// short.
using EdgeTable = MallocPtr<int>;
EdgeTable edgeColumns(int width, int before, int after, unsigned int flags);
EdgeTable edgeRows(int height, int before, int after, unsigned int flags);

// The caller's progress callback.
struct Progress {
    DibProgressCallback callback;
    void* user;

    // Whether the work goes on after `done` of `total` rows.
    bool report(std::int64_t done, int total) const {
        return callback == nullptr || callback(static_cast<float>(done) / static_cast<float>(total), user);
    }
};

// Runs `rowRule(y)` for every row and reports after each. False when cancelled; true without rows.
template <class RowRule>
bool forEachRow(const Progress& progress, int height, const RowRule& rowRule) {
    for (int y = 0; y < height; ++y) {
        rowRule(y);
        if (!progress.report(std::int64_t{y} + 1, height)) return false;
    }
    return true;
}

// An effect that computes each row from an unchanged copy of the image. `Filter` has
//
//     bool prepare(const WorkingCopy& source, const Raster& image);  // tables; false when memory is short
//     template <class Depth>
//     void row(unsigned char* out, int y);                           // row y of the image
template <class... Depths, class Filter>
bool filterImage(const Progress& progress, DibStream* image, Filter&& request) {
    Raster raster;
    if (!admitImage<Depths...>(image, raster)) return false;
    if (raster.height == 0) return true;
    const WorkingCopy source(*image);
    // Declared behind the copy that it points into, so that it never outlives it.
    std::decay_t<Filter> filter(std::forward<Filter>(request));
    if (!source.ready() || !filter.prepare(source, raster)) return false;
    return withDepth<Depths...>(raster.bitCount, [&](auto depth) {
        return forEachRow(progress, raster.height, [&](int y) {
            unsigned char* out = raster.row(y);
            if (kIsPacked<decltype(depth)>) std::memset(out, 0, raster.rowBytes);
            filter.template row<decltype(depth)>(out, y);
        });
    });
}

// An effect that keeps what it needs of the rows it overwrites by itself. `Filter` has
//
//     bool prepare(const Raster& image);            // false when memory is short
//     template <class Depth>
//     void row(unsigned char* out, int y);          // row y of the image, which still is as it was
template <class... Depths, class Filter>
bool filterInPlace(const Progress& progress, DibStream* image, Filter&& filter) {
    Raster raster;
    if (!admitImage<Depths...>(image, raster)) return false;
    if (raster.height == 0) return true;
    if (!filter.prepare(raster)) return false;
    return withDepth<Depths...>(raster.bitCount, [&](auto depth) {
        return forEachRow(progress, raster.height,
                          [&](int y) { filter.template row<decltype(depth)>(raster.row(y), y); });
    });
}

// An effect that changes each pixel by itself. `rowRule(depth, row, width)` changes the pixels of one row, in
// which `decltype(depth)` is the depth type.
template <class... Depths, class RowRule>
bool changePixels(const Progress& progress, DibStream* image, const RowRule& rowRule) {
    Raster raster;
    if (!admitImage<Depths...>(image, raster)) return false;
    return withDepth<Depths...>(raster.bitCount, [&](auto depth) {
        return forEachRow(progress, raster.height,
                          [&](int y) { rowRule(depth, raster.row(y), raster.width); });
    });
}

}  // namespace dib

#endif

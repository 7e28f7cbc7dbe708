// What every effect shares: admitting the image, the unchanged source of a filter, edges, and the loop over
// rows that reports progress. An effect adds its parameter check and its pixel rule.
//
// What an effect reads decides its source and how it treats positions outside the image:
//
// effect                     | reads               | source                  | edges
// ---------------------------|---------------------|-------------------------|-------------------------------
// reverse, gamma, contrast,  | the pixel itself    | the image               | none
// noise, colour noise        |                     |                         |
// mosaic                     | the rows of a block | the image: a block is   | blocks are cut
//                            |                     | read before it is drawn |
// compose                    | the second image    | the image               | stretched or tiled
// light blur, light sharpen, | four neighbours     | RollingCopy: two rows   | rows by EdgeAxis::at; both
// edges                      |                     | stay in the cache       | ends of a row apart
// box blur                   | columns entering    | RollingCopy: the square | rows by EdgeAxis::at; column
//                            | and leaving         | above the row           | sums are padded
// Gaussian blur, brightest,  | every row once, as  | RollingCopy: only the   | rows by EdgeAxis::at; their
// darkest                    | it enters           | first rows, if y wraps  | own rows are padded
// middle                     | pixels of the whole | FullCopy: the pixel     | EdgeWindow: pixels with their
//                            | square              | found is read again     | number of visits, or padded
// diffuse                    | any pixel around    | FullCopy                | getLoopX, getLoopY by pixel
// rotate, ripple, wave,      | any position        | FullCopy                | the sampler's, by position
// whirl, motion blur, emboss |                     |                         |
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
#include "dib/EdgeAxis.h"
#include "dib/Memory.h"
#include "dib/Progress.h"
#include "dib/Raster.h"

namespace dib {

// Views the image that an effect works on. False for null, a missing block and sizes that cannot exist.
inline bool admitImage(DibStream* image, Raster& raster) {
    return image != nullptr && viewRows(*image, raster);
}

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

// The unchanged image as a copy of all its rows, for effects that read rows above and below in any order.
class FullCopy {
public:
    // Copies an admitted image. One that borrows its pixels (LentPixels.h) gets the pixels of the copy, which
    // borrows them instead.
    explicit FullCopy(DibStream& image);
    // False when memory was short; nothing else may then be called.
    bool ready() const { return rows_ != nullptr; }

    DibStream& image() const { return *copy_; }
    const unsigned char* row(std::ptrdiff_t y) const { return rows_[y]; }
    const unsigned char* const* rows() const { return rows_.get(); }

private:
    std::unique_ptr<DibStream> copy_;
    RowTable rows_;
};

// The channels of one pixel.
constexpr int channelsOf(const Raster& image) {
    return image.bitCount <= 8 ? 1 : image.bitCount == 32 ? 4 : 3;
}

// The axes of an image with the edge rules of an effect's flags.
inline EdgeAxis axisX(const Raster& image, unsigned int flags) {
    return {image.width, (flags & DIB_WRAP_X) != 0};
}
inline EdgeAxis axisY(const Raster& image, unsigned int flags) {
    return {image.height, (flags & DIB_WRAP_Y) != 0};
}

// The pixel that a position of an integer-coordinate effect reads, exact for every `int`. An axis without
// pixels gives 0 when it wraps.
inline int getLoopX(int x, int width, unsigned int flags) {
    return EdgeAxis{width, (flags & DIB_WRAP_X) != 0}.at(x);
}
inline int getLoopY(int y, int height, unsigned int flags) {
    return EdgeAxis{height, (flags & DIB_WRAP_Y) != 0}.at(y);
}

// An effect that computes each row from an unchanged copy of the image. `Filter` has
//
//     bool prepare(const FullCopy& source, const Raster& image);  // tables; false when memory is short
//     template <class Depth>
//     void row(unsigned char* out, int y);                           // row y of the image
//
// or a `row` that is no template.
template <class... Depths, class Filter>
bool filterImage(const Progress& progress, DibStream* image, Filter&& request) {
    Raster raster;
    if (!admitImage<Depths...>(image, raster)) return false;
    if (raster.height == 0) return true;
    const FullCopy source(*image);
    // Declared after `source`, so destroyed before it.
    std::decay_t<Filter> filter(std::forward<Filter>(request));
    if (!source.ready() || !viewRows(*image, raster) || !filter.prepare(source, raster)) return false;
    return withDepth<Depths...>(raster.bitCount, [&](auto depth) {
        return forEachRow(progress, raster.height, [&](int y) {
            unsigned char* out = raster.row(y);
            if (kIsPacked<decltype(depth)>) std::memset(out, 0, raster.rowBytes);
            if constexpr (requires { filter.row(out, y); }) {
                filter.row(out, y);
            } else {
                filter.template row<decltype(depth)>(out, y);
            }
        });
    });
}

// An effect that itself keeps what it needs of the rows it overwrites, mostly in a RollingCopy. `Filter` has
//
//     bool prepare(const Raster& image);            // false when memory is short
//     template <class Depth>
//     void row(unsigned char* out, int y);          // row y of the image, still unchanged
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

// An effect that changes each pixel by itself. `rowRule(depth, row, width)` changes the pixels of one row;
// `decltype(depth)` is the depth type.
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

// Where a picture or a text is put upon another picture: the parameters that say it.
#ifndef OPERATIONS_PLACES_H
#define OPERATIONS_PLACES_H

#include <cstddef>
#include <cstdint>

#include "dib/Numbers.h"
#include "dib/Raster.h"
#include "operations/Operations.h"

namespace operations {

// Thirds of the free space, across + 4 x down.
inline constexpr Choices kPlaces({{"nw", 0, "upper left"},
                                  {"n", 1, "upper middle"},
                                  {"ne", 2, "upper right"},
                                  {"w", 4, "left"},
                                  {"center", 5, "middle"},
                                  {"e", 6, "right"},
                                  {"sw", 8, "lower left"},
                                  {"s", 9, "lower middle"},
                                  {"se", 10, "lower right"}});

inline constexpr DibParameter kPlaceX =
    length("x", "away from the place's edge; percentages are of the free space", kAnyInteger, "0");
inline constexpr DibParameter kPlaceY =
    length("y", "the same down, or up from the lower edge", kAnyInteger, "0");
inline constexpr DibParameter kPlace = choice("place", "where x and y count from", kPlaces, "nw");

// The upper left corner of what is put there, which may lie outside the picture.
struct Place {
    int x;
    int y;
};

// By the three parameters, for something of that size.
Place placeOf(const Job& job, std::int64_t width, std::int64_t height);

// The part of what is put there that lies in the picture: its pixels from left and top on, before right and
// bottom.
struct Part {
    int left;
    int top;
    int right;
    int bottom;

    bool isEmpty() const { return left >= right || top >= bottom; }
    std::size_t columns() const { return isEmpty() ? 0 : dib::asSize(right - left); }
};
Part partInside(const dib::Raster& picture, Place corner, std::int64_t width, std::int64_t height);

}  // namespace operations

#endif

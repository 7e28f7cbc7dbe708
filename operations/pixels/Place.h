// Operations that put pixels elsewhere and keep their colours.
#ifndef OPERATIONS_PIXELS_PLACE_H
#define OPERATIONS_PIXELS_PLACE_H

#include "operations/Operations.h"

namespace operations {

// Crops to what differs from the colour that most corners have, by more than `tolerance` in a channel.
// Transparent pixels are the same whatever their colours. A picture without such pixels stays as it is.
bool trim(const Job& job, int tolerance);

struct Sides {
    int left;
    int top;
    int right;
    int bottom;
};
// Adds pixels of a colour around the picture. Where its pixels cannot hold the colour it is widened.
bool addBorder(const Job& job, const Sides& sides, const DibBGRA& color);

struct Joint {
    bool isColumn;  // the second picture below the first instead of to its right
    int align;      // 0 left or upper edges meet, 1 the middles, 2 the other edges
    int gap;        // pixels between the two
    DibBGRA fill;   // of the rest
};
// Puts a second picture beside the first. Two of 8 bits with one palette keep it; else the result has 24
// bits, or 32 where one of the two or the fill has alpha.
bool join(const Job& job, DibStream& second, const Joint& joint);

}  // namespace operations

#endif

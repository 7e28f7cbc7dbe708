// What the tests of the quantizer share: pixels in a row, and the walk down its tree.
#ifndef TESTS_DIB_MEDIAN_SUPPORT_H
#define TESTS_DIB_MEDIAN_SUPPORT_H

#include <DibMedian.h>

#include <vector>

namespace median_support {

using Pixels = std::vector<DibBGR>;

inline int walk(const dibmedian::mediancut& cut, DibBGR pixel) {
    const int components[] = {pixel.blue, pixel.green, pixel.red};
    const dibmedian::coltree* node = cut.root;
    while (node->axis >= 0) node = components[node->axis] < node->cut ? node->left : node->right;
    return node->index;
}

// The dark box scores 2 bits x 2 reds, the bright one 10 bits x 1: the greater score is a single colour, and
// that ends it, although the other box could still be cut.
inline Pixels darkPairAndManyReds() {
    Pixels pixels(1002, DibBGR{0, 0, 200});
    pixels[0] = {0, 0, 0};
    pixels[1] = {0, 0, 1};
    return pixels;
}

}  // namespace median_support

#endif

// The histogram of the plain median cut: every pixel is kept, so that a box is counted and bounded by looking at its
// pixels again. The library comes to the same boxes by counting distinct colours.
#ifndef TESTS_REFERENCE_MEDIAN_HISTOGRAM_H
#define TESTS_REFERENCE_MEDIAN_HISTOGRAM_H

#include <DibStream.h>

#include <cstdint>

namespace dibmedian {

// One cell: the pixels themselves, duplicates included.
class medianhistdata {
public:
    std::int32_t capacity = 0;
    DibBGR* entries = nullptr;  // grown with realloc
    std::int32_t count = 0;

    medianhistdata() = default;
    medianhistdata(const medianhistdata&) = delete;
    medianhistdata& operator=(const medianhistdata&) = delete;
    ~medianhistdata();

    // Appends a pixel; a full array first grows to 2 x capacity + 128 entries.
    void add(DibBGR pixel);
};

// All pixels in 16 x 16 x 16 cells by the top four bits of their channels.
class medianhist {
public:
    medianhistdata cells[16][16][16];  // [red >> 4][green >> 4][blue >> 4]

    void add(DibBGR pixel);
    // Adds 1 to `histogram[component on axis]` for every pixel within the inclusive bounds. Returns their number.
    int search(int rLo, int rHi, int gLo, int gHi, int bLo, int bHi, int* histogram, int axis) const;
    // Lowers the minima and raises the maxima to the components of every pixel within the inclusive bounds.
    void rect(int rLo, int rHi, int gLo, int gHi, int bLo, int bHi, int& rMin, int& rMax, int& gMin,
              int& gMax, int& bMin, int& bMax) const;

private:
    template <class Visit>
    void visit(int rLo, int rHi, int gLo, int gHi, int bLo, int bHi, Visit visitor) const;
};

}  // namespace dibmedian

#endif

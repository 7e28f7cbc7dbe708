// The histogram that keeps every pixel.
#include <DibMedian.h>

#include <algorithm>
#include <cstdlib>

#include "dib/Numbers.h"

namespace dibmedian {

bool medianhistdata::add(DibBGR pixel) {
    if (count == capacity) {
        const std::int32_t grown = 2 * capacity + 128;
        void* block = std::realloc(entries, dib::asSize(grown) * sizeof(DibBGR));
        if (block == nullptr) return false;
        entries = static_cast<DibBGR*>(block);
        capacity = grown;
    }
    entries[count++] = pixel;
    return true;
}

bool medianhist::add(DibBGR pixel) {
    return cells[pixel.red >> 4][pixel.green >> 4][pixel.blue >> 4].add(pixel);
}

void medianhist::clear() {
    for (auto& plane : cells) {
        for (auto& line : plane) {
            for (medianhistdata& cell : line) {
                std::free(cell.entries);
                cell = {};
            }
        }
    }
}

template <class Visit>
void medianhist::visit(int rLo, int rHi, int gLo, int gHi, int bLo, int bHi, Visit visitor) const {
    for (int r = rLo >> 4; r <= rHi >> 4; ++r) {
        for (int g = gLo >> 4; g <= gHi >> 4; ++g) {
            for (int b = bLo >> 4; b <= bHi >> 4; ++b) {
                const medianhistdata& cell = cells[r][g][b];
                for (std::int32_t i = 0; i < cell.count; ++i) {
                    const DibBGR pixel = cell.entries[i];
                    const bool inside = pixel.red >= rLo && pixel.red <= rHi && pixel.green >= gLo &&
                                        pixel.green <= gHi && pixel.blue >= bLo && pixel.blue <= bHi;
                    if (inside) visitor(pixel);
                }
            }
        }
    }
}

int medianhist::search(int rLo, int rHi, int gLo, int gHi, int bLo, int bHi, int* histogram, int axis) const {
    int found = 0;
    visit(rLo, rHi, gLo, gHi, bLo, bHi, [&](DibBGR pixel) {
        const int components[] = {pixel.blue, pixel.green, pixel.red};
        ++histogram[components[axis]];
        ++found;
    });
    return found;
}

void medianhist::rect(int rLo, int rHi, int gLo, int gHi, int bLo, int bHi, int& rMin, int& rMax, int& gMin,
                      int& gMax, int& bMin, int& bMax) const {
    visit(rLo, rHi, gLo, gHi, bLo, bHi, [&](DibBGR pixel) {
        rMin = std::min<int>(rMin, pixel.red);
        rMax = std::max<int>(rMax, pixel.red);
        gMin = std::min<int>(gMin, pixel.green);
        gMax = std::max<int>(gMax, pixel.green);
        bMin = std::min<int>(bMin, pixel.blue);
        bMax = std::max<int>(bMax, pixel.blue);
    });
}

}  // namespace dibmedian

#include "effects/rank/BinWindow.h"

#include <algorithm>
#include <cstring>

#include "dib/Kernels.h"
#include "dib/Numbers.h"
#include "effects/rank/CellVector.h"

#if defined(__SSE2__)
#include <immintrin.h>
#endif

namespace dib {

namespace {

constexpr std::ptrdiff_t kGroup = 16;  // bins

constexpr std::ptrdiff_t roundedUp(std::ptrdiff_t value, std::ptrdiff_t unit) {
    return (value + unit - 1) / unit * unit;
}

// before += sign * counts, for every column.
template <int kSign, class Cell>
DIB_ALWAYS_INLINE void accumulate(Cell* before, const Cell* counts, std::ptrdiff_t stride) {
    using Vector = CellVector<Cell>;
    for (std::ptrdiff_t i = 0; i < stride; i += kCellLanes<Cell>) {
        Vector sum;
        Vector change;
        std::memcpy(&sum, before + i, sizeof sum);
        std::memcpy(&change, counts + i, sizeof change);
        if (kSign > 0) {
            sum += change;
        } else {
            sum -= change;
        }
        std::memcpy(before + i, &sum, sizeof sum);
    }
}

#if defined(__SSE2__)

// Compilers find neither of these instructions for sums of small numbers.
template <class Cell>
DIB_ALWAYS_INLINE __m128i partialSums(__m128i cells) {
    if constexpr (sizeof(Cell) == 1) return _mm_sad_epu8(cells, _mm_setzero_si128());
    return _mm_madd_epi16(cells, _mm_set1_epi16(1));
}

// The sum of `side` cells.
template <class Cell>
DIB_ALWAYS_INLINE std::uint32_t windowSum(const Cell* cells, std::ptrdiff_t side) {
    constexpr std::ptrdiff_t kCells = 16 / asOffset(sizeof(Cell));
    // The last vector overlaps the one before it: as many bytes of these are ones as are new in it.
    alignas(16) static constexpr std::int8_t kNewCells[32] = {0,  0,  0,  0,  0,  0,  0,  0,  0,  0,  0,
                                                              0,  0,  0,  0,  0,  -1, -1, -1, -1, -1, -1,
                                                              -1, -1, -1, -1, -1, -1, -1, -1, -1, -1};
    const auto load = [](const void* from) { return _mm_loadu_si128(static_cast<const __m128i*>(from)); };
    __m128i sum = _mm_setzero_si128();
    std::ptrdiff_t i = 0;
    for (; i + kCells <= side; i += kCells) sum = _mm_add_epi32(sum, partialSums<Cell>(load(cells + i)));
    const std::ptrdiff_t newBytes = (side - i) * asOffset(sizeof(Cell));
    const __m128i last = _mm_and_si128(load(cells + side - kCells), load(kNewCells + newBytes));
    sum = _mm_add_epi32(sum, partialSums<Cell>(last));
    sum = _mm_add_epi32(sum, _mm_unpackhi_epi64(sum, sum));
    if constexpr (sizeof(Cell) == 2) sum = _mm_add_epi32(sum, _mm_shuffle_epi32(sum, 1));
    return static_cast<std::uint32_t>(_mm_cvtsi128_si32(sum));
}

#else

template <class Cell>
DIB_ALWAYS_INLINE std::uint32_t windowSum(const Cell* cells, std::ptrdiff_t side) {
    std::uint32_t sum = 0;
    for (std::ptrdiff_t i = 0; i < side; ++i) sum += cells[i];
    return sum;
}

#endif

// The window from column x on, and the bin in question.
template <class Cell>
struct Search {
    const typename BinWindow<Cell>::State& tile;
    std::ptrdiff_t x;
    std::ptrdiff_t bin;
    std::uint32_t first;  // pixels of the window before the bin
    std::uint32_t here;   // and in it

    DIB_ALWAYS_INLINE const Cell* countsOf(std::ptrdiff_t i) const { return tile.counts + i * tile.stride; }
    DIB_ALWAYS_INLINE const Cell* groupAt(std::ptrdiff_t i) const {
        return tile.groups + i / kGroup * tile.stride;
    }
    DIB_ALWAYS_INLINE std::uint32_t sumOf(const Cell* row) const { return windowSum(row + x, tile.side); }

    // To a lower bin, until at most `rank` pixels are before it. A group that the rank is not in is passed.
    DIB_ALWAYS_INLINE void goBack(std::uint32_t rank) {
        while (first > rank) {
            if (bin % kGroup == 0) {
                const Cell* group = groupAt(bin - kGroup);
                const std::uint32_t inGroup = sumOf(group);
                if (first - inGroup > rank) {
                    accumulate<-1>(tile.before, group, tile.stride);
                    first -= inGroup;
                    bin -= kGroup;
                    continue;
                }
            }
            --bin;
            accumulate<-1>(tile.before, countsOf(bin), tile.stride);
            here = sumOf(countsOf(bin));
            first -= here;
        }
    }

    // To a higher bin, until the rank is in it.
    DIB_ALWAYS_INLINE void goOn(std::uint32_t rank) {
        while (first + here <= rank) {
            const Cell* passed = countsOf(bin);
            std::ptrdiff_t step = 1;
            if (bin % kGroup == 0) {
                const std::uint32_t inGroup = sumOf(groupAt(bin));
                if (first + inGroup <= rank) {
                    passed = groupAt(bin);
                    here = inGroup;
                    step = kGroup;
                }
            }
            accumulate<1>(tile.before, passed, tile.stride);
            first += here;
            bin += step;
            here = sumOf(countsOf(bin));
        }
    }

    DIB_ALWAYS_INLINE void slide(bool rightwards) {
        const std::ptrdiff_t entering = rightwards ? x + tile.side : x - 1;
        const std::ptrdiff_t leaving = rightwards ? x : x + tile.side - 1;
        first += static_cast<std::uint32_t>(tile.before[entering] - tile.before[leaving]);
        here += static_cast<std::uint32_t>(countsOf(bin)[entering] - countsOf(bin)[leaving]);
        x += rightwards ? 1 : -1;
    }
};

// The bin found last.
template <class Cell>
DIB_ALWAYS_INLINE std::ptrdiff_t findBody(typename BinWindow<Cell>::State tile, std::uint32_t rank,
                                          std::ptrdiff_t count, bool rightwards, BinRank* found) {
    Search<Cell> search{tile, rightwards ? 0 : count - 1, tile.bin, 0, 0};
    search.first = search.sumOf(tile.before);
    search.here = search.sumOf(search.countsOf(tile.bin));
    for (std::ptrdiff_t done = 0;;) {
        search.goBack(rank);
        search.goOn(rank);
        found[search.x] = {static_cast<std::uint32_t>(search.bin), rank - search.first};
        if (++done == count) return search.bin;
        search.slide(rightwards);
    }
}

template <class Cell>
DIB_ALWAYS_INLINE void replaceBody(typename BinWindow<Cell>::State tile,
                                   const std::uint16_t* __restrict leaving,
                                   const std::uint16_t* __restrict entering, std::ptrdiff_t columns) {
    for (std::ptrdiff_t c = 0; c < columns; ++c) {
        --tile.counts[leaving[c] * tile.stride + c];
        ++tile.counts[entering[c] * tile.stride + c];
        --tile.groups[leaving[c] / kGroup * tile.stride + c];
        ++tile.groups[entering[c] / kGroup * tile.stride + c];
    }
    for (std::ptrdiff_t c = 0; c < columns; ++c)
        tile.before[c] =
            static_cast<Cell>(tile.before[c] + (entering[c] < tile.bin) - (leaving[c] < tile.bin));
}

}  // namespace

template <class Cell>
bool BinWindow<Cell>::prepare(std::ptrdiff_t mostBins, std::ptrdiff_t mostColumns, std::ptrdiff_t side) {
    const std::ptrdiff_t bins = roundedUp(mostBins, kGroup);
    const std::ptrdiff_t stride = roundedUp(mostColumns, kCellLanes<Cell>);
    memory_ = allocateArray<Cell>((bins + bins / kGroup + 1) * stride);
    state_.side = side;
    return memory_ != nullptr;
}

template <class Cell>
void BinWindow<Cell>::clear(std::ptrdiff_t bins, std::ptrdiff_t columns) {
    const std::ptrdiff_t rows = roundedUp(bins, kGroup);
    columns_ = columns;
    state_.stride = roundedUp(columns, kCellLanes<Cell>);
    state_.counts = memory_.get();
    state_.groups = state_.counts + rows * state_.stride;
    state_.before = state_.groups + rows / kGroup * state_.stride;
    state_.bin = 0;
    std::fill(state_.counts, state_.before + state_.stride, Cell{0});
}

template <class Cell>
void BinWindow<Cell>::add(const std::uint16_t* entering) {
    for (std::ptrdiff_t c = 0; c < columns_; ++c) {
        ++state_.counts[entering[c] * state_.stride + c];
        ++state_.groups[entering[c] / kGroup * state_.stride + c];
        if (entering[c] < state_.bin) ++state_.before[c];
    }
}

template <class Cell>
void BinWindow<Cell>::replace(const std::uint16_t* leaving, const std::uint16_t* entering) {
    runKernel<replaceBody<Cell>>(state_, leaving, entering, columns_);
}

template <class Cell>
void BinWindow<Cell>::find(std::uint32_t rank, std::ptrdiff_t count, bool rightwards, BinRank* found) {
    state_.bin = runKernel<findBody<Cell>>(state_, rank, count, rightwards, found);
}

template class BinWindow<std::uint8_t>;
template class BinWindow<std::uint16_t>;

}  // namespace dib

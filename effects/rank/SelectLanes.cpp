#include "effects/rank/SelectLanes.h"

#include <cstring>

#include "dib/Kernels.h"

namespace dib {

namespace {

// The compiler's own vectors: one source for every width of the machine's registers. A comparison gives lanes
// of 0 and -1, so that subtracting it counts.
using Bytes = std::int8_t __attribute__((vector_size(kSelectLanes)));
using Counts = std::uint8_t __attribute__((vector_size(kSelectLanes)));

constexpr std::int8_t kDarkest = -128;  // 0, flipped
// A count or a bit as one lane.
constexpr std::uint8_t lane(int value) { return static_cast<std::uint8_t>(value); }
constexpr int kMostPositions = kLongestSelectSide * kLongestSelectSide;

// The bytes of a block of squares, position by position: they are read many times, and aligned here.
struct Squares {
    Bytes at[kMostPositions];
};

template <class RowAt>
DIB_ALWAYS_INLINE void gather(int side, Squares& squares, const RowAt& rowAt) {
    int position = 0;
    for (int j = 0; j < side; ++j) {
        const std::int8_t* row = rowAt(j);
        for (int i = 0; i < side; ++i) std::memcpy(&squares.at[position++], row + i, sizeof(Bytes));
    }
}

// The highest byte of `bits` bits with at most `mostDarker` positions below it, found bit by bit. The number
// of positions is odd, so the two counters side by side cover all of them.
DIB_ALWAYS_INLINE void highestReached(const Squares& squares, int positions, int bits,
                                      const Counts& mostDarker, Bytes& level) {
    level = Bytes{} + kDarkest;
    for (int bit = bits - 1; bit >= 0; --bit) {
        // A bit can be added to a flipped byte as to the byte itself.
        const auto step = lane(1 << bit);
        const auto higher = reinterpret_cast<Bytes>(reinterpret_cast<Counts>(level) + step);
        Counts darker = Counts{} - reinterpret_cast<Counts>(squares.at[0] < higher);
        Counts darkerToo{};
        for (int p = 1; p < positions; p += 2) {
            darker -= reinterpret_cast<Counts>(squares.at[p] < higher);
            darkerToo -= reinterpret_cast<Counts>(squares.at[p + 1] < higher);
        }
        const auto reached = reinterpret_cast<Bytes>(darker + darkerToo <= mostDarker);
        level = (higher & reached) | (level & ~reached);
    }
}

// The position of the pixel with `before` equal ones before it. equalAt(p, equal) gives the lanes that are
// equal at position p.
template <class EqualAt>
DIB_ALWAYS_INLINE void storePositions(int count, Counts& before, std::uint16_t* positions,
                                      std::size_t results, const EqualAt& equalAt) {
    Counts position{};
    for (int p = 0; p < count; ++p) {
        Bytes equalBytes;
        equalAt(p, equalBytes);
        const auto equal = reinterpret_cast<Counts>(equalBytes);
        const Counts hit = equal & reinterpret_cast<Counts>(before == 0);
        position = (hit & lane(p)) | (position & ~hit);
        before += equal;
    }
    std::uint16_t found[kSelectLanes];
    for (std::ptrdiff_t lane = 0; lane < kSelectLanes; ++lane) found[lane] = position[lane];
    std::memcpy(positions, found, results * sizeof *positions);
}

DIB_ALWAYS_INLINE std::size_t resultsFrom(std::ptrdiff_t x, std::ptrdiff_t end) {
    return static_cast<std::size_t>(end - x < kSelectLanes ? end - x : kSelectLanes);
}

DIB_ALWAYS_INLINE void selectBody(const BrightnessPlanes* rows, int side, int rank, std::uint16_t* positions,
                                  std::ptrdiff_t count) {
    const int square = side * side;
    Squares highBytes;
    Squares lowBytes;

    for (std::ptrdiff_t x = 0; x < count; x += kSelectLanes) {
        // The high byte of the brightness selected.
        Counts mostDarker = Counts{} + lane(square - rank - 1);
        gather(side, highBytes, [&](int j) { return rows[j].high + x; });
        Bytes high;
        highestReached(highBytes, square, 8, mostDarker, high);

        // The low byte. Pixels of other high bytes become the darkest; those that are brighter are added to
        // the number of darker pixels allowed.
        gather(side, lowBytes, [&](int j) { return rows[j].low + x; });
        Counts brighter{};
        for (int p = 0; p < square; ++p) {
            const Bytes keys = highBytes.at[p];
            const Bytes equal = keys == high;
            lowBytes.at[p] = (lowBytes.at[p] & equal) | ((Bytes{} + kDarkest) & ~equal);
            brighter -= reinterpret_cast<Counts>(keys > high);
        }
        mostDarker += brighter;
        Bytes low;
        highestReached(lowBytes, square, 8, mostDarker, low);

        // Of the pixels of exactly that brightness, the one that completes the rank.
        for (int p = 0; p < square; ++p) brighter -= reinterpret_cast<Counts>(lowBytes.at[p] > low);
        Counts before = lane(rank) - brighter;
        storePositions(square, before, positions + x, resultsFrom(x, count), [&](int p, Bytes& equal) {
            equal = (highBytes.at[p] == high) & (lowBytes.at[p] == low);
        });
    }
}

DIB_ALWAYS_INLINE void keysBody(const std::int8_t* const* rows, int side, int rank, int bits,
                                std::int8_t* keys, std::ptrdiff_t count) {
    const int square = side * side;
    const Counts mostDarker = Counts{} + lane(square - rank - 1);
    Squares squares;
    for (std::ptrdiff_t x = 0; x < count; x += kSelectLanes) {
        gather(side, squares, [&](int j) { return rows[j] + x; });
        Bytes key;
        highestReached(squares, square, bits, mostDarker, key);
        std::memcpy(keys + x, &key, resultsFrom(x, count));
    }
}

DIB_ALWAYS_INLINE void positionsBody(const std::int8_t* const* rows, int side, int rank,
                                     const std::int8_t* keys, std::uint16_t* positions, std::ptrdiff_t first,
                                     std::ptrdiff_t end) {
    const int square = side * side;
    Squares squares;
    for (std::ptrdiff_t x = first; x < end; x += kSelectLanes) {
        gather(side, squares, [&](int j) { return rows[j] + x; });
        Bytes key{};
        std::memcpy(&key, keys + x, resultsFrom(x, end));
        Counts brighter{};
        for (int p = 0; p < square; ++p) brighter -= reinterpret_cast<Counts>(squares.at[p] > key);
        Counts before = lane(rank) - brighter;
        storePositions(square, before, positions + x, resultsFrom(x, end),
                       [&](int p, Bytes& equal) { equal = squares.at[p] == key; });
    }
}

}  // namespace

void selectByBrightness(const BrightnessPlanes* rows, int side, int rank, std::uint16_t* positions,
                        std::ptrdiff_t count) {
    runKernel<selectBody>(rows, side, rank, positions, count);
}

void selectKeys(const std::int8_t* const* rows, int side, int rank, int bits, std::int8_t* keys,
                std::ptrdiff_t count) {
    runKernel<keysBody>(rows, side, rank, bits, keys, count);
}

void positionsOfKeys(const std::int8_t* const* rows, int side, int rank, const std::int8_t* keys,
                     std::uint16_t* positions, std::ptrdiff_t first, std::ptrdiff_t end) {
    runKernel<positionsBody>(rows, side, rank, keys, positions, first, end);
}

}  // namespace dib

#include "effects/RankLanes.h"

#include <cstring>

#include "dib/Kernels.h"

namespace dib {

namespace {

// Vectors of the compiler's own kind: one source for every width of the machine's registers. A comparison
// gives lanes of 0 and -1, so that subtracting it counts.
using Bytes = std::int8_t __attribute__((vector_size(kRankLanes)));
using Counts = std::uint8_t __attribute__((vector_size(kRankLanes)));

// The darkest byte, flipped like all others.
constexpr std::int8_t kDarkest = -128;

constexpr int kMostPositions = kLongestRankSide * kLongestRankSide;

// The bytes of a square for a block of lanes, position by position. They are read many times, and aligned.
struct Square {
    Bytes at[kMostPositions];
};

template <class RowOf>
DIB_ALWAYS_INLINE void gather(int side, const RowOf& rowOf, Square& square) {
    int position = 0;
    for (int j = 0; j < side; ++j) {
        const std::int8_t* row = rowOf(j);
        for (int i = 0; i < side; ++i) std::memcpy(&square.at[position++], row + i, sizeof(Bytes));
    }
}

// The highest byte of `bits` bits that no more than `mostDarker` positions stay below, bit by bit. `Counts`
// holds a count of all positions. Their number is odd, so two counts side by side lack none.
DIB_ALWAYS_INLINE void highestReached(const Square& square, int positions, int bits, const Counts& mostDarker,
                                      Bytes& level) {
    level = Bytes{} + kDarkest;
    for (int bit = bits - 1; bit >= 0; --bit) {
        // Adding the bit to a flipped byte is adding it to the byte.
        const auto step = static_cast<std::uint8_t>(1 << bit);
        const auto higher = reinterpret_cast<Bytes>(reinterpret_cast<Counts>(level) + step);
        Counts darker = Counts{} - reinterpret_cast<Counts>(square.at[0] < higher);
        Counts darkerToo{};
        for (int p = 1; p < positions; p += 2) {
            darker -= reinterpret_cast<Counts>(square.at[p] < higher);
            darkerToo -= reinterpret_cast<Counts>(square.at[p + 1] < higher);
        }
        const auto reached = reinterpret_cast<Bytes>(darker + darkerToo <= mostDarker);
        level = (higher & reached) | (level & ~reached);
    }
}

// The position of the pixel with `before` equal ones in front of it; `equalAt` gives the lanes that are equal at
// a position.
template <class EqualAt>
DIB_ALWAYS_INLINE void storePlaces(int positions, Counts& before, const EqualAt& equalAt,
                                   std::uint16_t* which, std::size_t results) {
    Counts place{};
    for (int p = 0; p < positions; ++p) {
        Bytes equalBytes;
        equalAt(p, equalBytes);
        const auto equal = reinterpret_cast<Counts>(equalBytes);
        const Counts hit = equal & reinterpret_cast<Counts>(before == 0);
        place = (hit & static_cast<std::uint8_t>(p)) | (place & ~hit);
        before += equal;
    }
    std::uint16_t found[kRankLanes];
    for (std::size_t lane = 0; lane < kRankLanes; ++lane) found[lane] = place[lane];
    std::memcpy(which, found, results * sizeof *which);
}

DIB_ALWAYS_INLINE std::size_t resultsFrom(std::size_t x, std::size_t count) {
    return count - x < kRankLanes ? count - x : kRankLanes;
}

DIB_ALWAYS_INLINE void rankBody(const RankPlanes* rows, int side, int rank, std::uint16_t* which,
                                std::size_t count) {
    const int positions = side * side;
    Square highBytes;
    Square lowBytes;

    for (std::size_t x = 0; x < count; x += kRankLanes) {
        // The high byte of the brightness wanted: at most this many pixels are darker than it.
        Counts mostDarker = Counts{} + static_cast<std::uint8_t>(positions - rank - 1);
        gather(
            side, [&](int j) { return rows[j].high + x; }, highBytes);
        Bytes high;
        highestReached(highBytes, positions, 8, mostDarker, high);

        // The low byte: pixels of other high bytes count as darkest of all, and are counted once and for all.
        gather(
            side, [&](int j) { return rows[j].low + x; }, lowBytes);
        Counts brighter{};
        for (int p = 0; p < positions; ++p) {
            const Bytes keys = highBytes.at[p];
            const Bytes equal = keys == high;
            lowBytes.at[p] = (lowBytes.at[p] & equal) | ((Bytes{} + kDarkest) & ~equal);
            brighter -= reinterpret_cast<Counts>(keys > high);
        }
        mostDarker += brighter;
        Bytes low;
        highestReached(lowBytes, positions, 8, mostDarker, low);

        // Of the pixels of just that brightness, the one that as many come before as are left of the rank.
        for (int p = 0; p < positions; ++p) brighter -= reinterpret_cast<Counts>(lowBytes.at[p] > low);
        Counts before = static_cast<std::uint8_t>(rank) - brighter;
        storePlaces(
            positions, before,
            [&](int p, Bytes& equal) { equal = (highBytes.at[p] == high) & (lowBytes.at[p] == low); },
            which + x, resultsFrom(x, count));
    }
}

DIB_ALWAYS_INLINE void keysBody(const std::int8_t* const* rows, int side, int rank, int bits,
                                std::int8_t* keys, std::size_t count) {
    const int positions = side * side;
    Square square;
    for (std::size_t x = 0; x < count; x += kRankLanes) {
        gather(
            side, [&](int j) { return rows[j] + x; }, square);
        Bytes key;
        highestReached(square, positions, bits, Counts{} + static_cast<std::uint8_t>(positions - rank - 1),
                       key);
        std::memcpy(keys + x, &key, resultsFrom(x, count));
    }
}

DIB_ALWAYS_INLINE void placesBody(const std::int8_t* const* rows, int side, int rank, const std::int8_t* keys,
                                  std::uint16_t* which, std::size_t first, std::size_t end) {
    const int positions = side * side;
    Square square;
    for (std::size_t x = first; x < end; x += kRankLanes) {
        gather(
            side, [&](int j) { return rows[j] + x; }, square);
        Bytes key{};
        std::memcpy(&key, keys + x, resultsFrom(x, end));
        Counts brighter{};
        for (int p = 0; p < positions; ++p) brighter -= reinterpret_cast<Counts>(square.at[p] > key);
        Counts before = static_cast<std::uint8_t>(rank) - brighter;
        storePlaces(
            positions, before, [&](int p, Bytes& equal) { equal = square.at[p] == key; }, which + x,
            resultsFrom(x, end));
    }
}

}  // namespace

void rankSquares(const RankPlanes* rows, int side, int rank, std::uint16_t* which, std::size_t count) {
    runKernel<rankBody>(rows, side, rank, which, count);
}

void rankKeys(const std::int8_t* const* rows, int side, int rank, int bits, std::int8_t* keys,
              std::size_t count) {
    runKernel<keysBody>(rows, side, rank, bits, keys, count);
}

void placesOfKeys(const std::int8_t* const* rows, int side, int rank, const std::int8_t* keys,
                  std::uint16_t* which, std::size_t first, std::size_t count) {
    runKernel<placesBody>(rows, side, rank, keys, which, first, first + count);
}

}  // namespace dib

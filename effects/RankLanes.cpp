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

DIB_ALWAYS_INLINE void load(const std::int8_t* at, Bytes& bytes) { std::memcpy(&bytes, at, sizeof bytes); }

// The highest byte that no more than `mostDarker` positions stay below, bit by bit. `Counts` holds a count of
// all positions, `loadAt` gives the bytes of one.
template <class Load>
DIB_ALWAYS_INLINE void highestReached(int side, const Counts& mostDarker, const Load& loadAt, Bytes& level) {
    level = Bytes{} + kDarkest;
    for (int bit = 7; bit >= 0; --bit) {
        // Adding the bit to a flipped byte is adding it to the byte.
        const auto step = static_cast<std::uint8_t>(1 << bit);
        const auto higher = reinterpret_cast<Bytes>(reinterpret_cast<Counts>(level) + step);
        Counts darker{};
        for (int j = 0; j < side; ++j) {
            for (int i = 0; i < side; ++i) {
                Bytes keys;
                loadAt(j, i, keys);
                darker -= reinterpret_cast<Counts>(keys < higher);
            }
        }
        const auto reached = reinterpret_cast<Bytes>(darker <= mostDarker);
        level = (higher & reached) | (level & ~reached);
    }
}

DIB_ALWAYS_INLINE void rankBody(const RankPlanes* rows, int side, int rank, std::uint16_t* which,
                                std::size_t count) {
    const int positions = side * side;
    alignas(kRankLanes) std::int8_t lowBytes[kMostPositions][kRankLanes];

    for (std::size_t x = 0; x < count; x += kRankLanes) {
        // The high byte of the brightness wanted: at most this many pixels are darker than it.
        Counts mostDarker = Counts{} + static_cast<std::uint8_t>(positions - rank - 1);
        Bytes high;
        highestReached(
            side, mostDarker, [&](int j, int i, Bytes& keys) { load(rows[j].high + x + i, keys); }, high);

        // The low byte: pixels of other high bytes count as darkest of all, and are counted once and for all.
        Counts brighter{};
        for (int j = 0; j < side; ++j) {
            for (int i = 0; i < side; ++i) {
                Bytes keys;
                Bytes low;
                load(rows[j].high + x + i, keys);
                load(rows[j].low + x + i, low);
                const Bytes equal = keys == high;
                const Bytes own = (low & equal) | ((Bytes{} + kDarkest) & ~equal);
                std::memcpy(lowBytes[j * side + i], &own, sizeof own);
                brighter -= reinterpret_cast<Counts>(keys > high);
            }
        }
        mostDarker += brighter;
        Bytes low;
        highestReached(
            side, mostDarker, [&](int j, int i, Bytes& keys) { load(lowBytes[j * side + i], keys); }, low);

        // Of the pixels of just that brightness, the one that as many come before as are left of the rank.
        for (int p = 0; p < positions; ++p) {
            Bytes keys;
            load(lowBytes[p], keys);
            brighter -= reinterpret_cast<Counts>(keys > low);
        }
        Counts before = static_cast<std::uint8_t>(rank) - brighter;
        Counts place{};
        std::uint8_t position = 0;
        for (int j = 0; j < side; ++j) {
            for (int i = 0; i < side; ++i, ++position) {
                Bytes keys;
                Bytes lowKeys;
                load(rows[j].high + x + i, keys);
                load(rows[j].low + x + i, lowKeys);
                const Bytes equalBytes = (keys == high) & (lowKeys == low);
                const auto equal = reinterpret_cast<Counts>(equalBytes);
                const Counts hit = equal & reinterpret_cast<Counts>(before == 0);
                place = (hit & position) | (place & ~hit);
                before += equal;
            }
        }
        std::uint16_t found[kRankLanes];
        for (std::size_t lane = 0; lane < kRankLanes; ++lane) found[lane] = place[lane];
        const std::size_t results = count - x < kRankLanes ? count - x : kRankLanes;
        std::memcpy(which + x, found, results * sizeof *which);
    }
}

}  // namespace

void rankSquares(const RankPlanes* rows, int side, int rank, std::uint16_t* which, std::size_t count) {
    runKernel<rankBody>(rows, side, rank, which, count);
}

}  // namespace dib

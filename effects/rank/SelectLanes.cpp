#include "effects/rank/SelectLanes.h"

#include <cstring>

#include "dib/Kernels.h"

namespace dib {

namespace {

// The compiler's own vectors, as wide as the machine's registers. A comparison gives lanes of 0 and -1, so
// that subtracting it counts.
template <std::ptrdiff_t Width>
struct Lanes {
    using Bytes __attribute__((vector_size(Width))) = std::int8_t;
    using Counts __attribute__((vector_size(Width))) = std::uint8_t;
};
template <std::ptrdiff_t Width>
using Bytes = typename Lanes<Width>::Bytes;
template <std::ptrdiff_t Width>
using Counts = typename Lanes<Width>::Counts;

constexpr std::int8_t kDarkest = -128;  // 0, flipped
// A count or a bit as one lane.
constexpr std::uint8_t lane(int value) { return static_cast<std::uint8_t>(value); }
constexpr int kMostPositions = kLongestSelectSide * kLongestSelectSide;

// The bytes of a block of squares, position by position: they are read many times, and aligned here.
template <std::ptrdiff_t Width>
struct Squares {
    Bytes<Width> at[kMostPositions];
};

template <std::ptrdiff_t Width, class RowAt>
DIB_ALWAYS_INLINE void gather(int side, Squares<Width>& squares, const RowAt& rowAt) {
    int position = 0;
    for (int j = 0; j < side; ++j) {
        const std::int8_t* row = rowAt(j);
        for (int i = 0; i < side; ++i) std::memcpy(&squares.at[position++], row + i, sizeof(Bytes<Width>));
    }
}

// The highest byte of `bits` bits with at most `mostDarker` positions below it, found bit by bit. The number
// of positions is odd, so the two counters side by side cover all of them.
template <std::ptrdiff_t Width>
DIB_ALWAYS_INLINE void highestReached(const Squares<Width>& squares, int positions, int bits,
                                      const Counts<Width>& mostDarker, Bytes<Width>& level) {
    level = Bytes<Width>{} + kDarkest;
    for (int bit = bits - 1; bit >= 0; --bit) {
        // A bit can be added to a flipped byte as to the byte itself.
        const auto step = lane(1 << bit);
        const auto higher = reinterpret_cast<Bytes<Width>>(reinterpret_cast<Counts<Width>>(level) + step);
        Counts<Width> darker = Counts<Width>{} - reinterpret_cast<Counts<Width>>(squares.at[0] < higher);
        Counts<Width> darkerToo{};
        for (int p = 1; p < positions; p += 2) {
            darker -= reinterpret_cast<Counts<Width>>(squares.at[p] < higher);
            darkerToo -= reinterpret_cast<Counts<Width>>(squares.at[p + 1] < higher);
        }
        const auto reached = reinterpret_cast<Bytes<Width>>(darker + darkerToo <= mostDarker);
        level = (higher & reached) | (level & ~reached);
    }
}

// The position of the pixel with `before` equal ones before it. equalAt(p, equal) gives the lanes that are
// equal at position p.
template <std::ptrdiff_t Width, class EqualAt>
DIB_ALWAYS_INLINE void storePositions(int count, Counts<Width>& before, std::uint16_t* positions,
                                      std::size_t results, const EqualAt& equalAt) {
    Counts<Width> position{};
    for (int p = 0; p < count; ++p) {
        Bytes<Width> equalBytes;
        equalAt(p, equalBytes);
        const auto equal = reinterpret_cast<Counts<Width>>(equalBytes);
        const Counts<Width> hit = equal & reinterpret_cast<Counts<Width>>(before == 0);
        position = (hit & lane(p)) | (position & ~hit);
        before += equal;
    }
    std::uint16_t found[Width];
    for (std::ptrdiff_t lane = 0; lane < Width; ++lane) found[lane] = position[lane];
    std::memcpy(positions, found, results * sizeof *positions);
}

template <std::ptrdiff_t Width>
DIB_ALWAYS_INLINE std::size_t resultsFrom(std::ptrdiff_t x, std::ptrdiff_t end) {
    return static_cast<std::size_t>(end - x < Width ? end - x : Width);
}

template <std::ptrdiff_t Width>
DIB_ALWAYS_INLINE void selectBody(const BrightnessPlanes* rows, int side, int rank, std::uint16_t* positions,
                                  std::ptrdiff_t count) {
    const int square = side * side;
    Squares<Width> highBytes;
    Squares<Width> lowBytes;

    for (std::ptrdiff_t x = 0; x < count; x += Width) {
        // The high byte of the brightness selected.
        Counts<Width> mostDarker = Counts<Width>{} + lane(square - rank - 1);
        gather(side, highBytes, [&](int j) { return rows[j].high + x; });
        Bytes<Width> high;
        highestReached(highBytes, square, 8, mostDarker, high);

        // The low byte. Pixels of other high bytes become the darkest; those that are brighter are added to
        // the number of darker pixels allowed.
        gather(side, lowBytes, [&](int j) { return rows[j].low + x; });
        Counts<Width> brighter{};
        for (int p = 0; p < square; ++p) {
            const Bytes<Width> keys = highBytes.at[p];
            const Bytes<Width> equal = keys == high;
            lowBytes.at[p] = (lowBytes.at[p] & equal) | ((Bytes<Width>{} + kDarkest) & ~equal);
            brighter -= reinterpret_cast<Counts<Width>>(keys > high);
        }
        mostDarker += brighter;
        Bytes<Width> low;
        highestReached(lowBytes, square, 8, mostDarker, low);

        // Of the pixels of exactly that brightness, the one that completes the rank.
        for (int p = 0; p < square; ++p) brighter -= reinterpret_cast<Counts<Width>>(lowBytes.at[p] > low);
        Counts<Width> before = lane(rank) - brighter;
        storePositions<Width>(
            square, before, positions + x, resultsFrom<Width>(x, count),
            [&](int p, Bytes<Width>& equal) { equal = (highBytes.at[p] == high) & (lowBytes.at[p] == low); });
    }
}

template <std::ptrdiff_t Width>
DIB_ALWAYS_INLINE void keysBody(const std::int8_t* const* rows, int side, int rank, int bits,
                                std::int8_t* keys, std::ptrdiff_t count) {
    const int square = side * side;
    const Counts<Width> mostDarker = Counts<Width>{} + lane(square - rank - 1);
    Squares<Width> squares;
    for (std::ptrdiff_t x = 0; x < count; x += Width) {
        gather(side, squares, [&](int j) { return rows[j] + x; });
        Bytes<Width> key;
        highestReached(squares, square, bits, mostDarker, key);
        std::memcpy(keys + x, &key, resultsFrom<Width>(x, count));
    }
}

template <std::ptrdiff_t Width>
DIB_ALWAYS_INLINE void positionsBody(const std::int8_t* const* rows, int side, int rank,
                                     const std::int8_t* keys, std::uint16_t* positions, std::ptrdiff_t first,
                                     std::ptrdiff_t end) {
    const int square = side * side;
    Squares<Width> squares;
    for (std::ptrdiff_t x = first; x < end; x += Width) {
        gather(side, squares, [&](int j) { return rows[j] + x; });
        Bytes<Width> key{};
        std::memcpy(&key, keys + x, resultsFrom<Width>(x, end));
        Counts<Width> brighter{};
        for (int p = 0; p < square; ++p) brighter -= reinterpret_cast<Counts<Width>>(squares.at[p] > key);
        Counts<Width> before = lane(rank) - brighter;
        storePositions<Width>(square, before, positions + x, resultsFrom<Width>(x, end),
                              [&](int p, Bytes<Width>& equal) { equal = squares.at[p] == key; });
    }
}

// Bytes of the vectors, of which squares are a multiple.
constexpr std::ptrdiff_t kWidth = kSelectLanes;
constexpr std::ptrdiff_t kNarrowWidth = 16;

}  // namespace

void selectByBrightness(const BrightnessPlanes* rows, int side, int rank, std::uint16_t* positions,
                        std::ptrdiff_t count) {
    runKernel<selectBody<kWidth>, selectBody<kNarrowWidth>>(rows, side, rank, positions, count);
}

void selectKeys(const std::int8_t* const* rows, int side, int rank, int bits, std::int8_t* keys,
                std::ptrdiff_t count) {
    runKernel<keysBody<kWidth>, keysBody<kNarrowWidth>>(rows, side, rank, bits, keys, count);
}

void positionsOfKeys(const std::int8_t* const* rows, int side, int rank, const std::int8_t* keys,
                     std::uint16_t* positions, std::ptrdiff_t first, std::ptrdiff_t end) {
    runKernel<positionsBody<kWidth>, positionsBody<kNarrowWidth>>(rows, side, rank, keys, positions, first,
                                                                  end);
}

}  // namespace dib

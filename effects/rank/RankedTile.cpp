#include "effects/rank/RankedTile.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <utility>

#include "dib/Bytes.h"
#include "dib/Kernels.h"
#include "dib/Numbers.h"
#include "effects/rank/CellVector.h"

#if defined(__SSE2__)
#include <immintrin.h>
#endif

namespace dib {

namespace {

// The smallest bins hold as many pixels as are compared at a time.
constexpr int kLeastBinShift = 6;

// Bit i is set where lane i of eight bytes, or of four words, is.
template <class Cell>
DIB_ALWAYS_INLINE std::uint32_t lanesOfWord(std::uint64_t lanes) {
    if constexpr (sizeof(Cell) == 2)
        return static_cast<std::uint32_t>((lanes & 0x0001000100010001) * 0x0001000200040008 >> 48 & 15);
    return static_cast<std::uint32_t>((lanes & 0x0101010101010101) * 0x0102040810204080 >> 56);
}

// Bit i is set where lane i of a vector is.
template <class Cell, std::ptrdiff_t Width>
DIB_ALWAYS_INLINE std::uint32_t lanesSet(const CellVector<Cell, Width>& lanes) {
    std::uint32_t set = 0;
#if defined(__SSE2__)
    constexpr std::ptrdiff_t kHalves = Width / 16;
    __m128i half[kHalves];
    std::memcpy(half, &lanes, sizeof half);
    if constexpr (sizeof(Cell) == 2) {
        const __m128i last = kHalves == 2 ? half[kHalves - 1] : _mm_setzero_si128();
        return static_cast<std::uint32_t>(_mm_movemask_epi8(_mm_packs_epi16(half[0], last)));
    }
    for (std::ptrdiff_t i = 0; i < kHalves; ++i)
        set |= static_cast<std::uint32_t>(_mm_movemask_epi8(half[i])) << (16 * i);
#else
    std::uint64_t words[Width / 8];
    std::memcpy(words, &lanes, sizeof words);
    for (std::ptrdiff_t i = 0; i < Width / 8; ++i)
        set |= lanesOfWord<Cell>(words[i]) << (8 / asOffset(sizeof(Cell)) * i);
#endif
    return set;
}

// By byte and rank: the bit that has `rank` set ones below it.
struct BitOfByte {
    std::uint8_t at[8][256] = {};
    constexpr BitOfByte() {
        for (unsigned byte = 0; byte < 256; ++byte) {
            unsigned rank = 0;
            for (unsigned bit = 0; bit < 8; ++bit) {
                if ((byte >> bit & 1) != 0) at[rank++][byte] = byteOf(bit);
            }
        }
    }
};
constexpr BitOfByte kBitOfByte;

constexpr std::uint64_t kOnes = 0x0101010101010101;

// For each byte of a word the number of set bits in it and in all bytes below.
DIB_ALWAYS_INLINE std::uint64_t bitsUpToByte(std::uint64_t word) {
    word -= word >> 1 & 0x5555555555555555;
    word = (word & 0x3333333333333333) + (word >> 2 & 0x3333333333333333);
    return ((word + (word >> 4)) & 0x0F0F0F0F0F0F0F0F) * kOnes;
}

// The bit of a word that has `rank` set ones below it, without a branch: none could be predicted.
DIB_ALWAYS_INLINE int nthBit(std::uint64_t word, std::uint64_t upToByte, std::uint32_t rank) {
    // The top bit of each byte: whether it and those below have at most `rank` bits. The numbers are below
    // 128, so no byte borrows from the next.
    const std::uint64_t passed = ((rank * kOnes | 0x80 * kOnes) - upToByte) & 0x80 * kOnes;
    const int byte = asInt((passed >> 7) * kOnes >> 56) * 8;
    const auto inByte = rank - static_cast<std::uint32_t>(upToByte << 8 >> byte & 255);
    return byte + kBitOfByte.at[inByte][word >> byte & 255];
}

// Pixels of a bin that are compared at a time: as many as a word has bits.
constexpr std::ptrdiff_t kCompared = 64;

// The number within a bin of the pixel that has `rank` others in the square before it.
template <std::ptrdiff_t Width, class Cell>
DIB_ALWAYS_INLINE std::ptrdiff_t nthInside(const Cell* xs, const Cell* ys, std::ptrdiff_t left,
                                           std::ptrdiff_t top, std::ptrdiff_t side, std::uint32_t rank) {
    using Vector = CellVector<Cell, Width>;
    // The differences are unsigned: those of pixels before the square are large.
    const Vector lefts = Vector{} + static_cast<Cell>(left);
    const Vector tops = Vector{} + static_cast<Cell>(top);
    const Vector furthest = Vector{} + static_cast<Cell>(side - 1);
    for (std::ptrdiff_t at = 0;; at += kCompared) {
        std::uint64_t inside = 0;
        for (std::ptrdiff_t i = 0; i < kCompared; i += kCellLanes<Cell, Width>) {
            Vector x;
            Vector y;
            std::memcpy(&x, xs + at + i, sizeof x);
            std::memcpy(&y, ys + at + i, sizeof y);
            const auto both = (x - lefts <= furthest) & (y - tops <= furthest);
            inside |= std::uint64_t{lanesSet<Cell, Width>(reinterpret_cast<Vector>(both))} << i;
        }
        const std::uint64_t upToByte = bitsUpToByte(inside);
        const auto count = static_cast<std::uint32_t>(upToByte >> 56);
        if (rank < count) return at + nthBit(inside, upToByte, rank);
        rank -= count;
    }
}

template <class Cell, std::ptrdiff_t Width>
DIB_ALWAYS_INLINE void selectBody(const Cell* xs, const Cell* ys, int binShift, const BinRank* found,
                                  std::ptrdiff_t count, std::ptrdiff_t top, std::ptrdiff_t side,
                                  typename RankedTile<Cell>::Position* positions) {
    for (std::ptrdiff_t x = 0; x < count; ++x) {
        const std::ptrdiff_t start = static_cast<std::ptrdiff_t>(found[x].bin) << binShift;
        const std::ptrdiff_t at =
            start + nthInside<Width>(xs + start, ys + start, x, top, side, found[x].rank);
        positions[x] = {xs[at], ys[at]};
    }
}

// An entry of the sort: the high byte of a key and a position.
constexpr int kRowShift = 12;
constexpr int kKeyShift = 24;
constexpr std::uint32_t kColumnMask = (1U << kRowShift) - 1;

void startsOf(std::uint32_t (&counts)[256]) {
    std::uint32_t start = 0;
    for (std::uint32_t& count : counts) start += std::exchange(count, start);
}

}  // namespace

template <class Cell>
bool RankedTile<Cell>::prepare(std::ptrdiff_t mostColumns, std::ptrdiff_t mostRows) {
    const std::ptrdiff_t most = mostColumns * mostRows;
    // With many columns a bin costs more memory than the pixels in it.
    const std::ptrdiff_t bins = sizeof(Cell) == 1 ? 256 : 2 * mostColumns;
    for (binShift_ = kLeastBinShift; (most >> binShift_) >= bins; ++binShift_) {
    }
    mostBins_ = (most >> binShift_) + 1;
    entries_ = allocateArray<std::uint32_t>(most);
    // Whole bins are read.
    xs_ = allocateZeroed<Cell>(mostBins_ << binShift_);
    ys_ = allocateZeroed<Cell>(mostBins_ << binShift_);
    bins_ = allocateArray<std::uint16_t>(most);
    return entries_ != nullptr && xs_ != nullptr && ys_ != nullptr && bins_ != nullptr;
}

// A radix sort, which keeps the order of equal keys: by the low byte into the entries, then by the high one.
template <class Cell>
void RankedTile<Cell>::rank(const std::uint16_t* keys, std::ptrdiff_t pitch, std::ptrdiff_t columns,
                            std::ptrdiff_t rows) {
    columns_ = columns;
    std::uint32_t low[256] = {};
    std::uint32_t high[256] = {};
    for (std::ptrdiff_t y = 0; y < rows; ++y) {
        for (std::ptrdiff_t x = 0; x < columns; ++x) {
            const std::uint32_t key = keys[y * pitch + x];
            ++low[key & 255];
            ++high[key >> 8];
        }
    }
    startsOf(low);
    startsOf(high);
    for (std::ptrdiff_t y = 0; y < rows; ++y) {
        for (std::ptrdiff_t x = 0; x < columns; ++x) {
            const std::uint32_t key = keys[y * pitch + x];
            entries_[low[key & 255]++] =
                (key >> 8) << kKeyShift | static_cast<std::uint32_t>(y << kRowShift | x);
        }
    }
    for (std::ptrdiff_t i = 0; i < columns * rows; ++i) {
        const std::uint32_t entry = entries_[i];
        const std::uint32_t rank = high[entry >> kKeyShift]++;
        const std::uint32_t x = entry & kColumnMask;
        const std::uint32_t y = entry >> kRowShift & kColumnMask;
        xs_[rank] = static_cast<Cell>(x);
        ys_[rank] = static_cast<Cell>(y);
        bins_[y * static_cast<std::uint32_t>(columns) + x] = wordOf(rank >> binShift_);
    }
}

template <class Cell>
void RankedTile<Cell>::select(const BinRank* found, std::ptrdiff_t count, std::ptrdiff_t top,
                              std::ptrdiff_t side, Position* positions) const {
    runKernel<selectBody<Cell, kCellVectorBytes>, selectBody<Cell, kNarrowCellVectorBytes>>(
        static_cast<const Cell*>(xs_.get()), static_cast<const Cell*>(ys_.get()), binShift_, found, count,
        top, side, positions);
}

template class RankedTile<std::uint8_t>;
template class RankedTile<std::uint16_t>;

}  // namespace dib

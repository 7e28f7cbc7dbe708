// The three dithers: ordered to a colour cube, error diffusion to black and white, and the carried remainder.
#include <algorithm>
#include <cstring>
#include <utility>

#include "dib/ChangeDepth.h"
#include "dib/Kernels.h"

namespace dib {

namespace {

// Thresholds 0 to 50, of which row x and column y belong to the pixels with x and y modulo 8.
constexpr std::uint8_t kHalftone8x8[8][8] = {
    {0, 38, 9, 47, 2, 40, 11, 50},    {25, 12, 35, 22, 27, 15, 37, 24}, {6, 44, 3, 41, 8, 47, 5, 43},
    {31, 19, 28, 15, 34, 21, 31, 18}, {1, 39, 11, 49, 0, 39, 10, 48},   {27, 14, 36, 23, 26, 13, 35, 23},
    {7, 46, 4, 43, 7, 45, 3, 42},     {33, 20, 30, 17, 32, 19, 29, 16},
};

// The cube has six levels 51 apart.
constexpr unsigned int kLevelStep = 51;

// x / 51 for the sums that occur (up to 305). 1286 / 65536 exceeds 1 / 51 too little to round a quotient up.
constexpr std::uint16_t divideBy51(unsigned int x) { return static_cast<std::uint16_t>(x * 1286U >> 16); }
constexpr bool divisionHolds() {
    for (unsigned int x = 0; x <= 255 + 50; ++x) {
        if (divideBy51(x) != x / kLevelStep) return false;
    }
    return true;
}
static_assert(divisionHolds());

// A channel c is raised to the next level when its threshold is below c mod 51. The level is therefore
// (c + 50 - threshold) / 51: one division instead of a quotient, a remainder and a comparison.
DIB_ALWAYS_INLINE void ditherKernel(const std::uint8_t* __restrict bgr, std::uint8_t* __restrict to,
                                    std::size_t count, const std::uint16_t* __restrict raise) {
    for (std::size_t i = 0; i < count; ++i) {
        const auto level = [&](std::size_t at) {
            return divideBy51(static_cast<std::uint16_t>(bgr[at] + raise[i]));
        };
        to[i] = static_cast<std::uint8_t>(level(3 * i + 2) + 6 * level(3 * i + 1) + 36 * level(3 * i));
    }
}

}  // namespace

DibBGRA cubeColor(unsigned int index) {
    const auto level = [](unsigned int step) { return static_cast<std::uint8_t>(step % 6 * kLevelStep); };
    return {level(index / 36), level(index / 6), level(index), 0};
}

void ditherToCube(const std::uint8_t* bgr, std::uint8_t* to, std::size_t count, std::size_t bufferRow) {
    std::uint16_t raise[kStripPixels];
    for (std::size_t i = 0; i < 8; ++i) {
        raise[i] = static_cast<std::uint16_t>(kLevelStep - 1 - kHalftone8x8[i][bufferRow % 8]);
    }
    for (std::size_t i = 8; i < count; i += 8) std::memcpy(raise + i, raise, 8 * sizeof raise[0]);
    runKernel<ditherKernel>(bgr, to, count, raise);
}

void carryToWords(const std::uint8_t* bgr, std::uint16_t* to, std::size_t count, RemainderCarry& carry) {
    const auto next = [](unsigned int value, unsigned int& carried) {
        const unsigned int sum = std::min(value + carried, 255U);
        carried = sum & 7U;
        return sum >> 3;
    };
    for (std::size_t i = 0; i < count; ++i) {
        const unsigned int blue = next(bgr[3 * i], carry.blue);
        const unsigned int green = next(bgr[3 * i + 1], carry.green);
        const unsigned int red = next(bgr[3 * i + 2], carry.red);
        to[i] = static_cast<std::uint16_t>(red << 10 | green << 5 | blue);
    }
}

// Error diffusion with the weights of Stucki, in 42nds:
//
//                  *   8   4
//          2   4   8   4   2
//          1   2   4   2   1
//
// The last weight, two rows down and two to the right, is not a fixed share: it gets the rest that the shares
// inside the picture and the division by 42 leave. At the left edge, where shares have nowhere to go, that is
// more than 1/42.
//
// Errors are not scattered to twelve places: each row keeps its errors, and the sums from the two rows above
// are gathered for a whole row at once. Only shares from the left are added pixel by pixel.

namespace {

constexpr std::size_t kMargin = 2;

DIB_ALWAYS_INLINE void gatherKernel(const std::int32_t* __restrict above,
                                    const std::int32_t* __restrict twoAbove,
                                    const std::int32_t* __restrict remainder,
                                    std::int32_t* __restrict incoming, std::size_t width) {
    for (std::size_t x = 0; x < width; ++x) {
        // Column x of the picture is element x + 2 of the rows with margins.
        incoming[x] = 2 * (above[x] + above[x + 4]) + 4 * (above[x + 1] + above[x + 3]) + 8 * above[x + 2] +
                      2 * (twoAbove[x + 1] + twoAbove[x + 3]) + 4 * twoAbove[x + 2] + twoAbove[x + 4] +
                      remainder[x];
    }
}

// The state that runs along a row: the errors of the last two pixels.
struct Trail {
    std::int64_t last = 0;
    std::int64_t beforeLast = 0;
};

// Every pixel depends on the error of the one before, so the latency from one sum to the next counts: a
// multiplication replaces the division, there is no branch (black and white are unpredictable), and the
// decision runs beside the division instead of after it. With k = 128 - grey, grey + sum / 42 >= 128 holds
// from sum = 42 k on, or, where truncation rounds up, from 42 k - 41 on.
constexpr std::int64_t whiteFrom(std::int64_t grey) {
    const std::int64_t k = 128 - grey;
    return k > 0 ? 42 * k : 42 * k - 41;
}

// floor(sum / 42) for sums of 32 bits, but one less for negative multiples of 42, so that subtracting the
// sign gives the quotient truncated towards zero: 818089009 / 2^35 exceeds 1 / 42 by 10 / (42 x 2^35).
constexpr std::int64_t divideBy42(std::int64_t sum) { return (sum * 818089009) >> 35; }

inline std::int64_t diffusePixel(std::int64_t grey, std::int64_t incoming, Trail& trail, std::int32_t& error,
                                 std::int32_t& remainder) {
    const std::int64_t sum = incoming + 4 * trail.beforeLast + 8 * trail.last;
    const std::int64_t white = (whiteFrom(grey) - 1 - sum) >> 63;  // -1 or 0
    const std::int64_t sign = sum >> 63;
    const std::int64_t quotient = divideBy42(sum);
    const std::int64_t own = grey - (255 & white) - sign;
    trail = {own + quotient, trail.last};
    error = static_cast<std::int32_t>(trail.last);
    remainder = static_cast<std::int32_t>(trail.last + sum - 42 * (quotient - sign));
    return -white;
}

}  // namespace

ErrorDiffusion::ErrorDiffusion(std::size_t width) : width_(width) {
    const std::size_t rowLength = width + 2 * kMargin;
    const std::size_t greyLength = width / sizeof(std::int32_t) + 1;
    block_ = allocateZeroed<std::int32_t>(6 * rowLength + width + greyLength);
    if (block_ == nullptr) return;
    std::int32_t* next = block_.get();
    for (Row* row : {&current_, &above_, &twoAbove_}) {
        *row = {next, next + rowLength};
        next += 2 * rowLength;
    }
    incoming_ = next;
    grey_ = reinterpret_cast<std::uint8_t*>(incoming_ + width);
}

void ErrorDiffusion::diffuse(std::uint8_t* bits) {
    runKernel<gatherKernel>(above_.error, twoAbove_.error, twoAbove_.remainder, incoming_, width_);

    Trail trail;
    std::int32_t* error = current_.error + kMargin;
    std::int32_t* remainder = current_.remainder + kMargin;
    for (std::size_t x = 0; x < width_; x += 8) {
        const std::size_t count = std::min<std::size_t>(8, width_ - x);
        std::int64_t byte = 0;
        for (std::size_t i = x; i < x + count; ++i) {
            byte = 2 * byte + diffusePixel(grey_[i], incoming_[i], trail, error[i], remainder[i]);
        }
        bits[x / 8] = static_cast<std::uint8_t>(byte << (8 - count));
    }
    // The first two columns could not give 2 + 4 + 1 + 2 and 2 + 1 shares to their left.
    if (width_ > 0) remainder[0] += 9 * error[0];
    if (width_ > 1) remainder[1] += 3 * error[1];

    std::swap(twoAbove_, above_);
    std::swap(above_, current_);
}

}  // namespace dib

#include "effects/gaussian/GaussianByBoxes.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "dib/Kernels.h"
#include "dib/Numbers.h"

namespace dib {

namespace {

// Measured per sample of a row at 24 bits, in picoseconds.
struct Costs {
    std::ptrdiff_t product;
    std::ptrdiff_t box;
    std::ptrdiff_t row;  // of boxes
};
DIB_ALWAYS_INLINE constexpr Costs costs() { return {35, 29, 367}; }
DIB_ALWAYS_INLINE constexpr Costs costsOfWidest() { return {15, 27, 203}; }

}  // namespace

bool boxesAreCheaper(const GaussianKernel& kernel) {
    if (!kernel.falls()) return false;
    std::ptrdiff_t products = 0;
    std::ptrdiff_t boxes = 0;
    for (int j = 0; j <= kernel.reach(); ++j) {
        boxes += kernel.weight(0, j);
        for (int i = 0; i <= kernel.reach(); ++i) products += kernel.weight(i, j) != 0 ? 1 : 0;
    }
    const Costs cost = runWidestKernel<costs, costsOfWidest>();
    const std::ptrdiff_t rows = std::ptrdiff_t{kernel.reach()} + 1;
    return boxes * cost.box + rows * cost.row < products * cost.product;
}

bool GaussianByBoxes::prepare(const Raster& image) {
    if (!window_.prepare(image, kernel_.reach(), flags_) || !listBoxes()) return false;
    folded_ = allocateZeroed<std::uint16_t>(window_.stride());
    steps_ = allocateZeroed<std::uint32_t>(window_.stride());
    return folded_ != nullptr && steps_ != nullptr;
}

// For each row one half width per unit of its middle weight: the widest run of weights at or above that
// level.
bool GaussianByBoxes::listBoxes() {
    const int reach = kernel_.reach();
    std::ptrdiff_t count = 0;
    for (int j = 0; j <= reach; ++j) count += kernel_.weight(0, j);
    halves_ = allocateArray<std::uint8_t>(count + 1);
    if (halves_ == nullptr) return false;
    std::uint8_t* next = halves_.get();
    for (int j = 0; j <= reach; ++j) {
        int half = reach;
        for (std::uint32_t level = 1; level <= kernel_.weight(0, j); ++level) {
            while (kernel_.weight(half, j) < level) --half;
            *next++ = static_cast<std::uint8_t>(half);
        }
    }
    return true;
}

namespace {

DIB_ALWAYS_INLINE void addRows(const unsigned char* above, const unsigned char* below,
                               std::uint16_t* __restrict out, std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count; ++i) out[i] = static_cast<std::uint16_t>(above[i] + below[i]);
}

// Turns the steps between the pixels of a row into the pixels, given the first one.
template <std::ptrdiff_t Channels>
DIB_ALWAYS_INLINE void addUpSteps(std::uint32_t* __restrict row, std::ptrdiff_t pixels,
                                  const std::uint32_t* __restrict first) {
    std::uint32_t total[Channels];
    for (std::ptrdiff_t c = 0; c < Channels; ++c) total[c] = first[c];
    for (std::ptrdiff_t x = 0; x < pixels; ++x, row += Channels) {
        for (std::ptrdiff_t c = 0; c < Channels; ++c) {
            const std::uint32_t step = row[c];
            row[c] = total[c];
            total[c] += step;
        }
    }
}

DIB_ALWAYS_INLINE void putHighHalves(const std::uint32_t* __restrict sums, unsigned char* __restrict out,
                                     std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count; ++i) Depth8::put(out, i, sums[i] >> 16);
}

}  // namespace

template <std::ptrdiff_t Channels>
void GaussianByBoxes::blurRow(unsigned char* out) {
    const std::ptrdiff_t samples = window_.samples();
    const std::uint16_t* folded = folded_.get() + window_.padding();
    const std::uint8_t* halves = halves_.get();
    std::uint32_t first[Channels] = {};
    std::fill_n(steps_.get(), samples, 0U);
    for (int j = 0; j <= kernel_.reach(); ++j) {
        const std::ptrdiff_t boxes = dib::asOffset(kernel_.weight(0, j));
        if (boxes == 0) continue;
        runKernel<addRows>(window_.above(j), window_.below(j), folded_.get(),
                           samples + 2 * window_.padding());
        const int half = halves[0];
        const std::uint16_t* tap = folded - std::ptrdiff_t{half} * Channels;
        for (int i = -half; i <= half; ++i, tap += Channels) {
            const std::uint32_t weight = kernel_.weight(std::abs(i), j);
            for (std::ptrdiff_t c = 0; c < Channels; ++c) first[c] += weight * tap[c];
        }
        addBoxSteps(folded, Channels, halves, boxes, steps_.get(), samples);
        halves += boxes;
    }
    runKernel<addUpSteps<Channels>>(steps_.get(), window_.width(), first);
    runKernel<putHighHalves>(steps_.get(), out, samples);
}

template void GaussianByBoxes::blurRow<1>(unsigned char*);
template void GaussianByBoxes::blurRow<3>(unsigned char*);
template void GaussianByBoxes::blurRow<4>(unsigned char*);

namespace {

// As many differences of samples, each up to 510, as fit a sum of 16 bits.
constexpr std::ptrdiff_t kGroup = 32767 / 510;

template <std::ptrdiff_t Width>
DIB_ALWAYS_INLINE void addStepsInBlocks(const std::uint16_t* __restrict row, std::ptrdiff_t step,
                                        const std::uint8_t* __restrict halves, std::ptrdiff_t count,
                                        std::uint32_t* __restrict steps, std::ptrdiff_t samples) {
    using Samples __attribute__((vector_size(Width))) = std::int16_t;
    using WideSamples __attribute__((vector_size(2 * Width))) = std::int32_t;
    constexpr std::ptrdiff_t kLanes = Width / sizeof(std::int16_t);
    constexpr std::ptrdiff_t kVectors = kGaussianBlock / kLanes;
    for (std::ptrdiff_t x = 0; x < samples; x += kGaussianBlock) {
        for (std::ptrdiff_t first = 0; first < count; first += kGroup) {
            const std::ptrdiff_t end = count - first < kGroup ? count : first + kGroup;
            Samples sum[kVectors] = {};
            for (std::ptrdiff_t i = first; i < end; ++i) {
                const std::uint16_t* back = row + x - halves[i] * step;
                const std::uint16_t* ahead = row + x + (halves[i] + 1) * step;
                for (std::ptrdiff_t k = 0; k < kVectors; ++k) {
                    Samples leaving;
                    Samples entering;
                    std::memcpy(&leaving, back + kLanes * k, sizeof leaving);
                    std::memcpy(&entering, ahead + kLanes * k, sizeof entering);
                    sum[k] += entering - leaving;
                }
            }
            for (std::ptrdiff_t k = 0; k < kVectors; ++k) {
                WideSamples total;
                std::memcpy(&total, steps + x + kLanes * k, sizeof total);
                total += __builtin_convertvector(sum[k], WideSamples);
                std::memcpy(steps + x + kLanes * k, &total, sizeof total);
            }
        }
    }
}

// Bytes of the vectors: of every processor, of AVX2, and of AVX-512.
constexpr std::ptrdiff_t kNarrowWidth = 16;
constexpr std::ptrdiff_t kWidth = 32;
constexpr std::ptrdiff_t kWideWidth = 64;

}  // namespace

void addBoxSteps(const std::uint16_t* row, std::ptrdiff_t step, const std::uint8_t* halves,
                 std::ptrdiff_t count, std::uint32_t* steps, std::ptrdiff_t samples) {
    runWidestKernel<addStepsInBlocks<kWidth>, addStepsInBlocks<kWideWidth>, addStepsInBlocks<kNarrowWidth>>(
        row, step, halves, count, steps, samples);
}

}  // namespace dib

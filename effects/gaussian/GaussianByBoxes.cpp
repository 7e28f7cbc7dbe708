#include "effects/gaussian/GaussianByBoxes.h"

#include <algorithm>
#include <cstring>

#include "dib/Kernels.h"
#include "dib/Numbers.h"

namespace dib {

namespace {

// Measured per sample of a row at 24 bits, in picoseconds.
struct Costs {
    std::ptrdiff_t product;
    std::ptrdiff_t box;
    std::ptrdiff_t row;  // of the quadrant, with boxes
};
DIB_ALWAYS_INLINE constexpr Costs costs() { return {36, 28, 360}; }
DIB_ALWAYS_INLINE constexpr Costs costsOfWidest() { return {21, 11, 300}; }
DIB_ALWAYS_INLINE constexpr Costs costsOfNarrowest() { return {82, 37, 530}; }

}  // namespace

bool boxesAreCheaper(const GaussianKernel& kernel) {
    if (!kernel.falls()) return false;
    std::ptrdiff_t products = 0;
    std::ptrdiff_t boxes = 0;
    for (int j = 0; j <= kernel.reach(); ++j) {
        boxes += kernel.weight(0, j);
        for (int i = 0; i <= kernel.reach(); ++i) products += kernel.weight(i, j) != 0 ? 1 : 0;
    }
    const Costs cost = runWidestKernel<costs, costsOfWidest, costsOfNarrowest>();
    const std::ptrdiff_t rows = std::ptrdiff_t{kernel.reach()} + 1;
    return boxes * cost.box + rows * cost.row < products * cost.product;
}

bool GaussianByBoxes::prepare(const Raster& image) {
    if (!window_.prepare(image, kernel_.reach(), flags_) || !listBoxes()) return false;
    folded_ = allocateArray<std::uint16_t>(rowCount() * kGaussianPiece + kCacheLine);
    steps_ = allocateArray<std::uint32_t>(stepCount());
    return folded_ != nullptr && steps_ != nullptr;
}

// A row has as many boxes of a half width as the weight there exceeds the next one.
bool GaussianByBoxes::listBoxes() {
    const int reach = kernel_.reach();
    std::ptrdiff_t count = 0;
    for (int j = 0; j <= reach; ++j) count += asOffset(kernel_.weight(0, j));
    boxes_ = allocateArray<std::uint8_t>(count + 1);
    boxCounts_ = allocateArray<std::ptrdiff_t>(rowCount());
    if (boxes_ == nullptr || boxCounts_ == nullptr) return false;
    std::uint8_t* next = boxes_.get();
    for (int i = 0; i <= reach; ++i) {
        const std::uint8_t* first = next;
        for (int j = 0; j <= reach; ++j) {
            const std::uint32_t farther = i == reach ? 0 : kernel_.weight(i + 1, j);
            next = std::fill_n(next, kernel_.weight(i, j) - farther, static_cast<std::uint8_t>(j));
        }
        boxCounts_[i] = next - first;
    }
    return true;
}

namespace {

DIB_ALWAYS_INLINE void addRows(const unsigned char* __restrict above, const unsigned char* __restrict below,
                               std::uint16_t* __restrict out) {
    for (std::ptrdiff_t i = 0; i < kGaussianPiece; ++i)
        out[i] = static_cast<std::uint16_t>(above[i] + below[i]);
}

// Turns the steps between the pixels of a row into the pixels. The first boxes are empty.
template <std::ptrdiff_t Channels>
DIB_ALWAYS_INLINE void addUpSteps(std::uint32_t* __restrict row, std::ptrdiff_t pixels) {
    std::uint32_t total[Channels] = {};
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

// From sample `start` of the window on.
void GaussianByBoxes::foldRows(std::ptrdiff_t start) {
    std::uint16_t* folded = atCacheLine(folded_.get());
    for (int j = 0; j <= kernel_.reach(); ++j, folded += kGaussianPiece) {
        runKernel<addRows>(window_.above(j) + start, window_.below(j) + start, folded);
    }
}

void GaussianByBoxes::addAllSteps() {
    const std::ptrdiff_t columns = window_.samples() + 2 * window_.padding();
    std::fill_n(steps_.get(), stepCount(), 0U);
    for (std::ptrdiff_t start = 0; start < columns; start += kGaussianPiece) {
        foldRows(start);
        // Boxes of half width 0 lie around this one's pixels.
        std::uint32_t* steps = steps_.get() + stepsBefore() - window_.padding() + start;
        const std::uint8_t* boxes = boxes_.get();
        std::ptrdiff_t half = 0;
        for (std::ptrdiff_t i = 0; i < rowCount(); ++i, half += window_.channels()) {
            if (boxCounts_[i] == 0) continue;
            addBoxSteps(atCacheLine(folded_.get()), boxes, boxCounts_[i], steps - half - window_.channels(),
                        steps + half);
            boxes += boxCounts_[i];
        }
    }
}

template <std::ptrdiff_t Channels>
void GaussianByBoxes::addUp(unsigned char* out) {
    runKernel<addUpSteps<Channels>>(steps_.get(), stepsBefore() / Channels + window_.width());
    runKernel<putHighHalves>(steps_.get() + stepsBefore(), out, window_.samples());
}

template void GaussianByBoxes::addUp<1>(unsigned char*);
template void GaussianByBoxes::addUp<3>(unsigned char*);
template void GaussianByBoxes::addUp<4>(unsigned char*);

namespace {

// As many samples as fit a sum of 16 bits.
constexpr std::ptrdiff_t kGroup = 65535 / 510;

template <std::ptrdiff_t Width>
DIB_ALWAYS_INLINE void addColumns(const std::uint16_t* rows, const std::uint8_t* boxes, std::ptrdiff_t count,
                                  std::uint16_t* __restrict columns) {
    using Samples __attribute__((vector_size(Width))) = std::uint16_t;
    constexpr std::ptrdiff_t kLanes = Width / sizeof(std::uint16_t);
    constexpr std::ptrdiff_t kVectors = 8;
    for (std::ptrdiff_t x = 0; x < kGaussianPiece; x += kVectors * kLanes) {
        Samples sum[kVectors];
        for (Samples& vector : sum) vector = Samples{};
        for (std::ptrdiff_t i = 0; i < count; ++i) {
            const std::uint16_t* row = rows + boxes[i] * kGaussianPiece + x;
            for (std::ptrdiff_t k = 0; k < kVectors; ++k) {
                Samples samples;
                std::memcpy(&samples, row + kLanes * k, sizeof samples);
                sum[k] += samples;
            }
        }
        for (std::ptrdiff_t k = 0; k < kVectors; ++k)
            std::memcpy(columns + x + kLanes * k, &sum[k], sizeof sum[k]);
    }
}

template <std::ptrdiff_t Width>
DIB_ALWAYS_INLINE void addStepsInBlocks(const std::uint16_t* rows, const std::uint8_t* boxes,
                                        std::ptrdiff_t count, std::uint32_t* gaining, std::uint32_t* losing) {
    alignas(kCacheLine) std::uint16_t columns[kGaussianPiece];
    addColumns<Width>(rows, boxes, count, columns);
    for (std::ptrdiff_t x = 0; x < kGaussianPiece; ++x) gaining[x] += columns[x];
    for (std::ptrdiff_t x = 0; x < kGaussianPiece; ++x) losing[x] -= columns[x];
}

// Bytes of the vectors: of every processor, of AVX2, and of AVX-512.
constexpr std::ptrdiff_t kNarrowWidth = 16;
constexpr std::ptrdiff_t kWidth = 32;
constexpr std::ptrdiff_t kWideWidth = 64;

}  // namespace

void addBoxSteps(const std::uint16_t* rows, const std::uint8_t* boxes, std::ptrdiff_t count,
                 std::uint32_t* gaining, std::uint32_t* losing) {
    for (; count > 0; boxes += kGroup, count -= kGroup) {
        runWidestKernel<addStepsInBlocks<kWidth>, addStepsInBlocks<kWideWidth>,
                        addStepsInBlocks<kNarrowWidth>>(rows, boxes, std::min(count, kGroup), gaining,
                                                        losing);
    }
}

}  // namespace dib

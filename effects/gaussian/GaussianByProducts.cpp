#include "effects/gaussian/GaussianByProducts.h"

#include <algorithm>
#include <cstring>

#include "effects/gaussian/ProductRows.h"

namespace dib {

bool GaussianByProducts::prepare(const Raster& image) {
    if (!window_.prepare(image, kernel_.reach(), flags_) || !pairWeights()) return false;
    const std::ptrdiff_t distances = std::ptrdiff_t{kernel_.reach()} + 1;
    pairs_ = allocateArray<std::uint32_t>(pairCount() * kGaussianPiece + kCacheLine);
    sums_ = allocateZeroed<std::uint32_t>(distances * sumsStride() + kGaussianBlock);
    return pairs_ != nullptr && sums_ != nullptr;
}

// For each column the weights of two rows at a time, the nearer row in the low half.
bool GaussianByProducts::pairWeights() {
    const int reach = kernel_.reach();
    weights_ = allocateZeroed<std::uint32_t>((std::ptrdiff_t{reach} + 1) * pairCount());
    if (weights_ == nullptr) return false;
    std::uint32_t* weights = weights_.get();
    for (int i = 0; i <= reach; ++i, weights += pairCount()) {
        for (int j = 0; j <= reach; ++j) weights[j / 2] |= kernel_.weight(i, j) << (j % 2 == 0 ? 0 : 16);
    }
    return true;
}

// Adds up the rows above and below at each distance, two distances in one element, from sample `start` on.
void GaussianByProducts::pairRows(std::ptrdiff_t start) {
    std::uint32_t* pairs = atCacheLine(pairs_.get());
    for (int j = 0; j <= kernel_.reach(); j += 2, pairs += kGaussianPiece) {
        addRowPairs(window_.below(j) + start, window_.above(j) + start, window_.below(j + 1) + start,
                    window_.above(j + 1) + start, pairs, kGaussianPiece);
    }
}

// Moves on by one piece: its last columns become the paddings before the next.
void GaussianByProducts::weighColumns() {
    const std::uint32_t* pairs = atCacheLine(pairs_.get());
    const bool smallWeights = kernel_.weight(0, 0) < 0x8000;
    const std::ptrdiff_t before = 2 * window_.padding();
    std::uint32_t* sums = sums_.get();
    const std::uint32_t* weights = weights_.get();
    for (int i = 0; i <= kernel_.reach(); ++i, sums += sumsStride(), weights += pairCount()) {
        std::copy_n(sums + kGaussianPiece, before, sums);
        std::ptrdiff_t count = pairCount();
        while (count > 1 && weights[count - 1] == 0) --count;
        weighPairs(pairs, kGaussianPiece, weights, count, smallWeights, sums + before, kGaussianPiece);
    }
}

// Piece by piece from the left. Results lag by two paddings: by then the columns on both sides have been
// computed.
void GaussianByProducts::blurRow(unsigned char* out) {
    const std::ptrdiff_t lag = 2 * window_.padding();
    const std::ptrdiff_t end = window_.samples() + lag;
    for (std::ptrdiff_t start = 0; start < end; start += kGaussianPiece) {
        pairRows(start);
        weighColumns();
        const std::ptrdiff_t skipped = start < lag ? std::min(lag - start, kGaussianPiece) : 0;
        const std::ptrdiff_t ready = std::min(kGaussianPiece, end - start);
        if (skipped >= ready) continue;
        gatherColumns(sums_.get() + window_.padding() + skipped, sumsStride(), window_.channels(),
                      kernel_.reach(), out + (start + skipped - lag), ready - skipped);
    }
}

}  // namespace dib

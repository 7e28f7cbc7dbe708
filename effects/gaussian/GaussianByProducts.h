// The Gaussian blur by products of samples and weights.
#ifndef EFFECTS_GAUSSIAN_GAUSSIAN_BY_PRODUCTS_H
#define EFFECTS_GAUSSIAN_GAUSSIAN_BY_PRODUCTS_H

#include "effects/gaussian/GaussianKernel.h"
#include "effects/gaussian/GaussianWindow.h"

namespace dib {

// Rows at the same distance above and below share their weights and are added first. Each column is then
// weighed once for every horizontal distance at which it lies from a pixel, and these column sums are added
// along the row. A filter for dib::filterInPlace; `kernel` must outlive it.
class GaussianByProducts {
public:
    GaussianByProducts(const GaussianKernel& kernel, unsigned int flags) : kernel_(kernel), flags_(flags) {}

    bool prepare(const Raster& image);

    template <class Depth>
    void row(unsigned char* out, int y) {
        if (window_.width() == 0) return;
        window_.moveTo(y);
        blurRow(out);
    }

private:
    std::ptrdiff_t pairCount() const { return std::ptrdiff_t{kernel_.reach()} / 2 + 1; }
    // The column sums of one distance: those of a piece after those of the two paddings before it.
    std::ptrdiff_t sumsStride() const { return 2 * window_.padding() + kGaussianPiece; }
    bool pairWeights();
    void pairRows(std::ptrdiff_t start);
    void weighColumns();
    void blurRow(unsigned char* out);

    const GaussianKernel& kernel_;
    unsigned int flags_;
    GaussianWindow window_;
    MallocPtr<std::uint32_t> weights_;  // by column, two rows in each
    MallocPtr<std::uint32_t> pairs_;    // of a piece of the window's rows
    MallocPtr<std::uint32_t> sums_;     // of a piece of columns, by distance
};

}  // namespace dib

#endif

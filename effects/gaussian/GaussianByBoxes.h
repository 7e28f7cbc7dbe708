// The Gaussian blur by sums of boxes.
#ifndef EFFECTS_GAUSSIAN_GAUSSIAN_BY_BOXES_H
#define EFFECTS_GAUSSIAN_GAUSSIAN_BY_BOXES_H

#include "effects/gaussian/GaussianKernel.h"
#include "effects/gaussian/GaussianWindow.h"

namespace dib {

// Whether GaussianByBoxes is faster than GaussianByProducts, which it can be for kernels that fall along each
// row.
bool boxesAreCheaper(const GaussianKernel& kernel);

// Each row of the integer kernel is the sum of box kernels, as many as its middle weight. From one pixel to
// the next a box gains one sample and loses one. The sum of these steps over all boxes and rows is the step
// of the result; one running total per channel turns steps into results. A filter for dib::filterInPlace;
// `kernel` must outlive it and fall along each row.
class GaussianByBoxes {
public:
    GaussianByBoxes(const GaussianKernel& kernel, unsigned int flags) : kernel_(kernel), flags_(flags) {}

    bool prepare(const Raster& image);

    template <class Depth>
    void row(unsigned char* out, int y) {
        if (window_.width() == 0) return;
        window_.moveTo(y);
        blurRow<Depth::kChannels>(out);
    }

private:
    bool listBoxes();
    template <std::ptrdiff_t Channels>
    void blurRow(unsigned char* out);

    const GaussianKernel& kernel_;
    unsigned int flags_;
    GaussianWindow window_;
    MallocPtr<std::uint8_t> halves_;   // the half width of every box, row by row
    MallocPtr<std::uint16_t> folded_;  // the rows above and below at one distance, added up
    MallocPtr<std::uint32_t> steps_;   // of the result, and then the result
};

// steps[x] += the sum over `halves` of row[x + (h + 1) * step] - row[x - h * step], in two's complement: what
// boxes of half width h around pixel x change by on the way to the next pixel, `step` samples on. Samples are
// at most 510. Works on whole blocks of kGaussianBlock samples.
void addBoxSteps(const std::uint16_t* row, std::ptrdiff_t step, const std::uint8_t* halves,
                 std::ptrdiff_t count, std::uint32_t* steps, std::ptrdiff_t samples);

}  // namespace dib

#endif

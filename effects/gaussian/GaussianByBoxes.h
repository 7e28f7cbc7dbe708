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
// the next a box gains one column and loses one. Boxes of one half width gain and lose the same columns,
// whatever their rows, so each column is added up once for every half width. The sum of these steps over all
// half widths is the step of the result; one running total per channel turns steps into results. A filter for
// dib::filterInPlace; `kernel` must outlive it and fall along each row.
class GaussianByBoxes {
public:
    GaussianByBoxes(const GaussianKernel& kernel, unsigned int flags) : kernel_(kernel), flags_(flags) {}

    bool prepare(const Raster& image);

    template <class Depth>
    void row(unsigned char* out, int y) {
        if (window_.width() == 0) return;
        window_.moveTo(y);
        addAllSteps();
        addUp<Depth::kChannels>(out);
    }

private:
    std::ptrdiff_t rowCount() const { return std::ptrdiff_t{kernel_.reach()} + 1; }
    // Steps from the first pixel whose boxes reach the window to the first pixel of the row.
    std::ptrdiff_t stepsBefore() const { return 2 * window_.padding() + window_.channels(); }
    // Pieces end beyond the window, and boxes lose columns up to a padding behind them.
    std::ptrdiff_t stepCount() const { return stepsBefore() + window_.stride() + window_.padding(); }
    bool listBoxes();
    void foldRows(std::ptrdiff_t start);
    void addAllSteps();
    template <std::ptrdiff_t Channels>
    void addUp(unsigned char* out);

    const GaussianKernel& kernel_;
    unsigned int flags_;
    GaussianWindow window_;
    MallocPtr<std::uint8_t> boxes_;        // the row of each box, by half width
    MallocPtr<std::ptrdiff_t> boxCounts_;  // by half width
    MallocPtr<std::uint16_t> folded_;      // of a piece: the rows above and below at one distance, added up
    MallocPtr<std::uint32_t> steps_;       // of the result, and then the result
};

// Adds the columns of boxes of one half width to the steps of the pixels that gain them, and takes them from
// the steps of those that lose them: the sum over `boxes` of rows[box * kGaussianPiece + x], in two's
// complement. Samples are at most 510. Works on a whole piece.
void addBoxSteps(const std::uint16_t* rows, const std::uint8_t* boxes, std::ptrdiff_t count,
                 std::uint32_t* gaining, std::uint32_t* losing);

}  // namespace dib

#endif

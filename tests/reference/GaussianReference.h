// The Gaussian blur as a plain loop in double precision.
#ifndef TESTS_REFERENCE_GAUSSIAN_REFERENCE_H
#define TESTS_REFERENCE_GAUSSIAN_REFERENCE_H

#include <vector>

namespace reference {

struct GaussianAxis {
    double deviation;
    int reach;   // weights beyond it are 0; the others total 1
    bool wraps;  // else positions outside are those of the edge
};

// Blurs `width` x `height` samples along both axes.
std::vector<double> gaussian(const std::vector<double>& samples, int width, int height,
                             const GaussianAxis& across, const GaussianAxis& down);

}  // namespace reference

#endif

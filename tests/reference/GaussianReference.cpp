#include "tests/reference/GaussianReference.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace reference {

namespace {

// `at(i)` is a sample of a line of `count`.
template <class At>
double sumAround(int position, int count, const GaussianAxis& axis, const At& at) {
    double sum = 0;
    double total = 0;
    for (int i = -axis.reach; i <= axis.reach; ++i) {
        const double weight = std::exp(-i * i / (2 * axis.deviation * axis.deviation));
        const int from =
            axis.wraps ? ((position + i) % count + count) % count : std::clamp(position + i, 0, count - 1);
        sum += weight * at(from);
        total += weight;
    }
    return sum / total;
}

}  // namespace

std::vector<double> gaussian(const std::vector<double>& samples, int width, int height,
                             const GaussianAxis& across, const GaussianAxis& down) {
    const auto index = [width](int x, int y) {
        return static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x);
    };
    std::vector<double> rows(samples.size());
    std::vector<double> blurred(samples.size());
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x)
            rows[index(x, y)] = sumAround(x, width, across, [&](int i) { return samples[index(i, y)]; });
    }
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x)
            blurred[index(x, y)] = sumAround(y, height, down, [&](int i) { return rows[index(x, i)]; });
    }
    return blurred;
}

}  // namespace reference

// Edges: which pixel a position inside or outside the image reads. An axis clamps to its first and last pixel
// or wraps around.
#ifndef DIB_EDGE_AXIS_H
#define DIB_EDGE_AXIS_H

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>

#include "dib/Kernels.h"

namespace dib {

// One axis of an image and its edge rule.
struct EdgeAxis {
    int size = 0;
    bool wrap = false;

    // The pixel that position v reads: 0 to size - 1. Without pixels a wrapped axis gives 0.
    int at(std::int64_t v) const {
        if (v >= 0 && v < size) return static_cast<int>(v);
        if (!wrap) return v < 0 ? 0 : size - 1;
        if (size == 0) return 0;
        const std::int64_t rest = v % size;
        return static_cast<int>(rest < 0 ? rest + size : rest);
    }

    // Extends a row in place: writes what the positions -before to -1 and size to size + after - 1 read. A
    // pixel has `step` values; `row` points to the first of pixel 0. The axis must not be empty.
    template <class T>
    void pad(T* row, std::ptrdiff_t before, std::ptrdiff_t after, std::ptrdiff_t step = 1) const {
        const std::ptrdiff_t samples = size * step;
        T* const end = row + samples;
        if (!wrap) {
            for (std::ptrdiff_t i = 0; i < after * step; i += step) {
                for (std::ptrdiff_t c = 0; c < step; ++c) end[i + c] = end[c - step];
            }
            for (std::ptrdiff_t i = 1; i <= before; ++i) {
                for (std::ptrdiff_t c = 0; c < step; ++c) row[c - i * step] = row[c];
            }
            return;
        }
        for (std::ptrdiff_t done = 0; done < after * step; done += samples) {
            std::copy_n(row, std::min(samples, after * step - done), end + done);
        }
        for (std::ptrdiff_t done = 0; done < before * step; done += samples) {
            const std::ptrdiff_t count = std::min(samples, before * step - done);
            std::copy_n(end - count, count, row - done - count);
        }
    }
};

// The positions v - radius to v + radius of one axis, while v moves along it. Each reads a pixel: beyond a
// clamped edge the last pixel again and again, on a wrapped axis each pixel once a turn.
class EdgeWindow {
public:
    EdgeWindow() = default;
    EdgeWindow(EdgeAxis axis, int radius) : axis_(axis), radius_(radius) {}

    const EdgeAxis& axis() const { return axis_; }
    std::int64_t side() const { return 2 * std::int64_t{radius_} + 1; }

    // The radius without whole turns, or without positions beyond the last repetition of an edge: moving from
    // v to v + 1 adds the pixel at(v + 1 + reach) and drops the pixel at(v - reach).
    int reach() const { return axis_.wrap ? radius_ % axis_.size : std::min(radius_, axis_.size); }

    // The different pixels of the window around v are `count` pixels from `first` on, wrapping around.
    int first(std::int64_t v) const { return axis_.at(v - radius_); }
    int count(std::int64_t v) const {
        if (axis_.wrap) return static_cast<int>(std::min<std::int64_t>(side(), axis_.size));
        return axis_.at(v + radius_) - axis_.at(v - radius_) + 1;
    }
    // How many positions read the i-th of them.
    std::uint32_t visits(std::int64_t v, std::int64_t i) const {
        if (axis_.wrap) return turns() + (i < remainder() ? 1 : 0);
        std::int64_t n = 1;
        if (i == 0) n += std::max<std::int64_t>(radius_ - v, 0);
        if (i == count(v) - 1) n += std::max<std::int64_t>(v + radius_ - (axis_.size - 1), 0);
        return static_cast<std::uint32_t>(n);
    }
    // How many positions read pixel p.
    std::uint32_t visitsOf(std::int64_t v, int p) const {
        const int behind = p - first(v);
        const int i = axis_.wrap && behind < 0 ? behind + axis_.size : behind;
        return i >= 0 && i < count(v) ? visits(v, i) : 0;
    }
    // Whether no pixel is read twice.
    bool visitsOnce(std::int64_t v) const { return count(v) == side(); }

    // On a wrapped axis the window is this many whole turns and `remainder` further positions.
    std::uint32_t turns() const { return static_cast<std::uint32_t>(side() / axis_.size); }
    std::int64_t remainder() const { return side() % axis_.size; }
    bool repeats() const { return axis_.wrap && side() > axis_.size; }

private:
    EdgeAxis axis_;
    int radius_ = 0;
};

// The edge rule for positions between pixels: 0 to size - 1 (clamped), or 0 to below size (wrapped). The
// comparisons are written so that NaN, also the NaN that fmodf makes of an infinity, gives 0.
DIB_ALWAYS_INLINE float clampedPosition(float value, float size) {
    // Both choices are made unconditionally, so that loops over positions vectorise.
    const float positive = value >= 0.0F ? value : 0.0F;
    return positive > size - 1.0F ? size - 1.0F : positive;
}
DIB_ALWAYS_INLINE float wrappedPosition(float value, float size) {
    if (value >= 0.0F) {
        if (value < size) return value;
        // Below twice the size the difference is exact and is what fmodf gives.
        const float rest = value < size + size ? value - size : std::fmod(value, size);
        return rest >= 0.0F ? rest : 0.0F;
    }
    const float back = -value < size ? -value : std::fmod(-value, size);
    const float wrapped = size - back;
    return wrapped < size ? wrapped : 0.0F;
}

}  // namespace dib

#endif

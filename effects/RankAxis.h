// What a neighbourhood visits on one axis, each position once with the number of its visits.
#ifndef EFFECTS_RANK_AXIS_H
#define EFFECTS_RANK_AXIS_H

#include <algorithm>
#include <cstdint>

namespace dib {

// The visits of positions v - radius ... v + radius on an axis of `size`, clamped or wrapped. Repeated visits
// at a clamped end follow each other; those of a wrapped axis come round again in the same order.
class RankAxis {
public:
    RankAxis(int radius, int size, bool wrap)
        : radius_(radius), size_(size), side_(2 * std::int64_t{radius} + 1), wrap_(wrap) {}

    // Different positions visited around v, from the first on: `first`, `first` + 1, ... modulo the size.
    std::int64_t first(std::int64_t v) const {
        return wrap_ ? ((v - radius_) % size_ + size_) % size_ : std::max<std::int64_t>(v - radius_, 0);
    }
    std::int64_t count(std::int64_t v) const {
        return wrap_ ? std::min<std::int64_t>(side_, size_)
                     : std::min<std::int64_t>(v + radius_, size_ - 1) -
                           std::max<std::int64_t>(v - radius_, 0) + 1;
    }
    // Visits of the i-th of them.
    std::uint32_t visits(std::int64_t v, std::int64_t i) const {
        if (wrap_) return static_cast<std::uint32_t>(side_ / size_ + (i < side_ % size_ ? 1 : 0));
        std::int64_t n = 1;
        if (i == 0) n += std::max<std::int64_t>(radius_ - v, 0);
        if (i == count(v) - 1) n += std::max<std::int64_t>(v + radius_ - (size_ - 1), 0);
        return static_cast<std::uint32_t>(n);
    }
    // Whether every position around v is visited once.
    bool visitsOnce(std::int64_t v) const { return count(v) == side_; }
    // The position that the visit v, which may lie outside, comes to.
    std::int64_t at(std::int64_t v) const {
        return wrap_ ? (v % size_ + size_) % size_ : std::clamp<std::int64_t>(v, 0, size_ - 1);
    }
    bool wraps() const { return wrap_; }
    // Of a wrapped axis: how often the neighbourhood goes all the way round, and the positions it visits besides.
    std::uint32_t rounds() const { return static_cast<std::uint32_t>(side_ / size_); }
    std::int64_t remainder() const { return side_ % size_; }
    // Whether the whole axis comes round more than once.
    bool comesRound() const { return wrap_ && side_ > size_; }

private:
    std::int64_t radius_;
    std::int64_t size_;
    std::int64_t side_;
    bool wrap_;
};

}  // namespace dib

#endif

// Sums of weighted samples: every pixel of a row samples the unchanged picture at the same distance (a tap),
// tap after tap.
#ifndef EFFECTS_TAP_ROW_H
#define EFFECTS_TAP_ROW_H

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "effects/EffectFrame.h"
#include "effects/SinCos.h"
#include "geometry/Sampler.h"

namespace dib {

class TapRow {
public:
    bool prepare(const FullCopy& copy, const Raster& image, unsigned int flags) {
        source_ = SampleSource(copy.image());
        flags_ = flags;
        sums_ = allocateArray<std::uint32_t>(std::ptrdiff_t{image.width} * 4 + 1);
        return sums_ != nullptr;
    }

    // Begins row y: all sums are 0.
    template <class Depth>
    void begin(int y) {
        y_ = y;
        std::fill_n(sums_.get(), count<Depth>(), 0U);
    }

    // Adds `weight` times the sample at (x + dx, y + dy) to the sums of every pixel x, channel by channel;
    // sums wrap in 32 bits.
    template <class Depth>
    void add(float dx, float dy, std::int32_t weight);
    // The same for the sample `distance` pixels away in a direction.
    template <class Depth>
    void addAlong(SinCos direction, int distance, std::int32_t weight) {
        const float length = positionOf(distance);
        add<Depth>(length * direction.cosine, length * direction.sine, weight);
    }

    // The sums, the channels of each pixel side by side.
    const std::uint32_t* sums() const { return sums_.get(); }
    template <class Depth>
    std::ptrdiff_t count() const {
        return std::ptrdiff_t{source_.width} * Depth::kChannels;
    }
    int width() const { return source_.width; }

private:
    // Calls whole(first, last, shift, weight) for runs of pixels whose samples lie between the pixels x +
    // shift and x + shift + 1, `weight` 256ths on the way, and each(first, last) for all other pixels.
    template <class Whole, class Each>
    void splitRow(float dx, const Whole& whole, const Each& each) const;
    // Adds the samples of pixels first to last - 1 one by one, at row position y.
    template <class Depth>
    void addEach(int first, int last, float dx, float y, std::uint32_t weight);

    SampleSource source_;
    unsigned int flags_ = 0;
    int y_ = 0;
    MallocPtr<std::uint32_t> sums_;
};

}  // namespace dib

#endif

// Emboss: middle grey plus the difference between the samples ahead and behind along a direction.
#include "dib/Kernels.h"
#include "effects/SinCos.h"
#include "effects/TapRow.h"

namespace {

// `highest` is 255, or 31 for the fields of 16 bits. Middle grey is half of it.
template <class Channel>
DIB_ALWAYS_INLINE void shade(const std::uint32_t* __restrict sums, Channel* __restrict channels, float scale,
                             float highest, std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        const float value = static_cast<float>(static_cast<std::int32_t>(sums[i])) * scale + (highest * 0.5F);
        // Written so that NaN becomes 0.
        const float positive = value > 0.0F ? value : 0.0F;
        channels[i] =
            static_cast<Channel>(static_cast<std::int32_t>(positive < highest ? positive : highest));
    }
}

class Relief {
public:
    Relief(float strength, int distance, float angle, unsigned int flags)
        : distance_(distance),
          line_(dib::sinCos(angle)),
          scale_(strength / static_cast<float>(distance)),
          flags_(flags) {}

    bool prepare(const dib::FullCopy& copy, const dib::Raster& image) {
        fields_ = dib::allocateArray<std::uint32_t>(std::ptrdiff_t{image.width} * 3 + 1);
        return fields_ != nullptr && taps_.prepare(copy, image, flags_);
    }

    template <class Depth>
    void row(unsigned char* out, int y) {
        taps_.begin<Depth>(y);
        for (int i = distance_; i >= 1; --i) {
            taps_.addAlong<Depth>(line_, -i, -1);
            taps_.addAlong<Depth>(line_, i, 1);
        }
        const std::ptrdiff_t count = taps_.count<Depth>();
        if constexpr (Depth::kBits == 16) {
            dib::runKernel<shade<std::uint32_t>>(taps_.sums(), fields_.get(), scale_, 31.0F, count);
            const std::uint32_t* field = fields_.get();
            for (int x = 0; x < taps_.width(); ++x, field += 3)
                Depth::put(out, x, Depth::join({field[0], field[1], field[2]}));
        } else {
            dib::runWidestKernel<shade<unsigned char>>(taps_.sums(), out, scale_, 255.0F, count);
        }
    }

private:
    int distance_;
    dib::SinCos line_;
    float scale_;
    unsigned int flags_;
    dib::TapRow taps_;
    dib::MallocPtr<std::uint32_t> fields_;  // of 16 bits
};

}  // namespace

bool DibEffectEmboss(DibProgressCallback callback, void* user, DibStream* image, float strength, int distance,
                     float angle, unsigned int flags) {
    if (image == nullptr || distance < 1) return false;
    return dib::filterImage<dib::Depth8, dib::Depth16, dib::Depth24, dib::Depth32>(
        {callback, user}, image, Relief(strength, distance, angle, flags));
}

bool DibEffectEmboss(DibProgressCallback callback, void* user, DibStream* image, DEEmbossInfo* info) {
    return DibEffectEmboss(callback, user, image, info->strength, info->distance, info->angle, info->flags);
}

// Motion blur: the mean of samples along a line from the pixel on. Nearer samples weigh more.
#include "effects/SinCos.h"
#include "effects/TapRow.h"

namespace {

class Smear {
public:
    Smear(int length, float angle, unsigned int flags)
        : length_(length), line_(dib::sinCos(angle)), flags_(flags) {
        // In 32 bits, as the sums are.
        const auto count = static_cast<std::uint32_t>(length);
        divisor_ = static_cast<std::int32_t>(count * (count + 1U)) / 2;
    }

    bool prepare(const dib::FullCopy& copy, const dib::Raster& image) {
        return taps_.prepare(copy, image, flags_);
    }

    template <class Depth>
    void row(unsigned char* out, int y) {
        taps_.begin<Depth>(y);
        for (int i = 0; i < length_; ++i) taps_.addAlong<Depth>(line_, i, length_ - i);
        const std::uint32_t* sums = taps_.sums();
        const int width = taps_.width();
        for (int x = 0; x < width; ++x) {
            dib::Channels<Depth::kChannels> channels;
            for (std::uint32_t& channel : channels) {
                const std::int64_t mean = std::int64_t{static_cast<std::int32_t>(*sums++)} / divisor_;
                // Sums of long lines wrap. A byte keeps its low bits; fields of 16 bits carry into the next.
                channel = static_cast<std::uint32_t>(mean) & (Depth::kBits == 16 ? ~0U : 255U);
            }
            if constexpr (Depth::kBits == 16) {
                Depth::put(out, x, (channels[2] * 1024 + channels[1] * 32 + channels[0]) & 0x7FFFU);
            } else {
                Depth::put(out, x, Depth::join(channels));
            }
        }
    }

private:
    int length_;
    dib::SinCos line_;
    unsigned int flags_;
    std::int32_t divisor_;
    dib::TapRow taps_;
};

}  // namespace

bool DibEffectMotionBlur(DibProgressCallback callback, void* user, DibStream* image, int length, float angle,
                         unsigned int flags) {
    if (image == nullptr || length < 1) return false;
    if (length == 1) return true;
    return dib::filterImage<dib::Depth8, dib::Depth16, dib::Depth24, dib::Depth32>(
        {callback, user}, image, Smear(length, angle, flags));
}

bool DibEffectMotionBlur(DibProgressCallback callback, void* user, DibStream* image, DEMotionBlurInfo* info) {
    return DibEffectMotionBlur(callback, user, image, info->length, info->angle, info->flags);
}

// How one colour covers another: the blend modes of layered documents.
//
// B(b, s) is what a source s shows over a backdrop b where both are opaque; 0 is black and 1 white. Alpha is
// applied to its result, by whoever blends.
#ifndef DIB_BLEND_H
#define DIB_BLEND_H

#include <array>
#include <cstdint>

#include "dib/Memory.h"

namespace dib {

// The numbers are those that `DibPSDLoader::GetLayerBlendMode` gives.
enum class BlendMode : std::uint32_t {
    kNormal = 0,
    kDarken = 1,
    kLighten = 2,
    kHue = 3,
    kSaturation = 4,
    kColor = 5,
    kLuminosity = 6,
    kMultiply = 7,
    kScreen = 8,
    kDissolve = 9,  // normal colours; alpha is the share of the pixels that are opaque
    kOverlay = 10,
    kHardLight = 11,
    kSoftLight = 12,
    kDifference = 13,
    kExclusion = 14,
    kColorDodge = 15,
    kColorBurn = 16,
    kLinearDodge = 18,
    kVividLight = 19,
    kLinearLight = 20,
    kPinLight = 21,
    kHardMix = 22,
    kDarkerColor = 24,
    kLighterColor = 25,
};

// B of one channel; for modes that treat channels apart.
double blendChannel(BlendMode mode, double backdrop, double source);

// Whether a mode takes the channels of a colour together.
constexpr bool blendsWholeColors(BlendMode mode) {
    switch (mode) {
        case BlendMode::kHue:
        case BlendMode::kSaturation:
        case BlendMode::kColor:
        case BlendMode::kLuminosity:
        case BlendMode::kDarkerColor:
        case BlendMode::kLighterColor: return true;
        default: return false;
    }
}

// Blue, green, red.
using BlendColor = std::array<double, 3>;
// B of a colour, for the modes that take channels together.
BlendColor blendColor(BlendMode mode, const BlendColor& backdrop, const BlendColor& source);

// B of bytes for one mode, rounded to bytes.
class Blender {
public:
    // Check `ready`: false when memory is short.
    explicit Blender(BlendMode mode);
    bool ready() const { return !needsTable() || table_ != nullptr; }

    // B of three bytes over three bytes.
    void blend(const std::uint8_t* backdrop, const std::uint8_t* source, std::uint8_t* result) const;

private:
    bool needsTable() const;

    BlendMode mode_;
    MallocPtr<std::uint8_t> table_;  // at 256 x backdrop + source, where channels are apart
};

}  // namespace dib

#endif

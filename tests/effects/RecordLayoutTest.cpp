// Callers built by other compilers pass the records as memory, so compiling this file checks the layout field
// by field.
#include <DibEffect.h>

#include <cstddef>

namespace {

template <class Record>
constexpr bool hasTag = offsetof(Record, tag) == 0 && sizeof(Record::tag) == 4 && alignof(Record) >= 4;

static_assert(hasTag<DEReverseInfo> && sizeof(DEReverseInfo) == 4);

static_assert(hasTag<DERippleInfo> && sizeof(DERippleInfo) == 28);
static_assert(offsetof(DERippleInfo, centerX) == 4 && offsetof(DERippleInfo, centerY) == 8);
static_assert(offsetof(DERippleInfo, wavelength) == 12 && offsetof(DERippleInfo, amplitude) == 16);
static_assert(offsetof(DERippleInfo, phase) == 20 && offsetof(DERippleInfo, flags) == 24);

static_assert(hasTag<DERotateInfo> && sizeof(DERotateInfo) == 12);
static_assert(offsetof(DERotateInfo, angle) == 4 && offsetof(DERotateInfo, flags) == 8);

static_assert(hasTag<DEWaveInfo> && sizeof(DEWaveInfo) == 24);
static_assert(offsetof(DEWaveInfo, wavelength) == 4 && offsetof(DEWaveInfo, amplitude) == 8);
static_assert(offsetof(DEWaveInfo, phase) == 12 && offsetof(DEWaveInfo, direction) == 16);
static_assert(offsetof(DEWaveInfo, flags) == 20);

static_assert(hasTag<DEWhirlInfo> && sizeof(DEWhirlInfo) == 20);
static_assert(offsetof(DEWhirlInfo, centerX) == 4 && offsetof(DEWhirlInfo, centerY) == 8);
static_assert(offsetof(DEWhirlInfo, twist) == 12 && offsetof(DEWhirlInfo, flags) == 16);

static_assert(hasTag<DEMozaicInfo> && sizeof(DEMozaicInfo) == 8);
static_assert(offsetof(DEMozaicInfo, blockSize) == 4);

static_assert(hasTag<DEDiffuseInfo> && sizeof(DEDiffuseInfo) == 12);
static_assert(offsetof(DEDiffuseInfo, radius) == 4 && offsetof(DEDiffuseInfo, flags) == 8);

// Two pointers lie in the middle.
constexpr std::size_t kPointer = sizeof(void*);
static_assert(hasTag<DEComposeInfo> && sizeof(DEComposeInfo) == (kPointer == 8 ? 32 : 20));
static_assert(offsetof(DEComposeInfo, path) == kPointer && offsetof(DEComposeInfo, image) == 2 * kPointer);
static_assert(offsetof(DEComposeInfo, opacity) == 3 * kPointer &&
              offsetof(DEComposeInfo, mode) == 3 * kPointer + 4);

static_assert(hasTag<DEMotionBlurInfo> && sizeof(DEMotionBlurInfo) == 16);
static_assert(offsetof(DEMotionBlurInfo, length) == 4 && offsetof(DEMotionBlurInfo, angle) == 8);
static_assert(offsetof(DEMotionBlurInfo, flags) == 12);

static_assert(hasTag<DEBlurInfo> && sizeof(DEBlurInfo) == 12);
static_assert(offsetof(DEBlurInfo, radius) == 4 && offsetof(DEBlurInfo, flags) == 8);

static_assert(hasTag<DEBlurLittleInfo> && sizeof(DEBlurLittleInfo) == 8);
static_assert(offsetof(DEBlurLittleInfo, flags) == 4);

static_assert(hasTag<DESharpLittleInfo> && sizeof(DESharpLittleInfo) == 8);
static_assert(offsetof(DESharpLittleInfo, flags) == 4);

static_assert(hasTag<DEBrightInfo> && sizeof(DEBrightInfo) == 12);
static_assert(offsetof(DEBrightInfo, radius) == 4 && offsetof(DEBrightInfo, flags) == 8);

static_assert(hasTag<DEEmbossInfo> && sizeof(DEEmbossInfo) == 20);
static_assert(offsetof(DEEmbossInfo, strength) == 4 && offsetof(DEEmbossInfo, distance) == 8);
static_assert(offsetof(DEEmbossInfo, angle) == 12 && offsetof(DEEmbossInfo, flags) == 16);

static_assert(hasTag<DENoiseInfo> && sizeof(DENoiseInfo) == 8);
static_assert(offsetof(DENoiseInfo, amount) == 4);

static_assert(hasTag<DEColorNoiseInfo> && sizeof(DEColorNoiseInfo) == 12);
static_assert(offsetof(DEColorNoiseInfo, color) == 4 && offsetof(DEColorNoiseInfo, strength) == 8);

static_assert(hasTag<DEPickEdgeInfo> && sizeof(DEPickEdgeInfo) == 8);
static_assert(offsetof(DEPickEdgeInfo, flags) == 4);

static_assert(DIB_WRAP_X == 1 && DIB_WRAP_Y == 2);

}  // namespace

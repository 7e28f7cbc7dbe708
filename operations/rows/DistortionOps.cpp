#include <DibEffect.h>

#include "operations/Call.h"
#include "operations/pixels/Rotate.h"

namespace operations {

namespace {

constexpr const char* kArea = "Distortions";

constexpr DibParameter kCenterX =
    position("x", "column of the centre, which may lie outside the picture", "50%");
constexpr DibParameter kCenterY = position("y", "row of the centre, counted from the top", "50%");
constexpr DibParameter kWavelength = number("wavelength", "from crest to crest, not 0", kAnyNumber, {}, "px");
constexpr DibParameter kPhase = angle("phase", "where in a wave the middle lies", "0");

std::string checkWavelength(const Arguments& arguments) {
    return arguments.number("wavelength") == 0 ? "wavelength: must not be 0" : "";
}

constexpr Parameters kRotate(
    {angle("angle", "counter-clockwise when positive"), wrap(),
     toggle("grow", "the picture becomes as large as it is turned; quarters are then exact"),
     color("fill",
           "of what the picture does not cover; none: its edges are drawn out, or with grow white, and "
           "transparent at 32 bits",
           "none"),
     classic()});

bool isOnCanvas(const Arguments& arguments, const DibStream& = DibStream()) {
    return arguments.isOn("grow") || arguments.colorIfAny("fill");
}

bool runOnCanvas(const Job& job) {
    const Arguments& given = job.arguments;
    return rotate(job, {given.radians("angle"), given.isOn("grow"), given.colorIfAny("fill")});
}

std::string checkRotate(const Arguments& arguments) {
    if (!isOnCanvas(arguments)) return "";
    if (arguments.isOn("classic")) return "classic: there is no classic function with grow or fill";
    return arguments.word("wrap") != 0
               ? "wrap: a picture that repeats covers all pixels; it excludes grow and fill"
               : "";
}

constexpr Parameters kRipple({kWavelength, angle("amplitude", "the largest turn about the centre"), kPhase,
                              kCenterX, kCenterY, wrap(), classic()});

constexpr Parameters kWave(
    {kWavelength, number("amplitude", "the largest shift", kAnyNumber, {}, "px"), kPhase,
     angle("direction", "along which the waves run; 0 runs along x and moves pixels along y", "0"), wrap(),
     classic()});

constexpr Parameters kWhirl({angle("twist", "turn for each pixel of distance from the centre"), kCenterX,
                             kCenterY, wrap(), classic()});

constexpr Parameters kMosaic({integer("size", "side of a block", {1, kAnyInteger.max}, {}, "px"), classic()});

// Up to 16 bits the classic functions take whole pixels.
constexpr Treatment kSamples = {
    .classicDepths = kAllDepths, .depths = depths({16, 24, 32}), .alpha = Alpha::kWeights};

constexpr Operation kOperations[] = {
    {{"rotate",
      kArea,
      "Turns the picture about its middle, to the left, and mixes its pixels; turn is exact for quarters. "
      "At 16 bits whole pixels are taken unless grow or fill is given.",
      "rotate:30,wrap=xy",
      {"rotate:15", "rotate:30,wrap=xy", "rotate:-20,grow,fill=#203040"},
      kRotate,
      kAllDepths},
     "DibEffectRotate(nullptr, nullptr, &image, {angle}, {wrap})",
     replacing(Effect<float, unsigned int>::run<DibEffectRotate>),
     checkRotate,
     {.classicDepths = kAllDepths,
      .depths = kSamples.depths,
      .alpha = Alpha::kWeights,
      .isApart = isOnCanvas,
      .apart = replacing(runOnCanvas)}},
    {{"ripple",
      kArea,
      "Makes rings about a point. At 16 bits whole pixels are taken.",
      "ripple:40,3deg,x=25%,y=10",
      {"ripple:40,4deg", "ripple:24,8deg,phase=90", "ripple:60,10deg,x=25%,y=75%,wrap=xy"},
      kRipple,
      kAllDepths},
     "DibEffectRipple(nullptr, nullptr, &image, {x:width}, {y:height}, {wavelength}, {amplitude}, {phase}, "
     "{wrap})",
     replacing(Effect<float, float, float, float, float, unsigned int>::run<DibEffectRipple>),
     checkWavelength,
     kSamples},
    {{"wave",
      kArea,
      "Makes parallel waves. At 16 bits whole pixels are taken.",
      "wave:60,8,direction=0.5rad",
      {"wave:60,8", "wave:24,6,direction=45", "wave:120,24,phase=90,wrap=xy"},
      kWave,
      kAllDepths},
     "DibEffectWave(nullptr, nullptr, &image, {wavelength}, {amplitude}, {phase}, {direction}, {wrap})",
     replacing(Effect<float, float, float, float, unsigned int>::run<DibEffectWave>),
     checkWavelength,
     kSamples},
    {{"whirl",
      kArea,
      "Twists the picture about a point. At 16 bits whole pixels are taken.",
      "whirl:0.003rad",
      {"whirl:0.4", "whirl:1.2", "whirl:-0.8,x=30%,y=60%,wrap=xy"},
      kWhirl,
      kAllDepths},
     "DibEffectWhirl(nullptr, nullptr, &image, {x:width}, {y:height}, {twist}, {wrap})",
     replacing(Effect<float, float, float, unsigned int>::run<DibEffectWhirl>),
     nullptr,
     kSamples},
    {{"mosaic",
      kArea,
      "Paints square blocks in their average colour.",
      "mosaic:10",
      {"mosaic:4", "mosaic:12", "mosaic:32"},
      kMosaic,
      kAllDepths},
     "DibEffectMozaic(nullptr, nullptr, &image, {size})",
     Effect<int>::run<DibEffectMozaic>,
     nullptr,
     kSamples},
    {{"reverse",
      kArea,
      "Inverts the colours, or those of the colour table.",
      "reverse",
      {"reverse", "colors:6 reverse", "bpp:1 reverse"},
      kOnlyClassic,
      kAllDepths},
     "DibEffectReverse(nullptr, nullptr, &image)",
     Effect<>::run<DibEffectReverse>,
     nullptr,
     kInverts},
};

}  // namespace

Area distortionOps() { return kOperations; }

}  // namespace operations

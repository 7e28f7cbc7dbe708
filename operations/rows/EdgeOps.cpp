#include <DibEffect.h>

#include "operations/Call.h"

namespace operations {

namespace {

constexpr const char* kArea = "Edge, relief and motion";

// Sums of longer lines pass 32 bits.
constexpr Bounds kLengths{1, 4096};
// Work grows with the distance, also beyond the edges of a picture.
constexpr Bounds kDistances{1, 1024};

constexpr Parameters kMotionBlur({integer("length", "number of samples", kLengths, {}, "px"),
                                  angle("angle", "direction of the smear; 0 is to the right, 90 down", "0"),
                                  wrap(), classic()});

constexpr Parameters kEdge({wrap(), classic()});

constexpr Parameters kEmboss({number("strength", "contrast of the relief", kAnyNumber, "1"),
                              integer("distance", "how far apart the samples lie", kDistances, "1", "px"),
                              angle("angle", "direction in which rising brightness looks raised", "45"),
                              wrap(), classic()});

// Between pixels of 8 bits the classic functions take whole ones, as indices cannot be mixed.
constexpr unsigned int kClassicDepths = depths({8, 16, 24, 32});
constexpr unsigned int kMixedDepths = depths({16, 24, 32});

constexpr Operation kOperations[] = {
    {{"motion-blur",
      kArea,
      "Smears the picture along one direction.",
      "motion-blur:15,angle=30",
      {"motion-blur:15", "motion-blur:24,angle=30", "motion-blur:60,angle=90,wrap=xy"},
      kMotionBlur,
      kAllDepths},
     "DibEffectMotionBlur(nullptr, nullptr, &image, {length}, {angle}, {wrap})",
     replacing(Effect<int, float, unsigned int>::run<DibEffectMotionBlur>),
     nullptr,
     {.classicDepths = kClassicDepths, .depths = kMixedDepths, .alpha = Alpha::kWeights}},
    {{"edge",
      kArea,
      "Shows how fast each channel changes; beyond 255 it starts again at 0. Transparent pixels count "
      "like others.",
      "edge",
      {"edge", "canvas:25% edge", "canvas:15% edge:wrap=xy"},
      kEdge,
      kAllDepths},
     "DibEffectPickEdge(nullptr, nullptr, &image, {wrap})",
     Effect<unsigned int>::run<DibEffectPickEdge>,
     nullptr,
     {.classicDepths = depths({8, 24, 32}), .alpha = Alpha::kKept}},
    {{"emboss",
      kArea,
      "Gives the picture the look of a relief. Transparent pixels count like others.",
      "emboss:2,distance=1,angle=45",
      {"emboss", "emboss:2,distance=2", "emboss:1,distance=4,angle=225,wrap=xy"},
      kEmboss,
      kAllDepths},
     "DibEffectEmboss(nullptr, nullptr, &image, {strength}, {distance}, {angle}, {wrap})",
     replacing(Effect<float, int, float, unsigned int>::run<DibEffectEmboss>),
     nullptr,
     {.classicDepths = kClassicDepths, .depths = kMixedDepths, .alpha = Alpha::kKept}},
};

}  // namespace

Area edgeOps() { return kOperations; }

}  // namespace operations

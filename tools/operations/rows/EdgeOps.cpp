#include <DibEffect.h>

#include "tools/operations/Call.h"

namespace tool {

namespace {

constexpr Parameter kMotionBlur[] = {integer("length", "number of samples", {1, kAnyInteger.max}, {}, "px"),
                                     angle("angle", "direction of the smear; 0 is to the right", "0"),
                                     wrap()};

constexpr Parameter kEdge[] = {wrap()};

constexpr Parameter kEmboss[] = {
    number("strength", "contrast of the relief", kAnyNumber, "1"),
    integer("distance", "how far apart the samples lie", {1, kAnyInteger.max}, "1", "px"),
    angle("angle", "direction in which rising brightness looks raised", "45"), wrap()};

constexpr Operation kOperations[] = {
    {"motion-blur",
     "Smears the picture along one direction.",
     "motion-blur:15,angle=30",
     {"motion-blur:15", "motion-blur:24,angle=30", "motion-blur:60,angle=90,wrap=xy"},
     kMotionBlur,
     "DibEffectMotionBlur(nullptr, nullptr, &image, {length}, {angle}, {wrap})",
     Effect<int, float, unsigned int>::run<DibEffectMotionBlur>},
    {"edge",
     "Shows how fast each channel changes.",
     "edge",
     {"edge", "sharpen edge", "edge:wrap=xy"},
     kEdge,
     "DibEffectPickEdge(nullptr, nullptr, &image, {wrap})",
     Effect<unsigned int>::run<DibEffectPickEdge>},
    {"emboss",
     "Gives the picture the look of a relief.",
     "emboss:2,distance=1,angle=45",
     {"emboss", "emboss:2,distance=2", "emboss:1,distance=4,angle=225,wrap=xy"},
     kEmboss,
     "DibEffectEmboss(nullptr, nullptr, &image, {strength}, {distance}, {angle}, {wrap})",
     Effect<float, int, float, unsigned int>::run<DibEffectEmboss>},
};

}  // namespace

std::span<const Operation> edgeOps() { return kOperations; }

}  // namespace tool

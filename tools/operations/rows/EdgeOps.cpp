#include <DibEffect.h>

#include "tools/operations/Operations.h"

namespace tool {

namespace {

constexpr Parameter kMotionBlur[] = {integer("length", "number of samples", {1, kAnyInteger.max}, {}, "px"),
                                     angle("angle", "direction of the smear; 0 is to the right", "0"),
                                     wrap()};

bool runMotionBlur(DibStream& image, const Arguments& arguments, DibProgressCallback callback, void* user) {
    return DibEffectMotionBlur(callback, user, &image, arguments.integer("length"),
                               arguments.radians("angle"), arguments.word("wrap"));
}

constexpr Parameter kEdge[] = {wrap()};

bool runEdge(DibStream& image, const Arguments& arguments, DibProgressCallback callback, void* user) {
    return DibEffectPickEdge(callback, user, &image, arguments.word("wrap"));
}

constexpr Parameter kEmboss[] = {
    number("strength", "contrast of the relief", kAnyNumber, "1"),
    integer("distance", "how far apart the samples lie", {1, kAnyInteger.max}, "1", "px"),
    angle("angle", "direction in which rising brightness looks raised", "45"), wrap()};

bool runEmboss(DibStream& image, const Arguments& arguments, DibProgressCallback callback, void* user) {
    return DibEffectEmboss(callback, user, &image, arguments.number("strength"),
                           arguments.integer("distance"), arguments.radians("angle"), arguments.word("wrap"));
}

constexpr Operation kOperations[] = {
    {"motion-blur",
     "Smears the picture along one direction.",
     "motion-blur:15,angle=30",
     {"motion-blur:15", "motion-blur:24,angle=30", "motion-blur:60,angle=90,wrap=xy"},
     kMotionBlur,
     "DibEffectMotionBlur(nullptr, nullptr, &image, {length}, {angle}, {wrap})",
     runMotionBlur},
    {"edge",
     "Shows how fast each channel changes.",
     "edge",
     {"edge", "sharpen edge", "edge:wrap=xy"},
     kEdge,
     "DibEffectPickEdge(nullptr, nullptr, &image, {wrap})",
     runEdge},
    {"emboss",
     "Gives the picture the look of a relief.",
     "emboss:2,distance=1,angle=45",
     {"emboss", "emboss:2,distance=2", "emboss:1,distance=4,angle=225,wrap=xy"},
     kEmboss,
     "DibEffectEmboss(nullptr, nullptr, &image, {strength}, {distance}, {angle}, {wrap})",
     runEmboss},
};

}  // namespace

std::span<const Operation> edgeOps() { return kOperations; }

}  // namespace tool

#include <DibEffect.h>

#include "tools/Operations.h"

namespace tool {

namespace {

constexpr Choice kModes[] = {{"stretch", 0, "brought to the size of the first"},
                             {"tile", 1, "repeated from the upper left corner"}};

constexpr Parameter kCompose[] = {
    path("file", "the second picture"), fraction("opacity", "share of the second picture", "0.5"),
    choice("mode", "how the second picture covers the first", kModes, "stretch")};

bool runCompose(DibStream& image, const Arguments& arguments, DibProgressCallback callback, void* user) {
    return DibEffectCompose(callback, user, &image, arguments.path("file"), arguments.number("opacity"),
                            arguments.word("mode"));
}

constexpr Operation kOperations[] = {
    {"compose",
     "Blends a second picture in. Its extension must be bmp, ppm, pgm, tga, png, jpg or iff.",
     "compose:other.bmp,0.5",
     {"compose:other.bmp", "compose:other.bmp,30%,mode=tile", "compose:other.bmp,0.8"},
     kCompose,
     "DibEffectCompose(nullptr, nullptr, &image, {file}, {opacity}, {mode})",
     runCompose},
};

}  // namespace

std::span<const Operation> composeOps() { return kOperations; }

}  // namespace tool

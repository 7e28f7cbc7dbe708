#include "operations/pixels/Colors.h"

namespace operations {

namespace {

constexpr const char* kArea = "Colour depth";

constexpr std::uint32_t number(Dither dither) { return static_cast<std::uint32_t>(dither); }

constexpr Choices kDithers({
    {"none", number(Dither::kNone), "each pixel gets the nearest colour"},
    {"floyd-steinberg", number(Dither::kFloydSteinberg), "what a pixel lacks goes to its neighbours"},
    {"ordered", number(Dither::kOrdered),
     "a pattern of 8 x 8 pixels, the same in every frame of an animation"},
});

constexpr Parameters kColors({integer("count", "most colours of the result", {2, 256}),
                              choice("dither", "how colours between them are shown", kDithers,
                                     "floyd-steinberg")});

bool runColors(const Job& job) {
    return reduceColors(job, job.arguments.integer("count"),
                        static_cast<Dither>(job.arguments.word("dither")));
}

constexpr Operation kOperations[] = {
    {{"colors",
      kArea,
      "Leaves the colours that show the picture best, in a palette of 1, 4 or 8 bits.",
      "colors:16",
      {"colors:16", "colors:8,dither=ordered", "colors:64,dither=none"},
      kColors,
      kAllDepths},
     "",
     runColors},
};

}  // namespace

Area colorOps() { return kOperations; }

}  // namespace operations

#include "operations/SecondPicture.h"
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

constexpr DibParameter kDither =
    choice("dither", "how colours between them are shown", kDithers, "floyd-steinberg");
constexpr DibParameter kVisible = integer(
    "visible", "least alpha of pixels that become opaque; others become transparent", {1, 255}, "128");

int visibleOf(const Job& job) { return job.arguments.integer("visible"); }

constexpr Parameters kColors({integer("count", "most colours of the result", {2, 256}), kDither, kVisible});

bool runColors(const Job& job) {
    return reduceColors(job, job.arguments.integer("count"),
                        static_cast<Dither>(job.arguments.word("dither")), visibleOf(job));
}

constexpr Parameters kRemap({path("file", "a palette file (.gpl, .pal, .act) or a picture"), kDither,
                             kVisible});

bool runRemap(const Job& job) {
    const std::string name = job.arguments.path("file");
    DibStream other;
    openPicture(job, name, other);
    // The colours of a picture with a palette need not be counted.
    const float begin = other.Header->biBitCount <= 8 ? 0 : 0.5F;
    auto palette = paletteOf({{job.callback, job.user}, 0, begin}, other);
    if (!palette) return false;
    if (palette->empty()) throw Refusal{DIB_ERROR_MISMATCH, quoted(name) + ": has no visible colours"};
    return remapColors(job, std::move(*palette), static_cast<Dither>(job.arguments.word("dither")),
                       visibleOf(job), begin);
}

constexpr Operation kOperations[] = {
    {{"colors",
      kArea,
      "Leaves the colours that show the picture best, in a palette of 1, 4 or 8 bits; one entry is "
      "transparent where the picture is.",
      "colors:16",
      {"colors:16", "colors:8,dither=ordered", "colors:4,dither=none"},
      kColors,
      kAllDepths},
     "",
     replacing(runColors)},
    {{"remap",
      kArea,
      "Shows the picture in another palette, whose order stays.",
      "remap:other.bmp,dither=none",
      {"remap:other.bmp", "grey remap:other.bmp,dither=ordered", "posterize:4 remap:other.bmp,dither=none"},
      kRemap,
      kAllDepths},
     "",
     replacing(runRemap)},
};

}  // namespace

Area colorOps() { return kOperations; }

}  // namespace operations

#include "operations/pixels/Place.h"

#include <algorithm>

#include "operations/Operations.h"

namespace operations {

namespace {

constexpr const char* kArea = "Borders";

constexpr Parameters kTrim({integer("tolerance", "largest difference of a channel that is still border",
                                    {0, 255}, "0")});

bool runTrim(const Job& job) { return trim(job, job.arguments.integer("tolerance")); }

constexpr Bounds kSide{-1, kAnyInteger.max};

constexpr Parameters kBorder({length("width", "of the border; percentages are of the shorter side",
                                     {0, kAnyInteger.max}),
                              color("color", "of the border", "#000000"),
                              length("left", "its width there; -1: as elsewhere", kSide, "-1"),
                              length("top", "its width there; -1: as elsewhere", kSide, "-1"),
                              length("right", "its width there; -1: as elsewhere", kSide, "-1"),
                              length("bottom", "its width there; -1: as elsewhere", kSide, "-1")});

bool runBorder(const Job& job) {
    const Arguments& given = job.arguments;
    const int shorter = std::min(width(job.image), height(job.image));
    const int all = given.pixels("width", shorter);
    const auto side = [&](const char* name) {
        const int pixels = given.pixels(name, shorter);
        return pixels < 0 ? all : pixels;
    };
    return addBorder(job, {side("left"), side("top"), side("right"), side("bottom")}, given.color("color"));
}

constexpr Operation kOperations[] = {
    {{"trim",
      kArea,
      "Cuts off a border of one colour, that of most corners.",
      "trim:16",
      {"canvas:60% border:20,#ff8000 trim", "canvas:100%x40% border:20,#20304080 trim",
       "canvas:40% border:40,#102030 trim:8"},
      kTrim,
      kAllDepths,
      kMovesPixels},
     "",
     replacing(runTrim)},
    {{"border",
      kArea,
      "Adds a border; a picture that cannot hold its colour gets 24 bits, or 32 for alpha.",
      "border:10,#ffffff,bottom=30",
      {"border:10", "border:5%,#f0e6d2", "border:8,#ffffff,bottom=48"},
      kBorder,
      kAllDepths},
     "",
     replacing(runBorder)},
};

}  // namespace

Area placeOps() { return kOperations; }

}  // namespace operations

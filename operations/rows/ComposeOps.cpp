#include <DibEffect.h>

#include "operations/SecondPicture.h"

namespace operations {

namespace {

constexpr const char* kArea = "Second picture";

constexpr Choices kModes({{"stretch", 0, "brought to the size of the first"},
                          {"tile", 1, "repeated from the upper left corner"}});

constexpr Parameters kCompose({path("file", "the second picture"),
                               fraction("opacity", "share of the second picture", "0.5"),
                               choice("mode", "how the second picture covers the first", kModes, "stretch"),
                               classic()});

bool runCompose(const Job& job) {
    DibStream second;
    openPicture(job, job.arguments.path("file"), second);
    return DibEffectCompose(job.callback, job.user, &job.image, &second, job.arguments.number("opacity"),
                            job.arguments.word("mode"));
}

constexpr Operation kOperations[] = {
    {{"compose",
      kArea,
      "Blends a second picture in, stretched or tiled, without its alpha; overlay puts it at a place.",
      "compose:other.bmp,0.5",
      {"compose:other.bmp", "compose:other.bmp,30%,mode=tile", "compose:other.bmp,0.8"},
      kCompose,
      kAllDepths},
     "DibEffectCompose(nullptr, nullptr, &image, {file}, {opacity}, {mode})",
     runCompose,
     nullptr,
     {.classicDepths = depths({8, 24, 32}),
      .depths = depths({24, 32}),
      .alpha = Alpha::kKept,
      .addsColors = true}},
};

}  // namespace

Area composeOps() { return kOperations; }

}  // namespace operations

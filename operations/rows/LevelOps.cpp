#include <algorithm>
#include <cmath>

#include "operations/pixels/Tone.h"

namespace operations {

namespace {

constexpr const char* kArea = "Levels and grey";

constexpr Bounds kLevel{0, 255};

constexpr Choices kChannels({{"r", kRed, "red"}, {"g", kGreen, "green"}, {"b", kBlue, "blue"}});

constexpr Parameters kLevels({number("black", "value that becomes the lowest", kLevel),
                              number("white", "value that becomes the highest, above black", kLevel),
                              number("gamma", "bends what lies between; above 1 brightens", {0.01, 100}, "1"),
                              number("low", "the lowest value of the result", kLevel, "0"),
                              number("high", "the highest value of the result", kLevel, "255"),
                              flags("channels", "colours that change", kChannels, "rgb")});

std::string checkLevels(const Arguments& arguments) {
    return arguments.number("white") > arguments.number("black") ? "" : "white: must be above black";
}

bool runLevels(const Job& job) {
    const Arguments& given = job.arguments;
    const double black = given.number("black");
    const double range = given.number("white") - black;
    const double low = given.number("low");
    const double span = given.number("high") - low;
    const double exponent = 1.0 / given.number("gamma");
    const auto curve = [&](int value) {
        const double share = std::clamp((value - black) / range, 0.0, 1.0);
        return static_cast<int>(std::floor(low + span * std::pow(share, exponent) + 0.5));
    };
    return mapChannels(job, dib::toneTable(curve), given.word("channels"));
}

constexpr dib::GreyShares kWeights[] = {{7471, 38470, 19595}, {4732, 46871, 13933}, {21845, 21846, 21845}};

constexpr Choices kGreys({{"601", 0,
                           "as eyes see the colours of television: 0.299 red, 0.587 green, 0.114 blue"},
                          {"709", 1, "the same for screens: 0.2126 red, 0.7152 green, 0.0722 blue"},
                          {"mean", 2, "the mean of the three"}});

constexpr DibParameter kShares = choice("weights", "shares of the colours in the grey", kGreys, "601");

constexpr Parameters kGrey({kShares});

bool runGrey(const Job& job) { return mapGreys(job, kWeights[job.arguments.word("weights")]); }

constexpr Parameters kThreshold(
    {integer("level", "grey from which on a pixel becomes white", {0, 256}, "128"), kShares});

bool runThreshold(const Job& job) {
    const int level = job.arguments.integer("level");
    const dib::ToneTable table = dib::toneTable([=](int v) { return v >= level ? 255 : 0; });
    return mapGreys(job, kWeights[job.arguments.word("weights")], &table);
}

constexpr Parameters kPosterize({integer("levels", "values that are left of each colour", {2, 256})});

bool runPosterize(const Job& job) {
    const int steps = job.arguments.integer("levels") - 1;
    const auto nearest = [=](int v) {
        const int step = (2 * v * steps + 255) / 510;
        return (2 * 255 * step + steps) / (2 * steps);
    };
    return mapChannels(job, dib::toneTable(nearest), kRed | kGreen | kBlue);
}

constexpr Parameters kFlatten({color("background", "what lies under the picture; its alpha does not count",
                                     "#ffffff")});

bool runFlatten(const Job& job) { return flatten(job, job.arguments.color("background")); }

constexpr Operation kOperations[] = {
    {{"levels",
      kArea,
      "Stretches the values between two limits over the full range.",
      "levels:20,230,gamma=1.2",
      {"levels:40,200", "levels:0,255,gamma=1.6", "levels:30,160,low=40,channels=rg"},
      kLevels,
      kAllDepths},
     "",
     replacing(runLevels),
     checkLevels},
    {{"grey",
      kArea,
      "Makes colours grey; the depth stays.",
      "grey",
      {"grey", "grey:mean", "posterize:2 grey:709"},
      kGrey,
      kAllDepths},
     "",
     replacing(runGrey)},
    {{"threshold",
      kArea,
      "Makes pixels black or white by their grey; the depth stays.",
      "threshold:100",
      {"threshold", "threshold:90", "threshold:160,weights=mean"},
      kThreshold,
      kAllDepths},
     "",
     replacing(runThreshold)},
    {{"posterize",
      kArea,
      "Leaves a few evenly spaced values of each colour.",
      "posterize:4",
      {"posterize:4", "posterize:2", "posterize:8"},
      kPosterize,
      kAllDepths},
     "",
     replacing(runPosterize)},
    {{"flatten",
      kArea,
      "Lays a picture with alpha over a colour; the result is opaque, of 24 bits.",
      "flatten:#ff8000",
      {"bpp:32 canvas:120%,fill=#00000000 flatten", "bpp:32 canvas:120%,fill=#00000000 flatten:#203040",
       "bpp:32 canvas:80%x130%,fill=#ff00ff40 flatten:#ff8000"},
      kFlatten,
      kAllDepths},
     "",
     replacing(runFlatten)},
};

}  // namespace

Area levelOps() { return kOperations; }

}  // namespace operations

#include <cmath>

#include "dib/Numbers.h"
#include "operations/PictureDifference.h"
#include "operations/Places.h"
#include "operations/SecondPicture.h"
#include "operations/pixels/Overlay.h"
#include "operations/pixels/Pixels.h"
#include "operations/pixels/Place.h"

namespace operations {

namespace {

constexpr const char* kArea = "Second picture";

constexpr std::uint32_t number(dib::BlendMode mode) { return static_cast<std::uint32_t>(mode); }

constexpr Choices kModes({
    {"normal", number(dib::BlendMode::kNormal), "the colour itself"},
    {"dissolve", number(dib::BlendMode::kDissolve), "alpha is the share of pixels that are opaque"},
    {"darken", number(dib::BlendMode::kDarken), "the darker of each channel"},
    {"multiply", number(dib::BlendMode::kMultiply), "the product"},
    {"color-burn", number(dib::BlendMode::kColorBurn), "darkens the one below by it"},
    {"darker-color", number(dib::BlendMode::kDarkerColor), "the darker colour"},
    {"lighten", number(dib::BlendMode::kLighten), "the lighter of each channel"},
    {"screen", number(dib::BlendMode::kScreen), "the product of the inverses, inverted"},
    {"color-dodge", number(dib::BlendMode::kColorDodge), "lightens the one below by it"},
    {"add", number(dib::BlendMode::kLinearDodge), "the sum, also known as linear dodge"},
    {"lighter-color", number(dib::BlendMode::kLighterColor), "the lighter colour"},
    {"overlay", number(dib::BlendMode::kOverlay), "hard light with both exchanged"},
    {"soft-light", number(dib::BlendMode::kSoftLight), "darkens or lightens a little"},
    {"hard-light", number(dib::BlendMode::kHardLight), "the product where it is dark, else screen"},
    {"vivid-light", number(dib::BlendMode::kVividLight), "burn where it is dark, else dodge"},
    {"linear-light", number(dib::BlendMode::kLinearLight), "adds twice its distance from grey"},
    {"pin-light", number(dib::BlendMode::kPinLight), "replaces what is less extreme"},
    {"hard-mix", number(dib::BlendMode::kHardMix), "each channel full or none"},
    {"difference", number(dib::BlendMode::kDifference), "the distance"},
    {"exclusion", number(dib::BlendMode::kExclusion), "the distance, with less contrast"},
    {"hue", number(dib::BlendMode::kHue), "its hue"},
    {"saturation", number(dib::BlendMode::kSaturation), "its saturation"},
    {"color", number(dib::BlendMode::kColor), "its hue and saturation"},
    {"luminosity", number(dib::BlendMode::kLuminosity), "its brightness"},
});

constexpr DibParameter kFile = path("file", "the second picture");

constexpr Parameters kOverlay({kFile, kPlaceX, kPlaceY, kPlace,
                               fraction("opacity", "share of the second picture, times its alpha", "1"),
                               choice("mode", "how its colours cover those below", kModes, "normal")});

bool runOverlay(const Job& job) {
    const Arguments& given = job.arguments;
    DibStream over;
    openPicture(job, given.path("file"), over);
    const auto opacity = static_cast<std::uint32_t>(std::lround(given.number("opacity") * 255));
    // Every mode makes greys of greys.
    const Treatment treatment = {
        .classicDepths = kAllDepths, .depths = depths({24, 32}), .addsColors = !isGrey(over)};
    return runWidened(job, treatment, [&](const Job& each) {
        return overlay(each, over, placeOf(each, width(over), height(over)), opacity,
                       static_cast<dib::BlendMode>(given.word("mode")));
    });
}

constexpr Choices kDirections({{"row", 0, "to the right of the first"}, {"column", 1, "below the first"}});

constexpr Choices kAligns({{"start", 0, "upper or left edges"},
                           {"center", 1, "middles"},
                           {"end", 2, "lower or right edges"}});

constexpr Parameters kJoin({kFile, choice("direction", "where it is put", kDirections, "row"),
                            choice("align", "what lies on one line", kAligns, "start"),
                            integer("gap", "between the two", {0, kAnyInteger.max}, "0", "px"),
                            color("fill", "of the gap, and beside the smaller one", "#ffffff")});

bool runJoin(const Job& job) {
    const Arguments& given = job.arguments;
    DibStream second;
    openPicture(job, given.path("file"), second);
    return join(job, second,
                {given.word("direction") == 1, dib::asInt(given.word("align")), given.integer("gap"),
                 given.color("fill")});
}

constexpr Parameters kCompare({kFile, integer("gain", "factor that makes small differences visible", {1, 255},
                                              "1")});

bool runCompare(const Job& job) {
    DibStream second;
    openPicture(job, job.arguments.path("file"), second);
    return compare(job.image, second, job.arguments.integer("gain"), job.result.difference, &job.image,
                   job.callback, job.user);
}

constexpr Operation kOperations[] = {
    {{"overlay",
      kArea,
      "Lays a second picture over the first, by its alpha.",
      "overlay:other.bmp,place=se,opacity=60%",
      {"overlay:other.bmp", "overlay:other.bmp,10,10,place=se,opacity=60%",
       "overlay:other.bmp,50%,50%,mode=multiply"},
      kOverlay,
      kAllDepths},
     "",
     replacing(runOverlay)},
    {{"join",
      kArea,
      "Puts a second picture beside or below the first.",
      "join:other.bmp,column,gap=4",
      {"join:other.bmp", "join:other.bmp,column,align=center",
       "join:other.bmp,gap=12,align=end,fill=#203040"},
      kJoin,
      kAllDepths},
     "",
     replacing(runJoin)},
    {{"compare",
      kArea,
      "Shows the difference from a second picture: black where they are alike, white where one ends.",
      "compare:other.bmp,gain=8",
      {"compare:other.bmp", "fill:160x120 compare:other.bmp,gain=2", "fill:160x120 grey compare:other.bmp"},
      kCompare,
      kAllDepths},
     "",
     replacing(runCompare)},
};

}  // namespace

Area overlayOps() { return kOperations; }

}  // namespace operations

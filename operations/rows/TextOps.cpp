#include <algorithm>

#include "operations/Places.h"
#include "operations/pixels/Text.h"

namespace operations {

namespace {

constexpr const char* kArea = "Text";

constexpr Parameters kText({text("text", "what is written; a line feed begins another line"), kPlaceX,
                            kPlaceY, kPlace,
                            length("size", "height of the font; percentages are of the picture's height",
                                   {1, kAnyInteger.max}, "20"),
                            color("color", "of the letters, with alpha", "#000000"),
                            color("box", "behind the letters, with alpha; none: nothing", "none")});

bool runText(const Job& job) {
    const Arguments& given = job.arguments;
    const int size = std::max(1, given.pixels("size", height(job.image)));
    const std::uint32_t place = given.word("place");
    const TextStyle style = {size, given.color("color"), given.colorIfAny("box"),
                             static_cast<int>(place & 3)};
    const TextBlock block(given.text("text"), style);
    const Place corner = placeOf(job, block.width(), block.height());
    return drawText(job, block, style, corner.x, corner.y);
}

constexpr Operation kOperations[] = {
    {{"text",
      kArea,
      "Writes text in plain letters, which hold ASCII; others become boxes.",
      "text:Sample,place=se,size=10%,color=#ffffffc0",
      {"text:Sample", "text:Sample,place=center,size=25%,color=#ffffffc0",
       "text:No.1,8,8,place=se,size=24,color=#ffe080,box=#000000a0"},
      kText,
      kAllDepths},
     "",
     runText},
};

}  // namespace

Area textOps() { return kOperations; }

}  // namespace operations

#include <algorithm>

#include "operations/Places.h"
#include "operations/pixels/Text.h"

namespace operations {

namespace {

constexpr const char* kArea = "Text";

constexpr Parameters kText({text("text",
                                 "what is written; a line feed begins another line; chains take a backslash "
                                 "away, so that \\n is n"),
                            kPlaceX, kPlaceY, kPlace,
                            length("size", "height of the font; percentages are of the picture's height",
                                   {1, kAnyInteger.max}, "20"),
                            color("color", "of the letters, with alpha", "#000000"),
                            color("box", "behind the letters, with alpha; none: nothing", "none"),
                            text("font", "file of a font; none: plain letters, which hold ASCII", "none")});

bool runText(const Job& job) {
    const Arguments& given = job.arguments;
    const int size = std::max(1, given.pixels("size", height(job.image)));
    const std::uint32_t place = given.word("place");
    const std::string& file = given.text("font");
    const std::unique_ptr<Font> font = file != "none" ? openFont(file) : nullptr;
    const TextStyle style = {size, given.color("color"), given.colorIfAny("box"), static_cast<int>(place & 3),
                             font.get()};
    TextBlock block(given.text("text"), style);
    return drawText(job, block, placeOf(job, block.width(), block.height()));
}

constexpr Operation kOperations[] = {
    {{"text",
      kArea,
      "Writes text in the letters of a font, or in plain ones. Characters that they lack become boxes.",
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

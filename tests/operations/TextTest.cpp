// Text on pictures.
#include "tests/operations/Pictures.h"

namespace operations_test {

namespace {

using testing_support::DibPtr;
using testing_support::plainImage;
using testing_support::sameImage;
using Values = std::vector<std::uint32_t>;

// The pixels after a chain, one letter each: '#' for the colour, '.' for the picture's, '?' for others.
std::string drawn(DibStream& image, const std::string& chain, std::uint32_t color, std::uint32_t paper) {
    std::string text;
    int column = 0;
    for (const std::uint32_t value : after(image, chain)) {
        text += value == color ? '#' : value == paper ? '.' : '?';
        if (++column % image.Header->biWidth == 0) text += '\n';
    }
    return text;
}

// At a size of 10 a cell of a letter is a pixel.
TEST(Text, LettersAreTheirCells) {
    EXPECT_EQ(drawn(*plainImage(13, 10, 24, 0xFFFFFF), "text:Ag,x=1,size=10", 0, 0xFFFFFF),
              "..###........\n"
              ".#...#.......\n"
              ".#...#..####.\n"
              ".#####.#...#.\n"
              ".#...#.#...#.\n"
              ".#...#.#...#.\n"
              ".#...#..####.\n"
              "...........#.\n"
              "........###..\n"
              ".............\n");
}

TEST(Text, HasAColourASizeAndAPlace) {
    const DibPtr image = plainImage(12, 20, 24, 0x102030);
    EXPECT_EQ(drawn(*image, "text:i,x=1,y=1,place=se,size=20,color=#ff8000", 0xFF8000, 0x102030),
              "............\n"
              ".....##.....\n"
              ".....##.....\n"
              "............\n"
              "............\n"
              "...####.....\n"
              "...####.....\n"
              ".....##.....\n"
              ".....##.....\n"
              ".....##.....\n"
              ".....##.....\n"
              ".....##.....\n"
              ".....##.....\n"
              "...######...\n"
              "...######...\n"
              "............\n"
              "............\n"
              "............\n"
              "............\n"
              "............\n");
    // Half of the height is a size of 10 again; the middle of 13 pixels.
    EXPECT_EQ(drawn(*plainImage(13, 20, 24, 9), "text:-,place=n,size=50%", 0, 9).substr(0, 4 * 14),
              ".............\n"
              ".............\n"
              ".............\n"
              ".....###.....\n");
}

TEST(Text, OfSeveralLinesStandsToItsPlace) {
    const auto linesAt = [](const char* place) {
        const DibPtr image = plainImage(11, 21, 24, 0xFFFFFF);
        return drawn(*image, std::string("text:.\\\n..,size=10,place=") + place, 0, 0xFFFFFF);
    };
    const std::string blank = "...........\n";
    const auto expected = [&](const std::string& first, const std::string& second) {
        std::string text;
        for (int i = 0; i < 6; ++i) text += blank;
        text += first;
        for (int i = 0; i < 11; ++i) text += blank;
        text += second;
        return text + blank + blank;
    };
    EXPECT_EQ(linesAt("nw"), expected("..#........\n", "..#.....#..\n"));
    EXPECT_EQ(linesAt("n"), expected(".....#.....\n", "..#.....#..\n"));
    EXPECT_EQ(linesAt("ne"), expected("........#..\n", "..#.....#..\n"));
}

TEST(Text, ObeysAlpha) {
    EXPECT_EQ(after(*plainImage(3, 1, 24, 0x000000), "text:_,y=-7,size=10,color=#ffffff80"),
              Values(3, 0x808080));
    EXPECT_EQ(after(*plainImage(3, 1, 32, 0x00000000), "text:_,y=-7,size=10,color=#ff804080"),
              Values(3, 0x80FF8040));
}

TEST(Text, ABoxLiesBehindIt) {
    EXPECT_EQ(drawn(*plainImage(11, 6, 24, 9), "text:-,y=-3,size=10,box=#000007", 0, 7),
              ".........??\n"
              ".........??\n"
              "...###...??\n"
              ".........??\n"
              ".........??\n"
              ".........??\n");
}

TEST(Text, OtherCharactersAreBoxes) {
    const std::string box = drawn(*plainImage(6, 7, 24, 9), "text:\xC3\xA9,size=10", 0, 9);
    EXPECT_EQ(box, "#####.\n#...#.\n#...#.\n#...#.\n#...#.\n#...#.\n#####.\n");
    EXPECT_EQ(box, drawn(*plainImage(6, 7, 24, 9), "text:\xE2\x82\xAC,size=10", 0, 9));
    EXPECT_EQ(box, drawn(*plainImage(6, 7, 24, 9), "text:\x01,size=10", 0, 9));
}

// Corners of large letters are round: a dot of one cell of 40 pixels loses its corners and keeps its middle.
TEST(Text, LargeLettersAreSmooth) {
    const Values values = after(*plainImage(200, 280, 24, 0xFFFFFF), "text:.,size=400");
    const auto at = [&](int x, int y) { return values[static_cast<std::size_t>(200 * y + x)]; };
    EXPECT_EQ(at(100, 260), 0U);
    EXPECT_EQ(at(81, 241), 0xFFFFFFU);
    EXPECT_EQ(at(10, 260), 0xFFFFFFU);
    int greys = 0;
    for (const std::uint32_t value : values) greys += value != 0 && value != 0xFFFFFF ? 1 : 0;
    EXPECT_GT(greys, 50);
    EXPECT_LT(greys, 400);
}

TEST(Text, WidensPalettes) {
    for (const int bitCount : {1, 4, 8, 16}) {
        const DibPtr image = plainImage(20, 10, bitCount, 1);
        DibOperationResult result;
        ASSERT_TRUE(DibApply(image.get(), "text:A,size=10,color=#ff0000", nullptr, &result));
        EXPECT_EQ(image->Header->biBitCount, 24);
        EXPECT_EQ(testing_support::pixelValue(*image, 0, 3), 0xFF0000U);
        EXPECT_EQ(result.noteCount, 1);
    }
}

TEST(Text, KeepsGreyPicturesGrey) {
    const DibPtr ramp = plainImage(3, 1, 8, 200);
    DibOperationResult result;
    ASSERT_TRUE(
        DibApply(ramp.get(), "text:_,x=1,y=-7,size=10,color=#64646480,box=#000000", nullptr, &result));
    EXPECT_EQ(ramp->Header->biBitCount, 8);
    EXPECT_EQ(valuesOf(*ramp), (Values{200, 0, 0}));  // the box, whose margin is 2
    EXPECT_EQ(after(*ramp, "text:_,x=0,y=-7,size=10,color=#64646480"), (Values{150, 50, 50}));
    EXPECT_EQ(result.noteCount, 0);
    // Palettes of other greys become levels: entry 5 of 16 is 85.
    const DibPtr few = plainImage(3, 1, 4, 5);
    ASSERT_TRUE(DibApply(few.get(), "text:_,x=2,y=-7,size=10,color=#ffffff", nullptr, &result));
    EXPECT_EQ(few->Header->biBitCount, 8);
    EXPECT_EQ(valuesOf(*few), (Values{85, 85, 255}));
    ASSERT_EQ(result.noteCount, 1);
    EXPECT_STREQ(result.notes[0].text, "text: the palette of 4 bits became 8 bits of grey");
    // Colours widen them, those of a box too.
    for (const char* step : {"text:_,y=-7,size=10,color=#646465", "text:_,y=-7,size=10,box=#010000"}) {
        const DibPtr colored = plainImage(3, 1, 8, 200);
        ASSERT_TRUE(DibApply(colored.get(), step));
        EXPECT_EQ(colored->Header->biBitCount, 24) << step;
    }
}

TEST(Text, OutsideChangesNothingAndSaysSo) {
    const DibPtr image = plainImage(20, 10, 24, 5);
    for (const char* chain : {"text:A,x=20", "text:", "text:A,y=-2147483648"}) {
        DibOperationResult result;
        ASSERT_TRUE(DibApply(image.get(), chain, nullptr, &result)) << chain;
        EXPECT_TRUE(sameImage(*image, *plainImage(20, 10, 24, 5)));
        ASSERT_EQ(result.noteCount, 1);
        EXPECT_STREQ(result.notes[0].text, "text: it lies outside the picture, or there is none");
    }
}

// Only what lies in the picture costs time and memory.
TEST(Text, MayBeLargerThanAnyPicture) {
    const DibPtr image = plainImage(20, 10, 24, 5);
    EXPECT_TRUE(DibApply(image.get(), "text:AAAAAAAAAA,size=2147483647,place=center"));
    EXPECT_FALSE(DibApply(image.get(), "text:A,size=0"));
}

TEST(Text, HoldsEveryCharacterOfAChain) {
    DibChain chain;
    ASSERT_TRUE(DibParseChain("text:a\\ b\\,c=d,2", &chain));
    EXPECT_STREQ(chain.steps[0].values[0], "a b,c=d");
    EXPECT_STREQ(chain.steps[0].values[1], "2");
    ASSERT_TRUE(DibParseStep("text:text=x=y", &chain));
    EXPECT_STREQ(chain.steps[0].values[0], "x=y");
}

}  // namespace

}  // namespace operations_test

// What the new pixels of a larger canvas hold, halves of thin pictures, and alpha that a depth drops.
#include "dib/ColorTable.h"
#include "tests/operations/Pictures.h"

namespace operations_test {

namespace {

using testing_support::DibPtr;
using Values = std::vector<std::uint32_t>;

// Three pixels of 4 bits and a palette of red, green, blue and maybe more, black not among them.
DibPtr colored(unsigned int entries) {
    DibPtr image = picture(3, 4, {0, 1, 2});
    DibBGRA* const table = dib::colorTable(image->Header);
    for (std::uint8_t i = 0; i < 16; ++i) table[i] = {200, i, 100, 0};
    table[0] = {0, 0, 255, 0};
    table[1] = {0, 255, 0, 0};
    table[2] = {255, 0, 0, 0};
    image->Header->biClrUsed = entries;
    return image;
}

std::string noteAfter(DibStream& image, const char* chain) {
    DibOperationResult result;
    EXPECT_TRUE(DibApply(&image, chain, nullptr, &result)) << result.reason;
    EXPECT_LE(result.noteCount, 1);
    if (result.noteCount == 0) return "";
    EXPECT_EQ(result.notes[0].kind, DIB_NOTE_LOSS);
    return result.notes[0].text;
}

TEST(Canvas, TakesTheEntryThatThePaletteHas) {
    const DibPtr image = colored(16);
    EXPECT_EQ(noteAfter(*image, "canvas:5x1,fill=#0000ff"), "");
    EXPECT_EQ(valuesOf(*image), (Values{2, 0, 1, 2, 2}));
    EXPECT_EQ(entriesOf(*image), entriesOf(*colored(16)));
}

TEST(Canvas, AddsItsColourWhereThePaletteHasRoom) {
    const DibPtr image = colored(3);
    EXPECT_EQ(noteAfter(*image, "canvas:5x1,fill=#123456"), "");
    EXPECT_EQ(valuesOf(*image), (Values{3, 0, 1, 2, 3}));
    EXPECT_EQ(image->Header->biClrUsed, 4U);
    EXPECT_EQ(entriesOf(*image), (Values{0xFF0000, 0x00FF00, 0x0000FF, 0x123456}));
}

TEST(Canvas, WidensAFullPaletteThatLacksItsColourAndSaysSo) {
    const DibPtr image = colored(16);
    EXPECT_EQ(noteAfter(*image, "canvas:5x1,fill=#000afa"),
              "canvas: the palette of 4 bits became 24 bits a pixel");
    EXPECT_EQ(valuesOf(*image), (Values{0x000AFA, 0xFF0000, 0x00FF00, 0x0000FF, 0x000AFA}));
    EXPECT_EQ(after(*colored(16), "canvas:5x1"), (Values{0, 0xFF0000, 0x00FF00, 0x0000FF, 0}));
}

TEST(Canvas, WidensGreyPicturesAndBlackAndWhiteOnesForColours) {
    const DibPtr grey = picture(1, 8, {77});
    EXPECT_EQ(noteAfter(*grey, "canvas:3x1,fill=#ff8000"),
              "canvas: the palette of 8 bits became 24 bits a pixel");
    EXPECT_EQ(valuesOf(*grey), (Values{0xFF8000, 0x4D4D4D, 0xFF8000}));
    const DibPtr lines = picture(2, 1, {0, 1});
    EXPECT_EQ(noteAfter(*lines, "canvas:4x1,fill=#ff8000"),
              "canvas: the palette of 1 bit became 24 bits a pixel");
    EXPECT_EQ(valuesOf(*lines), (Values{0xFF8000, 0, 0xFFFFFF, 0xFF8000}));
    EXPECT_EQ(after(*picture(1, 8, {77}), "canvas:3x1,fill=#121212"), (Values{18, 77, 18}));
    EXPECT_EQ(after(*picture(2, 1, {0, 1}), "canvas:4x1,fill=#fff"), (Values{1, 0, 1, 1}));
}

TEST(Canvas, NeedsNoFillToShrink) {
    for (const unsigned int entries : {3U, 16U}) {
        for (const char* chain : {"canvas:1x1", "canvas:1x1,fill=#123456", "canvas:1x1,fill=#0000"}) {
            SCOPED_TRACE(chain);
            const DibPtr image = colored(entries);
            EXPECT_EQ(noteAfter(*image, chain), "");
            EXPECT_EQ(valuesOf(*image), (Values{1}));
            EXPECT_EQ(image->Header->biClrUsed, entries);
        }
    }
}

TEST(Canvas, IsBlackWithoutAFill) {
    const DibPtr image = colored(3);
    EXPECT_EQ(noteAfter(*image, "canvas:5x1"), "");
    EXPECT_EQ(valuesOf(*image), (Values{3, 0, 1, 2, 3}));
    EXPECT_EQ(entriesOf(*image)[3], 0U);
    EXPECT_EQ(after(*picture(1, 24, {9}), "canvas:3x1"), (Values{0, 9, 0}));
    EXPECT_EQ(after(*picture(1, 32, {0xFF000009}), "canvas:3x1"), (Values{0, 0xFF000009, 0}));
    // As the classic function has it: the first entry.
    EXPECT_EQ(after(*colored(3), "canvas:5x1,classic"), (Values{0, 0, 1, 2, 0}));
}

TEST(Canvas, GetsAlphaForAFillThatHasSome) {
    const DibPtr image = picture(1, 24, {0x010203});
    EXPECT_EQ(noteAfter(*image, "canvas:3x1,fill=#ff000080"), "");
    EXPECT_EQ(valuesOf(*image), (Values{0x80FF0000, 0xFF010203, 0x80FF0000}));
    const DibPtr indexed = colored(16);
    EXPECT_EQ(noteAfter(*indexed, "canvas:5x1,fill=#0000"),
              "canvas: the palette of 4 bits became 32 bits a pixel");
    EXPECT_EQ(valuesOf(*indexed), (Values{0, 0xFFFF0000, 0xFF00FF00, 0xFF0000FF, 0}));
}

TEST(Canvas, TakesNumbersOfPixelsAsTheyAre) {
    EXPECT_EQ(after(*colored(16), "canvas:5x1,fill=7"), (Values{7, 0, 1, 2, 7}));
}

TEST(Half, LeavesASideOfOnePixel) {
    EXPECT_EQ(after(*picture(4, 24, {10, 21, 0x30, 0x50}), "half"), (Values{15, 0x40}));
    EXPECT_EQ(after(*picture(1, 24, {10, 21, 0x30, 0x50}), "half"), (Values{15, 0x40}));
    EXPECT_EQ(after(*picture(1, 24, {77}), "half half"), (Values{77}));
    // Of three the upper one is left out, as the rows count from below.
    EXPECT_EQ(after(*picture(1, 24, {100, 10, 20}), "half"), (Values{15}));
    // Blue of alpha 255 and nothing: all of the colour, and half of the alpha.
    EXPECT_EQ(after(*picture(2, 32, {0xFF0000C8, 0}), "half"), (Values{0x800000C8}));
    EXPECT_EQ(after(*picture(2, 8, {10, 20}), "half"), (Values{15}));
}

TEST(Half, ClassicRefusesASideOfOnePixel) {
    const DibPtr image = picture(2, 24, {1, 3});
    DibOperationResult result;
    EXPECT_FALSE(DibApply(image.get(), "half:classic", nullptr, &result));
    EXPECT_EQ(result.code, DIB_ERROR_MISMATCH);
    EXPECT_STREQ(result.reason, "half: the classic function cannot halve a side of 1 pixel");
    EXPECT_EQ(valuesOf(*image), (Values{1, 3}));
}

// One row of alpha more or less makes no other picture.
TEST(Half, LeavesOutTheSameRowWithAlpha) {
    EXPECT_EQ(after(*picture(2, 24, {90, 90, 1, 3, 5, 7}), "half"), (Values{4}));
    EXPECT_EQ(after(*picture(2, 32, {90, 90, 0xFF000001, 0xFF000003, 0xFF000005, 0xFF000007}), "half"),
              (Values{0xFF000004}));
}

TEST(Depth, SaysThatItDropsAlpha) {
    for (const char* chain : {"bpp:24", "bpp:16", "bpp:8", "bpp:8,method=median", "bpp:1"}) {
        SCOPED_TRACE(chain);
        EXPECT_EQ(noteAfter(*picture(2, 32, {0xFF102030, 0xFE102030}), chain),
                  "bpp: transparency is not kept");
        EXPECT_EQ(noteAfter(*picture(2, 32, {0xFF102030, 0xFF000000}), chain), "");
        EXPECT_EQ(noteAfter(*picture(2, 24, {0x102030, 0}), chain), "");
    }
    EXPECT_EQ(noteAfter(*picture(2, 32, {0xFF102030, 0xFE102030}), "bpp:32"), "");
    EXPECT_EQ(noteAfter(*picture(2, 32, {0xFF102030, 0xFE102030}), "flatten bpp:8"), "");
}

}  // namespace

}  // namespace operations_test

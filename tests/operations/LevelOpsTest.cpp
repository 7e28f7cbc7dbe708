// Levels, greys and flattening, by numbers.
#include "dib/Kernels.h"
#include "tests/operations/Pictures.h"

namespace operations_test {

namespace {

using testing_support::DibPtr;
using Values = std::vector<std::uint32_t>;

// A row of greys.
DibPtr greys(const std::vector<std::uint32_t>& values) {
    Values colors;
    for (const std::uint32_t v : values) colors.push_back(v * 0x10101U);
    return picture(static_cast<int>(values.size()), 24, colors);
}

// The blue of every pixel after a chain.
Values bluesAfter(DibStream& image, const std::string& chain) {
    Values blues;
    for (const std::uint32_t value : after(image, chain)) blues.push_back(value & 255);
    return blues;
}

TEST(Levels, StretchWhatLiesBetweenTheLimits) {
    EXPECT_EQ(bluesAfter(*greys({0, 20, 21, 100, 128, 229, 230, 255}), "levels:20,230"),
              (Values{0, 0, 1, 97, 131, 254, 255, 255}));
    EXPECT_EQ(bluesAfter(*greys({0, 50, 51, 100, 128, 199, 200, 255}), "levels:50,200,gamma=2"),
              (Values{0, 0, 21, 147, 184, 254, 255, 255}));
    EXPECT_EQ(bluesAfter(*greys({0, 100, 255}), "levels:0,255,low=255,high=0"), (Values{255, 155, 0}));
    EXPECT_EQ(bluesAfter(*greys({127, 128}), "levels:127.5,127.75"), (Values{0, 255}));
}

TEST(Levels, ChangeOnlyTheChannelsAskedFor) {
    // Longer than one vector, so that every build of the loop is met.
    const Values all(70, 0x80646464U);
    const auto expect = [&](const char* chain, std::uint32_t value) {
        EXPECT_EQ(after(*picture(70, 32, all), chain), Values(70, value)) << chain;
    };
    expect("levels:0,200", 0x80808080U);
    expect("levels:0,200,channels=r", 0x80806464U);
    expect("levels:0,200,channels=g", 0x80648064U);
    expect("levels:0,200,channels=rb", 0x80806480U);
    EXPECT_EQ(after(*picture(2, 24, {0x646464, 0x010203}), "levels:0,200,channels=b"),
              (Values{0x646480, 0x010204}));
}

TEST(Levels, NeedWhiteAboveBlack) {
    DibOperationResult result;
    EXPECT_FALSE(DibApply(greys({1}).get(), "levels:100,100", nullptr, &result));
    EXPECT_EQ(result.code, DIB_ERROR_INVALID);
    EXPECT_NE(std::string(result.reason).find("levels: white: must be above black"), std::string::npos)
        << result.reason;
}

TEST(Levels, ChangeTheColourTableAndKeepIndices) {
    const DibPtr image = picture(3, 4, {15, 3, 0});
    EXPECT_EQ(after(*image, "levels:0,51"), (Values{15, 3, 0}));
    const Values entries = entriesOf(*image);
    ASSERT_EQ(entries.size(), 16U);
    EXPECT_EQ(entries[0], 0U);
    EXPECT_EQ(entries[1], 0x555555U);
    EXPECT_EQ(entries[3], 0xFFFFFFU);
}

TEST(Levels, WidenWordsOf16BitsAndSaySo) {
    const DibPtr image = picture(5, 16, {0x7FFF, 0x001F, 0x0010, 0x0003, 0x0007});
    DibOperationResult result;
    ASSERT_TRUE(DibApply(image.get(), "levels:0,255", nullptr, &result));
    EXPECT_EQ(image->Header->biBitCount, 24);
    // 255 x 16 / 31 is 131.6, 255 x 3 / 31 is 24.7, 255 x 7 / 31 is 57.6.
    EXPECT_EQ(valuesOf(*image), (Values{0xFFFFFF, 0x0000FF, 132, 25, 58}));
    ASSERT_EQ(result.noteCount, 1);
    EXPECT_EQ(result.notes[0].kind, DIB_NOTE_LOSS);
    EXPECT_STREQ(result.notes[0].text, "levels: 16 bits became 24 bits a pixel");
}

TEST(Grey, WeighsTheColoursAsAsked) {
    const Values colors = {0xFF0000, 0x00FF00, 0x0000FF, 0x0A141E, 0xFFFFFF};
    EXPECT_EQ(after(*picture(5, 24, colors), "grey"),
              (Values{0x4C4C4C, 0x969696, 0x1D1D1D, 0x121212, 0xFFFFFF}));
    EXPECT_EQ(after(*picture(5, 24, colors), "grey:709"),
              (Values{0x363636, 0xB6B6B6, 0x121212, 0x131313, 0xFFFFFF}));
    EXPECT_EQ(after(*picture(5, 24, colors), "grey:mean"),
              (Values{0x555555, 0x555555, 0x555555, 0x141414, 0xFFFFFF}));
    EXPECT_EQ(after(*picture(2, 32, {0x12FF0000, 0x0000FF00}), "grey"), (Values{0x124C4C4C, 0x00969696}));
}

TEST(Grey, IsTheSameInRowsOfAnyLengthAtEveryKernelLevel) {
    for (const int width : {1, 31, 33, 2047, 2049}) {
        for (const int bitCount : {24, 32}) {
            const DibPtr image = testing_support::randomImage(width, 2, bitCount, 3);
            Values expected = valuesOf(*image);
            for (std::uint32_t& v : expected) {
                const std::uint32_t grey =
                    ((v & 255) * 7471 + (v >> 8 & 255) * 38470 + (v >> 16 & 255) * 19595 + 32768) >> 16;
                v = (v & 0xFF000000U) | grey * 0x10101U;
            }
            for (const dib::KernelLevel level : dib::kKernelLevels) {
                dib::limitKernelLevel(level);
                EXPECT_EQ(after(*testing_support::randomImage(width, 2, bitCount, 3), "grey"), expected)
                    << width << " at " << bitCount;
            }
            dib::limitKernelLevel(dib::bestKernelLevel());
        }
    }
}

TEST(Threshold, MakesPixelsBlackOrWhiteByTheirGrey) {
    EXPECT_EQ(after(*picture(3, 24, {0x7F7F7F, 0x808080, 0x00FF00}), "threshold"),
              (Values{0x000000, 0xFFFFFF, 0xFFFFFF}));
    EXPECT_EQ(after(*picture(2, 32, {0x407F7F7F, 0x00808080}), "threshold:127"),
              (Values{0x40FFFFFF, 0x00FFFFFF}));
    EXPECT_EQ(after(*picture(1, 24, {0xFFFFFF}), "threshold:256"), (Values{0}));
    EXPECT_EQ(after(*picture(1, 24, {0x0000FF}), "threshold:85,weights=mean"), (Values{0xFFFFFF}));
    const DibPtr indexed = picture(2, 4, {7, 8});
    after(*indexed, "threshold");
    EXPECT_EQ(entriesOf(*indexed)[7], 0U);
    EXPECT_EQ(entriesOf(*indexed)[8], 0xFFFFFFU);
}

TEST(Posterize, LeavesEvenlySpacedValues) {
    const std::vector<std::uint32_t> from = {0, 42, 43, 63, 64, 127, 128, 200, 212, 213, 255};
    EXPECT_EQ(bluesAfter(*greys(from), "posterize:2"), (Values{0, 0, 0, 0, 0, 0, 255, 255, 255, 255, 255}));
    EXPECT_EQ(bluesAfter(*greys(from), "posterize:3"),
              (Values{0, 0, 0, 0, 128, 128, 128, 255, 255, 255, 255}));
    EXPECT_EQ(bluesAfter(*greys(from), "posterize:4"),
              (Values{0, 0, 85, 85, 85, 85, 170, 170, 170, 255, 255}));
    EXPECT_EQ(bluesAfter(*greys(from), "posterize:256"),
              (Values{0, 42, 43, 63, 64, 127, 128, 200, 212, 213, 255}));
}

TEST(Flatten, LaysThePictureOverAColour) {
    const DibPtr image = picture(4, 32, {0xFF102030, 0x00102030, 0x80FF0000, 0x01FFFFFF});
    EXPECT_EQ(after(*image, "flatten:#004080"), (Values{0x102030, 0x004080, 0x802040, 0x014180}));
    EXPECT_EQ(image->Header->biBitCount, 24);
    const DibPtr white = picture(1, 32, {0x00123456});
    EXPECT_EQ(after(*white, "flatten"), (Values{0xFFFFFF}));
}

// Every alpha, against the rounded quotient.
TEST(Flatten, RoundsToTheNearest) {
    Values colors;
    Values expected;
    for (std::uint32_t alpha = 0; alpha < 256; ++alpha) {
        colors.push_back(alpha << 24 | 0xC80164);
        std::uint32_t flat = 0;
        for (const int shift : {0, 8, 16})
            flat |= (2 * ((0xC80164U >> shift & 255) * alpha + 77 * (255 - alpha)) + 255) / 510 << shift;
        expected.push_back(flat);
    }
    EXPECT_EQ(after(*picture(256, 32, colors), "flatten:#4d4d4d"), expected);
}

TEST(Flatten, LeavesOpaqueDepthsAsTheyAre) {
    for (const int bitCount : {1, 4, 8, 16, 24}) {
        const DibPtr image = testing_support::randomImage(9, 7, bitCount, 3);
        const DibPtr before = testing_support::randomImage(9, 7, bitCount, 3);
        ASSERT_TRUE(DibApply(image.get(), "flatten:#ff8000"));
        EXPECT_TRUE(testing_support::sameImage(*image, *before));
    }
}

}  // namespace

}  // namespace operations_test

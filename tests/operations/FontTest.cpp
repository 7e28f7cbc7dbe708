// Text in the letters of fonts. Expected numbers were measured with FreeType 2.12; other versions may draw
// edges a little differently.
#include <DibPictures.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "operations/fonts/Utf8.h"
#include "tests/operations/Pictures.h"
#include "tests/support/FailingMalloc.h"
#include "tests/support/Paths.h"

namespace operations_test {

namespace {

using testing_support::DibPtr;
using testing_support::plainImage;
using testing_support::sameImage;

constexpr const char* kSans = "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf";  // fonts-dejavu-core

// Why a step fails.
DibOperationResult refusal(const std::string& chain) {
    const DibPtr image = plainImage(20, 10, 24, 5);
    DibOperationResult result;
    EXPECT_FALSE(DibApply(image.get(), chain.c_str(), nullptr, &result));
    EXPECT_TRUE(sameImage(*image, *plainImage(20, 10, 24, 5)));
    return result;
}

class Fonts : public testing::Test {
protected:
    void SetUp() override {
        if (!std::filesystem::exists(kSans)) GTEST_SKIP() << kSans << " is not installed";
        const DibOperationResult result = refusal("text:A,font=/none/such");
        if (result.code == DIB_ERROR_UNSUPPORTED) GTEST_SKIP() << result.reason;
    }

    static std::string withFont(const std::string& step) { return step + ",font=" + kSans; }
};

// The ink of black letters on white: the rectangle of the pixels that are not white, and how black they are.
struct Ink {
    int left = 1 << 20;
    int top = 1 << 20;
    int right = 0;
    int bottom = 0;
    double area = 0;  // in black pixels
};

Ink inkOf(DibStream& image) {
    Ink ink;
    for (int y = 0; y < std::abs(image.Header->biHeight); ++y) {
        for (int x = 0; x < image.Header->biWidth; ++x) {
            const std::uint32_t value = testing_support::pixelValue(image, x, y) & 0xFF;
            if (value == 0xFF) continue;
            ink.left = std::min(ink.left, x);
            ink.top = std::min(ink.top, y);
            ink.right = std::max(ink.right, x + 1);
            ink.bottom = std::max(ink.bottom, y + 1);
            ink.area += (255 - value) / 255.0;
        }
    }
    return ink;
}

Ink written(const std::string& chain, int width = 200, int height = 120) {
    const DibPtr image = plainImage(width, height, 24, 0xFFFFFF);
    DibOperationResult result;
    EXPECT_TRUE(DibApply(image.get(), chain.c_str(), nullptr, &result)) << result.reason;
    return inkOf(*image);
}

// The font's square has 2048 units: its I is a stem of 201 x 1493 from 201 on, its dash one of 510 x 159.
// Heights are brought to whole pixels.
TEST_F(Fonts, LettersHaveTheSizeOfTheirOutlines) {
    const Ink stem = written(withFont("text:I,size=100"));
    EXPECT_EQ(stem.left, 9);
    EXPECT_EQ(stem.right, 20);
    EXPECT_NEAR(stem.bottom - stem.top, 73, 1);
    EXPECT_NEAR(stem.area, 201 * 1493 / 20.48 / 20.48, 10);
    const Ink dash = written(withFont("text:-,size=100"));
    EXPECT_EQ(dash.left, 4);
    EXPECT_NEAR(dash.area, 510 * 159 / 20.48 / 20.48, 25);
    // Ten letters take ten times their advance of 604 units, without rounding in between.
    const Ink row = written(withFont("text:IIIIIIIIII,size=33"));
    EXPECT_NEAR(row.right - row.left, (9 * 604 + 201) * 33 / 2048.0, 2);
}

TEST_F(Fonts, EdgesAreSmooth) {
    DibPtr image = plainImage(100, 60, 24, 0xFFFFFF);
    int greys = 0;
    for (const std::uint32_t value : after(*image, withFont("text:O,size=40")))
        greys += value != 0 && value != 0xFFFFFF ? 1 : 0;
    EXPECT_GT(greys, 60);
    EXPECT_LT(greys, 200);
    const Ink ring = inkOf(*image);
    EXPECT_NEAR(ring.area, 300, 15);
    EXPECT_NEAR(ring.left, 2, 1);
    EXPECT_NEAR(ring.right, 30, 1);
}

TEST_F(Fonts, HoldCharactersOfUtf8AndKernPairs) {
    // The first is one letter with dots above, not two boxes.
    EXPECT_LT(written(withFont("text:\xC3\x84,size=40")).top, written(withFont("text:A,size=40")).top);
    EXPECT_NEAR(written(withFont("text:\xE2\x82\xAC,size=40")).area, 252, 25);
    const auto end = [](const char* letters) {
        return written(withFont(std::string("text:") + letters + ",size=80")).right;
    };
    EXPECT_LT(end("AV"), end("AA"));
    // Bytes that are not UTF-8 show a sign each.
    EXPECT_GT(end("\xFF\xFF"), end("\xFF"));
}

TEST_F(Fonts, LinesAndPlacesAreThoseOfPlainLetters) {
    const Ink one = written(withFont("text:I,size=50"));
    const Ink two = written(withFont("text:I\\\nI,size=50"), 200, 200);
    EXPECT_EQ(two.left, one.left);
    EXPECT_NEAR(two.bottom - one.bottom, 59, 1);
    const Ink right = written(withFont("text:I,size=50,x=7,place=ne"));
    EXPECT_NEAR(right.right, 200 - 7 - 5, 1);
    // Of two lines the shorter one ends where the longer does.
    EXPECT_EQ(written(withFont("text:I\\\nIII,size=50,place=ne"), 200, 200).right, right.right + 7);
    // A box is a margin of a fifth wider on each side.
    const Ink box = written(withFont("text:I,size=50,box=#808080"));
    EXPECT_EQ(box.left, 0);
    EXPECT_NEAR(box.right, 10 + 15 + 10, 1);
    EXPECT_NEAR(box.bottom, 10 + 59 + 10, 1);
}

TEST_F(Fonts, ObeyAlphaAndDepth) {
    DibPtr clear = plainImage(60, 60, 32, 0);
    const std::vector<std::uint32_t> values =
        after(*clear, withFont("text:I,size=100,y=-40,color=#ff804080"));
    EXPECT_EQ(values[15], 0x80FF8040U);  // within the stem
    EXPECT_EQ(values[30], 0U);
    DibPtr grey = plainImage(60, 60, 8, 0);
    after(*grey, withFont("text:I,size=100,y=-40,color=#ffffff80"));
    EXPECT_EQ(grey->Header->biBitCount, 8);
    EXPECT_EQ(testing_support::pixelValue(*grey, 15, 0), 128U);
}

// Only what the picture shows costs time and memory.
TEST_F(Fonts, MayBeLargerThanThePicture) {
    EXPECT_NEAR(written(withFont("text:I,size=10000,x=-1200,y=-5000")).area, 200 * 120, 1);
    EXPECT_EQ(written(withFont("text:I,x=500")).area, 0);
    EXPECT_EQ(written(withFont("text:")).area, 0);
    EXPECT_EQ(written(withFont("text:\\ ")).area, 0);
    const DibOperationResult result = refusal(withFont("text:A,size=10001"));
    EXPECT_EQ(result.code, DIB_ERROR_MISMATCH);
    EXPECT_STREQ(result.reason, "text: font: its letters have 10000 pixels at most");
}

// Rows are drawn in bands of 64: a picture shows the same as its parts.
TEST_F(Fonts, PartsShowTheWhole) {
    DibPtr whole = plainImage(300, 200, 24, 0xFFFFFF);
    const std::vector<std::uint32_t> all = after(*whole, withFont("text:gj\\\nAy,size=90,x=-3,y=-9"));
    for (int top : {0, 63, 64, 150}) {
        DibPtr part = plainImage(200, 40, 24, 0xFFFFFF);
        const std::vector<std::uint32_t> seen =
            after(*part, withFont("text:gj\\\nAy,size=90,x=-53,y=" + std::to_string(-9 - top)));
        for (int y = 0; y < 40; ++y) {
            for (int x = 0; x < 200; ++x)
                ASSERT_EQ(seen[static_cast<std::size_t>(200 * y + x)],
                          all[static_cast<std::size_t>(300 * (top + y) + x + 50)]);
        }
    }
}

TEST_F(Fonts, RefusedFilesGiveTheReason) {
    EXPECT_STREQ(refusal("text:A,font=/none/such").reason,
                 "text: font: '/none/such' cannot be opened: No such file or directory");
    EXPECT_EQ(refusal("text:A,font=/none/such").code, DIB_ERROR_OPEN);
    EXPECT_EQ(refusal("text:A,font=/").code, DIB_ERROR_READ);
    EXPECT_EQ(refusal("text:A,font=/dev/zero").code, DIB_ERROR_READ);
    const std::string text = testing_support::temporaryPath("words.ttf");
    std::ofstream(text) << std::string(1000, 'x');
    EXPECT_EQ(refusal("text:A,font=" + text).code, DIB_ERROR_UNSUPPORTED);
    EXPECT_NE(std::string(refusal("text:A,font=" + text).reason).find("is not a font that FreeType reads"),
              std::string::npos);
}

// Each byte of the tables that say where everything is, and cut files: a picture or a reason, never more.
TEST_F(Fonts, DamagedFilesAreRefusedOrDrawn) {
    std::ifstream stream(kSans, std::ios::binary);
    const std::string bytes((std::istreambuf_iterator<char>(stream)), std::istreambuf_iterator<char>());
    const std::string file = testing_support::temporaryPath("damaged.ttf");
    const std::string chain = "text:Ag\xC3\xA9,size=30,font=" + file;
    int refused = 0;
    int drawn = 0;
    const auto tryFile = [&](const std::string& damaged) {
        std::ofstream(file, std::ios::binary) << damaged;
        const DibPtr image = plainImage(40, 40, 24, 5);
        DibOperationResult result;
        if (DibApply(image.get(), chain.c_str(), nullptr, &result)) {
            ++drawn;
        } else {
            ++refused;
            EXPECT_STRNE(result.reason, "");
            EXPECT_TRUE(sameImage(*image, *plainImage(40, 40, 24, 5)));
        }
    };
    for (std::size_t i = 0; i < 400; i += 3) {
        std::string damaged = bytes;
        damaged[i] = static_cast<char>(~damaged[i]);
        tryFile(damaged);
    }
    for (const std::size_t length : {1U, 12U, 200U, 5000U, 100000U, 700000U})
        tryFile(bytes.substr(0, length));
    EXPECT_GT(refused, 20);
    EXPECT_GT(drawn, 20);
}

TEST_F(Fonts, LabelSheets) {
    const DibPtr picture = plainImage(90, 4, 24, 0x808080);
    const DibStream* pictures[] = {picture.get(), picture.get()};
    const char* labels[] = {"\xC3\x84II", "IIIIIIIIIIIIIIIIIIIIIIIIIIIIIIII"};
    DibMontageOptions options;
    options.labels = labels;
    options.labelSize = 30;
    options.labelFont = kSans;
    DibStream sheet;
    DibOperationResult result;
    ASSERT_TRUE(DibMontage(pictures, 2, &sheet, &options, &result)) << result.reason;
    ASSERT_EQ(sheet.Header->biWidth, 180);
    ASSERT_TRUE(DibApply(&sheet, "crop:0,4,90x46"));
    const Ink ink = inkOf(sheet);
    // In the middle of the cell.
    EXPECT_NEAR(ink.left + ink.right, 90, 4);
    EXPECT_NEAR(ink.area, 297, 30);
    options.labelFont = "/none/such";
    EXPECT_FALSE(DibMontage(pictures, 2, &sheet, &options, &result));
    EXPECT_EQ(result.code, DIB_ERROR_OPEN);
}

TEST_F(Fonts, SurviveEveryFailingAllocation) {
    DibPtr image;
    bool isDone = false;
    const std::string chain = withFont("text:Ag,size=12");
    const int failures = testing_support::forEachFailingAllocation(
        [&] { image = plainImage(20, 20, 24, 9); }, [&] { isDone = DibApply(image.get(), chain.c_str()); },
        [&](bool failureMet) { EXPECT_EQ(isDone, !failureMet); });
    EXPECT_GT(failures, 10);
}

TEST(Utf8, TakesCharactersAndTellsOtherBytes) {
    const auto characters = [](std::string_view text) {
        std::vector<char32_t> all;
        while (!text.empty()) all.push_back(operations::takeCharacter(text));
        return all;
    };
    using Characters = std::vector<char32_t>;
    EXPECT_EQ(characters("a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80"), (Characters{'a', 0xE9, 0x20AC, 0x1F600}));
    // A longer form, half of a pair, beyond the last one, cut off, alone.
    EXPECT_EQ(characters("\xC0\x80"), (Characters{0xFFFD, 0xFFFD}));
    EXPECT_EQ(characters("\xE0\x80\x80"), (Characters{0xFFFD, 0xFFFD, 0xFFFD}));
    EXPECT_EQ(characters("\xED\xA0\x80"), (Characters{0xFFFD, 0xFFFD, 0xFFFD}));
    EXPECT_EQ(characters("\xF4\x90\x80\x80"), (Characters{0xFFFD, 0xFFFD, 0xFFFD, 0xFFFD}));
    EXPECT_EQ(characters("\xE2\x82"), (Characters{0xFFFD, 0xFFFD}));
    EXPECT_EQ(characters("\xE2z"), (Characters{0xFFFD, 'z'}));
    EXPECT_EQ(characters("\x80z"), (Characters{0xFFFD, 'z'}));
}

}  // namespace

}  // namespace operations_test

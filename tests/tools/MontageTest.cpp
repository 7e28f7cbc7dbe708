// `dib montage`.
#include <filesystem>

#include "tests/tools/Program.h"

namespace tool_test {

namespace {

class Montage : public ToolTest {
protected:
    // Three pictures of one colour each.
    void SetUp() override {
        ToolTest::SetUp();
        const std::pair<std::string, std::string> kPictures[] = {
            {"a", "#ff0000"}, {"b", "#00ff00"}, {"c", "#0000ff"}};
        for (const auto& [name, color] : kPictures)
            ASSERT_EQ(run({"run", "in.bmp", "border:8,color=" + color, "crop:0,0,8x6", name + ".bmp"}).errors,
                      "");
        ASSERT_EQ(run({"run", "c.bmp", "crop:0,0,4x2", "c.bmp"}).errors, "");
    }
    // "rrggbbaa" of a pixel from the top left.
    static std::string at(DibStream& image, int x, int y) {
        const unsigned char* pixel = image.Pixel(x, y);
        char text[16];
        std::snprintf(text, sizeof text, "%02x%02x%02x%02x", pixel[2], pixel[1], pixel[0], pixel[3]);
        return text;
    }
};

TEST_F(Montage, PutsPicturesInCells) {
    EXPECT_EQ(
        run({"montage", "a.bmp", "b.bmp", "c.bmp", "--gap=1", "--background=#01020304", "sheet.bmp"}).errors,
        "");
    DibStream sheet;
    ASSERT_TRUE(sheet.LoadFromFile("sheet.bmp", DibStream::DIB_ACCEPT_ALL));
    ASSERT_EQ(sheet.Header->biBitCount, 32);
    EXPECT_EQ(sheet.Header->biWidth, 19);
    EXPECT_EQ(sheet.Header->biHeight, 15);
    EXPECT_EQ(at(sheet, 0, 0), "01020304");
    EXPECT_EQ(at(sheet, 1, 1), "ff0000ff");
    EXPECT_EQ(at(sheet, 8, 6), "ff0000ff");
    EXPECT_EQ(at(sheet, 9, 6), "01020304");
    EXPECT_EQ(at(sheet, 10, 1), "00ff00ff");
    // In the middle of its cell, which begins at 1, 8.
    EXPECT_EQ(at(sheet, 2, 10), "01020304");
    EXPECT_EQ(at(sheet, 3, 10), "0000ffff");
    EXPECT_EQ(at(sheet, 6, 11), "0000ffff");
    EXPECT_EQ(at(sheet, 7, 11), "01020304");
    EXPECT_EQ(at(sheet, 10, 8), "01020304");
}

TEST_F(Montage, TilesAndColumns) {
    EXPECT_EQ(run({"montage", "a.bmp", "b.bmp", "in.bmp", "--columns=3", "--tile=4x4", "sheet.bmp"}).errors,
              "");
    DibStream sheet;
    ASSERT_TRUE(sheet.LoadFromFile("sheet.bmp", DibStream::DIB_ACCEPT_ALL));
    EXPECT_EQ(sheet.Header->biWidth, 12);
    EXPECT_EQ(sheet.Header->biHeight, 3);
    EXPECT_EQ(at(sheet, 3, 1), "ff0000ff");
    EXPECT_EQ(at(sheet, 4, 1), "00ff00ff");
}

TEST_F(Montage, LabelsNameTheFiles) {
    EXPECT_EQ(run({"run", "in.bmp", "resize:60x40", "in.bmp"}).errors, "");
    EXPECT_EQ(run({"montage", "in.bmp", "--labels", "--label-size=10", "sheet.bmp"}).errors, "");
    DibStream sheet;
    ASSERT_TRUE(sheet.LoadFromFile("sheet.bmp", DibStream::DIB_ACCEPT_ALL));
    EXPECT_EQ(sheet.Header->biWidth, 60);
    ASSERT_EQ(sheet.Header->biHeight, 54);
    // The name has 35 columns, in the middle. Its first letter is a bar with two feet, below a dot.
    EXPECT_EQ(at(sheet, 14, 42), "000000ff");
    EXPECT_EQ(at(sheet, 14, 43), "ffffffff");
    EXPECT_EQ(at(sheet, 13, 48), "000000ff");
    EXPECT_EQ(at(sheet, 12, 48), "ffffffff");
    EXPECT_EQ(run({"montage", "in.bmp", "--label-size=0", "sheet.bmp"}).exitCode, 2);
}

TEST_F(Montage, OfGreyPicturesIsGrey) {
    EXPECT_EQ(run({"run", "in.bmp", "grey", "bpp:8", "g.bmp"}).errors, "");
    DibStream sheet;
    EXPECT_EQ(run({"montage", "g.bmp", "g.bmp", "--labels", "--tile=9x9", "sheet.bmp"}).errors, "");
    ASSERT_TRUE(sheet.LoadFromFile("sheet.bmp", DibStream::DIB_ACCEPT_ALL));
    EXPECT_EQ(sheet.Header->biBitCount, 8);
    EXPECT_EQ(run({"montage", "g.bmp", "a.bmp", "sheet.bmp"}).errors, "");
    ASSERT_TRUE(sheet.LoadFromFile("sheet.bmp", DibStream::DIB_ACCEPT_ALL));
    EXPECT_EQ(sheet.Header->biBitCount, 32);
}

TEST_F(Montage, LabelsInTheLettersOfAFont) {
    constexpr const char* kSans = "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf";  // fonts-dejavu-core
    if (!std::filesystem::exists(kSans)) GTEST_SKIP() << kSans << " is not installed";
    const std::vector<std::string> withFont = {"montage",      "in.bmp", "--labels", "--label-size=20",
                                               "--label-font", kSans,    "sheet.bmp"};
    EXPECT_EQ(run({"run", "in.bmp", "resize:90x40", "in.bmp"}).errors, "");
    const Result made = run(withFont);
    if (made.errors.find("without FreeType") != std::string::npos) GTEST_SKIP() << made.errors;
    EXPECT_EQ(made.errors, "");
    DibStream sheet;
    ASSERT_TRUE(sheet.LoadFromFile("sheet.bmp", DibStream::DIB_ACCEPT_ALL));
    EXPECT_EQ(sheet.Header->biWidth, 90);
    EXPECT_GE(sheet.Header->biHeight, 40 + 20);
    // Edges of these letters are grey, those of the built-in ones black or white.
    const auto greysOf = [](DibStream& image) {
        int greys = 0;
        for (int y = 40; y < image.Header->biHeight; ++y) {
            for (int x = 0; x < 90; ++x) {
                const int level = image.Pixel(x, y)[1];
                greys += level > 0 && level < 255 ? 1 : 0;
            }
        }
        return greys;
    };
    EXPECT_GT(greysOf(sheet), 50);
    EXPECT_EQ(run({"montage", "in.bmp", "--labels", "--label-size=20", "sheet.bmp"}).errors, "");
    ASSERT_TRUE(sheet.LoadFromFile("sheet.bmp", DibStream::DIB_ACCEPT_ALL));
    EXPECT_EQ(greysOf(sheet), 0);
    const Result absent = run({"montage", "in.bmp", "--labels", "--label-font=none.ttf", "other.bmp"});
    EXPECT_EQ(absent.exitCode, 1);
    EXPECT_NE(absent.errors.find("dib: other.bmp: montage: "), std::string::npos) << absent.errors;
    EXPECT_NE(absent.errors.find("none.ttf"), std::string::npos) << absent.errors;
    EXPECT_FALSE(std::filesystem::exists("other.bmp"));
}

TEST_F(Montage, Mistakes) {
    EXPECT_EQ(run({"montage", "a.bmp"}).exitCode, 2);
    EXPECT_EQ(run({"montage", "absent.bmp", "sheet.bmp"}).exitCode, 3);
    EXPECT_EQ(run({"montage", "a.bmp", "sheet.xyz"}).exitCode, 2);
    const Result noColor = run({"montage", "a.bmp", "--background=red", "sheet.bmp"});
    EXPECT_EQ(noColor.exitCode, 2);
    EXPECT_EQ(noColor.errors, "dib: --background: 'red' must be a colour #rrggbb or #rrggbbaa\n");
    EXPECT_EQ(run({"montage", "a.bmp", "--tile=big", "sheet.bmp"}).exitCode, 2);
    EXPECT_EQ(run({"montage", "a.bmp", "--no-clobber", "b.bmp"}).exitCode, 4);
    EXPECT_FALSE(std::filesystem::exists("sheet.bmp"));
}

}  // namespace

}  // namespace tool_test

// `dib compare`.
#include <filesystem>
#include <nlohmann/json.hpp>

#include "tests/tools/Program.h"

namespace tool_test {

namespace {

class Compare : public ToolTest {
protected:
    // The picture of "in.bmp" with one other pixel.
    void SetUp() override {
        ToolTest::SetUp();
        unsigned char* pixel = picture_.Pixel(4, 17);
        pixel[1] = static_cast<unsigned char>(pixel[1] ^ 0x80);
        ASSERT_TRUE(picture_.SaveToFile("other.bmp"));
    }
};

TEST_F(Compare, TellsWhatDiffers) {
    const Result result = run({"compare", "in.bmp", "other.bmp"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.errors, "");
    // 10 log10(65025 / (128 * 128 / (3 * 693)))
    EXPECT_EQ(result.output, "1 of 693 pixels differ; PSNR 39.17 dB; largest difference 128 at 4,17\n");
    const Result json = run({"compare", "--json", "in.bmp", "other.bmp"});
    EXPECT_EQ(json.exitCode, 1);
    nlohmann::json numbers = nlohmann::json::parse(json.output);
    EXPECT_NEAR(numbers["psnr"], 39.165, 0.001);
    EXPECT_NEAR(numbers["meanSquare"], 16384.0 / 2079, 1e-9);
    numbers.erase("psnr");
    numbers.erase("meanSquare");
    EXPECT_EQ(numbers, nlohmann::json::parse(
                           R"({"schema": 1, "first": "in.bmp", "second": "other.bmp", "equal": false,
        "sameSize": true, "pixels": 693, "differentPixels": 1, "largest": 128, "place": [4, 17]})"));
}

TEST_F(Compare, EqualPicturesOfDifferentFilesAreEqual) {
    ASSERT_EQ(run({"run", "in.bmp", "bpp:32", "in.png"}).exitCode, 0);
    const Result result = run({"compare", "in.bmp", "in.png"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.output, "equal\n");
    const nlohmann::json json =
        nlohmann::json::parse(run({"compare", "in.bmp", "-", "--json"}, readFile("in.png")).output);
    EXPECT_EQ(json["equal"], true);
    EXPECT_EQ(json["psnr"], nullptr);
    EXPECT_EQ(json["place"], nullptr);
}

// A PNG file of one grey pixel with 16 bits, 0x1201 or 0x1202, and the block that announces an animation.
const std::string kPngHeader(
    "\x89\x50\x4E\x47\x0D\x0A\x1A\x0A\x00\x00\x00\x0D\x49\x48\x44\x52\x00\x00\x00\x01\x00\x00"
    "\x00\x01\x10\x00\x00\x00\x00\x6A\xEE\x47\x16",
    33);
const std::string kAnimation(
    "\x00\x00\x00\x08\x61\x63\x54\x4C\x00\x00\x00\x02\x00\x00\x00\x00\xF3\x8D\x93\x70", 20);
const std::string kPixel1(
    "\x00\x00\x00\x0E\x49\x44\x41\x54\x78\x01\x01\x03\x00\xFC\xFF\x00\x12\x01\x00\x28\x00\x14"
    "\x80\xBC\x22\x34",
    26);
const std::string kPixel2(
    "\x00\x00\x00\x0E\x49\x44\x41\x54\x78\x01\x01\x03\x00\xFC\xFF\x00\x12\x02\x00\x29\x00\x15"
    "\xB1\xD9\x02\x45",
    26);
const std::string kPngEnd("\x00\x00\x00\x00\x49\x45\x4E\x44\xAE\x42\x60\x82", 12);

TEST_F(Compare, WarnsThatOnlyEightBitsAreCompared) {
    writeFile("first.png", kPngHeader + kPixel1 + kPngEnd);
    writeFile("second.png", kPngHeader + kPixel2 + kPngEnd);
    const std::string warning =
        "compare: warning: the file has more than 8 bits a channel; 8 were compared\n";
    const Result result = run({"compare", "first.png", "second.png"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.output, "equal\n");
    EXPECT_EQ(result.errors, "dib: first.png: " + warning + "dib: second.png: " + warning);
    EXPECT_EQ(run({"compare", "first.png", "-"}, readFile("second.png")).errors,
              "dib: first.png: " + warning + "dib: standard input: " + warning);
}

// A TIFF file of one grey pixel on each page.
std::string tiffOf(const std::string& pixels) {
    constexpr std::size_t kEntries = 9;
    constexpr std::size_t kPage = 2 + 12 * kEntries + 4;
    std::string file("II*\0\x08\0\0\0", 8);
    const auto put = [&file](std::size_t value, int bytes) {
        for (int i = 0; i < bytes; ++i) file += static_cast<char>(value >> 8 * i & 0xFF);
    };
    const std::size_t first = file.size() + pixels.size() * kPage;  // of the pixels
    for (std::size_t page = 0; page < pixels.size(); ++page) {
        const std::pair<std::size_t, std::size_t> tags[kEntries] = {{256, 1}, {257, 1}, {258, 8},
                                                                    {259, 1}, {262, 1}, {273, first + page},
                                                                    {277, 1}, {278, 1}, {279, 1}};
        put(kEntries, 2);
        for (const auto& [tag, value] : tags) {
            put(tag, 2);
            put(4, 2);
            put(1, 4);
            put(value, 4);
        }
        put(page + 1 < pixels.size() ? file.size() + 4 : 0, 4);
    }
    return file + pixels;
}

TEST_F(Compare, WarnsThatOnlyTheFirstPageIsCompared) {
    writeFile("first.tif", tiffOf("abc"));
    writeFile("second.tif", tiffOf("axc"));
    const std::string warning = "compare: warning: the file has 3 pages; the first was compared\n";
    const Result result = run({"compare", "first.tif", "second.tif"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.output, "equal\n");
    EXPECT_EQ(result.errors, "dib: first.tif: " + warning + "dib: second.tif: " + warning);
    writeFile("single.tif", tiffOf("b"));
    const Result other = run({"compare", "single.tif", "first.tif"});
    EXPECT_EQ(other.exitCode, 1);
    EXPECT_EQ(other.errors, "dib: first.tif: " + warning);
}

TEST_F(Compare, WarnsThatOnlyTheFirstPictureOfAnAnimationIsCompared) {
    writeFile("animated.png", kPngHeader + kAnimation + kPixel1 + kPngEnd);
    const std::string errors = run({"compare", "animated.png", "animated.png"}).errors;
    EXPECT_NE(errors.find("dib: animated.png: compare: warning: the file has several pictures; the first was "
                          "compared\n"),
              std::string::npos)
        << errors;
}

TEST_F(Compare, ShowsTheDifferences) {
    EXPECT_EQ(run({"compare", "in.bmp", "other.bmp", "--difference=d.bmp", "--gain=2"}).exitCode, 1);
    DibStream shown;
    ASSERT_TRUE(shown.LoadFromFile("d.bmp", DibStream::DIB_ACCEPT_ALL));
    int lit = 0;
    for (int y = 0; y < 21; ++y) {
        for (int x = 0; x < 33; ++x) lit += shown.Pixel(x, y)[1] != 0 ? 1 : 0;
    }
    EXPECT_EQ(lit, 1);
    EXPECT_EQ(shown.Pixel(4, 17)[1], 255);
}

TEST_F(Compare, OtherSizesDiffer) {
    ASSERT_EQ(run({"run", "in.bmp", "half", "small.bmp"}).exitCode, 0);
    const Result result = run({"compare", "in.bmp", "small.bmp"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_NE(result.output.find(" pixels differ, the sizes too; PSNR "), std::string::npos) << result.output;
}

TEST_F(Compare, FailsWithTwo) {
    for (const Program::Words& words : {Program::Words{"compare", "in.bmp", "absent.bmp"},
                                        {"compare", "in.bmp"},
                                        {"compare", "--limit=pixels:3", "in.bmp", "other.bmp"},
                                        {"compare", "in.bmp", "other.bmp", "--difference=absent/d.bmp"},
                                        {"compare", "in.bmp", "other.bmp", "--difference=d.xyz"}}) {
        const Result result = run(words);
        EXPECT_EQ(result.exitCode, 2) << words.back();
        EXPECT_EQ(result.output, "");
        EXPECT_NE(result.errors, "");
    }
}

}  // namespace

}  // namespace tool_test

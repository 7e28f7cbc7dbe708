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

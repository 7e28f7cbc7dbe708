#include <DibCodec.h>

#include <algorithm>
#include <csignal>
#include <cstring>
#include <filesystem>

#include "gallery/Page.h"
#include "tests/tools/Program.h"
#include "texts/Tables.h"

namespace tool_test {

namespace {

namespace fs = std::filesystem;
using Gallery = ToolTest;

// The files.

std::size_t countOf(const std::string& text, const std::string& part) {
    std::size_t count = 0;
    for (std::size_t place = 0; (place = text.find(part, place)) != std::string::npos; place += part.size())
        ++count;
    return count;
}

std::vector<std::string> filesBelow(const std::string& folder) {
    std::vector<std::string> names;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(folder)) {
        if (entry.is_regular_file()) names.push_back(fs::relative(entry.path(), folder));
    }
    std::ranges::sort(names);
    return names;
}

TEST_F(Gallery, IsOnePageAndItsPictures) {
    const Result result = run({"gallery", "in.bmp", "new/folder", "--side=240"});
    ASSERT_EQ(result.exitCode, 0) << result.errors;
    EXPECT_EQ(result.output + result.errors, "");

    std::vector<std::string> expected = {"contact-sheet.jpg", "in.bmp",          "index.html",
                                         "other.bmp",         "pictures/in.png", "pictures/other.png"};
    const std::string page = readFile("new/folder/index.html");
    for (const DibOperation* operation : texts::operations()) {
        for (std::size_t i = 0; i < std::size(operation->samples); ++i) {
            expected.push_back("pictures/" + std::string(operation->name) + "-" + std::to_string(i + 1) +
                               ".png");
            const std::string png = readFile("new/folder/" + expected.back());
            EXPECT_NE(page.find(gallery::dataAddress("image/png", png)), std::string::npos)
                << expected.back();
            EXPECT_NE(
                page.find("dib run in.bmp <b>" + gallery::htmlText(operation->samples[i]) + "</b> out.bmp"),
                std::string::npos);
        }
        EXPECT_NE(page.find(gallery::htmlText(operation->help)), std::string::npos) << operation->name;
    }
    std::ranges::sort(expected);
    EXPECT_EQ(filesBelow("new/folder"), expected);
    EXPECT_EQ(countOf(page, "<img "), expected.size() - 4 + 2);
    EXPECT_EQ(countOf(page, " src=\""), expected.size() - 4);
    EXPECT_EQ(countOf(page, " src=\"data:image/png;base64,"), expected.size() - 4);
    EXPECT_EQ(
        countOf(page, "http:") + countOf(page, "https:") + countOf(page, "@import") + countOf(page, "url("),
        0U);
    EXPECT_NE(page.find("DibEffectBlur(nullptr, nullptr, &amp;image, 8, 0U);"), std::string::npos);
}

TEST_F(Gallery, ShowsClassicFunctions) {
    const Result result = run({"gallery", "in.bmp", "classic", "--side=240", "--classic"});
    ASSERT_EQ(result.exitCode, 0) << result.errors;
    const std::string page = readFile("classic/index.html");
    EXPECT_EQ(countOf(page, "dib run in.bmp <b>edge:classic</b> out.bmp"), 1U);
    EXPECT_EQ(countOf(page, "dib run in.bmp <b>sharpen:classic edge:classic</b> out.bmp"), 1U);
    EXPECT_EQ(countOf(page, "dib run in.bmp <b>turn:90</b> out.bmp"), 1U);
    EXPECT_EQ(countOf(page, "dib run in.bmp <b>resize:40x,filter=nearest</b> out.bmp"), 1U);
    EXPECT_NE(page.find("DibEffectPickEdge(nullptr, nullptr, &amp;image, 0U);"), std::string::npos);
}

TEST_F(Gallery, TwoRunsGiveTheSameBytes) {
    for (const char* folder : {"first", "second"}) {
        ASSERT_EQ(run({"gallery", "in.bmp", folder, "--side=240"}).exitCode, 0);
    }
    const std::vector<std::string> files = filesBelow("first");
    EXPECT_EQ(filesBelow("second"), files);
    for (const std::string& file : files) {
        EXPECT_TRUE(readFile("first/" + file) == readFile("second/" + file)) << file;
    }
}

TEST_F(Gallery, ItsCommandsGiveItsPictures) {
    ASSERT_EQ(run({"gallery", "in.bmp", "gallery", "--side=240"}).exitCode, 0);
    for (const DibOperation* operation : texts::operations()) {
        const std::string chain = operation->samples[1];
        if (chain.find(' ') != std::string::npos) continue;
        const auto enterGallery = [] { EXPECT_EQ(chdir("gallery"), 0); };
        ASSERT_EQ(run({"run", "in.bmp", chain, "out.bmp"}, {}, enterGallery).exitCode, 0) << chain;
        DibStream made;
        ASSERT_TRUE(made.LoadFromFile("gallery/out.bmp", DibStream::DIB_ACCEPT_ALL));
        ASSERT_TRUE(made.ChangeTo32Bit(0));
        DibStream shown;
        const std::string name = "gallery/pictures/" + std::string(operation->name) + "-2.png";
        ASSERT_TRUE(LoadPNG(name.c_str(), &shown, nullptr, nullptr)) << name;
        ASSERT_TRUE(shown.ChangeTo32Bit(0));
        ASSERT_EQ(shown.Header->biWidth, made.Header->biWidth) << chain;
        ASSERT_EQ(std::abs(shown.Header->biHeight), std::abs(made.Header->biHeight)) << chain;
        for (int y = 0; y < std::abs(made.Header->biHeight); ++y) {
            ASSERT_EQ(std::memcmp(shown.ScanLine(y), made.ScanLine(y), made.GetPitch()), 0) << chain;
        }
    }
}

struct Size {
    int width;
    int height;
};

// The picture that the samples start from.
Size fitted(int width, int height, int bitCount, const char* side) {
    DibStream image;
    makePicture(image, width, height, bitCount);
    EXPECT_TRUE(image.SaveToFile("strange.bmp"));
    const Result result = run({"gallery", "strange.bmp", "gallery", side});
    EXPECT_EQ(result.exitCode, 0) << result.errors;
    DibStream input;
    EXPECT_TRUE(input.LoadFromFile("gallery/in.bmp", DibStream::DIB_ACCEPT_24));
    fs::remove_all("gallery");
    return {input.Header->biWidth, input.Header->biHeight};
}

TEST_F(Gallery, EveryPictureIsBroughtToASizeThatSuitsTheSamples) {
    const Size tiny = fitted(1, 1, 1, "--side=240");
    EXPECT_EQ(tiny.width, 240);
    EXPECT_EQ(tiny.height, 240);
    const Size wide = fitted(2000, 3, 8, "--side=240");
    EXPECT_EQ(wide.width, 240);
    EXPECT_EQ(wide.height, 80);
    const Size tall = fitted(60, 90, 16, "--side=241");
    EXPECT_EQ(tall.width, 161);
    EXPECT_EQ(tall.height, 241);
}

TEST_F(Gallery, ReadsStandardInput) {
    const Result result = run({"gallery", "-", "gallery", "--side=240"}, readFile("in.bmp"));
    EXPECT_EQ(result.exitCode, 0) << result.errors;
    EXPECT_TRUE(fs::exists("gallery/index.html"));
}

TEST_F(Gallery, SaysWhatIsWrong) {
    const Result missing = run({"gallery", "missing.bmp", "gallery"});
    EXPECT_EQ(missing.exitCode, 3);
    EXPECT_EQ(missing.errors,
              "dib: missing.bmp: load: the file cannot be opened: No such file or directory\n");
    EXPECT_FALSE(fs::exists("gallery"));

    const Result file = run({"gallery", "in.bmp", "in.bmp"});
    EXPECT_EQ(file.exitCode, 4);
    EXPECT_TRUE(file.errors.starts_with("dib: in.bmp: save: the folder cannot be created: ")) << file.errors;

    EXPECT_EQ(run({"gallery", "in.bmp"}).exitCode, 2);
    for (const char* side : {"--side=239", "--side=1025", "--side=many"}) {
        EXPECT_EQ(run({"gallery", "in.bmp", "gallery", side}).exitCode, 2) << side;
    }
    EXPECT_FALSE(fs::exists("gallery"));
}

TEST_F(Gallery, ASignalEndsIt) {
    Program program({"gallery", "in.bmp", "gallery", "--side=1024", "--progress=always"});
    ASSERT_TRUE(program.errorsContain("rotate"));
    program.signal(SIGINT);
    EXPECT_EQ(program.finish().exitCode, 130);
    EXPECT_EQ(filesHere(), std::vector<std::string>{"in.bmp"});
}

// Pieces.

TEST(Html, EscapesText) { EXPECT_EQ(gallery::htmlText("a<b>&\"c\"'"), "a&lt;b&gt;&amp;&quot;c&quot;'"); }

TEST(Html, EncodesBytes) {
    EXPECT_EQ(gallery::dataAddress("x/y", ""), "data:x/y;base64,");
    EXPECT_EQ(gallery::dataAddress("x/y", "f"), "data:x/y;base64,Zg==");
    EXPECT_EQ(gallery::dataAddress("x/y", "fo"), "data:x/y;base64,Zm8=");
    EXPECT_EQ(gallery::dataAddress("x/y", "foobar"), "data:x/y;base64,Zm9vYmFy");
    EXPECT_EQ(gallery::dataAddress("x/y", "\xff\xfe\xfd"), "data:x/y;base64,//79");
}

TEST_F(Gallery, ItsContactSheetHasRowsOfEightPictures) {
    ASSERT_EQ(run({"gallery", "in.bmp", "gallery", "--side=240"}).exitCode, 0);
    DibStream sheet;
    ASSERT_TRUE(LoadJPEG("gallery/contact-sheet.jpg", &sheet, nullptr, nullptr));
    // Gaps of 14 around cells of 184 columns; the label below a picture takes 28 rows.
    EXPECT_EQ(sheet.Header->biWidth, 14 + 8 * (184 + 14));
    const int rows = static_cast<int>(texts::operations().size() + 1 + 7) / 8;
    EXPECT_EQ(std::abs(sheet.Header->biHeight), 14 + rows * (138 + 28 + 14));
    const auto isPaper = [&sheet](int x, int y) {
        const unsigned char* pixel = sheet.Pixel(x, y);
        return std::abs(pixel[0] - 28) < 9 && std::abs(pixel[1] - 23) < 9 && std::abs(pixel[2] - 21) < 9;
    };
    EXPECT_TRUE(isPaper(3, 3));
    EXPECT_TRUE(isPaper(205, 60));
    EXPECT_FALSE(isPaper(14 + 92, 14 + 69));
}

}  // namespace

}  // namespace tool_test

#include <DibCodec.h>
#include <DibPictures.h>

#include <algorithm>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <set>

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

// The values of an attribute, in the order of the page.
std::vector<std::string> valuesOf(const std::string& page, const std::string& attribute) {
    std::vector<std::string> values;
    const std::string start = " " + attribute + "=\"";
    for (std::size_t place = 0; (place = page.find(start, place)) != std::string::npos;) {
        place += start.size();
        values.push_back(page.substr(place, page.find('"', place) - place));
    }
    return values;
}

TEST_F(Gallery, IsAPageAndItsPictures) {
    const Result result = run({"gallery", "in.bmp", "new/folder", "--side=240"});
    ASSERT_EQ(result.exitCode, 0) << result.errors;
    EXPECT_EQ(result.output + result.errors, "");

    std::vector<std::string> shown = {"in.bmp", "other.bmp"};
    const std::string page = readFile("new/folder/index.html");
    for (const DibOperation* operation : texts::operations()) {
        for (std::size_t i = 0; i < std::size(operation->samples); ++i) {
            shown.push_back("pictures/" + std::string(operation->name) + "-" + std::to_string(i + 1) +
                            ".png");
            EXPECT_NE(
                page.find("dib run in.bmp <b>" + gallery::htmlText(operation->samples[i]) + "</b> out.bmp"),
                std::string::npos);
        }
        EXPECT_NE(page.find(gallery::htmlText(operation->help)), std::string::npos) << operation->name;
    }
    EXPECT_EQ(valuesOf(page, "src"), shown);

    // Nothing else is in the folder but what a viewer shows in place of the original.
    const std::vector<std::string> before = valuesOf(page, "data-before");
    std::set<std::string> expected(shown.begin(), shown.end());
    expected.insert(before.begin(), before.end());
    expected.insert({"contact-sheet.jpg", "index.html"});
    const std::vector<std::string> files = filesBelow("new/folder");
    EXPECT_EQ(std::set<std::string>(files.begin(), files.end()), expected);
    EXPECT_LT(page.size(), 300'000U);
    EXPECT_EQ(countOf(page, "data:image") + countOf(page, "http:") + countOf(page, "https:") +
                  countOf(page, "@import") + countOf(page, "url("),
              0U);
    EXPECT_NE(page.find("DibEffectBlur(nullptr, nullptr, &amp;image, 8, 0U);"), std::string::npos);
}

// The file that the viewer shows beside a sample; empty: the original.
std::string beforeOf(const std::string& page, const std::string& chain) {
    const std::size_t place = page.find("data-chain=\"" + gallery::htmlText(chain) + "\"");
    EXPECT_NE(place, std::string::npos) << chain;
    const std::string figure = page.substr(place, page.find('>', place) - place);
    const std::vector<std::string> files = valuesOf(figure, "data-before");
    return files.empty() ? "" : files.front();
}

TEST_F(Gallery, ComparesWithThePictureThatTheOperationGot) {
    ASSERT_EQ(run({"gallery", "in.bmp", "gallery", "--side=240"}).exitCode, 0);
    const std::string page = readFile("gallery/index.html");
    EXPECT_EQ(beforeOf(page, "blur:8"), "");
    EXPECT_EQ(beforeOf(page, "half half half"), "");  // the operation itself is no preparation
    const std::string file = beforeOf(page, "colors:6 invert");
    ASSERT_NE(file, "");
    EXPECT_EQ(beforeOf(page, "colors:6 reverse"), file);
    ASSERT_EQ(run({"run", "gallery/in.bmp", "colors:6", "expected.png"}).exitCode, 0);
    EXPECT_EQ(run({"compare", "gallery/" + file, "expected.png"}).exitCode, 0);
}

TEST_F(Gallery, ShowsClassicFunctions) {
    const Result result = run({"gallery", "in.bmp", "classic", "--side=240", "--classic"});
    ASSERT_EQ(result.exitCode, 0) << result.errors;
    const std::string page = readFile("classic/index.html");
    EXPECT_EQ(countOf(page, "dib run in.bmp <b>edge:classic</b> out.bmp"), 1U);
    EXPECT_EQ(countOf(page, "dib run in.bmp <b>canvas:25%,classic edge:classic</b> out.bmp"), 1U);
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

// A picture that a browser shows.
void open(DibStream& image, const std::string& path) {
    ASSERT_TRUE(DibLoadFile(path.c_str(), &image)) << path;
}

double psnrOf(const DibStream& first, const DibStream& second) {
    DibDifference difference;
    EXPECT_TRUE(DibCompare(&first, &second, &difference));
    return difference.psnr;
}

TEST_F(Gallery, EverySampleShowsSomethingOfItsOwn) {
    ASSERT_EQ(makeSample("320 240 sample.bmp"), 0);
    ASSERT_EQ(run({"gallery", "sample.bmp", "gallery"}).exitCode, 0);
    const std::string page = readFile("gallery/index.html");
    DibStream original;
    open(original, "gallery/in.bmp");
    for (const DibOperation* operation : texts::operations()) {
        DibStream results[std::size(DibOperation{}.samples)];
        for (std::size_t i = 0; i < std::size(results); ++i) {
            SCOPED_TRACE(operation->samples[i]);
            open(results[i],
                 "gallery/pictures/" + std::string(operation->name) + "-" + std::to_string(i + 1) + ".png");
            // Beside the picture that the operation got, and beside the samples before it.
            DibStream before;
            const std::string file = beforeOf(page, operation->samples[i]);
            if (!file.empty()) open(before, "gallery/" + file);
            EXPECT_LT(psnrOf(file.empty() ? original : before, results[i]), 30);
            for (std::size_t k = 0; k < i; ++k) EXPECT_LT(psnrOf(results[k], results[i]), 32);
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

using gallery::ShownSize;

void expectSize(const ShownSize& size, int width, int height, bool isWhole) {
    EXPECT_EQ(size.width, width);
    EXPECT_EQ(size.height, height);
    EXPECT_EQ(size.isWhole, isWhole);
}

TEST(Sizes, SamplesHaveRoomForTheOriginalOrAWholePartOfIt) {
    expectSize(gallery::cellSize(320, 240), 320, 240, true);
    expectSize(gallery::cellSize(400, 134), 400, 134, true);
    expectSize(gallery::cellSize(402, 300), 201, 150, true);
    expectSize(gallery::cellSize(1024, 768), 341, 256, true);
}

TEST(Sizes, PicturesAreEnlargedByWholeNumbersOrShrunk) {
    const ShownSize cell{320, 240};
    expectSize(gallery::sizeInCell(320, 240, cell), 320, 240, true);
    expectSize(gallery::sizeInCell(160, 121, cell), 160, 121, true);
    expectSize(gallery::sizeInCell(40, 30, cell), 320, 240, true);
    expectSize(gallery::sizeInCell(60, 50, cell), 240, 200, true);
    expectSize(gallery::sizeInCell(480, 144, cell), 320, 96, false);
    expectSize(gallery::sizeInCell(240, 320, cell), 180, 240, false);
    expectSize(gallery::sizeInCell(5000, 1, cell), 320, 1, false);
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

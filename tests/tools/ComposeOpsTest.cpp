#include <filesystem>

#include "tests/tools/Program.h"

namespace tool_test {

namespace {

namespace fs = std::filesystem;

using ComposeOps = ToolTest;

TEST_F(ComposeOps, TheLimitsAreThoseOfTheSecondPictureToo) {
    DibStream second;
    makePicture(second, 34, 21, 24);
    ASSERT_TRUE(second.SaveToFile("second.bmp"));
    const Result result = run({"run", "--limit=pixels:693", "in.bmp", "compose:second.bmp", "out.bmp"});
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_EQ(
        result.errors,
        "dib: second.bmp: compose: the picture of 34x21 pixels needs 714 pixels; the limit of pixels is 693 "
        "(--limit=pixels)\n");
    EXPECT_EQ(run({"run", "--limit=pixels:714", "in.bmp", "compose:second.bmp", "out.bmp"}).errors, "");
}

TEST_F(ComposeOps, DamagedSecondPicturesAreKeptWhenAskedFor) {
    const std::string whole = readFile("in.bmp");
    writeFile("cut.bmp", whole.substr(0, whole.size() - 250));
    EXPECT_EQ(run({"run", "in.bmp", "compose:cut.bmp", "out.bmp"}).exitCode, 3);
    const Result kept = run({"run", "--keep-damaged", "in.bmp", "compose:cut.bmp", "out.bmp"});
    EXPECT_EQ(kept.exitCode, 0);
    EXPECT_TRUE(kept.errors.starts_with("dib: cut.bmp: compose: warning: ")) << kept.errors;
    const Result strict =
        run({"run", "--keep-damaged", "--strict", "in.bmp", "compose:cut.bmp", "strict.bmp"});
    EXPECT_EQ(strict.exitCode, 5);
    EXPECT_EQ(strict.errors, kept.errors);
    // The name of the input's format is not that of the second picture.
    ASSERT_EQ(run({"run", "in.bmp", "second.png"}).errors, "");
    EXPECT_EQ(run({"run", "--from=bmp", "in.bmp", "compose:second.png", "out.bmp"}).errors, "");
}

TEST_F(ComposeOps, FilesThatCannotBeReadAreFailures) {
    makePicture(picture_, 4, 3, 24);
    ASSERT_TRUE(picture_.SaveToFile("in.bmp"));
    writeFile("empty.bmp", "");
    writeFile("text.png", "Not a picture");
    const std::pair<std::string, std::string> kCases[] = {
        {"absent.bmp", "the file cannot be opened: No such file or directory"},
        {"empty.bmp", "the file is empty"},
        {"text.png", "not a PNG file"},
    };
    for (const auto& [name, message] : kCases) {
        const Result result = run({"run", "in.bmp", "compose:" + name, "out.bmp"});
        EXPECT_EQ(result.exitCode, 3) << name;
        EXPECT_EQ(result.errors, "dib: " + name + ": compose: " + message + "\n");
    }
}

TEST_F(ComposeOps, TheSecondPictureMayBeOfAnyFormat) {
    ASSERT_EQ(run({"run", "in.bmp", "compose:in.bmp", "expected.bmp"}).errors, "");
    ASSERT_EQ(run({"run", "in.bmp", "second.tiff"}).errors, "");
    ASSERT_EQ(run({"run", "--to=iff", "in.bmp", "unnamed"}).errors, "");
    for (const std::string second : {"second.tiff", "unnamed"}) {
        EXPECT_EQ(run({"run", "in.bmp", "compose:" + second, "out.bmp"}).errors, "");
        EXPECT_EQ(readFile("out.bmp"), readFile("expected.bmp")) << second;
    }
}

// "--from" names the format of the input. Second pictures have it too, unless their content or their name
// tells another.
TEST_F(ComposeOps, TheFormatOfTheInputIsTheSecondPicturesWhereNothingElseTells) {
    ASSERT_EQ(run({"run", "in.bmp", "compose:in.bmp", "expected.bmp"}).errors, "");
    ASSERT_EQ(run({"run", "in.bmp", "name.tga"}).errors, "");
    // Its rows are said to be interleaved, as in no usual file.
    std::string unusual = readFile("name.tga");
    unusual[17] = static_cast<char>(unusual[17] | 0x40);
    writeFile("unnamed", unusual);
    const Result unknown = run({"run", "in.bmp", "compose:unnamed", "out.bmp"});
    EXPECT_EQ(unknown.exitCode, 3);
    EXPECT_EQ(unknown.errors, "dib: unnamed: compose: the format of the file is not known\n");
    fs::copy("unnamed", "scan.raw");
    ASSERT_EQ(run({"run", "in.bmp", "content.dat", "--to=png"}).errors, "");
    for (const std::string second : {"unnamed", "scan.raw", "content.dat", "name.tga", "in.bmp"}) {
        const Result result = run({"run", "--from=tga", "unnamed", "compose:" + second, "out.bmp"});
        EXPECT_EQ(result.errors, "") << second;
        EXPECT_EQ(readFile("out.bmp"), readFile("expected.bmp")) << second;
    }
    EXPECT_EQ(run({"run", "--from=bmp", "in.bmp", "compose:unnamed", "out.bmp"}).errors,
              "dib: unnamed: compose: this is not a BMP file\n");
}

TEST_F(ComposeOps, ThePictureThatDoesNotSuitIsNamed) {
    writeFile("a,b.bmp", readFile("in.bmp"));
    EXPECT_EQ(run({"run", "in.bmp", "compose:a\\,b.bmp", "out.bmp"}).exitCode, 0);
    const Result result = run({"run", "in.bmp", "bpp:16", "compose:in.bmp,classic", "out.bmp"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.errors,
              "dib: in.bmp: compose: does not accept pictures of 16 bits, only of 8, 24 and 32 bits\n");
}

}  // namespace

}  // namespace tool_test

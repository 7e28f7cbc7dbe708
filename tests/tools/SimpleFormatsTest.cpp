#include <DibCodec.h>
#include <sys/resource.h>

#include "tests/tools/Program.h"

namespace tool_test {

namespace {

using SimpleFormats = ToolTest;

TEST_F(SimpleFormats, KeepThePicture) {
    for (const std::string extension : {"tga", "ppm", "iff"}) {
        const std::string file = "out." + extension;
        EXPECT_EQ(run({"run", "in.bmp", file}).errors, "");
        EXPECT_EQ(run({"run", file, "back.bmp"}).exitCode, 0);
        EXPECT_EQ(readFile("back.bmp"), readFile("in.bmp")) << extension;
    }
}

TEST_F(SimpleFormats, AreWrittenWholeAtEveryDepth) {
    for (const std::string extension : {"tga", "ppm", "tim", "iff"}) {
        for (const char* depth : {"bpp:1", "bpp:4", "bpp:8", "bpp:16", "bpp:24", "bpp:32"}) {
            const Result result = run({"run", "in.bmp", depth, "out." + extension});
            EXPECT_EQ(result.exitCode, 0) << extension << " " << depth << ": " << result.errors;
            EXPECT_EQ(run({"run", "out." + extension, "back.bmp"}).exitCode, 0) << extension << " " << depth;
        }
    }
}

TEST_F(SimpleFormats, AreRecognizedByTheirFirstBytes) {
    for (const std::string format : {"ppm", "tim", "iff"}) {
        EXPECT_EQ(run({"run", "--to=" + format, "in.bmp", "unnamed"}).exitCode, 0);
        EXPECT_EQ(run({"run", "unnamed", "back.bmp"}).exitCode, 0) << format;
    }
    EXPECT_EQ(run({"run", "--to=tga", "in.bmp", "unnamed"}).exitCode, 0);
    EXPECT_EQ(run({"run", "--from=tga", "unnamed", "back.bmp"}).exitCode, 0);
}

// Formats are named by their extensions too, in letters of any size; those of a family choose its member.
TEST_F(SimpleFormats, AreNamedByExtensions) {
    const std::pair<std::string, std::string> kCases[] = {
        {"jpg", "\xFF\xD8\xFF"}, {"JPEG", "\xFF\xD8\xFF"}, {"Tif", "II"},   {"pgm", "P5\n"},
        {"PGM", "P5\n"},         {"PPM", "P6\n"},          {"pam", "P7\n"}, {"ilbm", "FORM"},
    };
    for (const auto& [name, start] : kCases) {
        const Result result = run({"run", "--to=" + name, "in.bmp", "-"});
        EXPECT_EQ(result.errors, "") << name;
        EXPECT_EQ(result.output.substr(0, start.size()), start) << name;
        EXPECT_EQ(run({"run", "--from=" + name, "-", "back.bmp"}, result.output).errors, "") << name;
    }
}

TEST_F(SimpleFormats, AFullDiskIsNoticed) {
    for (const std::string extension : {"tga", "ppm", "tim", "iff"}) {
        const Result result = run({"run", "in.bmp", "bpp:8", "out." + extension}, "", [] {
            const rlimit limit = {200, 200};
            setrlimit(RLIMIT_FSIZE, &limit);
        });
        EXPECT_EQ(result.exitCode, 4) << extension;
        EXPECT_EQ(result.errors,
                  "dib: out." + extension + ": save: the file cannot be written: File too large\n");
        EXPECT_EQ(run({"run", "--to=" + extension, "in.bmp", "/dev/full"}).exitCode, 4) << extension;
    }
    EXPECT_EQ(filesHere(), (std::vector<std::string>{"in.bmp"}));
}

TEST_F(SimpleFormats, RadianceIsReadOnly) {
    writeFile("one.hdr", std::string("#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n-Y 1 +X 1\n\x80\x80\x80\x81"));
    EXPECT_EQ(run({"run", "one.hdr", "out.bmp"}).exitCode, 0);
    EXPECT_NE(run({"run", "in.bmp", "out.hdr"}).exitCode, 0);
}

}  // namespace

}  // namespace tool_test

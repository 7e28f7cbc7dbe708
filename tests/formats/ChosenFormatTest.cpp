// The format of a file that the caller names.
#include <DibFile.h>

#include <string>

#include "tests/formats/CodecTest.h"

namespace codec_test {
namespace {

// One pixel of 24 bits as a TGA file.
std::string tgaBytes() {
    std::string bytes(18, '\0');
    bytes[2] = 2;
    bytes[12] = bytes[14] = 1;
    bytes[16] = 24;
    return bytes + "\1\2\3";
}

TEST(ChosenFormat, OverrulesTheContent) {
    DibStream image;
    DibFileResult result;
    DibLoadOptions options;
    const std::string bytes = tgaBytes();
    options.format = "tga";
    ASSERT_TRUE(DibLoadMemory(bytes.data(), bytes.size(), &image, &options, &result)) << result.reason;
    EXPECT_STREQ(result.format->name, "tga");
    EXPECT_EQ(image.Header->biWidth, 1);
    options.format = "png";
    EXPECT_FALSE(DibLoadMemory(bytes.data(), bytes.size(), &image, &options, &result));
    EXPECT_STREQ(result.reason, "not a PNG file");
    EXPECT_STREQ(result.format->name, "png");
}

TEST(ChosenFormat, MustExist) {
    DibStream image;
    DibFileResult result;
    DibLoadOptions options;
    const std::string bytes = tgaBytes();
    options.format = "cat";
    EXPECT_FALSE(DibLoadMemory(bytes.data(), bytes.size(), &image, &options, &result));
    EXPECT_EQ(result.code, DIB_ERROR_UNSUPPORTED);
    EXPECT_STREQ(result.reason, "no format has the name cat");
    EXPECT_EQ(result.format, nullptr);
}

}  // namespace
}  // namespace codec_test

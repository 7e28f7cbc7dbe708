// Real PNG, JPEG and TIFF files of many makers: none does harm, and where several independent decoders agree
// on the picture, it is shown here, too.
#include <DibCodec.h>

#include "tests/formats/CodecTest.h"
#include "tests/formats/Exchange.h"

namespace codec_test {
namespace {

using testing_support::pictureOf;
using testing_support::readPnm;
using testing_support::samePicture;
using testing_support::Sample;

// What no decoder reads, or what nobody promises: 12-bit JPEG, TIFF integers of 64 bits.
bool mayBeRefused(const Sample& sample) {
    return sample.readBy.empty() || sample.path.filename() == "monkey12.jpg" ||
           sample.path.filename() == "sample-get-lzw-stuck.tiff";
}

void walk(const char* format) {
    if (testing_support::samplesFolder().empty()) GTEST_SKIP() << "no sample files";
    const bool compares = installed("convert");
    int walked = 0;
    for (const Sample& sample : testing_support::samplesOf(format)) {
        SCOPED_TRACE(sample.path.string());
        DibStream image;
        const bool loaded = LoadPNG(sample.path.c_str(), &image, nullptr, nullptr);
        ++walked;
        EXPECT_TRUE(loaded || mayBeRefused(sample));
        EXPECT_EQ(loaded, image.Header != nullptr && image.Buffer != nullptr);
        if (!loaded || sample.width == 0) continue;
        // Turned pictures are counted as they are stored.
        EXPECT_EQ(image.Header->biWidth * image.Header->biHeight, sample.width * sample.height);
        // Floats are raised here to what screens show.
        const bool raised = sample.path.filename().string().find("64f") != std::string::npos ||
                            sample.path.filename().string().find("64b-float") != std::string::npos;
        // Small ones only.
        if (!compares || !isAgreedOn(sample) || raised || sample.width * sample.height > 512 * 512) continue;
        const TemporaryFile theirs(".ppm");
        ASSERT_TRUE(run("convert '" + sample.path.string() +
                        "[0]' +set comment -alpha off -colorspace sRGB -depth 8 ppm:" + theirs.path()));
        const auto expected = readPnm(theirs.path());
        ASSERT_TRUE(expected.has_value());
        EXPECT_TRUE(samePicture(pictureOf(image), *expected, 1));
    }
    EXPECT_GT(walked, 0);
}

TEST(PlatformSamples, Png) { walk("png"); }
TEST(PlatformSamples, Jpeg) { walk("jpeg"); }
TEST(PlatformSamples, Tiff) { walk("tiff"); }

}  // namespace
}  // namespace codec_test

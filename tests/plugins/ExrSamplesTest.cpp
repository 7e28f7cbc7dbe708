// Real EXR files of several makers, through the bundle: the sizes of their data windows, and what OpenEXR's
// classes read of the whole picture at once under the curve. Screens' pictures by other decoders follow other
// curves.
#include <DibCodec.h>

#include "tests/plugins/ExrFile.h"
#include "tests/support/Paths.h"
#include "tests/support/Samples.h"

namespace {

using exr_test::Bytes;
using testing_support::Sample;

// Smaller or larger than the display window, which the index has.
struct Cropped {
    const char* name;
    int width;
    int height;
};
constexpr Cropped kCropped[] = {
    {"t03.exr", 400, 300},
    {"t04.exr", 400, 300},
    {"cropping - data window differs display window.exr", 315, 100},
    {"ffgbrpf32le.exr", 67, 45},  // the index knows no size
    {"ffgbrpf32le_compressionzip16_formathalf.exr", 67, 45},
};

constexpr int kMostCompared = 300 * 1000;  // pixels, which takes a while

// Red, green and blue of the rows from the top.
testing_support::Picture expectedPicture(const Bytes& file, int width, int height) {
    testing_support::Picture picture{width, height, {}};
    const Bytes pixels = exr_test::expectedPixels(file);
    for (std::size_t i = 0; i < pixels.size(); i += 4) {
        picture.rgb.insert(picture.rgb.end(), {pixels[i + 2], pixels[i + 1], pixels[i]});
    }
    return picture;
}

TEST(ExrSamplesTest, TheBundleReadsThem) {
    if (testing_support::samplesFolder().empty()) GTEST_SKIP() << "no sample files";
    DibStream::SetDllFilePath(testing_support::builtPlugins().c_str());
    int walked = 0;
    for (const Sample& sample : testing_support::samplesOf("exr")) {
        SCOPED_TRACE(sample.path.string());
        ++walked;
        DibStream image;
        ASSERT_TRUE(LoadEXR(sample.path.c_str(), &image, nullptr, nullptr));
        ASSERT_NE(image.Buffer, nullptr);
        int width = sample.width;
        int height = sample.height;
        for (const Cropped& cropped : kCropped) {
            if (sample.path.filename() != cropped.name) continue;
            width = cropped.width;
            height = cropped.height;
        }
        const bool isGrey = sample.path.filename() == "GrayRampsHorizontal.exr";
        EXPECT_EQ(image.Header->biBitCount, isGrey ? 8 : 32);
        EXPECT_EQ(image.Header->biWidth, width);
        EXPECT_EQ(image.Header->biHeight, height);
        if (width * height > kMostCompared) continue;
        EXPECT_TRUE(testing_support::samePicture(
            testing_support::pictureOf(image),
            expectedPicture(testing_support::readFileBytes(sample.path), width, height)));
    }
    EXPECT_GT(walked, 0);
    DibStream::SetDllFilePath("");
}

}  // namespace

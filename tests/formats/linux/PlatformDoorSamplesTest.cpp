// Real PNG, JPEG and TIFF files through DibFile.h: they show what the classic loaders show.
#include <DibCodec.h>

#include "tests/formats/PlatformDoorTest.h"

namespace door_test {
namespace {

using testing_support::pictureOf;
using testing_support::Sample;

// The classic loaders turn TIFF pictures only.
void expectClassicPictures(const char* format, bool isTurned) {
    if (testing_support::samplesFolder().empty()) GTEST_SKIP() << "no sample files";
    DibLoadOptions options;
    options.appliesOrientation = isTurned;
    int compared = 0;
    for (const Sample& sample : testing_support::samplesOf(format)) {
        SCOPED_TRACE(sample.path.string());
        DibStream classic;
        if (!LoadPNG(sample.path.c_str(), &classic, nullptr, nullptr)) continue;
        DibStream image;
        DibFileResult result;
        DibFileInfo info;
        ASSERT_TRUE(DibLoadFile(sample.path.c_str(), &image, &options, &result)) << result.reason;
        const std::string notes = notesOf(result);
        // Classic loads raise floats as light, and take inks of 16 bits for ones of 8.
        const bool isFloat = notes.find("floats became") != std::string::npos;
        const int tolerance = notes.find("four inks") != std::string::npos ? 2 : 0;
        EXPECT_TRUE(isFloat || testing_support::samePicture(pictureOf(image), pictureOf(classic), tolerance));
        EXPECT_LE(image.Header->biBitCount, classic.Header->biBitCount);
        ASSERT_TRUE(DibProbeFile(sample.path.c_str(), &info));
        EXPECT_EQ(info.bitCount, image.Header->biBitCount);
        EXPECT_EQ(info.width * info.height, image.Header->biWidth * image.Header->biHeight);
        // Whatever was read can be written as PNG and comes back.
        if (image.Header->biWidth * image.Header->biHeight < 300 * 300) expectSamePixelsFrom(image, "png");
        ++compared;
    }
    EXPECT_GT(compared, 5);
}

TEST(PlatformDoorSamples, Png) { expectClassicPictures("png", true); }
TEST(PlatformDoorSamples, Jpeg) { expectClassicPictures("jpeg", false); }
TEST(PlatformDoorSamples, Tiff) { expectClassicPictures("tiff", true); }

// Interlaced pictures have no finished row for long.
TEST(PlatformDoorSamples, InterlacedPicturesCanBeCancelledAndKept) {
    int seen = 0;
    for (const Sample& sample : testing_support::samplesOf("png")) {
        const Bytes file = testing_support::readFileBytes(sample.path);
        constexpr std::size_t kInterlace = 28;
        if (file.size() < 100 || file[kInterlace] != 1 || sample.width != 32 || seen == 4) continue;
        SCOPED_TRACE(sample.path.string());
        expectLoadProgress(file, 100);
        const Opened whole = opened(file);
        const Opened same = opened(file, keepingDamaged());
        ASSERT_TRUE(whole.isLoaded && same.isLoaded);
        EXPECT_TRUE(samePixels(*same.image, *whole.image));
        const Bytes cut(file.begin(), file.end() - 40);
        const Opened refused = opened(cut);
        EXPECT_FALSE(refused.isLoaded);
        EXPECT_NE(refused.reason().find("the pixels end in pass "), std::string::npos) << refused.reason();
        EXPECT_NE(refused.reason().find(" (in row "), std::string::npos) << refused.reason();
        const Opened kept = opened(cut, keepingDamaged());
        if (kept.isLoaded) {
            EXPECT_NE(notesOf(kept.result).find("the pixels end in pass "), std::string::npos);
        }
        ++seen;
    }
    if (seen == 0) GTEST_SKIP() << "no sample files";
}

}  // namespace
}  // namespace door_test

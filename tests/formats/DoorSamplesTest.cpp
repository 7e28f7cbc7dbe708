// Real files of many makers through the functions of DibFile.h: those whose picture is known show it, and cut
// ones are refused with a reason or kept with a warning.
#include <set>

#include "tests/formats/DoorCodecTest.h"

namespace door_test {
namespace {

using testing_support::expectedPicture;
using testing_support::pictureOf;
using testing_support::samePicture;
using testing_support::Sample;

void expectSamples(const char* name, int fewestWithPicture, const std::set<std::string>& refused = {}) {
    if (testing_support::samplesFolder().empty()) GTEST_SKIP() << "no sample files";
    int compared = 0;
    for (const Sample& sample : testing_support::samplesOf(name)) {
        SCOPED_TRACE(sample.path.string());
        DibStream image;
        DibFileResult result;
        DibFileInfo info;
        const bool isLoaded = DibLoadFile(sample.path.string().c_str(), &image, nullptr, &result);
        EXPECT_EQ(isLoaded, result.reason[0] == '\0');
        const bool isProbed = DibProbeFile(sample.path.string().c_str(), &info);
        if (isLoaded) {
            EXPECT_TRUE(isProbed);
            EXPECT_EQ(info.width, image.Header->biWidth);
            EXPECT_EQ(info.height, std::abs(image.Header->biHeight));
            EXPECT_EQ(info.bitCount, image.Header->biBitCount);
            EXPECT_EQ(info.isTopDown, image.Header->biHeight < 0);
        }
        const auto expected = expectedPicture(sample);
        if (!expected) continue;
        EXPECT_EQ(isLoaded, !refused.contains(sample.path.filename().string())) << result.reason;
        if (!isLoaded) continue;
        EXPECT_TRUE(samePicture(pictureOf(image), *expected, 1));
        ++compared;
    }
    EXPECT_GE(compared, fewestWithPicture);
}

// Every sample, cut at many places.
void expectCutSamples(const char* name) {
    if (testing_support::samplesFolder().empty()) GTEST_SKIP() << "no sample files";
    constexpr std::size_t kCuts = 12;
    constexpr std::size_t kLongest = 300000;
    int kept = 0;
    for (const Sample& sample : testing_support::samplesOf(name)) {
        SCOPED_TRACE(sample.path.string());
        const Bytes file = testing_support::readFileBytes(sample.path);
        if (file.size() > kLongest) continue;
        DibLoadOptions options = keepingDamaged();
        options.format = std::string_view(name) == "pnm" ? "ppm" : name;
        options.mostPixels = 1 << 22;
        for (std::size_t i = 0; i < kCuts; ++i) {
            const std::size_t length = i < 3 ? i * 17 : file.size() * i / kCuts;
            const Bytes cut(file.begin(),
                            file.begin() + static_cast<std::ptrdiff_t>(std::min(length, file.size())));
            const Opened load = opened(cut, options);
            EXPECT_EQ(load.isLoaded, load.result.reason[0] == '\0') << length;
            EXPECT_EQ(load.isLoaded, load.result.code == 0) << length;
            kept += load.isLoaded ? 1 : 0;
        }
    }
    EXPECT_GT(kept, 100);
}

TEST(DoorSamples, BmpShowsWhatIsKnown) { expectSamples("bmp", 60); }
TEST(DoorSamples, CutBmpIsKeptOrRefused) { expectCutSamples("bmp"); }
TEST(DoorSamples, TgaShowsWhatIsKnown) { expectSamples("tga", 100); }
TEST(DoorSamples, CutTgaIsKeptOrRefused) { expectCutSamples("tga"); }
TEST(DoorSamples, PnmShowsWhatIsKnown) { expectSamples("pnm", 6); }
TEST(DoorSamples, CutPnmIsKeptOrRefused) { expectCutSamples("pnm"); }

}  // namespace
}  // namespace door_test

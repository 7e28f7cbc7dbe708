// Real DDS files of many makers, through the bundle: none does harm, and where several independent decoders
// agree on the picture, it is shown here, too.
#include <DibCodec.h>

#include <algorithm>
#include <string_view>

#include "tests/formats/Exchange.h"
#include "tests/support/Paths.h"
#include "tests/support/Samples.h"

namespace codec_test {
namespace {

using testing_support::pictureOf;
using testing_support::readPnm;
using testing_support::samePicture;
using testing_support::Sample;

// Texels of halves or under a palette, numbers that stand for no format here, masks outside the texels or
// none at all, and sizes that the file cannot hold.
constexpr std::string_view kRefused[] = {
    "DX10 R16G16B16A16_FLOAT.dds",
    "DX9 R16G16B16A16_FLOAT.dds",
    "palette.dds",
    "timeout-041dd17dfde800360a47a172269df127af138c6b.dds",
    "timeout-52d106579505547091ef69b58341351a37c23e31.dds",
    "timeout-755a4d204f4208e3597ac3391edebee196462bd0.dds",
    "timeout-c60a3d7314213624607bfb3e38d551a8b24a7435.dds",
    "unimplemented_dxgi_format.dds",
    "unimplemented_pfflags.dds",
    "unimplemented_pixel_format.dds",
    "unsupported_bitcount.dds",
    "zero_mask_totals.dds",
};

TEST(DdsSamplesTest, TheBundleReadsThem) {
    if (testing_support::samplesFolder().empty()) GTEST_SKIP() << "no sample files";
    DibStream::SetDllFilePath(testing_support::builtPlugins().c_str());
    int compared = 0;
    for (const Sample& sample : testing_support::samplesOf("dds")) {
        SCOPED_TRACE(sample.path.string());
        DibStream image;
        const bool loaded = LoadDDS(sample.path.wstring().c_str(), &image, nullptr, nullptr);
        const std::string name = sample.path.filename().string();
        const bool isRefused =
            std::find(std::begin(kRefused), std::end(kRefused), name) != std::end(kRefused);
        EXPECT_EQ(loaded, !isRefused);
        EXPECT_EQ(loaded, image.Header != nullptr && image.Buffer != nullptr);
        if (!loaded) continue;
        EXPECT_EQ(image.Header->biWidth, sample.width);
        EXPECT_EQ(image.Header->biHeight, sample.height);
        if (!isAgreedOn(sample) || !installed("convert")) continue;
        const TemporaryFile theirs(".ppm");
        ASSERT_TRUE(run("convert '" + sample.path.string() +
                        "[0]' +set comment -alpha off -depth 8 ppm:" + theirs.path()));
        const auto expected = readPnm(theirs.path());
        ASSERT_TRUE(expected.has_value());
        EXPECT_TRUE(samePicture(pictureOf(image), *expected, 1));
        ++compared;
    }
    EXPECT_GT(compared, installed("convert") ? 8 : -1);
    DibStream::SetDllFilePath("");
}

}  // namespace
}  // namespace codec_test

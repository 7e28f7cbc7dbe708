// Real documents, where the sample folder is present.
#include <set>

#include "tests/formats/PsdTest.h"

namespace {

using namespace psd_test;
using testing_support::Sample;

bool has(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

// Two writers end packed rows with a no-operation, which does not belong to the row: the packed length is then
// one more than what the row takes.
bool endsRowsWithNoOperation(const Sample& sample) {
    static const std::set<std::string> names = {"imcompressRLEPSD.psd", "imcompressZipPSD.psd",
                                                "sketchbook.psd"};
    return names.count(sample.path.filename().string()) != 0;
}

int announcedLayers(const std::string& variant) {
    const std::size_t at = variant.find("layers=");
    return at == std::string::npos ? 0 : std::atoi(variant.c_str() + at + 7);
}

TEST(PsdSamples, ResultsAsTheIndexHasThem) {
    const std::vector<Sample> samples = testing_support::samplesOf("psd");
    if (samples.empty()) GTEST_SKIP() << "no sample folder";
    int loaded = 0;
    int equal = 0;
    for (const Sample& sample : samples) {
        if (sample.source == "bombs") continue;
        SCOPED_TRACE(sample.path);
        Load load(testing_support::readFileBytes(sample.path));
        if (has(sample.variant, "PSB") || has(sample.variant, "Duotone") || has(sample.variant, "Lab") ||
            has(sample.variant, "Multichannel")) {
            EXPECT_FALSE(load.result);
            EXPECT_EQ(load.code, 7);
            continue;
        }
        const bool readable = !has(sample.variant, "merged=-1") && !endsRowsWithNoOperation(sample);
        EXPECT_EQ(load.result, readable);
        if (!load.result) continue;
        ++loaded;
        EXPECT_EQ(load.image->Header->biWidth, sample.width);
        EXPECT_EQ(load.image->Header->biHeight, sample.height);
        // One program wrote the same picture as the generator: at 16 bits every sample twice the byte.
        const std::string name = sample.path.filename().string();
        if (name != "imcompressNonePSD.psd" && name != "imdepth16PSD.psd") continue;
        const auto expected = testing_support::readPnm(sample.path.parent_path() / "bmp-24bpp-67x45.bmp.ppm");
        ASSERT_TRUE(expected.has_value());
        EXPECT_TRUE(testing_support::samePicture(testing_support::pictureOf(*load.image), *expected));
        ++equal;
    }
    EXPECT_EQ(loaded, 118);
    EXPECT_EQ(equal, 2);
}

TEST(PsdSamples, LayersAsTheIndexHasThem) {
    const std::vector<Sample> samples = testing_support::samplesOf("psd");
    if (samples.empty()) GTEST_SKIP() << "no sample folder";
    int withLayers = 0;
    for (const Sample& sample : samples) {
        SCOPED_TRACE(sample.path);
        const Bytes bytes = testing_support::readFileBytes(sample.path);
        if (!Load(bytes).result) continue;
        Load load(bytes, true);
        // Layers of 16 and 32 bits stand in another place of the section, where they are not looked for.
        const bool elsewhere = has(sample.variant, "layercomp=Lr");
        const bool zipped = !elsewhere && has(sample.variant, "ZIP");
        EXPECT_EQ(load.result, !zipped) << load.log;
        if (!load.result) continue;
        EXPECT_EQ(load.loader.GetLayerNum(), elsewhere ? 0 : announcedLayers(sample.variant));
        for (int i = 0; i < load.loader.GetLayerNum(); ++i, ++withLayers) {
            const PSDLayerInfo& info = *load.loader.GetLayerInfo(i);
            int left = 0;
            int top = 0;
            const DibPtr image(load.loader.GetLayerImage(i, left, top));
            EXPECT_EQ(image != nullptr, info.right > info.left && info.bottom > info.top);
            if (image == nullptr) continue;
            EXPECT_EQ(image->Header->biWidth, info.right - info.left);
            EXPECT_EQ(image->Header->biHeight, info.bottom - info.top);
        }
    }
    EXPECT_GT(withLayers, 200);
}

TEST(PsdSamples, KnownLayers) {
    int found = 0;
    for (const Sample& sample : testing_support::samplesOf("psd")) {
        const bool fills = has(sample.path.string(), "fill-opacity/src.psd");
        const bool lines = has(sample.path.string(), "different-mask-size.psd");
        if (!fills && !lines) continue;
        ++found;
        const Load load(testing_support::readFileBytes(sample.path), true);
        ASSERT_EQ(load.loader.GetLayerNum(), 3);
        const PSDLayerInfo& second = *load.loader.GetLayerInfo(1);
        EXPECT_STREQ(second.name, fills ? "[#0f0] Normal opacity 40% (TS L" : "line1");
        EXPECT_EQ(second.left, fills ? 0 : 18);
        EXPECT_EQ(second.top, fills ? 0 : -2);
        EXPECT_EQ(second.right, fills ? 1 : 22);
        EXPECT_EQ(second.bottom, fills ? 1 : 91);
        EXPECT_EQ(second.blendMode, fills ? 20 : 0);
        EXPECT_EQ(second.opacity, fills ? 102 : 255);
        EXPECT_EQ(second.hasMask, lines);
        EXPECT_EQ(load.loader.GetLayerVisible(1), 0);
    }
    if (found == 0) GTEST_SKIP() << "no sample folder";
}

}  // namespace

// Real documents, where the sample folder is present.
#include <DibFile.h>

#include <set>

#include "tests/formats/PsdTest.h"

namespace psd_test {
namespace {

using testing_support::Sample;

bool has(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

// Two writers end packed rows with a no-operation, which does not belong to the row: the packed length is
// then one more than what the row takes.
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

// Where a channel stands in a pixel of `image`, -1 when it is not stored.
int byteOfChannel(int mode, const DibStream& image, int id) {
    if (mode < 3 || image.Header->biBitCount == 8) return id == 0 ? 0 : -1;
    if (id == -1) return image.Header->biBitCount == 32 ? 3 : -1;
    return id >= 0 && id <= 2 ? 2 - id : -1;
}

// Compares one channel with the grey picture that another reader made of it. Its 16-bit samples are scaled
// here, where documents give their high byte.
int compareChannel(int mode, DibStream& image, int id, const std::filesystem::path& expected, int tolerance) {
    const int byte = byteOfChannel(mode, image, id);
    DibStream plane;
    if (byte < 0 || !LoadPNG(expected.c_str(), &plane, nullptr, nullptr)) return 0;
    const auto picture = testing_support::pictureOf(plane);
    EXPECT_EQ(picture.width, image.Header->biWidth);
    EXPECT_EQ(picture.height, image.Header->biHeight);
    if (picture.width != image.Header->biWidth || picture.height != image.Header->biHeight) return 0;
    for (int y = 0; y < picture.height; ++y) {
        for (int x = 0; x < picture.width; ++x) {
            const std::size_t at = 3 * static_cast<std::size_t>(y * picture.width + x);
            const int difference = std::abs(image.Pixel(x, y)[byte] - picture.rgb[at]);
            EXPECT_LE(difference, tolerance) << expected << " x " << x << " y " << y;
            if (difference > tolerance) return 0;
        }
    }
    return 1;
}

TEST(PsdSamples, ChannelsAsAnotherReaderShowsThem) {
    if (!DibFindFormat("png")->hasPaletteAlpha) GTEST_SKIP() << psd_test::kForeignPng;
    if (!formats::Inflater::isAvailable()) GTEST_SKIP() << kNoZip;
    const std::filesystem::path pictures = testing_support::samplesFolder() / "ref" / "oov+psd" / "png";
    if (!std::filesystem::exists(pictures)) GTEST_SKIP() << "no sample folder";
    int merged = 0;
    int ofLayers = 0;
    for (const Sample& sample : testing_support::samplesOf("psd")) {
        if (sample.source != "oov+psd") continue;
        SCOPED_TRACE(sample.path);
        Load load(testing_support::readFileBytes(sample.path), true);
        // That reader puts a curve over floats.
        if (!load.result || load.loader.GetDepth() == 32) continue;
        const std::string name = (pictures / sample.path.stem()).string();
        const int mode = load.loader.GetColorMode();
        const int tolerance = load.loader.GetDepth() == 16 ? 1 : 0;
        for (int id = 0; id < 3; ++id) {
            merged += compareChannel(mode, *load.image, id,
                                     name + "_!merged_Ch" + std::to_string(id) + ".png", tolerance);
        }
        for (int i = 0; i < load.loader.GetLayerNum(); ++i) {
            int left = 0;
            int top = 0;
            const DibPtr image(load.loader.GetLayerImage(i, left, top));
            for (int id = -1; image != nullptr && id < 3; ++id) {
                ofLayers += compareChannel(
                    mode, *image, id, name + "_" + std::to_string(i) + "_Ch" + std::to_string(id) + ".png",
                    tolerance);
            }
        }
    }
    EXPECT_EQ(merged, 50);
    EXPECT_EQ(ofLayers, 181);
}

}  // namespace
}  // namespace psd_test

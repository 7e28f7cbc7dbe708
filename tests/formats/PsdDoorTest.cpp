#include "tests/formats/DoorCodecTest.h"
#include "tests/formats/PsdTest.h"

namespace door_test {
namespace {

using testing_support::PsdCompression;
using testing_support::PsdDocument;
using testing_support::PsdLayer;

constexpr int kWidth = 5;
constexpr int kHeight = 4;

PsdLayer layerOf(int width, int height, unsigned char value, int channels = 4) {
    PsdLayer layer;
    layer.rectangle = {0, 0, height, width};
    for (int channel = 0; channel < channels; ++channel) {
        const int id = channel == channels - 1 ? -1 : channel;
        layer.channels.push_back({id, Bytes(static_cast<std::size_t>(width * height),
                                            static_cast<unsigned char>(value + channel))});
    }
    return layer;
}

// The planes of the merged picture, each with one value.
PsdDocument plain(int mode, const std::vector<unsigned char>& values, int depth = 8) {
    PsdDocument document;
    document.mode = mode;
    document.depth = depth;
    document.channels = static_cast<int>(values.size());
    for (const unsigned char value : values)
        document.planes.emplace_back(static_cast<std::size_t>(kWidth * kHeight * depth / 8), value);
    return document;
}

Bytes rgb() { return plain(3, {10, 20, 30}).bytes(); }

TEST(PsdDoor, EverySourceGivesOnePicture) {
    for (const PsdCompression compression : {PsdCompression::kRaw, PsdCompression::kPackBits}) {
        for (const int depth : {8, 16}) {
            PsdDocument document = plain(3, {10, 20, 30}, depth);
            document.compression = compression;
            expectOneFromEverySource(document.bytes(), ".psd");
            expectLoadProgress(document.bytes(), 6);
            EXPECT_GT(failEveryLoad(document.bytes(), {}, true), 1);
        }
    }
}

TEST(PsdDoor, PixelsOfEveryMode) {
    struct Case {
        int mode;
        std::vector<unsigned char> values;
        Bytes pixel;
    };
    const Case cases[] = {
        {1, {7}, {7}},                            // grey
        {1, {7, 100}, {7, 7, 7, 100}},            // and alpha
        {3, {10, 20, 30}, {30, 20, 10}},          // red, green, blue
        {3, {10, 20, 30, 40}, {30, 20, 10, 40}},  // and alpha
        // Cyan, magenta, yellow and black are stored as what they leave of the light.
        {4, {200, 100, 50, 255}, {50, 100, 200}},
        {4, {200, 100, 50, 51}, {10, 20, 40}},
        {4, {200, 100, 50, 51, 128}, {10, 20, 40, 128}},
    };
    for (const Case& c : cases) {
        for (const PsdCompression compression : {PsdCompression::kRaw, PsdCompression::kPackBits}) {
            PsdDocument document = plain(c.mode, c.values);
            document.compression = compression;
            expectOneFromEverySource(document.bytes(), ".psd");
            const Opened load = opened(document.bytes());
            ASSERT_TRUE(load.isLoaded) << load.reason();
            const Bytes row = codec_test::rowBytes(*load.image, kHeight - 1);
            EXPECT_EQ(Bytes(row.begin(), row.begin() + static_cast<std::ptrdiff_t>(c.pixel.size())), c.pixel);
            EXPECT_EQ(Bytes(row.end() - static_cast<std::ptrdiff_t>(c.pixel.size()), row.end()), c.pixel);
        }
    }
}

TEST(PsdDoor, SamplesOfOtherDepthsBecomeBytes) {
    const auto red = [](int depth, const Bytes& sample) {
        PsdDocument document = plain(1, {0}, depth);
        document.planes[0].clear();
        for (int i = 0; i < kWidth * kHeight; ++i)
            document.planes[0].insert(document.planes[0].end(), sample.begin(), sample.end());
        return codec_test::rowBytes(*opened(document.bytes()).image, 0)[0];
    };
    EXPECT_EQ(red(16, {0x10, 0x00}), 16);
    EXPECT_EQ(red(16, {0x10, 0xF0}), 17);
    EXPECT_EQ(red(16, {0xFF, 0xFF}), 255);
    EXPECT_EQ(red(32, {0x3F, 0x00, 0, 0}), 188);  // by the curve of sRGB
    EXPECT_EQ(red(32, {0x3A, 0x80, 0, 0}), 3);    // 0.001 x 12.92
    EXPECT_EQ(red(32, {0x3F, 0x80, 0, 0}), 255);
    EXPECT_EQ(red(32, {0xBF, 0x80, 0, 0}), 0);
    EXPECT_EQ(red(32, {0x7F, 0xC0, 0, 0}), 0);  // not a number
}

TEST(PsdDoor, MissingChannelsAreWhite) {
    PsdDocument document = plain(3, {10, 20});
    document.compression = PsdCompression::kPackBits;
    const Opened load = opened(document.bytes());
    ASSERT_TRUE(load.isLoaded) << load.reason();
    const Bytes row = codec_test::rowBytes(*load.image, kHeight - 1);
    EXPECT_EQ(Bytes(row.begin(), row.begin() + 3), (Bytes{255, 20, 10}));
}

TEST(PsdDoor, OtherDepthsAreNoted) {
    EXPECT_EQ(notesOf(opened(plain(3, {1, 2, 3}, 16).bytes()).result), "16 bits a sample became 8;");
    EXPECT_EQ(notesOf(opened(plain(3, {1, 2, 3}).bytes()).result), "");
}

TEST(PsdDoor, LayersAreChosenByNumber) {
    PsdDocument document = plain(3, {10, 20, 30});
    document.layers = {layerOf(2, 1, 50), layerOf(3, 2, 90), PsdLayer()};
    const Bytes bytes = document.bytes();
    DibFileInfo info;
    ASSERT_TRUE(DibProbeMemory(bytes.data(), bytes.size(), &info));
    EXPECT_EQ(info.layers, 3);
    DibLoadOptions options;
    options.layer = 0;
    expectOneFromEverySource(bytes, ".psd", options);
    const Opened first = opened(bytes, options);
    ASSERT_TRUE(first.isLoaded) << first.reason();
    EXPECT_EQ(codec_test::pixelsOf(*first.image), (Bytes{52, 51, 50, 53, 52, 51, 50, 53}));
    options.layer = 1;
    const Opened second = opened(bytes, options);
    ASSERT_TRUE(second.isLoaded) << second.reason();
    EXPECT_EQ(second.image->Header->biWidth, 3);
    EXPECT_EQ(second.image->Header->biHeight, 2);
    EXPECT_EQ(codec_test::rowBytes(*second.image, 1),
              (Bytes{92, 91, 90, 93, 92, 91, 90, 93, 92, 91, 90, 93}));
    expectLoadProgress(bytes, 3, options);
    EXPECT_GT(failEveryLoad(bytes, options), 4);
    options.layer = 2;
    EXPECT_EQ(opened(bytes, options).reason(), "layer 2 has no pixels");
    options.layer = 3;
    EXPECT_EQ(opened(bytes, options).reason(), "there is no layer 3: the file has 3");
    options.layer = 0;
    options.mostLayers = 2;
    EXPECT_EQ(opened(bytes, options).result.code, 8);
}

TEST(PsdDoor, LayersOfGreyAndInkDocumentsShowColours) {
    PsdDocument grey = plain(1, {10});
    grey.layers = {layerOf(1, 1, 50, 2)};
    DibLoadOptions options;
    options.layer = 0;
    const Opened load = opened(grey.bytes(), options);
    ASSERT_TRUE(load.isLoaded) << load.reason();
    EXPECT_EQ(codec_test::pixelsOf(*load.image), (Bytes{50, 50, 50, 51}));

    PsdDocument inks = plain(4, {1, 2, 3, 4});
    inks.layers = {layerOf(1, 1, 100, 5)};
    inks.layers[0].channels[3].plane = {51};
    const Opened inked = opened(inks.bytes(), options);
    ASSERT_TRUE(inked.isLoaded) << inked.reason();
    EXPECT_EQ(codec_test::pixelsOf(*inked.image), (Bytes{20, 20, 20, 104}));
}

TEST(PsdDoor, ChannelsBehindTheColoursAreNoAlphaBesideLayers) {
    PsdDocument document = plain(3, {10, 20, 30, 40});
    document.layers = {layerOf(1, 1, 50)};
    const Opened load = opened(document.bytes());
    ASSERT_TRUE(load.isLoaded);
    EXPECT_EQ(load.image->Header->biBitCount, 24);
    expectOneFromEverySource(document.bytes(), ".psd");
}

TEST(PsdDoor, CutDocumentsAreRefusedOrKept) {
    const Bytes bytes = rgb();
    const std::size_t plane = kWidth * kHeight;
    // Within red: rows of red alone, the others 0.
    Bytes cut(bytes.begin(), bytes.end() - static_cast<std::ptrdiff_t>(2 * plane + 7));
    const Opened refused = opened(cut);
    EXPECT_EQ(refused.result.code, 6);
    EXPECT_EQ(refused.reason(), "row 1 of channel 2 is damaged or missing");
    const Opened kept = opened(cut, keepingDamaged());
    ASSERT_TRUE(kept.isLoaded) << kept.reason();
    EXPECT_EQ(kept.note(0), "row 1 of channel 2 is damaged or missing: 2 of 4 rows were read");
    const Bytes redAlone = codec_test::rowBytes(*kept.image, 1);
    EXPECT_EQ(Bytes(redAlone.begin(), redAlone.begin() + 3), (Bytes{255, 255, 10}));
    EXPECT_EQ(codec_test::rowBytes(*kept.image, 2), Bytes(15, 0));
    // Within blue: all rows show something.
    cut.assign(bytes.begin(), bytes.end() - 7);
    EXPECT_EQ(opened(cut).reason(), "row 3 of channel 3 is damaged or missing (in row 3 of 4)");
    const Opened most = opened(cut, keepingDamaged());
    ASSERT_TRUE(most.isLoaded);
    EXPECT_EQ(most.note(0), "row 3 of channel 3 is damaged or missing: 4 of 4 rows were read");
    const Bytes whole = codec_test::rowBytes(*most.image, 1);
    EXPECT_EQ(Bytes(whole.begin(), whole.begin() + 3), (Bytes{30, 20, 10}));
    const Bytes part = codec_test::rowBytes(*most.image, 3);
    EXPECT_EQ(Bytes(part.begin(), part.begin() + 3), (Bytes{255, 20, 10}));
}

TEST(PsdDoor, ExtremeBytes) {
    DibLoadOptions layer;
    layer.layer = 0;
    for (const std::vector<unsigned char>& values :
         {std::vector<unsigned char>{1, 2}, {1, 2, 3}, {1, 2, 3, 4}}) {
        for (const int mode : {1, 3, 4}) {
            PsdDocument document = plain(mode, values);
            document.layers = {layerOf(2, 1, 50, 5)};
            document.compression = mode == 3 ? PsdCompression::kPackBits : PsdCompression::kRaw;
            expectExtremeBytesAreSurvived(document.bytes(), "x.psd");
            expectExtremeBytesAreSurvived(document.bytes(), "x.psd", layer);
        }
    }
}

TEST(PsdDoor, EveryTruncationHasAReason) {
    PsdDocument document = plain(3, {10, 20, 30});
    document.layers = {layerOf(2, 1, 50)};
    document.resources.emplace_back();
    codec_test::forEveryTruncation(document.bytes(), [&](const Bytes& cut, std::size_t length) {
        const Opened load = opened(cut, named("x.psd"));
        EXPECT_FALSE(load.isLoaded) << length;
        EXPECT_NE(load.reason(), "") << length;
        EXPECT_EQ(load.image->Header, nullptr);
        DibLoadOptions layer;
        layer.layer = 0;
        layer.name = "x.psd";
        const Opened opened = door_test::opened(cut, layer);
        EXPECT_EQ(opened.isLoaded, opened.reason().empty()) << length;
    });
}

TEST(PsdDoor, PackedRowsMayBeFilled) {
    PsdDocument document = plain(1, {9});
    // Rows of two bytes, a run of 5, become rows of three with a no-operation after them.
    Bytes data = {0, 1};
    for (int y = 0; y < kHeight; ++y) data.insert(data.end(), {0, 3});
    for (int y = 0; y < kHeight; ++y) data.insert(data.end(), {0xFC, 9, 0x80});
    document.imageData = data;
    const Opened load = opened(document.bytes());
    ASSERT_TRUE(load.isLoaded) << load.reason();
    EXPECT_EQ(codec_test::pixelsOf(*load.image), Bytes(kWidth * kHeight, 9));
}

TEST(PsdDoor, ProbeReadsTheHeaders) {
    PsdDocument document = plain(4, {1, 2, 3, 4}, 16);
    document.compression = PsdCompression::kPackBits;
    document.resources = {{1005, "", {0, 72, 0x80, 0, 0, 1, 0, 1, 0, 75, 0, 0, 0, 1, 0, 1}}};
    const Bytes bytes = document.bytes();
    DibFileInfo info;
    DibFileResult result;
    ASSERT_TRUE(DibProbeMemory(bytes.data(), bytes.size(), &info, nullptr, &result));
    EXPECT_EQ(info.width, kWidth);
    EXPECT_EQ(info.height, kHeight);
    EXPECT_EQ(info.bitCount, 24);
    EXPECT_EQ(info.storedBits, 64);
    EXPECT_EQ(info.layers, 0);
    EXPECT_FALSE(info.hasAlpha);
    EXPECT_STREQ(info.compression, "packbits");
    EXPECT_EQ(result.metadata.xResolution, 72.5);
    EXPECT_EQ(result.metadata.yResolution, 75);
    EXPECT_EQ(opened(bytes).result.metadata.xResolution, 72.5);
}

TEST(PsdDoor, MetadataAreKept) {
    PsdDocument document = plain(4, {1, 2, 3, 4}, 16);
    document.resources = {{1039, "", {5, 6, 7}},
                          {1058, "", {'I', 'I', '*'}},
                          {1060, "", {'<', 'x', '/', '>'}},
                          {1028, "", {28, 2}}};
    const Opened load = opened(document.bytes());
    ASSERT_TRUE(load.isLoaded) << load.result.reason;
    const auto bytesOf = [](const DibBytes& block) { return Bytes(block.data, block.data + block.size); };
    EXPECT_EQ(bytesOf(load.result.metadata.colorProfile), Bytes({5, 6, 7}));
    EXPECT_EQ(bytesOf(load.result.metadata.exif), Bytes({'I', 'I', '*'}));
    EXPECT_EQ(bytesOf(load.result.metadata.xmp), Bytes({'<', 'x', '/', '>'}));
    EXPECT_NE(notesOf(load.result).find("the IPTC block is not kept;"), std::string::npos);
    EXPECT_GT(failEveryLoad(document.bytes()), 5);
}

// Whether the pixels that can be seen are those of another program's picture.
void expectLike(const std::filesystem::path& path, const DibLoadOptions& options,
                const std::filesystem::path& expected) {
    DibStream image;
    DibStream other;
    DibFileResult result;
    ASSERT_TRUE(DibLoadFile(path.c_str(), &image, &options, &result)) << expected << result.reason;
    ASSERT_TRUE(DibLoadFile(expected.c_str(), &other, nullptr, &result)) << expected << result.reason;
    ASSERT_EQ(image.Header->biWidth, other.Header->biWidth) << expected;
    ASSERT_EQ(image.Header->biHeight, other.Header->biHeight) << expected;
    auto shown = testing_support::pictureOf(image);
    auto wanted = testing_support::pictureOf(other);
    // The expected pictures keep the white in half-transparent colours.
    for (std::size_t i = 0; options.layer < 0 && image.Header->biBitCount == 32 && i < shown.rgb.size();
         ++i) {
        const int pixel = static_cast<int>(i / 3);
        const unsigned alpha =
            testing_support::pixelValue(image, pixel % shown.width, pixel / shown.width) >> 24;
        shown.rgb[i] = static_cast<unsigned char>(255 - ((255U - shown.rgb[i]) * alpha + 127) / 255);
    }
    if (other.Header->biBitCount == 32) {
        for (std::size_t i = 0; i < wanted.rgb.size() / 3; ++i) {
            const int x = static_cast<int>(i) % wanted.width;
            if (testing_support::pixelValue(other, x, static_cast<int>(i) / wanted.width) >> 24 != 0)
                continue;
            for (std::size_t c = 0; c < 3; ++c) shown.rgb[3 * i + c] = wanted.rgb[3 * i + c] = 0;
        }
    }
    EXPECT_TRUE(testing_support::samePicture(shown, wanted, 1)) << expected;
}

TEST(PsdDoor, SamplesShowWhatAnotherProgramShows) {
    if (!DibFindFormat("png")->hasPaletteAlpha) GTEST_SKIP() << psd_test::kForeignPng;
    const std::filesystem::path expected = testing_support::samplesFolder() / "ref/oov+psd/png";
    int merged = 0;
    int layers = 0;
    for (const testing_support::Sample& sample : testing_support::samplesOf("psd")) {
        const std::string name = sample.path.stem().string();
        // That program raises the light of floats to the power 1 / 2.2.
        const bool isLight = name.ends_with("32bit");
        if (sample.source != "oov+psd" || sample.path.extension() != ".psd" || isLight) continue;
        if (const auto picture = expected / (name + "_!merged.png"); std::filesystem::exists(picture)) {
            expectLike(sample.path, {}, picture);
            ++merged;
        }
        for (int i = 0; i < 6; ++i) {
            const auto picture = expected / (name + "_" + std::to_string(i) + ".png");
            if (!std::filesystem::exists(picture)) continue;
            DibLoadOptions options;
            options.layer = i;
            expectLike(sample.path, options, picture);
            ++layers;
        }
    }
    if (merged == 0) GTEST_SKIP() << "no samples";
    EXPECT_GT(layers, 40);
}

TEST(PsdDoor, SamplesThatDecodersAgreeOnAreRead) {
    int loaded = 0;
    for (const testing_support::Sample& sample : testing_support::samplesOf("psd")) {
        const Bytes bytes = testing_support::readFileBytes(sample.path);
        const Opened load = opened(bytes, named("x.psd"));
        EXPECT_EQ(load.isLoaded, load.reason().empty()) << sample.path;
        if (!load.isLoaded) continue;
        DibFileInfo info;
        EXPECT_TRUE(DibProbeMemory(bytes.data(), bytes.size(), &info)) << sample.path;
        EXPECT_EQ(info.width, load.image->Header->biWidth) << sample.path;
        EXPECT_EQ(info.height, load.image->Header->biHeight) << sample.path;
        EXPECT_EQ(info.bitCount, load.image->Header->biBitCount) << sample.path;
        ++loaded;
    }
    if (loaded == 0) GTEST_SKIP() << "no samples";
}

}  // namespace
}  // namespace door_test

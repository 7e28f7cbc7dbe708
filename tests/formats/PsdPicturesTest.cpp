// The pixels of PSD documents, their layers and masks, with every number written out.
#include <algorithm>
#include <bit>
#include <cstdint>

#include "dib/Kernels.h"
#include "tests/formats/PsdWide.h"

namespace door_test {
namespace {

using testing_support::psdBlock;

// One pixel of a document and of its only layer, in each version and packing, with the layer in the list and
// in a block of its own.
void expectEverywhere(PsdDocument document, const std::vector<std::pair<int, Bytes>>& layer,
                      const Bytes& merged, const Bytes& ofLayer) {
    document.layers = {layerOf({0, 0, 2, 3}, layer)};
    const char* block = document.depth == 8 ? "Layr" : document.depth == 16 ? "Lr16" : "Lr32";
    for (const PsdCompression packing : kPackings) {
        for (const bool isLarge : {false, true}) {
            for (const char* key : {"", block}) {
                document.compression = packing;
                document.isLarge = isLarge;
                document.layerBlock = key;
                const auto name = testing::Message() << static_cast<int>(packing) << isLarge << key;
                EXPECT_EQ(pixelOf(document), merged) << name;
                EXPECT_EQ(pixelOf(document, layerNumber(0)), ofLayer) << name;
            }
        }
    }
}

TEST(PsdPictures, EveryVersionPackingAndDepth) {
    if (!formats::Inflater::isAvailable()) GTEST_SKIP() << kNoZip;
    expectEverywhere(documentOf(3, 8, {{10}, {20}, {30}}), {{-1, {128}}, {0, {200}}, {1, {0}}, {2, {7}}},
                     {30, 20, 10}, {7, 0, 200, 128});
    expectEverywhere(documentOf(3, 16, {{10, 10}, {20, 20}, {30, 0}}),
                     {{0, {0xFF, 0xFF}}, {1, {0x7F, 0xFF}}, {2, {0, 0x80}}, {-1, {0x40, 0x40}}}, {30, 20, 10},
                     {0, 127, 255, 64});
    expectEverywhere(documentOf(3, 32, {{0x3F, 0x80, 0, 0}, {0x3F, 0, 0, 0}, {0, 0, 0, 0}}),
                     {{0, {0x3F, 0, 0, 0}}, {1, {0, 0, 0, 0}}, {2, {0x40, 0, 0, 0}}, {-1, {0x3F, 0, 0, 0}}},
                     {0, 188, 255}, {255, 0, 188, 128});
    expectEverywhere(documentOf(1, 16, {{0x12, 0x34}}), {{0, {0x80, 0}}, {-1, {1, 1}}}, {18},
                     {128, 128, 128, 1});
    expectEverywhere(documentOf(4, 8, {{200}, {100}, {50}, {51}}),
                     {{0, {200}}, {1, {100}}, {2, {50}}, {3, {102}}, {-1, {9}}}, {10, 20, 40},
                     {20, 40, 80, 9});
    expectEverywhere(documentOf(9, 16, {{0x80, 0}, {0x80, 0}, {0x80, 0}}),
                     {{0, {0x30, 0xD2}}, {1, {0xB4, 0x49}}, {2, {0x2A, 0xEC}}}, {119, 119, 119},
                     {178, 0, 9, 255});
}

// Each mask has a rectangle and a packing of its own.
TEST(PsdPictures, MasksOfTheirOwnSize) {
    if (!formats::Inflater::isAvailable()) GTEST_SKIP() << kNoZip;
    for (const int depth : {8, 16, 32}) {
        const auto sample = [&](unsigned char byte, float part) {
            const auto bits = std::bit_cast<std::uint32_t>(part);
            if (depth == 8) return Bytes{byte};
            if (depth == 16) return Bytes{byte, byte};
            return Bytes{static_cast<unsigned char>(bits >> 24), static_cast<unsigned char>(bits >> 16 & 255),
                         0, 0};
        };
        PsdDocument document = documentOf(3, depth, {sample(1, 0), sample(2, 0), sample(3, 0)});
        document.layers = {layerOf({0, 0, 2, 3}, {{0, sample(9, 0)}})};
        PsdLayer& layer = document.layers[0];
        layer.mask = PsdRectangle{-1, 2, 0, 6};
        layer.secondMask = PsdRectangle{5, 5, 8, 6};
        layer.channels.push_back({-2, {}});
        layer.channels.push_back({-3, {}});
        // The middle is 128, not light.
        for (const unsigned char byte : Bytes{0, 128, 255, 0}) {
            const Bytes bytes = sample(byte, byte == 128 ? 0.5F : byte == 255 ? 1.0F : 0.0F);
            Bytes& first = layer.channels[1].plane;
            first.insert(first.end(), bytes.begin(), bytes.end());
            Bytes& second = layer.channels[2].plane;
            if (second.size() < 3 * bytes.size()) second.insert(second.begin(), bytes.begin(), bytes.end());
        }
        for (const PsdCompression packing : kPackings) {
            document.compression = packing;
            document.isLarge = packing >= PsdCompression::kZip;
            const Bytes bytes = document.bytes();
            const Opened first = opened(bytes, layerNumber(0, DIB_LAYER_MASK));
            ASSERT_TRUE(first.isLoaded) << depth << first.reason();
            EXPECT_EQ(first.image->Header->biWidth, 4);
            EXPECT_EQ(first.image->Header->biHeight, 1);
            EXPECT_EQ(codec_test::pixelsOf(*first.image), (Bytes{0, 128, 255, 0})) << depth;
            const Opened second = opened(bytes, layerNumber(0, DIB_LAYER_SECOND_MASK));
            ASSERT_TRUE(second.isLoaded) << depth << second.reason();
            EXPECT_EQ(second.image->Header->biWidth, 1);
            EXPECT_EQ(second.image->Header->biHeight, 3);
            EXPECT_EQ(codec_test::pixelsOf(*second.image), (Bytes{255, 128, 0})) << depth;
        }
    }
}

// Channels after the colours: transparency when the layers say so, selections and spot inks else.
TEST(PsdPictures, ExtraChannelsAreNotTransparency) {
    struct Case {
        int mode;
        std::vector<Bytes> samples;
        bool saysTransparent;
        bool hasLayers;
        Bytes pixel;
    };
    const Case cases[] = {
        {3, {{10}, {20}, {30}, {255}, {77}}, true, true, {30, 20, 10, 255}},
        {3, {{10}, {20}, {30}, {40}, {77}}, false, true, {30, 20, 10}},
        {3, {{10}, {20}, {30}, {40}, {77}}, false, false, {30, 20, 10, 40}},
        {1, {{10}, {40}}, false, true, {10}},
        {1, {{10}, {255}, {5}}, true, true, {10, 10, 10, 255}},
        {4, {{255}, {255}, {255}, {51}, {255}, {3}}, true, true, {51, 51, 51, 255}},
        {4, {{255}, {255}, {255}, {51}, {40}}, false, true, {51, 51, 51}},
        {9, {{255}, {128}, {128}, {40}}, false, true, {255, 255, 255}},
        {7, {{1}, {2}, {3}, {40}}, true, true, {3, 2, 1}},
        {2, {{5}, {40}}, true, true, {5}},
    };
    for (const Case& c : cases) {
        PsdDocument document = documentOf(c.mode, 8, c.samples);
        if (c.hasLayers) document.layers = {layerOf({0, 0, 1, 1}, {{0, {1}}})};
        document.negativeCount = c.saysTransparent;
        EXPECT_EQ(pixelOf(document), c.pixel) << c.mode << ' ' << c.samples.size();
    }
    // A bit for each pixel: set ones are black, and transparent.
    PsdDocument bits = documentOf(0, 8, {{0}, {0}});
    bits.depth = 1;
    bits.width = 16;
    bits.height = 1;
    bits.planes = {{0x0F, 0x80}, {0xF0, 0x01}};
    bits.layers = {layerOf({0, 0, 1, 1}, {{0, {1}}})};
    bits.negativeCount = true;
    const Bytes row = codec_test::rowBytes(*opened(bits.bytes()).image, 0);
    EXPECT_EQ(Bytes(row.begin(), row.begin() + 4), (Bytes{255, 255, 255, 0}));
    EXPECT_EQ(Bytes(row.begin() + 16, row.begin() + 20), (Bytes{0, 0, 0, 255}));
    EXPECT_EQ(Bytes(row.end() - 4, row.end()), (Bytes{255, 255, 255, 0}));
}

// What other programs write: one stream of all planes, or one of each.
TEST(PsdPictures, ZipStreams) {
    if (!formats::Inflater::isAvailable()) GTEST_SKIP() << kNoZip;
    PsdDocument document = documentOf(3, 8, {{0}, {0}, {0}});
    // 20 times 10, then 0 to 19, then 20 times 200.
    document.imageData.emplace(Bytes{0,    2,    0x78, 0xDA, 0xE3, 0xE2, 0xC2, 0x04, 0x0C, 0x8C, 0x4C, 0xCC,
                                     0x2C, 0xAC, 0x6C, 0xEC, 0x1C, 0x9C, 0x5C, 0xDC, 0x3C, 0xBC, 0x7C, 0xFC,
                                     0x02, 0x82, 0x42, 0xC2, 0x27, 0xB0, 0x00, 0x00, 0xDF, 0xCA, 0x11, 0x27});
    const Opened one = opened(document.bytes());
    ASSERT_TRUE(one.isLoaded) << one.reason();
    EXPECT_EQ(codec_test::rowBytes(*one.image, 0),
              (Bytes{200, 0, 10, 200, 1, 10, 200, 2, 10, 200, 3, 10, 200, 4, 10}));
    EXPECT_EQ(codec_test::rowBytes(*one.image, 3),
              (Bytes{200, 15, 10, 200, 16, 10, 200, 17, 10, 200, 18, 10, 200, 19, 10}));

    testing_support::ByteWriter data;
    data.be16(2);
    for (const unsigned char value : Bytes{10, 20, 30})
        data.raw(testing_support::storedZlib(Bytes(20, value)));
    document.imageData.emplace(data.bytes);
    EXPECT_EQ(pixelOf(document), (Bytes{30, 20, 10}));

    document.imageData->back() = 0;  // of the checksum of the last plane
    EXPECT_EQ(pixelOf(document), (Bytes{30, 20, 10}));
    (*document.imageData)[4] = 7;  // the kind of the first block
    EXPECT_EQ(opened(document.bytes()).reason(), "row 1 of channel 1 is damaged or missing");
}

TEST(PsdPictures, PredictedRowsAreSums) {
    PsdDocument document = documentOf(1, 8, {{0}});
    document.width = 3;
    document.height = 1;
    const auto row = [&](int depth, const Bytes& differences) {
        document.depth = depth;
        testing_support::ByteWriter data;
        document.imageData.emplace(data.be16(3).raw(testing_support::storedZlib(differences)).bytes);
        return codec_test::rowBytes(*opened(document.bytes()).image, 0);
    };
    EXPECT_EQ(row(8, {250, 10, 20}), (Bytes{250, 4, 24}));
    EXPECT_EQ(row(16, {0x10, 0xFF, 0x00, 0x02, 0xEE, 0xFF}), (Bytes{17, 17, 0}));
    // 1.0, 0.5 and 0.0: the highest bytes 3F 3F 00, then 80 00 00, then zeros.
    EXPECT_EQ(row(32, {0x3F, 0x00, 0xC1, 0x80, 0x80, 0, 0, 0, 0, 0, 0, 0}), (Bytes{255, 188, 0}));
}

TEST(PsdPictures, ColoursOfEveryMode) {
    struct Case {
        int mode;
        int depth;
        std::vector<Bytes> samples;
        Bytes pixel;
    };
    const Case cases[] = {
        {9, 8, {{255}, {128}, {128}}, {255, 255, 255}},
        {9, 8, {{0}, {128}, {128}}, {0, 0, 0}},
        {9, 8, {{136}, {208}, {195}}, {8, 0, 251}},                        // red
        {9, 16, {{0x80, 0}, {0x80, 0}, {0x80, 0}}, {119, 119, 119}},       // L 50
        {9, 16, {{0x30, 0xD2}, {0xB4, 0x49}, {0x2A, 0xEC}}, {178, 0, 9}},  // a blue
        {8, 8, {{77}}, {77}},                                              // a duotone, in grey
        {7, 8, {{77}}, {77}},                                              // multichannel
        {7, 8, {{77}, {10}}, {77}},
        {7, 16, {{10, 0}, {20, 0}, {30, 0}, {40, 0}}, {30, 20, 10}},
        {1, 16, {{0x12, 0x34}, {0xFF, 0xFF}}, {18, 18, 18, 255}},  // grey with alpha
        {1, 16, {{0x12, 0xFF}, {0x80, 0x00}}, {19, 19, 19, 128}},
        {4, 16, {{0xFF, 0xFF}, {0x80, 0}, {0, 0}, {0x80, 0}, {0x40, 0}}, {0, 64, 128, 64}},
    };
    for (const Case& c : cases)
        EXPECT_EQ(pixelOf(documentOf(c.mode, c.depth, c.samples)), c.pixel) << c.mode << ' ' << c.depth;
    EXPECT_EQ(notesOf(opened(documentOf(8, 8, {{1}}).bytes()).result),
              "the inks of a duotone were not kept: it is shown in grey;");
    EXPECT_EQ(notesOf(opened(documentOf(7, 8, {{1}, {2}, {3}}).bytes()).result),
              "the first channels were shown as red, green and blue minus ink;");
}

// Colours of half-transparent pixels are stored mixed with white: 255 - (255 - color) x alpha / 255.
TEST(PsdPictures, MatteIsRemoved) {
    const auto matted = [](PsdDocument document) {
        document.layers = {layerOf({0, 0, 1, 1}, {{0, Bytes(static_cast<std::size_t>(document.depth / 8))}})};
        document.negativeCount = true;
        DibLoadOptions options;
        options.alpha = DIB_ALPHA_STORED;
        return pixelOf(document, options);
    };
    EXPECT_EQ(matted(documentOf(3, 8, {{255}, {205}, {155}, {100}})), (Bytes{0, 127, 255, 100}));
    EXPECT_EQ(matted(documentOf(3, 8, {{1}, {2}, {3}, {255}})), (Bytes{3, 2, 1, 255}));
    EXPECT_EQ(matted(documentOf(3, 8, {{1}, {2}, {3}, {0}})), (Bytes{3, 2, 1, 0}));
    EXPECT_EQ(matted(documentOf(1, 8, {{114}, {225}})), (Bytes{95, 95, 95, 225}));
    EXPECT_EQ(matted(documentOf(1, 16, {{0x80, 0}, {0x80, 0}})), (Bytes{0, 0, 0, 128}));
    EXPECT_EQ(matted(documentOf(1, 16, {{0xC0, 0}, {0x80, 0}})), (Bytes{128, 128, 128, 128}));
    EXPECT_EQ(matted(documentOf(1, 32, {{0x3F, 0x40, 0, 0}, {0x3F, 0, 0, 0}})), (Bytes{188, 188, 188, 128}));
    EXPECT_EQ(matted(documentOf(4, 8, {{155}, {255}, {255}, {255}, {100}})), (Bytes{255, 255, 0, 100}));
    EXPECT_EQ(matted(documentOf(9, 8, {{204}, {128}, {128}, {102}})), (Bytes{119, 119, 119, 102}));
    // More ink than alpha cannot be mixed: the colours are stored as they are.
    EXPECT_EQ(matted(documentOf(3, 8, {{255}, {205}, {150}, {100}})), (Bytes{150, 205, 255, 100}));
    EXPECT_EQ(matted(documentOf(1, 16, {{0x60, 0}, {0x80, 0}})), (Bytes{96, 96, 96, 128}));
    EXPECT_EQ(matted(documentOf(4, 8, {{155}, {255}, {255}, {100}, {100}})), (Bytes{100, 100, 61, 100}));
    // Without layers nothing says that the channel is transparency of the picture.
    EXPECT_EQ(pixelOf(documentOf(3, 8, {{255}, {205}, {155}, {100}})), (Bytes{155, 205, 255, 100}));
}

TEST(PsdPictures, MatteOfWholeRowsIsRemovedAtEveryKernelLevel) {
    PsdDocument document;
    document.width = 101;
    document.height = 3;
    document.channels = 4;
    document.negativeCount = true;
    document.addLayer({0, 0, 1, 1}, {0});
    std::vector<Bytes>& planes = document.planes = document.allPlanes();
    for (std::size_t i = 0; i < planes[3].size(); ++i) {
        const auto lightest = static_cast<unsigned char>(255 - planes[3][i]);  // no more ink than alpha
        for (std::size_t c = 0; c < 3; ++c) planes[c][i] = std::max(planes[c][i], lightest);
    }
    const Bytes bytes = document.bytes();
    for (const dib::KernelLevel level : dib::kKernelLevels) {
        dib::limitKernelLevel(level);
        const Opened load = opened(bytes);
        ASSERT_TRUE(load.isLoaded);
        for (int y = 0; y < document.height; ++y) {
            const Bytes row = codec_test::rowBytes(*load.image, y);
            for (std::size_t x = 0; x < 101; ++x) {
                const std::size_t at = static_cast<std::size_t>(y) * 101 + x;
                const double alpha = planes[3][at];
                for (std::size_t c = 0; c < 3; ++c) {
                    const double mixed = planes[c][at];
                    const double color = alpha == 0 ? mixed : 255 - (255 - mixed) * 255 / alpha;
                    EXPECT_NEAR(row[4 * x + 2 - c], std::max(color, 0.0), 0.5001) << x;
                }
                EXPECT_EQ(row[4 * x + 3], alpha);
            }
        }
    }
    dib::limitKernelLevel(dib::bestKernelLevel());
}

TEST(PsdPictures, BlocksSayWhatIsTransparent) {
    // Two channels, and layers in a block: another block says that the second channel is transparency.
    PsdDocument document = documentOf(1, 16, {{0x80, 0}, {0x80, 0}});
    document.layers = {layerOf({0, 0, 1, 1}, {{0, {1, 2}}})};
    document.layerBlock = "Lr16";
    EXPECT_EQ(pixelOf(document), (Bytes{128}));
    testing_support::ByteWriter section;
    section.be32(0).be32(0).raw(psdBlock("Mt16", {})).raw(psdBlock("Lr16", {0, 0}));
    document.layers.clear();
    document.layerSection.emplace(section.bytes);
    EXPECT_EQ(pixelOf(document), (Bytes{0, 0, 0, 128}));
}

}  // namespace
}  // namespace door_test

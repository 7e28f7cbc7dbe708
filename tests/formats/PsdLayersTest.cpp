// The layer and mask section: records, their log, pictures, and the references that callers get.
#include "tests/formats/PsdTest.h"

namespace psd_test {
namespace {

TEST(PsdLayers, AreSkippedUnlessEnabled) {
    PsdDocument document;
    document.addLayer({0, 0, 2, 3}, {0, 1, 2});
    Load load(document.bytes());
    EXPECT_TRUE(load.result);
    EXPECT_EQ(load.loader.GetLayerNum(), 0);
    EXPECT_EQ(afterHeader(load.log), "");
    // The bytes that are skipped may be anything.
    document.layers.clear();
    document.layerSection = Bytes(50, 0xEE);
    EXPECT_TRUE(Load(document.bytes()).result);
}

// A layer with every field, one of another signature, and one with a mask.
PsdDocument documentOfThreeLayers() {
    PsdDocument document;
    document.negativeCount = true;
    PsdLayer& first = document.addLayer({1, -2, 3, 4}, {-1, 0, 1, 2});
    first.key = "mul ";
    first.opacity = 128;
    first.clipping = 1;
    first.flags = 10;
    first.name = "First";
    first.blendRanges = true;
    first.additional = ByteWriter().text("8BIMluni").be32(6).fill(6).text("????abcd").be32(0).bytes;
    document.addLayer({0, 0, 0, 5}, {0}).signature = "8BIX";
    document.layers.back().name = "";
    document.addLayer({0, 0, 1, 1}, {0, -2}, PsdRectangle{5, 6, 7, 9}).key = "what";
    return document;
}

TEST(PsdLayers, LogOfTheRecords) {
    Load load(documentOfThreeLayers().bytes(), true);
    ASSERT_TRUE(load.result);
    EXPECT_EQ(afterHeader(load.log),
              "NumLayer: 3\nHasAlpha: 0\n"
              "Layer[0].NumChannel: 4\nLayer[0].Channel[0].ID: -1\nLayer[0].Channel[1].ID: 0\n"
              "Layer[0].Channel[2].ID: 1\nLayer[0].Channel[3].ID: 2\nLayer[0].BlendMode: mul \n"
              "Layer[0].Opacity: 128\nLayer[0].Clipping: 1\nLayer[0].Flags: 10\n"
              "Layer[0].GrayBlendSource: 0, 1\nLayer[0].GrayBlendDest: 2, 3\n"
              "Layer[0].Channel[0].BlendSource: 4, 5\nLayer[0].Channel[0].BlendDest: 6, 7\n"
              "Layer[0].Channel[1].BlendSource: 8, 9\nLayer[0].Channel[1].BlendDest: 10, 11\n"
              "Layer[0].Channel[2].BlendSource: 12, 13\nLayer[0].Channel[2].BlendDest: 14, 15\n"
              "Layer[0].Channel[3].BlendSource: 16, 17\nLayer[0].Channel[3].BlendDest: 18, 19\n"
              "Layer[1].NumChannel: 1\nLayer[1].Channel[0].ID: 0\n"
              "Layer[1].Opacity: 255\nLayer[1].Clipping: 0\nLayer[1].Flags: 0\n"
              "Layer[2].NumChannel: 2\nLayer[2].Channel[0].ID: 0\nLayer[2].Channel[1].ID: -2\n"
              "Layer[2].BlendMode: what\n"
              "Layer[2].Opacity: 255\nLayer[2].Clipping: 0\nLayer[2].Flags: 0\n");
}

TEST(PsdLayers, RecordsHaveTheFieldsOfTheFile) {
    Load load(documentOfThreeLayers().bytes(), true);
    ASSERT_TRUE(load.result);
    ASSERT_EQ(load.loader.GetLayerNum(), 3);
    const PSDLayerInfo& info = *load.loader.GetLayerInfo(0);
    EXPECT_EQ(info.top, 1);
    EXPECT_EQ(info.left, -2);
    EXPECT_EQ(info.bottom, 3);
    EXPECT_EQ(info.right, 4);
    EXPECT_EQ(info.channelCount, 4);
    EXPECT_EQ(info.channelIDs, (std::vector<PSD_CHANNEL_ID>{PSD_CHANNEL_TRANSPARENCY, PSD_CHANNEL_RED,
                                                            PSD_CHANNEL_GREEN, PSD_CHANNEL_BLUE}));
    EXPECT_EQ(info.opacity, 128);
    EXPECT_EQ(info.clipping, 1);
    EXPECT_EQ(info.flags, 10);
    EXPECT_STREQ(info.name, "First");
    EXPECT_FALSE(info.hasMask);
    EXPECT_EQ(info.grayBlendRange.destinationHigh, 3);
    ASSERT_EQ(info.channelBlendRanges.size(), 4U);
    EXPECT_EQ(info.channelBlendRanges[3].sourceLow, 16);
    EXPECT_EQ(load.loader.GetLayerBlendMode(0), 7);
    EXPECT_EQ(load.loader.GetLayerVisible(0), 1);

    // Another signature leaves the blend mode unknown, and so does another key.
    EXPECT_EQ(load.loader.GetLayerBlendMode(1), -1);
    EXPECT_EQ(load.loader.GetLayerBlendMode(2), -1);
    EXPECT_STREQ(load.loader.GetLayerInfo(1)->name, "");
    const PSDLayerInfo& masked = *load.loader.GetLayerInfo(2);
    EXPECT_TRUE(masked.hasMask);
    EXPECT_EQ(masked.maskTop, 5);
    EXPECT_EQ(masked.maskLeft, 6);
    EXPECT_EQ(masked.maskBottom, 7);
    EXPECT_EQ(masked.maskRight, 9);
    EXPECT_EQ(masked.maskDefaultColor, 255);
    EXPECT_EQ(masked.maskFlags, 2);
    EXPECT_TRUE(masked.channelBlendRanges.empty());
    EXPECT_EQ(masked.grayBlendRange.sourceHigh, 65535);
}

TEST(PsdLayers, RecordsStartEmpty) {
    const PSDLayerInfo info;
    EXPECT_EQ(info.blendMode, -1);
    EXPECT_EQ(info.name, nullptr);
    EXPECT_EQ(info.grayBlendRange.sourceLow, 0);
    EXPECT_EQ(info.grayBlendRange.sourceHigh, 65535);
    EXPECT_EQ(info.grayBlendRange.destinationLow, 0);
    EXPECT_EQ(info.grayBlendRange.destinationHigh, 65535);
    const PSDLayerImage image;
    EXPECT_EQ(image.image, nullptr);
    EXPECT_TRUE(image.channelImages.empty());
}

TEST(PsdLayers, ALayerImageReleasesWhatItHolds) {
    DibStream shared;
    {
        PSDLayerImage image;
        shared.AddRef();
        shared.AddRef();
        image.image = &shared;
        image.channelImages = {nullptr, &shared};
        const PSDLayerImage moved = std::move(image);
        EXPECT_EQ(shared.RefCount, 3U);
    }
    EXPECT_EQ(shared.RefCount, 1U);
}

TEST(PsdLayers, BlendModesByKey) {
    const std::pair<const char*, int> modes[] = {
        {"norm", 0},  {"dark", 1},  {"lite", 2},  {"hue ", 3},  {"sat ", 4},  {"colr", 5},  {"lum ", 6},
        {"mul ", 7},  {"scrn", 8},  {"diss", 9},  {"over", 10}, {"hLit", 11}, {"sLit", 12}, {"diff", 13},
        {"smud", 14}, {"div ", 15}, {"idiv", 16}, {"lddg", 18}, {"vLit", 19}, {"lLit", 20}, {"pLit", 21},
        {"hMix", 22}, {"pass", 23}, {"dkCl", 24}, {"lgCl", 25}, {"lbrn", -1}, {"NORM", -1},
    };
    PsdDocument document;
    for (const auto& mode : modes) document.addLayer({0, 0, 0, 0}, {}).key = mode.first;
    const Load load(document.bytes(), true);
    ASSERT_TRUE(load.result);
    for (int i = 0; i < static_cast<int>(std::size(modes)); ++i) {
        EXPECT_EQ(load.loader.GetLayerBlendMode(i), modes[i].second) << modes[i].first;
    }
}

TEST(PsdLayers, PicturesEqualTheReference) {
    for (const PsdDocument& variant : testing_support::psdVariants()) {
        for (const bool masks : {false, true}) {
            Load load(variant.bytes(), true, masks);
            ASSERT_TRUE(load.result);
            ASSERT_EQ(load.loader.GetLayerNum(), static_cast<int>(variant.layers.size()));
            for (std::size_t i = 0; i < variant.layers.size(); ++i) {
                const PsdLayer& layer = variant.layers[i];
                int left = 77;
                int top = 77;
                const DibPtr image(load.loader.GetLayerImage(static_cast<int>(i), left, top));
                EXPECT_EQ(left, layer.rectangle.left);
                EXPECT_EQ(top, layer.rectangle.top);
                const bool empty = layer.rectangle.width() == 0;
                ASSERT_EQ(image == nullptr, empty);
                if (empty) continue;
                std::vector<int> ids;
                std::vector<Bytes> planes;
                for (const auto& channel : layer.channels) {
                    ids.push_back(channel.id);
                    planes.push_back(channel.plane);
                }
                const DibPtr expected = expectedImage(variant.mode, variant.depth, layer.rectangle.width(),
                                                      layer.rectangle.height(), 32, ids, planes);
                EXPECT_TRUE(testing_support::sameImage(*image, *expected));
            }
        }
    }
}

TEST(PsdLayers, TransparencyIsTheAlphaByte) {
    PsdDocument document;
    PsdLayer& layer = document.addLayer({0, 0, 1, 1}, {-1, 0, 1, 2});
    for (int i = 0; i < 4; ++i) {
        layer.channels[static_cast<std::size_t>(i)].plane = {static_cast<unsigned char>(10 * i + 5)};
    }
    Load load(document.bytes(), true);
    ASSERT_TRUE(load.result);
    int left = 0;
    int top = 0;
    const DibPtr image(load.loader.GetLayerImage(0, left, top));
    EXPECT_EQ(codec_test::rowBytes(*image, 0), (Bytes{35, 25, 15, 5}));
}

TEST(PsdLayers, ReferencesOfLayerImages) {
    PsdDocument document;
    document.addLayer({0, 0, 2, 3}, {0, 1, 2});
    Load load(document.bytes(), true);
    int left = 0;
    int top = 0;
    DibStream* first = load.loader.GetLayerImage(0, left, top);
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(first->RefCount, 2U);
    EXPECT_EQ(load.loader.GetLayerImage(0, left, top), first);
    EXPECT_EQ(first->RefCount, 2U);
    EXPECT_EQ(first->Release(), 1U);
    EXPECT_EQ(load.loader.GetLayerImage(0, left, top), first);
    EXPECT_EQ(first->RefCount, 2U);
    // The next load drops the loader's reference; the caller's stays good.
    PsdDocument plain;
    EXPECT_TRUE(load.run(plain.bytes()));
    EXPECT_EQ(load.loader.GetLayerNum(), 0);
    EXPECT_EQ(load.loader.GetLayerImage(0, left, top), nullptr);
    EXPECT_EQ(first->RefCount, 1U);
    EXPECT_EQ(first->Header->biWidth, 3);
    first->Release();
}

TEST(PsdLayers, QueriesOutOfRange) {
    PsdDocument document;
    document.addLayer({4, 5, 6, 7}, {0}).flags = 2;
    Load load(document.bytes(), true);
    for (const int index : {-1, 1, INT32_MAX, INT32_MIN}) {
        int left = 9;
        int top = 9;
        EXPECT_EQ(load.loader.GetLayerImage(index, left, top), nullptr);
        EXPECT_EQ(left, 0);
        EXPECT_EQ(top, 0);
        EXPECT_EQ(load.loader.GetLayerBlendMode(index), -1);
        EXPECT_EQ(load.loader.GetLayerVisible(index), 0);
        EXPECT_EQ(load.loader.GetLayerInfo(index), nullptr);
    }
}

TEST(PsdLayers, LoadingTwiceReplacesTheLayers) {
    PsdDocument three;
    for (int i = 0; i < 3; ++i) three.addLayer({0, 0, 2, 2}, {0, 1, 2}).name = "old";
    PsdDocument one;
    one.addLayer({1, 1, 2, 3}, {0}).name = "new";
    Load load(three.bytes(), true);
    EXPECT_EQ(load.loader.GetLayerNum(), 3);
    EXPECT_TRUE(load.run(one.bytes()));
    ASSERT_EQ(load.loader.GetLayerNum(), 1);
    EXPECT_STREQ(load.loader.GetLayerInfo(0)->name, "new");
    EXPECT_FALSE(load.run(Bytes(10)));
    EXPECT_EQ(load.loader.GetLayerNum(), 0);
    EXPECT_EQ(load.loader.GetChannelNum(), 0);
}

TEST(PsdLayers, SectionsWithoutLayers) {
    // With and without room for the length of the list, and a length of 0.
    for (const Bytes& section : {Bytes{}, Bytes{1}, Bytes{1, 2}, Bytes{1, 2, 3}, Bytes{0, 0, 0, 0},
                                 Bytes{0, 0, 0, 0, 0xFF, 0xFF}, Bytes{0, 0, 0, 2, 0, 0}}) {
        PsdDocument document;
        document.layerSection = section;
        const Load load(document.bytes(), true, true);
        EXPECT_TRUE(load.result) << section.size();
        EXPECT_EQ(load.loader.GetLayerNum(), 0);
        EXPECT_TRUE(testing_support::sameImage(*load.image, *expectedMerged(document)));
    }
}

// One record without channels, whose additional data is announced `difference` bytes too long.
Bytes recordSection(int difference) {
    return ByteWriter()
        .be32(60)
        .be16(1)
        .fill(16)
        .be16(0)
        .text("8BIMnorm")
        .u8(1)
        .u8(2)
        .u8(3)
        .u8(4)
        .be32(static_cast<std::uint32_t>(12 + 14 + difference))
        .be32(0)
        .be32(0)
        .be32(0)
        .text("8BIMluni")
        .be32(2)
        .be16(7)
        .fill(8)
        .bytes;
}

TEST(PsdLayers, AdditionalInformationMustEndExactly) {
    PsdDocument document;
    for (const int difference : {-14, -1, 0, 1, 3, 13}) {
        document.layerSection = recordSection(difference);
        const Load load(document.bytes(), true);
        // Without the block, or with exactly it, the end is met.
        EXPECT_EQ(load.result, difference == 0 || difference == -14) << difference;
        if (!load.result) {
            EXPECT_EQ(load.code, kUntouched);
        }
    }
}

TEST(PsdLayers, MasksAreDecodedOnlyWhenEnabled) {
    PsdDocument document;
    document.addLayer({0, 0, 2, 2}, {0, -2, 1}, PsdRectangle{0, 0, 2, 3}).maskLength = 36;
    const Load whole(document.bytes(), true, true);
    EXPECT_TRUE(whole.result);
    // A mask of another compression: skipped by its length, or decoded and found wanting.
    Bytes broken = document.bytes();
    const PsdLayer& layer = document.layers[0];
    const Bytes mask =
        testing_support::psdImageData(document.compression, 8, 3, 2, {layer.channels[1].plane});
    const auto at = std::search(broken.begin(), broken.end(), mask.begin(), mask.end());
    ASSERT_NE(at, broken.end());
    at[1] = 2;
    EXPECT_TRUE(Load(broken, true, false).result);
    const Load refused(broken, true, true);
    EXPECT_FALSE(refused.result);
    EXPECT_EQ(refused.code, kUntouched);
    const std::string last = "Failed load Layer[0].Mask\n";
    EXPECT_EQ(refused.log.substr(refused.log.size() - last.size()), last);
}

TEST(PsdLayers, EmptyMasksAreSkippedByLength) {
    for (const PsdRectangle& mask :
         {PsdRectangle{0, 0, 0, 3}, PsdRectangle{0, 3, 2, 3}, PsdRectangle{2, 4, 1, 3}}) {
        PsdDocument document;
        PsdLayer& layer = document.addLayer({0, 0, 2, 2}, {0});
        layer.mask = mask;
        layer.channels.insert(layer.channels.begin(), {-2, {}});
        EXPECT_TRUE(Load(document.bytes(), true, true).result);
    }
}

TEST(PsdLayers, ChannelsThatDoNotDecodeFailTheLoad) {
    PsdDocument document;
    PsdLayer& layer = document.addLayer({0, 0, 2, 2}, {0, 1});
    Bytes broken = document.bytes();
    const Bytes green =
        testing_support::psdImageData(document.compression, 8, 2, 2, {layer.channels[1].plane});
    const auto at = std::search(broken.begin(), broken.end(), green.begin(), green.end());
    ASSERT_NE(at, broken.end());
    at[1] = 3;
    Load load(broken, true);
    EXPECT_FALSE(load.result);
    EXPECT_EQ(load.code, kUntouched);
    const std::string last = "Failed load Layer[0].Channel[1]\n";
    EXPECT_EQ(load.log.substr(load.log.size() - last.size()), last);
    int left = 0;
    int top = 0;
    EXPECT_EQ(load.loader.GetLayerImage(0, left, top), nullptr);
}

TEST(PsdLayers, ChannelLengthsPlaceTheNextChannel) {
    // The lengths say two bytes more than the data takes; the filler between the channels is passed over.
    PsdDocument document;
    PsdLayer& layer = document.addLayer({0, 0, 1, 1}, {0, 1});
    layer.channels[0].plane = {11, 0xEE, 0xEE};
    layer.channels[1].plane = {22, 0xEE, 0xEE};
    Load load(document.bytes(), true);
    ASSERT_TRUE(load.result);
    int left = 0;
    int top = 0;
    const DibPtr image(load.loader.GetLayerImage(0, left, top));
    EXPECT_EQ(codec_test::rowBytes(*image, 0), (Bytes{255, 22, 11, 255}));
}

TEST(PsdLayers, ChannelsBehindADecodedMaskBeginWhereItEnded) {
    // The mask's length covers its one sample and three bytes that look like a channel of their own.
    PsdDocument document;
    PsdLayer& layer = document.addLayer({0, 0, 1, 1}, {-2, 0}, PsdRectangle{0, 0, 1, 1});
    layer.channels[0].plane = {9, 0, 0, 0x21};
    layer.channels[1].plane = {0x42};
    for (const bool masks : {false, true}) {
        Load load(document.bytes(), true, masks);
        ASSERT_TRUE(load.result);
        int left = 0;
        int top = 0;
        const DibPtr image(load.loader.GetLayerImage(0, left, top));
        EXPECT_EQ(codec_test::rowBytes(*image, 0),
                  (Bytes{255, 255, static_cast<unsigned char>(masks ? 0x21 : 0x42), 255}));
    }
}

TEST(PsdLayers, RectanglesWhoseDifferenceIsNoInt) {
    PsdDocument document;
    PsdLayer& layer = document.addLayer({0, 0, 0, 0}, {});
    const auto load = [&](int top, int left, int bottom, int right) {
        layer.rectangle = {top, left, bottom, right};
        Load loaded(document.bytes(), true);
        EXPECT_EQ(loaded.code, kUntouched);
        return loaded.result;
    };
    EXPECT_FALSE(load(INT32_MIN, 0, INT32_MAX, 1));
    EXPECT_FALSE(load(0, INT32_MIN, 1, INT32_MAX));
    EXPECT_FALSE(load(-2, -2, INT32_MAX, INT32_MAX));
    EXPECT_TRUE(load(INT32_MAX, INT32_MAX, INT32_MIN, INT32_MIN));
    EXPECT_TRUE(load(0, INT32_MAX, 5, INT32_MIN));
    // Larger than a file of this length can honestly hold.
    EXPECT_FALSE(load(0, 0, 20000, 20000));
}

}  // namespace
}  // namespace psd_test

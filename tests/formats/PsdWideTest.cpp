// What the functions of DibFile.h read of PSD documents beyond the classic loader: large documents, ZIP, more
// colour modes and depths, and everything about layers.
#include "tests/formats/PsdWide.h"
#include "tests/support/PeakMemory.h"

namespace door_test {
namespace {

using testing_support::psdBlock;
using testing_support::PsdChannel;
using testing_support::psdPlane;
using testing_support::psdUnicodeName;

struct Listed {
    bool isRead;
    DibLayers layers;
    DibFileResult result;
};
Listed listed(const Bytes& bytes, const DibLoadOptions& options = {}) {
    Listed listed{false, {}, {}};
    listed.isRead = DibProbeLayers(bytes.data(), bytes.size(), &listed.layers, &options, &listed.result);
    return listed;
}

// A document with random planes and two layers, one with both masks.
PsdDocument rich(int mode, int depth, bool isLarge, PsdCompression compression, const char* block = "") {
    PsdDocument document;
    document.mode = mode;
    document.depth = depth;
    document.channels = mode == 4 ? 5 : mode == 1 ? 2 : 4;
    document.isLarge = isLarge;
    document.compression = compression;
    document.layerBlock = block;
    document.negativeCount = true;
    document.addLayer({0, 1, 3, 4}, {-1, 0, 1, 2, 3});
    PsdLayer& masked = document.addLayer({-2, -3, 1, 2}, {0, -1, -2}, PsdRectangle{1, 1, 3, 6});
    masked.secondMask.emplace(PsdRectangle{0, 0, 2, 3});
    masked.channels.push_back({-3, psdPlane(depth, 3, 2, 7)});
    masked.additional = psdUnicodeName(u"M\u00E4ske");
    return document;
}

// Every picture of a document: merged, layers, masks.
std::vector<DibLoadOptions> everyPicture() {
    return {{},
            layerNumber(0),
            layerNumber(1),
            layerNumber(1, DIB_LAYER_MASK),
            layerNumber(1, DIB_LAYER_SECOND_MASK)};
}

const char* blockOf(int depth) { return depth == 8 ? "Layr" : depth == 16 ? "Lr16" : "Lr32"; }

TEST(PsdWide, VersionPackingAndPlaceOfLayersDoNotMatter) {
    if (!formats::Inflater::isAvailable()) GTEST_SKIP() << kNoZip;
    for (const int mode : {1, 3, 4, 9}) {
        for (const int depth : {8, 16, 32}) {
            if (mode == 9 && depth == 32) continue;
            const Bytes plain = rich(mode, depth, false, PsdCompression::kRaw).bytes();
            for (const DibLoadOptions& options : everyPicture()) {
                const Opened expected = opened(plain, options);
                ASSERT_TRUE(expected.isLoaded) << expected.reason();
                for (int variant = 0; variant < 16; ++variant) {
                    const bool isLarge = variant % 2 == 1;
                    const char* block = variant / 2 % 2 == 1 ? blockOf(depth) : "";
                    const Bytes bytes = rich(mode, depth, isLarge, kPackings[variant / 4], block).bytes();
                    const Opened load = opened(bytes, options);
                    ASSERT_TRUE(load.isLoaded) << mode << ' ' << depth << ' ' << variant << load.reason();
                    EXPECT_TRUE(testing_support::sameImage(*load.image, *expected.image))
                        << mode << ' ' << depth << ' ' << variant << ' ' << options.layer;
                    DibFileInfo info;
                    ASSERT_TRUE(DibProbeMemory(bytes.data(), bytes.size(), &info, &options));
                    EXPECT_EQ(info.width, load.image->Header->biWidth);
                    EXPECT_EQ(info.height, load.image->Header->biHeight);
                    EXPECT_EQ(info.bitCount, load.image->Header->biBitCount);
                    EXPECT_EQ(info.layers, 2);
                }
            }
        }
    }
}

TEST(PsdWide, EverySourceGivesOnePicture) {
    if (!formats::Inflater::isAvailable()) GTEST_SKIP() << kNoZip;
    for (const DibLoadOptions& options : everyPicture()) {
        const Bytes bytes = rich(3, 16, true, PsdCompression::kZipPredicted, "Lr16").bytes();
        expectOneFromEverySource(bytes, ".psb", options);
        expectLoadProgress(bytes, 4, options);
        // A reading that ends at its first row does without the window of zlib.
        EXPECT_GT(failEveryLoad(bytes, options, true), 4);
    }
    EXPECT_GT(failEveryLoad(rich(9, 8, true, PsdCompression::kPackBits).bytes()), 4);
}

TEST(PsdWide, ProbeNamesColoursAndChannels) {
    const Bytes bytes = documentOf(9, 16, {{1, 1}, {1, 1}, {1, 1}}).bytes();
    DibFileInfo info;
    ASSERT_TRUE(DibProbeMemory(bytes.data(), bytes.size(), &info));
    EXPECT_STREQ(info.colors, "Lab");
    EXPECT_EQ(info.channels, 3);
    EXPECT_EQ(info.channelBits, 16);
    EXPECT_EQ(info.storedBits, 48);
}

TEST(PsdWide, MissingPartsOfLayers) {
    PsdDocument document = documentOf(3, 8, {{0}, {0}, {0}});
    document.layers = {layerOf({0, 0, 1, 2}, {{0, {10}}, {2, {30}}}), layerOf({0, 0, 0, 0}, {{-1, {}}})};
    EXPECT_EQ(pixelOf(document, layerNumber(0)), (Bytes{30, 255, 10, 255}));
    EXPECT_EQ(opened(document.bytes(), layerNumber(1)).reason(), "layer 1 has no pixels");
    EXPECT_EQ(opened(document.bytes(), layerNumber(0, DIB_LAYER_MASK)).reason(),
              "layer 0 has no mask with pixels");
    EXPECT_EQ(opened(document.bytes(), layerNumber(0, DIB_LAYER_SECOND_MASK)).reason(),
              "layer 0 has no second mask with pixels");
    EXPECT_EQ(opened(document.bytes(), layerNumber(0, static_cast<DibLayerPart>(3))).reason(),
              "part is 3, but must be 0 to 2");
    EXPECT_EQ(opened(document.bytes(), layerNumber(2)).reason(), "there is no layer 2: the file has 2");
}

TEST(PsdWide, LayersAreLimitedByTheirOwnSize) {
    PsdDocument document = documentOf(3, 8, {{0}, {0}, {0}});
    document.layers = {layerOf({0, 0, 10, 10}, {{0, {10}}})};
    DibLoadOptions options = layerNumber(0);
    options.mostPixels = 99;
    EXPECT_EQ(opened(document.bytes(), options).reason(),
              "the picture of 10x10 pixels needs 100 pixels; the limit of pixels is 99");
    options.mostPixels = 100;
    EXPECT_TRUE(opened(document.bytes(), options).isLoaded);
}

TEST(PsdWide, ListOfLayers) {
    const Listed list = listed(rich(3, 8, true, PsdCompression::kZip).bytes());
    ASSERT_TRUE(list.isRead) << list.result.reason;
    ASSERT_EQ(list.layers.count, 2U);
    const DibLayer& first = list.layers.items[0];
    EXPECT_STREQ(first.name, "Layer");
    EXPECT_EQ(first.left, 1);
    EXPECT_EQ(first.top, 0);
    EXPECT_EQ(first.width, 3);
    EXPECT_EQ(first.height, 3);
    EXPECT_EQ(first.opacity, 255);
    EXPECT_EQ(first.blendMode, 0);
    EXPECT_TRUE(first.isVisible);
    EXPECT_FALSE(first.masks[0].exists);
    const DibLayer& second = list.layers.items[1];
    EXPECT_STREQ(second.name, "M\xC3\xA4ske");
    EXPECT_EQ(second.left, -3);
    EXPECT_EQ(second.top, -2);
    EXPECT_TRUE(second.masks[0].exists);
    EXPECT_TRUE(second.masks[0].isDisabled);
    EXPECT_EQ(second.masks[0].left, 1);
    EXPECT_EQ(second.masks[0].top, 1);
    EXPECT_EQ(second.masks[0].width, 5);
    EXPECT_EQ(second.masks[0].height, 2);
    EXPECT_EQ(second.masks[0].outside, 255);
    EXPECT_TRUE(second.masks[1].exists);
    EXPECT_FALSE(second.masks[1].isDisabled);
    EXPECT_EQ(second.masks[1].width, 3);
    EXPECT_EQ(second.masks[1].height, 2);
    EXPECT_EQ(second.masks[1].outside, 7);
}

TEST(PsdWide, LayersAreChosenByName) {
    if (!formats::Inflater::isAvailable()) GTEST_SKIP() << kNoZip;
    const Bytes bytes = rich(3, 8, true, PsdCompression::kZip).bytes();
    for (int layer = 0; layer < 2; ++layer) {
        const Listed list = listed(bytes);
        DibLoadOptions byNumber;
        byNumber.layer = layer;
        DibLoadOptions byName;
        byName.layerName = list.layers.items[layer].name;
        const Opened number = opened(bytes, byNumber);
        const Opened name = opened(bytes, byName);
        ASSERT_TRUE(name.isLoaded) << name.result.reason;
        EXPECT_TRUE(testing_support::sameImage(*name.image, *number.image));
    }
    DibLoadOptions options;
    options.layerName = "layer";
    const Opened load = opened(bytes, options);
    EXPECT_EQ(load.result.code, 8);
    EXPECT_EQ(load.reason(), "the file has no layer \"layer\"");
    options.layerName = nullptr;
    options.pageName = "Layer";
    EXPECT_EQ(opened(bytes, options).reason(),
              "there is no page \"Layer\": pages of psd files have no names");
}

TEST(PsdWide, ListsOfOtherFilesAndFailures) {
    const Bytes bitmap = {'B', 'M'};
    EXPECT_TRUE(listed(bitmap).isRead);
    EXPECT_EQ(listed(bitmap).layers.count, 0U);
    const Bytes text = {'x', 'y'};
    EXPECT_EQ(listed(text).result.code, 7);
    const Bytes bytes = rich(3, 8, false, PsdCompression::kRaw).bytes();
    DibLoadOptions options;
    options.mostLayers = 1;
    EXPECT_STREQ(listed(bytes, options).result.reason, "the document has 2 layers; the limit of layers is 1");
    DibFileResult result;
    EXPECT_FALSE(DibProbeLayers(bytes.data(), bytes.size(), nullptr, nullptr, &result));
    EXPECT_STREQ(result.reason, "there is no list to fill");
    DibLayers layers;
    EXPECT_FALSE(DibProbeLayers("absent.psd", &layers));
    EXPECT_FALSE(DibProbeLayers(L"absent.psd", &layers));
    const codec_test::TemporaryFile file(".psd", bytes);
    EXPECT_TRUE(DibProbeLayers(file.path(), &layers));
    EXPECT_EQ(layers.count, 2U);
    Bytes other = bytes;
    other[5] = 9;
    EXPECT_STREQ(listed(other).result.reason, "version 9 is not known");
    int failures = testing_support::forEachFailingAllocation(
        [] {}, [&] { DibProbeLayers(bytes.data(), bytes.size(), &layers, nullptr, &result); },
        [&](bool failureMet) {
            EXPECT_EQ(result.code, failureMet ? 2 : 0);
            EXPECT_EQ(layers.count, failureMet ? 0U : 2U);
            layers = {};
        });
    EXPECT_GT(failures, 3);
}

TEST(PsdWide, NamesAreUtf8) {
    PsdDocument document = documentOf(3, 8, {{0}, {0}, {0}});
    const auto nameOf = [&](const std::string& plain, const Bytes& additional) {
        document.layers = {layerOf({0, 0, 1, 1}, {{0, {1}}})};
        document.layers[0].name = plain;
        document.layers[0].additional = additional;
        const Listed list = listed(document.bytes());
        return std::string(list.layers.count == 1 ? list.layers.items[0].name : "?");
    };
    EXPECT_EQ(nameOf("plain", {}), "plain");
    EXPECT_EQ(nameOf("\x8A", {}), "\xEF\xBF\xBD");
    EXPECT_EQ(nameOf("plain", psdUnicodeName(u"\u56FE\u5C42 1")), "\xE5\x9B\xBE\xE5\xB1\x82 1");
    EXPECT_EQ(nameOf("plain", psdUnicodeName(u"\U0001F600.")), "\xF0\x9F\x98\x80.");
    EXPECT_EQ(nameOf("plain", psdUnicodeName({0xD83D, 'a'})),
              "\xEF\xBF\xBD"
              "a");
    EXPECT_EQ(nameOf("plain", psdUnicodeName({0xDE00, 'a', 0xD83D})),
              "\xEF\xBF\xBD"
              "a\xEF\xBF\xBD");
    EXPECT_EQ(nameOf("plain", psdUnicodeName({'a', 0, 'b'})), "a");
    EXPECT_EQ(nameOf("plain", psdUnicodeName(std::u16string(300, u'\u56FE'))).size(), 765U);
    // A count beyond the block.
    EXPECT_EQ(nameOf("plain", psdBlock("luni", {0, 0, 0, 9, 0, 'x', 0, 'y'})), "xy");
    // Another block before, filled up to an odd place.
    Bytes blocks = psdBlock("lyid", {0, 0, 0, 1});
    blocks.push_back(0);
    const Bytes name = psdUnicodeName(u"z");
    blocks.insert(blocks.end(), name.begin(), name.end());
    EXPECT_EQ(nameOf("plain", blocks), "z");
}

TEST(PsdWide, GroupsHoldTheLayersBelowTheirName) {
    PsdDocument document = documentOf(3, 8, {{0}, {0}, {0}});
    const auto add = [&](const char* name, unsigned char divider) {
        PsdLayer layer;
        layer.name = name;
        if (divider != 0) layer.additional = psdBlock("lsct", {0, 0, 0, divider});
        document.layers.push_back(layer);
    };
    add("background", 0);
    add("end", 3);
    add("inside", 0);
    add("end", 3);
    add("deep", 0);
    add("closed", 2);
    add("open", 1);
    add("top", 0);
    const Listed list = listed(document.bytes());
    ASSERT_EQ(list.layers.count, 8U);
    const int kinds[] = {0, 2, 0, 2, 0, 1, 1, 0};
    const int groups[] = {-1, 6, 6, 5, 5, 6, -1, -1};
    for (int i = 0; i < 8; ++i) {
        EXPECT_EQ(list.layers.items[i].kind, kinds[i]) << i;
        EXPECT_EQ(list.layers.items[i].group, groups[i]) << i;
    }
}

TEST(PsdWide, DocumentsWithoutMergedPictureAreNoted) {
    PsdDocument document = documentOf(3, 8, {{1}, {2}, {3}});
    document.resources = {{1057, "", {0, 0, 0, 1, 0}}};
    EXPECT_EQ(notesOf(opened(document.bytes()).result), "the document was saved without its merged picture;");
    document.resources[0].data[4] = 1;
    EXPECT_EQ(notesOf(opened(document.bytes()).result), "");
}

TEST(PsdWide, ResourcesOfEveryTypeAreSkipped) {
    PsdDocument document = documentOf(3, 8, {{1}, {2}, {3}});
    testing_support::ByteWriter section;
    section.text("MeSa").be16(999).be16(0).be32(3).text("abc").u8(0);
    section.text("8BIM").be16(1005).be16(0).be32(16).be32(90 << 16).be32(0).be32(91 << 16).be32(0);
    document.resourceSection.emplace(section.bytes);
    const Opened load = opened(document.bytes());
    ASSERT_TRUE(load.isLoaded) << load.reason();
    EXPECT_EQ(load.result.metadata.xResolution, 90);
    EXPECT_EQ(load.result.metadata.yResolution, 91);
}

TEST(PsdWide, RefusalsHaveReasons) {
    const auto reasonFor = [](const PsdDocument& document) {
        return std::string(opened(document.bytes()).reason());
    };
    EXPECT_EQ(reasonFor(documentOf(6, 8, {{1}})), "colour mode 6 is not known");
    EXPECT_EQ(reasonFor(documentOf(9, 32, {{1, 1, 1, 1}})), "Lab documents of 32 bits are not read");
    EXPECT_EQ(reasonFor(documentOf(8, 16, {{1, 1}})), "duotone documents of 16 bits are not read");
    PsdDocument packed = documentOf(3, 8, {{1}, {2}, {3}});
    packed.imageData.emplace(Bytes{0, 4});
    EXPECT_EQ(reasonFor(packed), "the compression 4 of the pixels is not known");
    packed.imageData.emplace(Bytes{0});
    EXPECT_EQ(reasonFor(packed), "the file ends before its merged picture");
    packed.channels = 0;
    EXPECT_EQ(reasonFor(packed), "the document has no channels");
}

TEST(PsdWide, DamagedLayersAreRefusedOrKept) {
    PsdDocument document = documentOf(3, 8, {{1}, {2}, {3}});
    document.compression = PsdCompression::kPackBits;
    document.layers = {layerOf({0, 0, 4, 2}, {{0, {10}}, {1, {20}}, {2, {30}}})};
    Bytes bytes = document.bytes();
    // The third row of red: the run of two becomes one of one.
    const Bytes red = {0, 1, 0, 3, 0, 3, 0, 3, 0, 3};
    const auto at = std::search(bytes.begin(), bytes.end(), red.begin(), red.end());
    ASSERT_NE(at, bytes.end());
    at[10 + 2 * 3 + 1] = 0x00;
    const Opened refused = opened(bytes, layerNumber(0));
    EXPECT_EQ(refused.reason(), "row 3 of channel 1 is damaged or missing (in row 3 of 4)");
    EXPECT_EQ(refused.image->Header, nullptr);
    DibLoadOptions options = layerNumber(0);
    options.damage = DIB_DAMAGE_KEEP;
    const Opened kept = opened(bytes, options);
    ASSERT_TRUE(kept.isLoaded) << kept.reason();
    EXPECT_EQ(codec_test::rowBytes(*kept.image, 1), (Bytes{30, 20, 10, 255, 30, 20, 10, 255}));
    EXPECT_EQ(codec_test::rowBytes(*kept.image, 2), Bytes(8, 0));
}

// A writer counts two bytes of fill after a name that it does not write. What follows begins before the end.
TEST(PsdWide, FillThatIsOnlyCountedHidesNothing) {
    PsdDocument document = documentOf(3, 8, {{1}, {2}, {3}});
    document.compression = PsdCompression::kPackBits;
    for (const Bytes& red : {Bytes{10}, Bytes{40}}) {
        PsdLayer layer = layerOf({0, 0, 1, 2}, {{0, red}, {1, {20}}, {2, {30}}});
        layer.name = "3";
        layer.additional = psdUnicodeName(u"3");
        layer.additional.resize(18);  // without the fill
        document.layers.push_back(layer);
    }
    Bytes bytes = document.bytes();
    // The lengths of the extra data: of masks, ranges, a name and a block of 18 bytes.
    const Bytes length = {0, 0, 0, 30, 0, 0, 0, 0, 0, 0, 0, 0};
    const auto first = std::search(bytes.begin(), bytes.end(), length.begin(), length.end());
    ASSERT_NE(first, bytes.end());
    const auto second = std::search(first + 1, bytes.end(), length.begin(), length.end());
    ASSERT_NE(second, bytes.end());
    second[3] = 32;  // the first bytes of the planes, 0 and 1, say that they are packed
    const Opened lower = opened(bytes, layerNumber(0));
    const Opened upper = opened(bytes, layerNumber(1));
    ASSERT_TRUE(lower.isLoaded) << lower.reason();
    ASSERT_TRUE(upper.isLoaded) << upper.reason();
    EXPECT_EQ(firstPixel(*lower.image), (Bytes{30, 20, 10, 255}));
    EXPECT_EQ(firstPixel(*upper.image), (Bytes{30, 20, 40, 255}));
}

TEST(PsdWide, EveryTruncationIsSurvived) {
    for (const PsdCompression compression : kPackings) {
        const bool isLarge = compression >= PsdCompression::kZip;
        const Bytes bytes = rich(3, 16, isLarge, compression, isLarge ? "Lr16" : "").bytes();
        codec_test::forEveryTruncation(bytes, [&](const Bytes& cut, std::size_t length) {
            for (DibLoadOptions options : everyPicture()) {
                options.name = "x.psd";
                for (const DibDamagePolicy policy : {DIB_DAMAGE_REFUSE, DIB_DAMAGE_KEEP}) {
                    options.damage = policy;
                    const Opened load = opened(cut, options);
                    EXPECT_EQ(load.isLoaded, load.reason().empty()) << length;
                    EXPECT_EQ(load.isLoaded, load.image->Header != nullptr) << length;
                }
            }
            const Listed list = listed(cut);
            EXPECT_EQ(list.isRead, list.result.code == 0) << length;
            EXPECT_LE(list.layers.count, 2U);
        });
    }
}

TEST(PsdWide, ExtremeBytesAreSurvived) {
    for (const PsdCompression compression : {PsdCompression::kPackBits, PsdCompression::kZipPredicted}) {
        const Bytes bytes = rich(4, 8, true, compression, "Layr").bytes();
        for (const DibLoadOptions& options : everyPicture())
            expectExtremeBytesAreSurvived(bytes, "x.psb", options);
        codec_test::forEveryExtremeByte(
            bytes, 400, [&](const Bytes& damaged, std::size_t at, unsigned value) {
                const Listed list = listed(damaged);
                EXPECT_EQ(list.isRead, list.result.code == 0) << at << ": " << value;
            });
    }
}

// A few bytes that announce a picture of nearly two gigabytes.
TEST(PsdWide, BombsCostNoMemory) {
    if (!formats::Inflater::isAvailable()) GTEST_SKIP() << kNoZip;
    for (const PsdCompression compression : kPackings) {
        PsdDocument document = documentOf(3, 8, {{1}, {2}, {3}});
        document.isLarge = true;
        document.compression = compression;
        document.imageData =
            Bytes{0, static_cast<unsigned char>(compression), 0x78, 0x01, 1, 0, 0, 0xFF, 0xFF};
        document.width = 26000;
        document.height = 26000;
        const Bytes bytes = document.bytes();
        const std::size_t growth = testing_support::peakGrowth([&] {
            const Opened load = opened(bytes);
            EXPECT_FALSE(load.isLoaded);
            EXPECT_EQ(load.reason(), "row 1 of channel 1 is damaged or missing");
        });
        if (testing_support::kMeasuresMemory) {
            EXPECT_LT(growth, std::size_t{8} << 20);
        }
    }
}

// The same picture in both versions, and layers in both depths.
TEST(PsdWide, SamplesInTwoFormsShowTheSame) {
    const auto folder = testing_support::samplesFolder() / "psd";
    const auto load = [&](const std::string& name, const DibLoadOptions& options) {
        DibPtr image(new DibStream);
        DibFileResult result;
        EXPECT_TRUE(DibLoadFile((folder / name).c_str(), image.get(), &options, &result))
            << name << result.reason;
        return image;
    };
    const std::string tools = "psd-tools+psd-tools/tests/psd_files/";
    const std::string oov = "oov+psd/testdata/";
    if (!std::filesystem::exists(folder / (tools + "masks.psb"))) GTEST_SKIP() << "no samples";
    // The merged pictures of two of these were made with different fonts.
    for (const auto& [one, other] : {std::pair(tools + "masks.psb", tools + "masks.psd"),
                                     std::pair(tools + "masks2.psb", tools + "masks2.psd"),
                                     std::pair(oov + "psb_compat.psb", oov + "psd_compat.psd")}) {
        DibFileInfo info;
        ASSERT_TRUE(DibProbeFile((folder / one).c_str(), &info));
        int compared = 0;
        for (int layer = 0; layer < info.layers; ++layer) {
            DibStream probe;
            const DibLoadOptions options = layerNumber(layer);
            if (!DibLoadFile((folder / one).c_str(), &probe, &options)) continue;
            const auto shown = testing_support::pictureOf(*load(one, options));
            const auto wanted = testing_support::pictureOf(*load(other, options));
            EXPECT_TRUE(testing_support::samePicture(shown, wanted)) << one << layer;
            ++compared;
        }
        EXPECT_GT(compared, 2);
    }
    // A gradient begins with the same colour in every mode.
    const auto corner = [&](const char* name) { return firstPixel(*load(tools + "colormodes/" + name, {})); };
    EXPECT_EQ(corner("4x4_8bit_rgb.psd"), (Bytes{178, 0, 10}));
    EXPECT_EQ(corner("4x4_16bit_lab.psd"), (Bytes{178, 0, 9}));
    EXPECT_EQ(corner("4x4_16bit_rgb.psd"), (Bytes{178, 0, 10}));
    EXPECT_EQ(corner("4x4_32bit_rgb.psd"), (Bytes{178, 0, 10}));
    const auto small = [&](const char* name) { return testing_support::pictureOf(*load(tools + name, {})); };
    EXPECT_TRUE(testing_support::samePicture(small("32bit5x5.psb"), small("16bit5x5.psb")));
}

}  // namespace
}  // namespace door_test

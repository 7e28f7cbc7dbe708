// Documents that are cut, lie about their lengths or find no memory.
#include <chrono>

#include "tests/formats/PsdTest.h"

namespace psd_test {
namespace {

// A document of every feature.
PsdDocument everything(PsdCompression compression) {
    PsdDocument document;
    document.compression = compression;
    document.channels = 4;
    document.colorMode = Bytes(768, 5);
    document.resources = {{1036, "thumb", Bytes(31, 2)}, {1026, "", Bytes(6, 1)}};
    document.negativeCount = true;
    PsdLayer& layer = document.addLayer({0, 0, 3, 4}, {-1, 0, 1, 2, -2}, PsdRectangle{1, 1, 3, 6});
    layer.blendRanges = true;
    layer.additional = {'8', 'B', 'I', 'M', 'l', 'u', 'n', 'i', 0, 0, 0, 6, 1, 2, 3, 4, 5, 6};
    document.addLayer({0, 0, 2, 2}, {0}).name = "Another layer";
    return document;
}

// Whether both loads show the same to a caller.
void expectSamePicture(DibStream& a, DibStream& b) {
    ASSERT_EQ(a.Header == nullptr, b.Header == nullptr);
    if (a.Header != nullptr) {
        EXPECT_TRUE(testing_support::sameImage(a, b));
    }
}

TEST(PsdHostile, EveryTruncationFails) {
    for (const PsdDocument& variant : testing_support::psdVariants()) {
        const Bytes bytes = variant.bytes();
        codec_test::forEveryTruncation(bytes, [&](const Bytes& cut, std::size_t length) {
            for (const bool layers : {false, true}) {
                Load load(cut, layers, layers);
                EXPECT_FALSE(load.result) << variant.seed << " cut at " << length;
                const bool known = load.code == kUntouched || load.code == 6 || load.code == 7;
                EXPECT_TRUE(known) << load.code;
            }
        });
    }
}

TEST(PsdHostile, TruncationCodes) {
    PsdDocument document;
    document.resources = {{1, "", Bytes(4)}};
    const Bytes bytes = document.bytes();
    const std::size_t picture = bytes.size() - 2 - 60;
    codec_test::forEveryTruncation(bytes, [&](const Bytes& cut, std::size_t length) {
        const int expected = length < 4             ? 6
                             : length < 26          ? 7
                             : length < picture     ? kUntouched
                             : length < picture + 2 ? 6
                                                    : kUntouched;
        EXPECT_EQ(Load(cut).code, expected) << length;
    });
}

TEST(PsdHostile, EveryLengthAtItsExtremes) {
    for (const PsdCompression compression : {PsdCompression::kRaw, PsdCompression::kPackBits}) {
        std::vector<testing_support::PsdLengthField> fields;
        const PsdDocument document = everything(compression);
        const Bytes good = document.bytes(&fields);
        ASSERT_TRUE(Load(good, true, true).result);
        ASSERT_EQ(fields.size(), 3U + 1 + 5 + 1 + 2 + 1 + 5 + 4 + 1 + 1 + 4);
        for (const auto& field : fields) {
            for (const std::uint64_t value :
                 {0x0ULL, 0x1ULL, 0x7FULL, 0xFFULL, 0x7FFFULL, 0x8000ULL, 0xFFFFULL, 0x10000ULL,
                  0x7FFFFFFFULL, 0x80000000ULL, 0xFFFFFFFFULL}) {
                if (value >> (8 * field.bytes) != 0) continue;
                Bytes bad = good;
                for (std::size_t i = 0; i < field.bytes; ++i) {
                    bad[field.offset + i] = static_cast<unsigned char>(value >> (8 * (field.bytes - 1 - i)));
                }
                testing_support::resetLargestAllocation();
                const long live = testing_support::liveAllocations();
                const auto start = std::chrono::steady_clock::now();
                {
                    const Load first(bad, true, true);
                    const Load second(bad, true, true);
                    EXPECT_EQ(first.result, second.result);
                    EXPECT_EQ(first.log, second.log);
                    expectSamePicture(*first.image, *second.image);
                }
                EXPECT_EQ(testing_support::liveAllocations(), live);
                EXPECT_LT(testing_support::largestAllocation(), 80U << 20) << field.offset << " " << value;
                EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
            }
        }
    }
}

TEST(PsdHostile, EveryByteMayBeWrong) {
    for (const PsdCompression compression : {PsdCompression::kRaw, PsdCompression::kPackBits}) {
        const Bytes good = everything(compression).bytes();
        const long live = testing_support::liveAllocations();
        for (std::size_t i = 0; i < good.size(); ++i) {
            for (const int change : {0x01, 0x80, 0xFF}) {
                Bytes bad = good;
                bad[i] ^= static_cast<unsigned char>(change);
                // Sizes in the hundreds of megabytes are covered by the lengths above.
                if (i >= 14 && i < 22 && bad[i] > 1) continue;
                Load load(bad, true, true);
                if (load.result) {
                    EXPECT_NE(load.image->Header, nullptr);
                }
            }
        }
        EXPECT_EQ(testing_support::liveAllocations(), live);
    }
}

TEST(PsdHostile, EveryAllocationMayFail) {
    const Bytes bytes = everything(PsdCompression::kPackBits).bytes();
    const DibPtr expected = expectedMerged(everything(PsdCompression::kPackBits));
    dib::FilePtr file;
    DibPtr image;
    std::unique_ptr<DibPSDLoader> loader;
    bool result = false;
    const int failures = testing_support::forEachFailingAllocation(
        [&] {
            file = testing_support::openBytes(bytes);
            image.reset(new DibStream);
            image->ErrorCode = kUntouched;
            loader = std::make_unique<DibPSDLoader>(image.get());
            loader->EnableLayer(true);
            loader->EnableMask(true);
        },
        [&] { result = loader->Load(file.get()); },
        [&](bool failureMet) {
            // Memory that only makes a load faster may be missing.
            EXPECT_TRUE(result || failureMet);
            EXPECT_EQ(image->ErrorCode, result || image->Header != nullptr ? kUntouched : 2);
            if (result) {
                EXPECT_TRUE(testing_support::sameImage(*image, *expected));
            }
            // The same loader is good for another load.
            EXPECT_TRUE(loader->Load(file.get()));
            EXPECT_EQ(loader->GetLayerNum(), 2);
            loader.reset();
            image.reset();
            file.reset();
        });
    EXPECT_GT(failures, 20);
}

TEST(PsdHostile, EveryAllocationOfLoadPSDMayFail) {
    const codec_test::TemporaryFile file(".psd", everything(PsdCompression::kRaw).bytes());
    DibPtr image;
    bool result = false;
    testing_support::forEachFailingAllocation(
        [&] { image.reset(new DibStream); },
        [&] { result = LoadPSD(file.path(), image.get(), nullptr, nullptr); },
        [&](bool failureMet) {
            EXPECT_TRUE(result || failureMet);
            image.reset();
        });
}

TEST(PsdHostile, LayerCountsBeyondTheFile) {
    PsdDocument document;
    for (const unsigned count : {0x7FFFU, 0x8000U, 0x8001U, 0xFFFFU, 1U}) {
        document.layerSection = ByteWriter().be32(2).be16(count).bytes;
        document.imageData = Bytes{};
        testing_support::resetLargestAllocation();
        const Load load(document.bytes(), true, true);
        EXPECT_FALSE(load.result);
        // No record is there, so the picture data is looked for and missed.
        EXPECT_EQ(load.code, 6);
        EXPECT_EQ(load.loader.GetLayerNum(), 0);
        EXPECT_LT(testing_support::largestAllocation(), 10000U);
    }
    // -32768 has no positive counterpart of 16 bits: the bit that the alpha line reports shows for once.
    document.layerSection = ByteWriter().be32(2).be16(0x8000).bytes;
    EXPECT_EQ(afterHeader(Load(document.bytes(), true).log), "NumLayer: 32768\nHasAlpha: 1\n");
}

TEST(PsdHostile, ChannelCountsBeyondTheFile) {
    PsdDocument document;
    document.imageData = Bytes{};
    document.layerSection = ByteWriter().be32(40).be16(1).fill(16).be16(0xFFFF).be16(0).be32(9).bytes;
    const Load load(document.bytes(), true, true);
    EXPECT_FALSE(load.result);
    EXPECT_EQ(load.loader.GetLayerInfo(0)->channelCount, 65535);
    EXPECT_LT(load.loader.GetLayerInfo(0)->channelIDs.size(), 4U);
}

TEST(PsdHostile, ReadingTheSameBytesAgainAndAgainEnds) {
    // Every channel says that it is 0 bytes long, so all of them decode the same rows: 4000 layers times 1
    // MiB.
    constexpr int kLayers = 4000;
    constexpr int kSide = 1024;
    ByteWriter section;
    section.be32(1).be16(kLayers);
    for (int i = 0; i < kLayers; ++i) {
        section.be32(0).be32(0).be32(kSide).be32(kSide).be16(1).be16(0).be32(0).text("8BIMnorm").fill(4);
        section.be32(12).fill(12);
    }
    section.be16(1);
    for (int row = 0; row < kSide; ++row) section.be16(16);
    for (int row = 0; row < kSide; ++row) {
        for (int packet = 0; packet < 8; ++packet) section.u8(0x81).u8(9);
    }
    PsdDocument document;
    document.layerSection = section.bytes;
    const auto start = std::chrono::steady_clock::now();
    const Load load(document.bytes(), true);
    EXPECT_FALSE(load.result);
    EXPECT_EQ(load.code, kUntouched);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
    EXPECT_TRUE(Load(document.bytes()).result);
}

TEST(PsdHostile, Bombs) {
    const auto bombs = testing_support::samplesOf("psd");
    if (bombs.empty()) GTEST_SKIP() << "no samples";
    int count = 0;
    for (const auto& sample : bombs) {
        if (sample.source != "bombs") continue;
        ++count;
        const Load load(testing_support::readFileBytes(sample.path), true, true);
        EXPECT_FALSE(load.result);
        EXPECT_EQ(load.code, 2) << sample.path;
        EXPECT_EQ(load.image->Header, nullptr);
    }
    EXPECT_EQ(count, 2);
}

}  // namespace
}  // namespace psd_test

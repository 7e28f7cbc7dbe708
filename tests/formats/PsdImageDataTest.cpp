// Picture data: planes into pixels.
#include "dib/Kernels.h"
#include "tests/formats/PsdTest.h"

namespace psd_test {
namespace {

TEST(PsdImageData, EveryVariantEqualsTheReference) {
    for (const PsdDocument& variant : testing_support::psdVariants()) {
        for (const bool layers : {false, true}) {
            const Load load(variant.bytes(), layers, layers);
            ASSERT_TRUE(load.result) << variant.seed << load.log;
            EXPECT_EQ(load.code, kUntouched);
            const DibPtr expected = expectedMerged(variant);
            EXPECT_EQ(testing_support::pixelBytes(*load.image), testing_support::pixelBytes(*expected))
                << variant.seed;
        }
    }
}

TEST(PsdImageData, WidePicturesEqualTheReference) {
    for (const int channels : {1, 3, 4, 7}) {
        for (const int width : {63, 1000, 40001}) {
            for (const int depth : {8, 16, 32}) {
                for (const PsdCompression compression : {PsdCompression::kRaw, PsdCompression::kPackBits}) {
                    PsdDocument wide;
                    wide.channels = channels;
                    wide.width = width;
                    wide.height = 5;
                    wide.depth = depth;
                    wide.compression = compression;
                    wide.seed = static_cast<std::uint64_t>(width + depth);
                    if (compression == PsdCompression::kPackBits && width * depth > 8 * 40001) continue;
                    const Load load(wide.bytes());
                    ASSERT_TRUE(load.result);
                    EXPECT_TRUE(testing_support::sameImage(*load.image, *expectedMerged(wide)));
                }
            }
        }
    }
}

TEST(PsdImageData, LongRawPlanesEqualTheReference) {
    for (const int width : {999, 1000}) {
        PsdDocument grey;
        grey.mode = 1;
        grey.channels = 1;
        grey.width = width;
        grey.height = 800;
        const Load load(grey.bytes());
        ASSERT_TRUE(load.result);
        // The bytes after each row, too.
        EXPECT_EQ(testing_support::pixelBytes(*load.image),
                  testing_support::pixelBytes(*expectedMerged(grey)));
    }
}

TEST(PsdImageData, ThreeChannelsAre24Bits) {
    const Bytes data = {0, 0, 1, 2, 11, 12, 21, 22};
    Load load(document(3, 8, 3, 2, 1, data).bytes());
    ASSERT_TRUE(load.result);
    EXPECT_EQ(pixelsOf(*load.image), (Bytes{21, 11, 1, 22, 12, 2}));
}

TEST(PsdImageData, TheFourthChannelIsAlpha) {
    const Bytes data = {0, 0, 1, 2, 11, 12, 21, 22, 31, 32, 41, 42};
    Load load(document(3, 8, 5, 2, 1, data).bytes());
    ASSERT_TRUE(load.result);
    EXPECT_EQ(pixelsOf(*load.image), (Bytes{21, 11, 1, 31, 22, 12, 2, 32}));
}

TEST(PsdImageData, CmykIsNotConverted) {
    Load load(document(4, 8, 4, 1, 1, {0, 0, 10, 20, 30, 40}).bytes());
    ASSERT_TRUE(load.result);
    EXPECT_EQ(pixelsOf(*load.image), (Bytes{30, 20, 10, 40}));
}

TEST(PsdImageData, TheSecondOfTwoChannelsIsNotStored) {
    Load grey(document(1, 8, 2, 2, 1, {0, 0, 1, 2, 3, 4}).bytes());
    ASSERT_TRUE(grey.result);
    EXPECT_EQ(pixelsOf(*grey.image), (Bytes{1, 255, 255, 255, 2, 255, 255, 255}));
    Load colour(document(3, 8, 2, 1, 1, {0, 0, 1, 2}).bytes());
    ASSERT_TRUE(colour.result);
    EXPECT_EQ(pixelsOf(*colour.image), (Bytes{255, 255, 1, 255}));
}

TEST(PsdImageData, RedOfAOneBytePixelIsThatByte) {
    Load load(document(3, 8, 1, 2, 1, {0, 0, 7, 9}).bytes());
    ASSERT_TRUE(load.result);
    EXPECT_EQ(pixelsOf(*load.image), (Bytes{7, 9}));
}

TEST(PsdImageData, SixteenBitsGiveTheHighByte) {
    Load load(document(1, 16, 1, 2, 1, {0, 0, 0x12, 0xFF, 0x34, 0x00}).bytes());
    ASSERT_TRUE(load.result);
    EXPECT_EQ(pixelsOf(*load.image), (Bytes{0x12, 0x34}));
}

TEST(PsdImageData, FloatsAreClampedAndTruncated) {
    ByteWriter data;
    data.be16(0);
    // 1.5, -0.25, 0.5, NaN, infinity, -infinity, 1.0, just below 1, -0.0
    for (const std::uint32_t bits : {0x3FC00000U, 0xBE800000U, 0x3F000000U, 0x7FC00000U, 0x7F800000U,
                                     0xFF800000U, 0x3F800000U, 0x3F7FFFFFU, 0x80000000U}) {
        data.be32(bits);
    }
    for (const int mode : {1, 3, 4}) {
        Load load(document(mode, 32, 1, 9, 1, data.bytes).bytes());
        ASSERT_TRUE(load.result);
        EXPECT_EQ(pixelsOf(*load.image), (Bytes{255, 0, 127, 255, 255, 0, 255, 254, 0}));
    }
}

TEST(PsdImageData, BitmapBitsAreInk) {
    Load load(document(0, 1, 1, 3, 1, {0, 0, 0xA0}).bytes());
    ASSERT_TRUE(load.result);
    EXPECT_EQ(pixelsOf(*load.image), (Bytes{0, 255, 0}));
}

TEST(PsdImageData, UnknownCompressionIsInvalid) {
    for (const int word : {2, 3, 255}) {
        const Load load(document(3, 8, 3, 1, 1, {0, static_cast<unsigned char>(word), 1, 2, 3}).bytes());
        EXPECT_FALSE(load.result);
        EXPECT_EQ(load.code, 6);
        EXPECT_EQ(testing_support::pixelBytes(*load.image), (Bytes{255, 255, 255, 255}));
    }
    EXPECT_EQ(Load(document(3, 8, 3, 1, 1, {1, 0, 1, 2, 3}).bytes()).code, 6);
    EXPECT_EQ(Load(document(3, 8, 3, 1, 1, {0}).bytes()).code, 6);
    EXPECT_EQ(Load(document(3, 8, 3, 1, 1, {}).bytes()).code, 6);
}

TEST(PsdImageData, RowsBeforeAFailureStay) {
    // Two rows of 2 pixels, red whole, green one row and a half.
    Load load(document(3, 8, 3, 2, 2, {0, 0, 1, 2, 3, 4, 5, 6, 7}).bytes());
    EXPECT_FALSE(load.result);
    EXPECT_EQ(load.code, kUntouched);
    EXPECT_EQ(pixelsOf(*load.image), (Bytes{255, 5, 1, 255, 6, 2, 255, 255, 3, 255, 255, 4}));
}

// A callback that cancels late leaves what storing channel after channel leaves.
TEST(PsdImageData, CancelsLeaveWholeChannels) {
    for (const int channels : {1, 3, 4, 5}) {
        for (const PsdCompression compression : {PsdCompression::kRaw, PsdCompression::kPackBits}) {
            PsdDocument whole;
            whole.channels = channels;
            whole.width = 300;
            whole.height = 7;
            whole.compression = compression;
            const std::vector<Bytes> planes = whole.allPlanes();
            const Bytes bytes = whole.bytes();
            for (int cancelled = 0; cancelled <= channels; ++cancelled) {
                ProgressLog progress;
                progress.cancelAt = 4 + cancelled;
                Load load;
                load.progress = &progress;
                EXPECT_EQ(load.run(bytes), cancelled == channels);
                EXPECT_EQ(progress.fractions.size(),
                          static_cast<unsigned>(std::min(5 + cancelled, 4 + channels)));
                std::vector<int> ids = mergedIds(channels);
                ids.resize(static_cast<std::size_t>(cancelled));
                const DibPtr expected =
                    expectedImage(3, 8, 300, 7, load.image->Header->biBitCount, ids, planes);
                EXPECT_TRUE(testing_support::sameImage(*load.image, *expected)) << channels << cancelled;
            }
        }
    }
}

// So does a row that fails.
TEST(PsdImageData, FailedRowsLeaveWholeChannels) {
    for (const int channels : {1, 3, 4, 5}) {
        // The last row of a channel packs to more than it should.
        for (int channel = 0; channel < channels; ++channel) {
            PsdDocument broken;
            broken.channels = channels;
            broken.width = 300;
            broken.height = 7;
            ByteWriter table;
            ByteWriter rows;
            table.be16(1);
            std::vector<Bytes> planes = broken.allPlanes();
            for (int c = 0; c < channels; ++c) {
                for (int y = 0; y < 7; ++y) {
                    Bytes packed =
                        testing_support::packBits(planes[static_cast<std::size_t>(c)].data() + y * 300, 300);
                    if (c == channel && y == 6) packed = {0x81, 1, 0x81, 2, 0x81, 3};
                    table.be16(static_cast<std::uint32_t>(packed.size()));
                    rows.raw(packed);
                }
            }
            broken.imageData = table.raw(rows.bytes).bytes;
            ProgressLog progress;
            Load load;
            load.progress = &progress;
            EXPECT_FALSE(load.run(broken.bytes()));
            EXPECT_EQ(afterHeader(load.log), "invalid load bytes 384/300\n");
            EXPECT_EQ(progress.fractions.size(), 5U + static_cast<unsigned>(channel));
            std::vector<int> ids = mergedIds(channels);
            ids.resize(static_cast<std::size_t>(channel) + 1);
            const DibPtr expected = expectedImage(3, 8, 300, 7, load.image->Header->biBitCount, ids, planes);
            // The row that failed is not stored.
            const DibPtr white = expectedImage(3, 8, 300, 7, load.image->Header->biBitCount, {}, {});
            const int bytesPerPixel = load.image->Header->biBitCount / 8;
            const int stored = channel == 4 ? -1 : channels == 1 ? 0 : channel == 3 ? 3 : 2 - channel;
            for (int x = 0; stored >= 0 && x < 300; ++x) {
                expected->ScanLine(6)[x * bytesPerPixel + stored] =
                    white->ScanLine(6)[x * bytesPerPixel + stored];
            }
            EXPECT_TRUE(testing_support::sameImage(*load.image, *expected)) << channels << channel;
        }
    }
}

TEST(PsdImageData, EveryKernelLevelStoresTheSame) {
    for (const dib::KernelLevel level : dib::kKernelLevels) {
        dib::limitKernelLevel(level);
        for (const int channels : {1, 3, 4}) {
            for (const int width : {1, 7, 16, 31, 33, 64, 257, 70000}) {
                for (const int depth : {8, 16, 32}) {
                    PsdDocument document;
                    document.channels = channels;
                    document.depth = depth;
                    document.width = width;
                    document.height = 3;
                    const DibPtr expected = expectedMerged(document);
                    // Side by side, and channel by channel where a callback watches.
                    ProgressLog progress;
                    for (ProgressLog* log : {static_cast<ProgressLog*>(nullptr), &progress}) {
                        Load load;
                        load.progress = log;
                        ASSERT_TRUE(load.run(document.bytes()));
                        EXPECT_TRUE(testing_support::sameImage(*load.image, *expected))
                            << width << " " << depth;
                    }
                }
            }
        }
    }
    dib::limitKernelLevel(dib::bestKernelLevel());
}

TEST(PsdImageData, ManyChannelsAreReadAndDropped) {
    PsdDocument many;
    many.channels = 65535;
    many.width = many.height = 1;
    many.imageData = Bytes(2 + 65535, 0);
    ProgressLog progress;
    Load load;
    load.progress = &progress;
    EXPECT_TRUE(load.run(many.bytes()));
    EXPECT_EQ(progress.fractions.size(), 4U + 65535);
    EXPECT_EQ(load.loader.GetChannelNum(), 65535);
    EXPECT_EQ(pixelsOf(*load.image), (Bytes{0, 0, 0, 0}));
}

TEST(PsdImageData, StoreLineFollowsModeAndDepth) {
    const Bytes line = {0x90, 1, 2, 3, 4, 5, 6, 7};
    const auto id = [](int value) { return static_cast<PSD_CHANNEL_ID>(value); };
    for (const PsdDocument& variant : testing_support::psdVariants()) {
        Load load(variant.bytes());
        for (const int bits : {1, 4, 8, 16, 24, 32}) {
            const DibPtr image = testing_support::blankImage(2, 2, bits);
            const bool stored = bits == 8 || bits >= 24;
            for (const int channel : {0, 1, 2, 3, -1, -2, -3, -32768}) {
                EXPECT_EQ(load.loader.StoreLineToDib(image.get(), 1, id(channel), line.data()), stored);
            }
            if (!stored) continue;
            const DibPtr expected = testing_support::blankImage(2, 2, bits);
            const int firstByte = variant.mode >= 3 && bits > 8 ? 2 : 0;
            for (int x = 0; x < 2; ++x) {
                unsigned char* pixel = expected->Pixel(x, 1);
                const unsigned char sample = reference::psdSample(variant.depth, line.data(), x);
                pixel[firstByte] = sample;
                if (variant.mode >= 3 && bits > 8)
                    std::memset(pixel, sample, static_cast<std::size_t>(bits / 8));
            }
            EXPECT_TRUE(testing_support::sameImage(*image, *expected)) << variant.mode << " " << bits;
        }
    }
}

TEST(PsdImageData, StoreLineRefusesWhatIsNotThere) {
    Load load(PsdDocument().bytes());
    const Bytes line(8);
    const DibPtr image = testing_support::blankImage(2, 2, 24);
    EXPECT_FALSE(load.loader.StoreLineToDib(nullptr, 0, PSD_CHANNEL_RED, line.data()));
    EXPECT_FALSE(load.loader.StoreLineToDib(image.get(), 2, PSD_CHANNEL_RED, line.data()));
    EXPECT_FALSE(load.loader.StoreLineToDib(image.get(), -1, PSD_CHANNEL_RED, line.data()));
    DibStream empty;
    EXPECT_FALSE(load.loader.StoreLineToDib(&empty, 0, PSD_CHANNEL_RED, line.data()));
    load.loader.ConvertCMYKToRGB(image.get());
    EXPECT_TRUE(testing_support::sameImage(*image, *testing_support::blankImage(2, 2, 24)));
}

}  // namespace
}  // namespace psd_test

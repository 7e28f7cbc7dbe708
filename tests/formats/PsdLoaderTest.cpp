// The frame: header, colour-mode data, resources, progress, entry points.
#include "tests/formats/PsdTest.h"

namespace psd_test {
namespace {

TEST(PsdLoader, HeaderIsLogged) {
    PsdDocument document;
    document.channels = 4;
    document.width = 7;
    document.height = 2;
    EXPECT_EQ(Load(document.bytes()).log, "Channels: 4\nRows: 2\nColumns: 7\nDepth: 8\nMode: 3\n");
    // Nothing is printed without a log, and numbers above 2^31 - 1 show as they always have.
    Bytes bytes = document.bytes();
    bytes[14] = 0xFF;
    EXPECT_EQ(Load(bytes).log, "Channels: 4\nRows: -16777214\nColumns: 7\nDepth: 8\nMode: 3\n");
}

TEST(PsdLoader, AcceptedModesAndDepths) {
    for (int mode = 0; mode < 10; ++mode) {
        for (const int depth : {0, 1, 2, 4, 8, 16, 24, 32, 64}) {
            PsdDocument document;
            document.mode = mode;
            document.depth = depth;
            const bool rich = mode == 1 || mode == 3 || mode == 4;
            const bool accepted = (mode == 0 && depth == 1) || (mode == 2 && depth == 8) ||
                                  (rich && (depth == 8 || depth == 16 || depth == 32));
            const Load load(document.bytes());
            EXPECT_EQ(load.result, accepted) << mode << " " << depth;
            EXPECT_EQ(load.code, accepted ? kUntouched : 7) << mode << " " << depth;
            // A refused header leaves the image alone.
            EXPECT_EQ(load.image->Header != nullptr, accepted);
        }
    }
}

TEST(PsdLoader, SignatureAndVersion) {
    Bytes bytes = PsdDocument().bytes();
    for (int i = 0; i < 4; ++i) {
        Bytes wrong = bytes;
        wrong[static_cast<std::size_t>(i)] ^= 1;
        const Load load(wrong);
        EXPECT_FALSE(load.result);
        EXPECT_EQ(load.code, 6);
        EXPECT_EQ(load.log, "");
    }
    bytes[5] = 2;
    EXPECT_EQ(Load(bytes).code, 7);
    EXPECT_EQ(Load(Bytes{}).code, 6);
}

TEST(PsdLoader, MissingHeaderBytesCountAsZero) {
    const Bytes whole = PsdDocument().bytes();
    for (std::size_t length = 4; length <= 25; ++length) {
        // Without the last byte, a mode 3 reads as 0, which needs depth 1.
        EXPECT_EQ(Load(Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length))).code, 7);
    }
    Bytes bitmap = whole;
    bitmap[23] = 1;
    bitmap.resize(25);
    const Load load(bitmap);
    EXPECT_FALSE(load.result);
    EXPECT_EQ(load.code, kUntouched);
    ASSERT_NE(load.image->Header, nullptr);
}

TEST(PsdLoader, DepthFollowsTheChannelCountAlone) {
    const int expected[] = {32, 8, 32, 24, 32, 32, 32};
    for (int channels = 0; channels <= 6; ++channels) {
        for (const int mode : {1, 3}) {
            PsdDocument document;
            document.channels = channels;
            document.mode = mode;
            const Load load(document.bytes());
            ASSERT_TRUE(load.result);
            EXPECT_EQ(load.image->Header->biBitCount, expected[channels]);
            EXPECT_EQ(load.image->Header->biHeight, 4);
        }
    }
}

TEST(PsdLoader, SizesThatCannotExist) {
    const auto refused = [](int width, int height) {
        PsdDocument document;
        document.imageData = Bytes{0, 0};
        document.width = width;
        document.height = height;
        const Load load(document.bytes());
        EXPECT_FALSE(load.result);
        EXPECT_EQ(load.code, 2);
        EXPECT_EQ(load.image->Header, nullptr);
    };
    refused(0, 4);
    refused(4, 0);
    refused(30000, 30000);
    refused(-1, 1);
    refused(1, -1);
    refused(INT32_MAX, 1);
    refused(1, INT32_MAX);
    refused(INT32_MIN, INT32_MIN);
    // Possible, but a file of 42 bytes has no 300 million pixels.
    testing_support::resetLargestAllocation();
    refused(20000, 15000);
    EXPECT_LT(testing_support::largestAllocation(), 100000U);
}

TEST(PsdLoader, PaletteIsTakenFromAnySectionOf768Bytes) {
    for (const int mode : {1, 2, 3}) {
        PsdDocument document;
        document.mode = mode;
        document.channels = 1;
        document.colorMode.resize(768);
        for (std::size_t i = 0; i < 256; ++i) {
            document.colorMode[i] = static_cast<unsigned char>(i ^ 0x11);
            document.colorMode[256 + i] = static_cast<unsigned char>(i ^ 0x22);
            document.colorMode[512 + i] = static_cast<unsigned char>(i ^ 0x44);
        }
        const Load load(document.bytes());
        ASSERT_TRUE(load.result);
        const auto* table = reinterpret_cast<const DibBGRA*>(load.image->Header + 1);
        for (unsigned i = 0; i < 256; ++i) {
            EXPECT_EQ(table[i].red, i ^ 0x11);
            EXPECT_EQ(table[i].green, i ^ 0x22);
            EXPECT_EQ(table[i].blue, i ^ 0x44);
            EXPECT_EQ(table[i].alpha, 0);
        }
    }
}

TEST(PsdLoader, OtherColorModeDataIsPassedOver) {
    for (const std::size_t length : {std::size_t{1}, std::size_t{767}, std::size_t{769}, std::size_t{4000}}) {
        PsdDocument document;
        document.mode = 1;
        document.channels = 1;
        document.colorMode = Bytes(length, 0x38);
        const Load load(document.bytes());
        ASSERT_TRUE(load.result);
        const auto* table = reinterpret_cast<const DibBGRA*>(load.image->Header + 1);
        EXPECT_EQ(table[200].red, 200);
        EXPECT_TRUE(testing_support::sameImage(*load.image, *expectedMerged(document)));
    }
    // 24 and 32 bits have no table to write.
    PsdDocument colour;
    colour.colorMode = Bytes(768, 0x38);
    EXPECT_TRUE(Load(colour.bytes()).result);
}

TEST(PsdLoader, ResourcesAreLogged) {
    PsdDocument document;
    ByteWriter thumbnail;
    thumbnail.be32(1).be32(0x00020304).be32(0x05060708).be32(48).be32(0x80000001).be32(70000);
    thumbnail.be16(24).be16(1).fill(3);
    document.resources = {{1036, "", thumbnail.bytes},       {1033, "ab", thumbnail.bytes},
                          {1022, "", {0x12, 0x34, 1}},       {1024, "odd", {0xFF, 0xFE}},
                          {1026, "", {0, 7, 0, 8, 0, 9, 1}}, {0xABCD, "", {}}};
    // The second byte of each 32-bit number shows as the first: 0x00020304 as 772, 70000 as 4464.
    const std::string numbers =
        " Thumbnail.Format: 1\n Thumbnail.Width: 772\n Thumbnail.Height: 84215560\n"
        " Thumbnail.WidthBytes: 48\n Thumbnail.Size: -2139095039\n Thumbnail.CompressedSize: 4464\n"
        " Thumbnail.BitsPixel: 24\n Thumbnail.Planes: 1\n";
    const Load load(document.bytes());
    EXPECT_TRUE(load.result);
    EXPECT_EQ(afterHeader(load.log), "ImageResourceID: 40c\n" + numbers + "ImageResourceID: 409\n" + numbers +
                                         "ImageResourceID: 3fe\n QuickMaskID: 4660\n MaskIsEmpty: 1\n"
                                         "ImageResourceID: 400\n TargetLayer: 65534\n"
                                         "ImageResourceID: 402\n LayerGroupID[0]: 7\n LayerGroupID[1]: 7\n"
                                         " LayerGroupID[2]: 7\n"
                                         "ImageResourceID: abcd\n");
}

TEST(PsdLoader, ShortResourcesPrintWhatIsThere) {
    const auto logOf = [](int id, std::size_t size) {
        PsdDocument document;
        document.resources = {{id, "", Bytes(size, 1)}};
        const Load load(document.bytes());
        EXPECT_TRUE(load.result);
        return afterHeader(load.log);
    };
    EXPECT_EQ(logOf(1022, 0), "ImageResourceID: 3fe\n");
    EXPECT_EQ(logOf(1022, 2), "ImageResourceID: 3fe\n QuickMaskID: 257\n");
    EXPECT_EQ(logOf(1024, 1), "ImageResourceID: 400\n");
    EXPECT_EQ(logOf(1026, 1), "ImageResourceID: 402\n");
    EXPECT_EQ(logOf(1036, 3), "ImageResourceID: 40c\n");
    EXPECT_EQ(logOf(1036, 11),
              "ImageResourceID: 40c\n Thumbnail.Format: 16843009\n Thumbnail.Width: 16843009\n");
}

TEST(PsdLoader, ResourceNamesAndOddSizes) {
    for (std::size_t length = 0; length < 256; length += length < 6 ? 1 : 50) {
        for (std::size_t size = 0; size < 4; ++size) {
            PsdDocument document;
            document.resources = {{1, std::string(length, 'n'), Bytes(size, 3)}, {2, "", {}}};
            const Load load(document.bytes());
            EXPECT_TRUE(load.result);
            EXPECT_EQ(afterHeader(load.log), "ImageResourceID: 1\nImageResourceID: 2\n");
            EXPECT_TRUE(testing_support::sameImage(*load.image, *expectedMerged(document)));
        }
    }
}

TEST(PsdLoader, ResourceSectionThatDoesNotFit) {
    PsdDocument document;
    document.resourceSection.emplace(Bytes{});
    EXPECT_TRUE(Load(document.bytes()).result);

    // The last block ends past the section's end.
    document.resourceSection = ByteWriter().text("8BIM").be16(1).be16(0).be32(4).u8(1).u8(2).u8(3).bytes;
    const Load past(document.bytes());
    EXPECT_FALSE(past.result);
    EXPECT_EQ(past.code, kUntouched);

    // A second block without its signature; the first one has been logged.
    document.resourceSection = ByteWriter().text("8BIM").be16(1).be16(0).be32(0).text("8BIN").bytes;
    const Load unsignedBlock(document.bytes());
    EXPECT_FALSE(unsignedBlock.result);
    EXPECT_EQ(unsignedBlock.code, 6);
    EXPECT_EQ(afterHeader(unsignedBlock.log), "ImageResourceID: 1\n");
}

TEST(PsdLoader, ResourceSizeIsNotTrusted) {
    PsdDocument document;
    for (const std::uint32_t size : {0xFFFFFFFFU, 0xFFFFFFFEU, 0x7FFFFFFFU, 100000U}) {
        document.resourceSection = ByteWriter().text("8BIM").be16(1036).be16(0).be32(size).bytes;
        testing_support::resetLargestAllocation();
        const Load load(document.bytes());
        EXPECT_FALSE(load.result);
        EXPECT_EQ(load.code, kUntouched);
        EXPECT_EQ(afterHeader(load.log), "");
        EXPECT_LT(testing_support::largestAllocation(), 10000U);
    }
}

TEST(PsdLoader, ProgressIsThePositionOfEachSectionAndChannel) {
    PsdDocument document;
    document.colorMode = Bytes(10);
    document.resources = {{1, "", Bytes(8)}};
    const Bytes bytes = document.bytes();
    ASSERT_EQ(bytes.size(), 26U + 14 + 24 + 4 + 2 + 60);
    ProgressLog progress;
    Load load;
    load.progress = &progress;
    EXPECT_TRUE(load.run(bytes));
    const float size = 130;
    const std::vector<float> expected = {0,         26 / size, 40 / size, 64 / size,
                                         70 / size, 90 / size, 110 / size};
    EXPECT_EQ(progress.fractions, expected);
}

TEST(PsdLoader, ProgressStaysBelowOne) {
    PsdDocument document;
    Bytes bytes = document.bytes();
    bytes[26] = 0xFF;  // colour-mode data of 4 gigabytes
    ProgressLog progress;
    Load load;
    load.progress = &progress;
    EXPECT_FALSE(load.run(bytes));
    EXPECT_EQ(progress.fractions.back(), 1.0F);
    progress.fractions.clear();
    EXPECT_FALSE(load.run({}));
    EXPECT_EQ(progress.fractions, std::vector<float>{0});
}

TEST(PsdLoader, CancelAtEveryCall) {
    PsdDocument document;
    document.channels = 4;
    document.addLayer({0, 0, 2, 2}, {-1, 0, 1, 2});
    document.addLayer({0, 0, 2, 2}, {0});
    // Four sections, two records, five layer channels, four channels.
    for (int cancelAt = 0; cancelAt <= 15; ++cancelAt) {
        ProgressLog progress;
        progress.cancelAt = cancelAt;
        Load load;
        load.progress = &progress;
        load.layers = true;
        EXPECT_EQ(load.run(document.bytes()), cancelAt == 15);
        EXPECT_EQ(load.code, kUntouched);
        EXPECT_EQ(progress.fractions.size(), cancelAt == 15 ? 15U : static_cast<unsigned>(cancelAt) + 1);
        EXPECT_EQ(load.image->Header != nullptr, cancelAt >= 1);
    }
}

TEST(PsdLoader, EntryPoints) {
    const PsdDocument document;
    const codec_test::TemporaryFile file(".psd", document.bytes());
    DibPtr image(new DibStream);
    ProgressLog progress;
    EXPECT_TRUE(LoadPSD(file.path(), image.get(), ProgressLog::callback, &progress));
    EXPECT_EQ(progress.fractions.size(), 7U);
    EXPECT_TRUE(testing_support::sameImage(*image, *expectedMerged(document)));
    EXPECT_EQ(image->RefCount, 1U);
    DibPtr wide(new DibStream);
    EXPECT_TRUE(LoadPSD(file.widePath().c_str(), wide.get(), nullptr, nullptr));
    EXPECT_TRUE(testing_support::sameImage(*image, *wide));

    DibPSDLoader loader(image.get());
    EXPECT_EQ(image->RefCount, 2U);
    EXPECT_TRUE(loader.Load(file.path()));
    EXPECT_TRUE(loader.Load(file.widePath().c_str()));
    EXPECT_EQ(loader.GetChannelNum(), 3);
    EXPECT_EQ(loader.GetColorMode(), 3);
    EXPECT_EQ(loader.GetDepth(), 8);
    EXPECT_EQ(loader.GetLayerNum(), 0);
}

TEST(PsdLoader, FilesThatCannotBeOpened) {
    DibPtr image = testing_support::blankImage(2, 2, 24);
    image->ErrorCode = kUntouched;
    DibPSDLoader loader(image.get());
    EXPECT_FALSE(loader.Load("/nonexistent/x.psd"));
    EXPECT_FALSE(loader.Load(L"/nonexistent/x.psd"));
    EXPECT_EQ(image->ErrorCode, kUntouched);
    EXPECT_FALSE(LoadPSD("/nonexistent/x.psd", image.get(), nullptr, nullptr));
    EXPECT_EQ(image->ErrorCode, 3);
    image->ErrorCode = kUntouched;
    EXPECT_FALSE(LoadPSD(L"/nonexistent/x.psd", image.get(), nullptr, nullptr));
    EXPECT_EQ(image->ErrorCode, 3);
    EXPECT_NE(image->Header, nullptr);
    EXPECT_FALSE(LoadPSD("/nonexistent/x.psd", nullptr, nullptr, nullptr));
}

TEST(PsdLoader, NullPathsCannotBeOpened) {
    const char* narrow = nullptr;
    const wchar_t* wide = nullptr;
    const DibPtr image = testing_support::blankImage(2, 2, 24);
    image->ErrorCode = kUntouched;
    DibPSDLoader loader(image.get());
    EXPECT_FALSE(loader.Load(narrow));
    EXPECT_FALSE(loader.Load(wide));
    EXPECT_FALSE(loader.Load(static_cast<std::FILE*>(nullptr)));
    EXPECT_EQ(image->ErrorCode, kUntouched);
    EXPECT_FALSE(LoadPSD(narrow, image.get(), nullptr, nullptr));
    EXPECT_EQ(image->ErrorCode, 3);
    image->ErrorCode = kUntouched;
    EXPECT_FALSE(LoadPSD(wide, image.get(), nullptr, nullptr));
    EXPECT_EQ(image->ErrorCode, 3);
    EXPECT_FALSE(LoadPSD(narrow, nullptr, nullptr, nullptr));
    EXPECT_FALSE(LoadPSD(wide, nullptr, nullptr, nullptr));
    EXPECT_TRUE(testing_support::sameImage(*image, *testing_support::blankImage(2, 2, 24)));
}

TEST(PsdLoader, WithoutTargetItMakesItsOwn) {
    PsdDocument document;
    document.addLayer({0, 0, 2, 3}, {0, 1, 2});
    const Bytes good = document.bytes();
    DibPSDLoader loader;
    loader.EnableLayer(true);
    // Codes have nowhere to go when the header is refused.
    EXPECT_FALSE(loader.Load(testing_support::openBytes(Bytes(40, 'x')).get()));
    Bytes unsupported = good;
    unsupported[5] = 9;
    EXPECT_FALSE(loader.Load(testing_support::openBytes(unsupported).get()));
    EXPECT_TRUE(loader.Load(testing_support::openBytes(good).get()));
    EXPECT_EQ(loader.GetLayerNum(), 1);
}

TEST(PsdLoader, InitVariableForgetsWithoutReleasing) {
    DibPtr image(new DibStream);
    {
        DibPSDLoader loader(image.get());
        ProgressLog progress;
        loader.SetCallback(ProgressLog::callback, &progress);
        loader.EnableLayer(true);
        loader.InitVariable();
        EXPECT_EQ(image->RefCount, 2U);
        PsdDocument document;
        document.addLayer({0, 0, 2, 3}, {0, 1, 2});
        EXPECT_TRUE(loader.Load(testing_support::openBytes(document.bytes()).get()));
        EXPECT_EQ(image->Header, nullptr);
        EXPECT_EQ(loader.GetLayerNum(), 0);
        EXPECT_TRUE(progress.fractions.empty());
    }
    EXPECT_EQ(image->Release(), 1U);
}

TEST(PsdLoader, TheFileStandsWhereReadingStopped) {
    Bytes bytes = PsdDocument().bytes();
    const long length = static_cast<long>(bytes.size());
    bytes.insert(bytes.end(), 50000, 0xAA);
    const dib::FilePtr file = testing_support::openBytes(bytes);
    DibPSDLoader loader;
    EXPECT_TRUE(loader.Load(file.get()));
    EXPECT_EQ(std::ftell(file.get()), length);
    // Loads start at the file's first byte, wherever it stands.
    EXPECT_TRUE(loader.Load(file.get()));
    EXPECT_EQ(std::ftell(file.get()), length);
}

}  // namespace
}  // namespace psd_test

#include <cstring>

#include "dib/Bytes.h"
#include "tests/formats/BmpDoorTest.h"

namespace door_test {
namespace {

using testing_support::randomImage;

Bytes savedWith(const DibStream& image, const DibSaveOptions& given) {
    DibSaveOptions options = given;
    options.format = "bmp";
    DibBytes bytes;
    DibFileResult result;
    EXPECT_TRUE(DibSaveMemory(&bytes, &image, &options, &result)) << result.reason;
    return {bytes.data, bytes.data + bytes.size};
}

TEST(BmpSave, EveryDepthAndRowOrderComesBack) {
    for (const int bits : testing_support::kDepths) {
        for (const testing_support::Size size : testing_support::kSizes) {
            for (const int height : {size.height, -size.height}) {
                const DibPtr image = randomImage(size.width, height, bits, 7);
                const Bytes file = saved(*image, "bmp");
                const Opened load = opened(file);
                ASSERT_TRUE(load.isLoaded) << load.result.reason;
                EXPECT_EQ(load.image->Header->biBitCount, bits);
                EXPECT_EQ(load.image->Header->biHeight, size.height);
                EXPECT_EQ(load.image->Header->biClrUsed, image->Header->biClrUsed);
                EXPECT_EQ(load.result.noteCount, 0);
                Bytes expected = shownBytes(*image);
                const unsigned lastBits = static_cast<unsigned>(size.width * bits % 8);
                const std::size_t rowBytes = expected.size() / static_cast<std::size_t>(size.height);
                for (std::size_t end = rowBytes; lastBits > 0 && end <= expected.size(); end += rowBytes)
                    expected[end - 1] &= static_cast<unsigned char>(0xFF00U >> lastBits);
                EXPECT_EQ(shownBytes(*load.image), expected) << bits << " " << size.width << "x" << height;
                if (bits > 8) continue;
                EXPECT_EQ(std::memcmp(load.image->Header + 1, image->Header + 1, 4U << bits), 0);
            }
        }
    }
}

TEST(BmpSave, FilesAreThoseOfTheClassicSaver) {
    for (const int bits : {1, 4, 8, 16, 24}) {
        const DibPtr image = randomImage(32, 3, bits, 3);
        image->Header->biClrImportant = image->Header->biClrUsed;
        const Bytes classic =
            testing_support::writtenBytes([&](std::FILE* file) { image->SaveFileInner(file); });
        EXPECT_EQ(savedWith(*image, {}), classic) << bits;
    }
}

TEST(BmpSave, OnlyAnnouncedColorsAreWritten) {
    DibPtr image = randomImage(5, 2, 8, 3);
    image->Header->biClrUsed = 3;
    for (int i = 0; i < 5; ++i) *image->Pixel(i, 0) = *image->Pixel(i, 1) = static_cast<unsigned char>(i % 3);
    const Bytes file = savedWith(*image, {});
    EXPECT_EQ(file.size(), 54U + 3 * 4 + 2 * 8);
    EXPECT_EQ(opened(file).image->Header->biClrUsed, 3U);
}

TEST(BmpSave, AlphaHasAHeaderOfTheFourthVersion) {
    DibPtr image = testing_support::blankImage(1, 1, 32);
    testing_support::setPixelValue(*image, 0, 0, 0x80332211);
    Bytes expected = bmp({.headerBytes = 108,
                          .width = 1,
                          .height = 1,
                          .bits = 32,
                          .compression = 3,
                          .masks = masks(0xFF0000, 0xFF00, 0xFF, 0xFF000000),
                          .pixels = {0x11, 0x22, 0x33, 0x80}});
    expected[2] = static_cast<unsigned char>(expected.size());
    expected[14 + 20] = 4;
    std::memcpy(&expected[14 + 56], "BGRs", 4);
    EXPECT_EQ(savedWith(*image, {}), expected);
    EXPECT_EQ(testing_support::pixelValue(*opened(expected).image, 0, 0), 0x80332211U);
}

TEST(BmpSave, RunsAreWrittenWhereTheyAreShorter) {
    DibPtr image = testing_support::plainImage(300, 2, 8, 9);
    for (int x = 100; x < 105; ++x) *image->Pixel(x, 0) = static_cast<unsigned char>(x);
    DibSaveOptions options;
    const Bytes packed = savedWith(*image, options);
    const Bytes expected = {255, 9,   45,  9,   0, 0,   100, 9, 0, 5, 100,
                            101, 102, 103, 104, 0, 195, 9,   0, 0, 0, 1};
    ASSERT_EQ(packed.size(), 54 + 1024 + expected.size());
    EXPECT_EQ(Bytes(packed.begin() + 1078, packed.end()), expected);
    EXPECT_EQ(packed[30], 1);
    EXPECT_EQ(shown(packed, 8), shownBytes(*image));
    DibStream classic;
    const dib::FilePtr file = testing_support::openBytes(packed);
    ASSERT_TRUE(classic.LoadFileInner(file.get(), DibStream::DIB_ACCEPT_ALL));
    EXPECT_EQ(shownBytes(classic), shownBytes(*image));
    options.runLengths = false;
    EXPECT_EQ(savedWith(*image, options).size(), 54U + 1024 + 600);
    EXPECT_EQ(savedWith(*randomImage(300, 2, 8, 1), {}).size(), 54U + 1024 + 600);
}

// Rows of short runs, literals and both, in every order.
TEST(BmpSave, EveryMixtureOfRunsComesBack) {
    testing_support::Random random(5);
    for (int round = 0; round < 200; ++round) {
        const DibPtr image = testing_support::blankImage(random.between(1, 600), 3, 8);
        int value = 0;
        for (int i = 0, left = 0; i < 3 * image->Header->biWidth; ++i, --left) {
            if (left <= 0) {
                value = random.below(4);
                left = random.below(3) == 0 ? random.between(1, 400) : random.between(1, 5);
            }
            *image->Pixel(i / 3, i % 3) = static_cast<unsigned char>(value);
        }
        const Bytes file = savedWith(*image, {});
        EXPECT_LE(file.size(), 54U + 1024 + image->GetPitch() * 3);
        ASSERT_EQ(shown(file, 8), shownBytes(*image)) << round;
    }
}

TEST(BmpSave, MetadataIsKeptOrNoted) {
    DibMetadata metadata;
    metadata.xResolution = 72.009;
    metadata.yResolution = 300;
    metadata.colorProfile.data = static_cast<unsigned char*>(std::malloc(5));
    metadata.colorProfile.size = 5;
    std::memcpy(metadata.colorProfile.data, "icc!!", 5);
    DibSaveOptions options;
    options.metadata = &metadata;
    for (const int bits : {8, 24, 32}) {
        const DibPtr image = testing_support::plainImage(9, 2, bits, 0x80808080);
        const Bytes file = savedWith(*image, options);
        EXPECT_EQ(dib::readLe32(&file[38]), 2835U);
        EXPECT_EQ(dib::readLe32(&file[42]), 11811U);
        const Opened load = opened(file);
        ASSERT_TRUE(load.isLoaded) << load.result.reason;
        EXPECT_EQ(shownBytes(*load.image), shownBytes(*image));
        EXPECT_NEAR(load.result.metadata.xResolution, 72.009, 1e-6);
        const DibBytes& profile = load.result.metadata.colorProfile;
        ASSERT_EQ(profile.size, 5U);
        EXPECT_EQ(std::memcmp(profile.data, "icc!!", 5), 0);
        EXPECT_EQ(DibSaveLosses(image.get(), "bmp", &options), 0);
    }
    metadata.orientation = 6;
    DibFileResult result;
    const DibPtr image = testing_support::plainImage(9, 2, 8, 0);
    EXPECT_EQ(DibSaveLosses(image.get(), "bmp", &options, &result), 1);
    EXPECT_EQ(notesOf(result), "the orientation is not kept;");
}

TEST(BmpSave, ProgressCancelsAndAllocationsFail) {
    for (const int bits : {1, 8, 24, 32}) {
        const DibPtr image = testing_support::plainImage(33, -20, bits, 0x01010101);
        expectSaves(*image, "bmp", bits == 24 || bits == 32 ? 3 : 20);
        EXPECT_GE(failEverySave(*image, "bmp"), 1);
    }
}

}  // namespace
}  // namespace door_test

// Writing BMP files.
#include <DibStream.h>
#include <VexLibs.h>
#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <filesystem>
#include <string>

#include "dib/ColorTable.h"
#include "dib/ImageSize.h"
#include "tests/dib/BmpBytes.h"
#include "tests/support/FailingMalloc.h"
#include "tests/support/Paths.h"
#include "tests/support/Samples.h"
#include "tests/support/System.h"
#include "vexlibs/NativePath.h"

namespace bmp_bytes {
namespace {

using testing_support::pictureOf;
using testing_support::pixelBytes;
using testing_support::samePicture;
using testing_support::temporaryPath;

TEST(BmpSave, LiteralFile) {
    DibStream dib;
    ASSERT_TRUE(dib.Create(1, -2, 24));
    const unsigned char rows[] = {1, 2, 3, 0, 4, 5, 6, 0};
    std::memcpy(dib.Buffer, rows, sizeof rows);
    dib.Header->biXPelsPerMeter = 7;
    dib.Header->biClrImportant = 8;
    dib.ErrorCode = 9;
    const Bytes file = save(dib);
    EXPECT_EQ(dib.ErrorCode, 0);
    EXPECT_EQ(file, (Bytes{'B', 'M', 62, 0, 0, 0, 0, 0, 0, 0, 54, 0, 0, 0,                     //
                           40,  0,   0,  0, 1, 0, 0, 0, 2, 0, 0,  0, 1, 0, 24, 0, 0, 0, 0, 0,  //
                           8,   0,   0,  0, 7, 0, 0, 0, 0, 0, 0,  0, 0, 0, 0,  0, 8, 0, 0, 0,  //
                           4,   5,   6,  0, 1, 2, 3, 0}));
    EXPECT_EQ(dib.Header->biHeight, -2) << "the image itself is unchanged";
}

TEST(BmpSave, RoundTripsAtEveryDepthSizeAndRowOrder) {
    for (const int bits : testing_support::kDepths) {
        for (const auto [width, height] : testing_support::kSizes) {
            for (const int signedHeight : {height, -height}) {
                const auto image = testing_support::randomImage(width, signedHeight, bits, 5);
                DibStream back;
                ASSERT_TRUE(load(back, save(*image)));
                EXPECT_EQ(back.Header->biHeight, height);
                for (int y = 0; y < height; ++y) {
                    ASSERT_EQ(std::memcmp(back.ScanLine(y), image->ScanLine(y), image->GetPitch()), 0);
                }
                EXPECT_EQ(std::memcmp(dib::colorTable(back.Header), dib::colorTable(image->Header),
                                      dib::addressableEntries(bits) * 4),
                          0);
            }
        }
    }
}

TEST(BmpSave, LargeTopDownImagesKeepTheirRows) {
    for (const int width : {1000, 30000}) {
        const auto image = testing_support::randomImage(width, -67, 24, 9);
        DibStream back;
        ASSERT_TRUE(load(back, save(*image)));
        for (int y = 0; y < 67; ++y) {
            ASSERT_EQ(std::memcmp(back.ScanLine(y), image->ScanLine(y), image->GetPitch()), 0) << y;
        }
    }
}

TEST(BmpSave, ShortTablesStayShort) {
    DibStream dib;
    ASSERT_TRUE(load(dib, BmpBytes{1, 1, 8, {3, 0, 0, 0}, greyEntries(16), kUncompressed, 16}.build()));
    const Bytes file = save(dib);
    EXPECT_EQ(dib::readLe32(file.data() + 10), 54U + 64U);
    EXPECT_EQ(dib::readLe32(file.data() + 2), 54U + 64U + 4U);
    EXPECT_EQ(file.size(), 54U + 64U + 4U);
    EXPECT_EQ(dib::readLe32(file.data() + 46), 16U);
}

TEST(BmpSave, ColorCountOfDeepImagesAndOfNone) {
    // 24 bits with announced entries, as borrowed images may have them.
    alignas(4) unsigned char block[40 + 8] = {};
    DibStream helper;
    auto& header = *reinterpret_cast<BITMAPINFOHEADER*>(block);
    ASSERT_TRUE(helper.SetBitmapInfo(header, 1, 1, 24));
    header.biClrUsed = 2;
    for (int i = 40; i < 48; ++i) block[i] = static_cast<unsigned char>(i);
    unsigned char pixels[4] = {1, 2, 3, 0};
    DibStream dib;
    dib.SetDib(block, 0, pixels, 0);
    const Bytes file = save(dib);
    EXPECT_EQ(dib::readLe32(file.data() + 10), 62U);
    EXPECT_EQ(Bytes(file.begin() + 54, file.end()), (Bytes{40, 41, 42, 43, 44, 45, 46, 47, 1, 2, 3, 0}));
    // Above 8 bits, 0 means none; up to 8 bits, all.
    header.biClrUsed = 0;
    EXPECT_EQ(save(dib).size(), 58U);
    const auto indexed = testing_support::blankImage(1, 1, 4);
    indexed->Header->biClrUsed = 0;
    EXPECT_EQ(save(*indexed).size(), 54U + 64U + 4U);
}

TEST(BmpSave, LongHeadersAreCutAndTheirTableIsFound) {
    alignas(4) unsigned char block[124 + 8] = {};
    DibStream helper;
    auto& header = *reinterpret_cast<BITMAPINFOHEADER*>(block);
    ASSERT_TRUE(helper.SetBitmapInfo(header, 1, 1, 1));
    header.biSize = 124;
    for (int i = 0; i < 8; ++i) block[124 + i] = static_cast<unsigned char>(70 + i);
    unsigned char pixels[4] = {128, 0, 0, 0};
    DibStream dib;
    dib.SetDib(block, 0, pixels, 0);
    const Bytes file = save(dib);
    EXPECT_EQ(dib::readLe32(file.data() + 14), 124U) << "written as held";
    EXPECT_EQ(Bytes(file.begin() + 54, file.end()), (Bytes{70, 71, 72, 73, 74, 75, 76, 77, 128, 0, 0, 0}));
}

// A reader takes the table from after the announced header.
TEST(BmpSave, TablesOfLongHeadersReadBackShifted) {
    alignas(4) unsigned char block[56 + 1024] = {};
    DibStream helper;
    auto& header = *reinterpret_cast<BITMAPINFOHEADER*>(block);
    ASSERT_TRUE(helper.SetBitmapInfo(header, 1, 8, 8));
    header.biSize = 56;
    for (int i = 0; i < 1024; ++i) block[56 + i] = static_cast<unsigned char>(i / 4);
    unsigned char pixels[32] = {9};
    DibStream dib;
    dib.SetDib(block, 0, pixels, 0);
    DibStream back;
    ASSERT_TRUE(load(back, save(dib)));
    EXPECT_EQ(back.Buffer[0], 9);
    const DibBGRA* table = dib::colorTable(back.Header);
    EXPECT_EQ(table[0].blue, 4) << "16 bytes further on";
    EXPECT_EQ(table[251].blue, 255);
    EXPECT_EQ(table[252].blue, 9) << "the first pixels of the file";
}

TEST(BmpSave, AnnouncedImageSize) {
    // The pixel block is written as long as announced; the written header has pitch times rows.
    unsigned char pixels[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    BITMAPINFOHEADER header;
    DibStream dib;
    ASSERT_TRUE(dib.SetBitmapInfo(header, 1, 1, 24));
    header.biSizeImage = 8;
    dib.SetDib(&header, 0, pixels, 0);
    const Bytes file = save(dib);
    EXPECT_EQ(file.size(), 62U);
    EXPECT_EQ(dib::readLe32(file.data() + 2), 62U);
    EXPECT_EQ(dib::readLe32(file.data() + 34), 4U);
    header.biSizeImage = 0;
    EXPECT_EQ(save(dib).size(), 58U);
}

TEST(BmpSave, ImagesWithoutPixels) {
    unsigned char pixels[4] = {};
    BITMAPINFOHEADER header;
    DibStream dib;
    ASSERT_TRUE(dib.SetBitmapInfo(header, 7, 0, 24));
    dib.SetDib(&header, 0, pixels, 0);
    const Bytes noRows = save(dib);
    EXPECT_EQ(noRows.size(), 54U);
    DibStream loaded;
    ASSERT_TRUE(load(loaded, noRows));
    EXPECT_EQ(loaded.Header->biWidth, 7);
    EXPECT_EQ(loaded.Header->biHeight, 0);
    EXPECT_EQ(loaded.GetImageSize(), 0);
    EXPECT_NE(loaded.Buffer, nullptr);

    // Rows without columns are not walked over one by one. As `Create` refuses them, so does reading them
    // back.
    for (const int height : {1, -1, INT_MAX, -INT_MAX}) {
        ASSERT_TRUE(dib.SetBitmapInfo(header, 0, height, 24));
        const Bytes file = save(dib);
        EXPECT_EQ(file.size(), 54U);
        EXPECT_EQ(failureOf(file), DIB_ERROR_MEMORY);
    }
}

TEST(BmpSave, MaskedImagesKeepCompressionThree) {
    DibStream dib;
    ASSERT_TRUE(
        load(dib, BmpBytes{1, 1, 32, Bytes(4), {}, kMasks, 0, 56, {0xFF, 0xFF00, 0xFF0000, 0}}.build()));
    Bytes file = save(dib);
    EXPECT_EQ(dib::readLe32(file.data() + 30), 3U);
    EXPECT_EQ(failureOf(file), DIB_ERROR_UNSUPPORTED);
    dib.Header->biCompression = 0;
    EXPECT_EQ(failureOf(save(dib)), -1);
}

TEST(BmpSave, NothingToWrite) {
    const std::string path = temporaryPath("survivor.bmp");
    const auto image = testing_support::randomImage(3, 3, 8, 1);
    ASSERT_TRUE(image->SaveToFile(path.c_str()));
    const Bytes before = testing_support::readFileBytes(path);

    DibStream empty;
    EXPECT_FALSE(empty.SaveToFile(path.c_str()));
    EXPECT_EQ(empty.ErrorCode, DIB_ERROR_INVALID);
    EXPECT_EQ(testing_support::readFileBytes(path), before) << "the file in that place survives";
    EXPECT_EQ(
        testing_support::writtenBytes([&](std::FILE* file) { EXPECT_FALSE(empty.SaveFileInner(file)); }),
        Bytes());
    EXPECT_EQ(empty.ErrorCode, DIB_ERROR_INVALID);

    const auto unsaved = [](DibStream& dib) {
        dib.ErrorCode = 0;
        EXPECT_FALSE(dib.SaveToFile(temporaryPath("never.bmp").c_str()));
        EXPECT_FALSE(std::filesystem::exists(temporaryPath("never.bmp")));
        return dib.ErrorCode;
    };
    image->BufferFree();
    EXPECT_EQ(unsaved(*image), DIB_ERROR_INVALID);
    image->SetBuffer(std::malloc(64), 6);
    image->Header->biWidth = -3;
    EXPECT_EQ(unsaved(*image), DIB_ERROR_INVALID);
    image->Header->biWidth = 3;
    image->Header->biHeight = INT_MIN;
    EXPECT_EQ(unsaved(*image), DIB_ERROR_INVALID);
    image->Header->biHeight = 3;
    image->Header->biSizeImage = 0x80000000U;
    EXPECT_EQ(unsaved(*image), DIB_ERROR_INVALID);
    image->Header->biSizeImage = 0;
    image->Header->biClrUsed = 0xFFFFFFFFU;
    EXPECT_EQ(unsaved(*image), DIB_ERROR_INVALID);
    image->HeaderFree();
    EXPECT_EQ(unsaved(*image), DIB_ERROR_INVALID);
}

TEST(BmpSave, FilesThatCannotBeWritten) {
    const auto image = testing_support::randomImage(300, 30, 24, 1);
    const auto twin = testing_support::randomImage(300, 30, 24, 1);
    EXPECT_FALSE(image->SaveToFile(temporaryPath().c_str()));
    EXPECT_EQ(image->ErrorCode, DIB_ERROR_OPEN);
    EXPECT_FALSE(image->SaveToFile(L"/missing/folder/file.bmp"));
    EXPECT_EQ(image->ErrorCode, DIB_ERROR_OPEN);
    EXPECT_FALSE(image->SaveFileInner(nullptr));
    EXPECT_EQ(image->ErrorCode, DIB_ERROR_OPEN);
    // Large pictures fail at a write, small ones when the buffered bytes are flushed.
    for (const int size : {300, -300, 1}) {
        const auto picture = testing_support::randomImage(std::abs(size), size, 24, 1);
        testing_support::forEveryDeadFile([&](const char* path) { return picture->SaveToFile(path); },
                                          [&](bool isSaved, const char* path) {
                                              EXPECT_FALSE(isSaved) << path;
                                              EXPECT_EQ(picture->ErrorCode, DIB_ERROR_WRITE) << path;
                                              EXPECT_NE(picture->Header, nullptr);
                                          });
    }
    const dib::FilePtr readOnly = testing_support::openBytes(Bytes(100));
    EXPECT_FALSE(image->SaveFileInner(readOnly.get()));
    EXPECT_EQ(image->ErrorCode, DIB_ERROR_WRITE);
    EXPECT_TRUE(testing_support::sameImage(*image, *twin));
}

TEST(BmpSave, PathsInUtf8AndWide) {
    const auto image = testing_support::randomImage(5, 5, 24, 2);
    for (const wchar_t* name : {L"/plain.bmp", L"/\x00E4\x3042\U0001F600.bmp", L"/broken\xDCFF.bmp"}) {
        if (std::wcschr(name, 0xDCFF) != nullptr && !testing_support::namesHoldAnyBytes()) continue;
        const std::wstring wide =
            std::wstring(VexString::fromUtf8String(temporaryPath().c_str()).c_str()) + name;
        const VexAnsiString narrow = VexString(wide.c_str()).toUtf8String();
        ASSERT_TRUE(image->SaveToFile(wide.c_str()));
        DibStream back;
        ASSERT_TRUE(back.LoadFromFile(narrow.c_str(), DibStream::DIB_ACCEPT_24));
        EXPECT_EQ(pixelBytes(back), pixelBytes(*image));
        ASSERT_TRUE(image->SaveToFile(narrow.c_str()));
        ASSERT_TRUE(back.LoadFromFile(wide.c_str(), DibStream::DIB_ACCEPT_24));
        EXPECT_EQ(pixelBytes(back), pixelBytes(*image));
        EXPECT_TRUE(std::filesystem::remove(vexlibs::pathOf(narrow.c_str())));
    }
}

TEST(BmpSave, SurvivesEveryFailingAllocation) {
    const auto image = testing_support::randomImage(5, -3, 8, 1);
    const std::wstring path = VexString::fromUtf8String(temporaryPath("allocation.bmp").c_str()).c_str();
    bool saved = false;
    testing_support::forEachFailingAllocation([] {}, [&] { saved = image->SaveToFile(path.c_str()); },
                                              [&](bool failureMet) {
                                                  EXPECT_EQ(saved, !failureMet);
                                                  EXPECT_EQ(image->ErrorCode, failureMet ? 3 : 0);
                                              });
}

}  // namespace
}  // namespace bmp_bytes

#include <algorithm>

#include "dib/Kernels.h"
#include "tests/formats/IlbmTest.h"
#include "tests/reference/CodecReference.h"
#include "tests/support/Paths.h"

namespace codec_test {
namespace {

using ilbm_test::chunk;
using Outstream = formats::iff_outstream;

TEST(IlbmOutstream, Growth) {
    Outstream out;
    ASSERT_TRUE(out.add(10));
    EXPECT_EQ(out.capacity, 266U);
    EXPECT_EQ(out.length, 0U);
    ASSERT_TRUE(out.dword(0x01020304));
    EXPECT_EQ(out.length, 4U);
    EXPECT_EQ(Bytes(out.buffer, out.buffer + 4), (Bytes{1, 2, 3, 4}));
    ASSERT_TRUE(out.add(262));
    EXPECT_EQ(out.capacity, 266U);
    ASSERT_TRUE(out.add(263));
    EXPECT_EQ(out.capacity, 263U + 8 + 256);
}

TEST(IlbmOutstream, NoMemory) {
    Outstream out;
    ASSERT_TRUE(out.dword(7));
    const testing_support::FailNthAllocation failure(0);
    EXPECT_FALSE(out.add(1000));
    EXPECT_EQ(out.length, 4U);
    EXPECT_EQ(out.buffer[3], 7);
}

Bytes savedForm(DibStream& image) {
    Outstream out;
    EXPECT_TRUE(SaveIFF(out, &image, nullptr, nullptr));
    return {out.buffer, out.buffer + out.length};
}

Bytes asFile(const Bytes& formBody) { return chunk("FORM", formBody); }

TEST(IlbmSave, HeaderColoursAndPlanes) {
    const DibPtr image = testing_support::blankImage(3, 2, 4);
    for (int x = 0; x < 3; ++x) testing_support::setPixelValue(*image, x, 0, static_cast<unsigned>(1 << x));
    testing_support::setPixelValue(*image, 2, 1, 15);
    Bytes colors;
    for (unsigned i = 0; i < 16; ++i) colors.insert(colors.end(), 3, static_cast<unsigned char>(17 * i));
    ByteWriter header;
    header.be16(3).be16(2).be32(0).u8(4).u8(0).u8(0).u8(0).be16(0).u8(1).u8(1).be16(3).be16(2);
    const Bytes body = {0x80, 0, 0x40, 0, 0x20, 0, 0, 0, 0x20, 0, 0x20, 0, 0x20, 0, 0x20, 0};
    const Bytes expected = ByteWriter()
                               .text("ILBM")
                               .raw(chunk("BMHD", header.bytes))
                               .raw(chunk("CMAP", colors))
                               .raw(chunk("BODY", body))
                               .bytes;
    EXPECT_EQ(savedForm(*image), expected);
}

TEST(IlbmSave, ColoursAreRedFirstAndFilledUp) {
    const DibPtr image = testing_support::randomImage(1, 1, 8, 3);
    image->Header->biClrUsed = 2;
    const auto* table = reinterpret_cast<const unsigned char*>(image->Header) + 40;
    const Bytes file = savedForm(*image);
    const std::size_t at = 4 + 28 + 8;
    EXPECT_EQ(Bytes(file.begin() + at, file.begin() + at + 6),
              (Bytes{table[2], table[1], table[0], table[6], table[5], table[4]}));
    EXPECT_EQ(Bytes(file.begin() + at + 6, file.begin() + at + 768), Bytes(762, 0));
}

TEST(IlbmSave, OtherDepthsBecome24Planes) {
    for (const int bitCount : {16, 32}) {
        const DibPtr image = testing_support::blankImage(1, -1, bitCount);
        // Red 8, green 16, blue 128: planes 3, 12 and 23, the bits at 16 bits per pixel being 1, 2 and 16.
        testing_support::setPixelValue(*image, 0, 0, bitCount == 16 ? 1 << 10 | 2 << 5 | 16 : 0x081080);
        ByteWriter header;
        header.be16(1).be16(1).be32(0).u8(24).u8(0).u8(0).u8(0).be16(0).u8(1).u8(1).be16(1).be16(1);
        Bytes body(48);
        body[2 * 3] = body[2 * 12] = body[2 * 23] = 0x80;
        const Bytes expected =
            ByteWriter().text("ILBM").raw(chunk("BMHD", header.bytes)).raw(chunk("BODY", body)).bytes;
        EXPECT_EQ(savedForm(*image), expected) << bitCount;
    }
}

TEST(IlbmSave, SizesKeepTheirLow16Bits) {
    const DibPtr image = testing_support::blankImage(65538, 1, 1);
    const Bytes form = savedForm(*image);
    EXPECT_EQ(Bytes(form.begin() + 12, form.begin() + 16), (Bytes{0, 2, 0, 1}));
    EXPECT_EQ(Bytes(form.begin() + 28, form.begin() + 32), (Bytes{0, 2, 0, 1}));
    EXPECT_EQ(form.size(), 4U + 28 + 14 + 8 + 8194);
}

TEST(IlbmSave, EveryDepthAndSizeMatchesThePlainLoops) {
    for (const dib::KernelLevel level : dib::kKernelLevels) {
        dib::limitKernelLevel(level);
        for (const int bitCount : {1, 4, 8, 24}) {
            for (const testing_support::Size size : testing_support::kSizes) {
                for (const int height : {size.height, -size.height}) {
                    const DibPtr image = testing_support::randomImage(size.width, height, bitCount, 5);
                    const Bytes file = savedForm(*image);
                    Bytes body;
                    for (int y = 0; y < size.height; ++y) {
                        const Bytes planes = reference::ilbmPlanes(*image, y);
                        body.insert(body.end(), planes.begin(), planes.end());
                    }
                    ASSERT_GT(file.size(), body.size());
                    EXPECT_TRUE(std::equal(body.begin(), body.end(),
                                           file.end() - static_cast<std::ptrdiff_t>(body.size())))
                        << bitCount << " bits " << size.width << " x " << height;
                }
            }
        }
    }
}

TEST(IlbmSave, SavedPicturesComeBack) {
    for (const int bitCount : {8, 16, 24, 32}) {
        for (const int height : {5, -5}) {
            const DibPtr image = testing_support::randomImage(17, height, bitCount, 5);
            const Loaded loaded = load(LoadIFF, asFile(savedForm(*image)));
            ASSERT_TRUE(loaded.result);
            EXPECT_EQ(loaded.image->Header->biBitCount, bitCount == 8 ? 8 : 24);
            EXPECT_TRUE(testing_support::samePicture(testing_support::pictureOf(*loaded.image),
                                                     testing_support::pictureOf(*image),
                                                     bitCount == 16 ? 7 : 0));
            EXPECT_EQ(image->Header->biBitCount, bitCount);
        }
    }
}

TEST(IlbmSave, FailureTable) {
    const DibPtr image = testing_support::randomImage(2, 2, 24, 1);
    expectNoFile(SaveIFF, SaveIFF, *image, 3);
    image->ErrorCode = kUntouched;
    forEveryDeadFile([&](const char* path) { return SaveIFF(path, image.get(), nullptr, nullptr); },
                     [](bool saved, const char* path) { EXPECT_TRUE(saved) << path; });
    EXPECT_EQ(image->ErrorCode, kUntouched);
    image->BufferFree();
    Outstream out;
    EXPECT_FALSE(SaveIFF(out, image.get(), nullptr, nullptr));
    DibStream empty;
    EXPECT_FALSE(SaveIFF(out, &empty, nullptr, nullptr));
    EXPECT_EQ(empty.ErrorCode, 0);  // a conversion that fails leaves no code
}

TEST(IlbmSave, NothingIsOpenedBeforeTheFormIsBuilt) {
    DibStream empty;
    const std::string path = testing_support::temporaryPath("never-made.iff");
    EXPECT_FALSE(SaveIFF(path.c_str(), &empty, nullptr, nullptr));
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST(IlbmSave, EveryFailingAllocation) {
    for (const int bitCount : {1, 4, 8, 16, 24}) {
        const int failures = failEverySave(
            {50, 40}, bitCount,
            [](std::FILE*, DibStream* image) {
                Outstream out;
                return SaveIFF(out, image, nullptr, nullptr);
            },
            [&](const SaveAttempt& attempt, bool failureMet) {
                EXPECT_EQ(attempt.saved, !failureMet);
                // A failed conversion of the copy leaves no code.
                EXPECT_TRUE(attempt.saved || attempt.image->ErrorCode == 2 || bitCount == 16);
            });
        EXPECT_GE(failures, 3);
    }
}

TEST(IlbmSave, PathsOfBothWidths) {
    const DibPtr image = testing_support::randomImage(2, 2, 24, 1);
    expectWritten(SaveIFF, SaveIFF, *image, asFile(savedForm(*image)));
}

TEST(IlbmSave, CallbacksAreNotCalled) {
    const DibPtr image = testing_support::randomImage(2, 2, 24, 1);
    const TemporaryFile file(".iff");
    ProgressLog log;
    log.cancelAt = 0;
    EXPECT_TRUE(SaveIFF(file.path(), image.get(), ProgressLog::callback, &log));
    EXPECT_TRUE(log.fractions.empty());
    EXPECT_EQ(file.bytes(), asFile(savedForm(*image)));
}

}  // namespace
}  // namespace codec_test

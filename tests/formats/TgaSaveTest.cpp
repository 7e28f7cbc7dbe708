#include <algorithm>
#include <cstring>

#include "formats/Tga.h"
#include "tests/formats/CodecTest.h"

namespace codec_test {
namespace {

Bytes savedHeader(unsigned mapType, unsigned type, unsigned mapEntries, unsigned mapBits, unsigned width,
                  unsigned height, unsigned bitCount, unsigned descriptor) {
    ByteWriter out;
    out.u8(0).u8(mapType).u8(type).le16(0).le16(mapEntries).u8(mapBits).le16(0).le16(0);
    return out.le16(width).le16(height).u8(bitCount).u8(descriptor).bytes;
}

Bytes start(const Bytes& bytes, std::size_t count) {
    return Bytes(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(std::min(count, bytes.size())));
}

TEST(TgaSave, ColourDepthsAreWrittenAsTheyAreBottomRowFirst) {
    for (const int bitCount : {16, 24, 32}) {
        for (const int height : {2, -2}) {
            const DibPtr image = testing_support::randomImage(3, height, bitCount, 7);
            image->ErrorCode = kUntouched;
            bool saved = false;
            const Bytes file = save(SaveTGA, *image, &saved);
            EXPECT_TRUE(saved);
            EXPECT_EQ(image->ErrorCode, kUntouched);
            const auto bits = static_cast<unsigned>(bitCount);
            const Bytes expected = ByteWriter()
                                       .raw(savedHeader(0, 2, 0, 0, 3, 2, bits, bits == 32 ? 8 : 0))
                                       .raw(rowBytes(*image, 1))
                                       .raw(rowBytes(*image, 0))
                                       .bytes;
            EXPECT_EQ(file, expected);
        }
    }
}

TEST(TgaSave, EightBitsBringTheirTable) {
    const DibPtr image = testing_support::randomImage(3, 2, 8, 7);
    for (const unsigned used : {0U, 3U, 256U}) {
        image->Header->biClrUsed = used;
        const unsigned entries = used != 0 ? used : 256;
        ByteWriter expected;
        expected.raw(savedHeader(1, 1, entries, 24, 3, 2, 8, 0));
        const auto* table = reinterpret_cast<const unsigned char*>(image->Header) + 40;
        for (unsigned i = 0; i < entries; ++i)
            expected.u8(table[4 * i]).u8(table[4 * i + 1]).u8(table[4 * i + 2]);
        expected.raw(rowBytes(*image, 1)).raw(rowBytes(*image, 0));
        EXPECT_EQ(save(SaveTGA, *image), expected.bytes);
    }
}

TEST(TgaSave, NarrowDepthsBecome24Bits) {
    for (const int bitCount : {1, 4}) {
        const DibPtr image = testing_support::randomImage(5, 3, bitCount, 7);
        bool saved = false;
        const Bytes file = save(SaveTGA, *image, &saved);
        EXPECT_TRUE(saved);
        EXPECT_EQ(start(file, 18), savedHeader(0, 2, 0, 0, 5, 3, 24, 0));
        EXPECT_EQ(image->Header->biBitCount, bitCount);
        const Loaded loaded = load(LoadTGA, file);
        ASSERT_TRUE(loaded.result);
        EXPECT_TRUE(testing_support::samePicture(testing_support::pictureOf(*loaded.image),
                                                 testing_support::pictureOf(*image)));
    }
}

TEST(TgaSave, EveryDepthAndSizeComesBack) {
    for (const int bitCount : testing_support::kDepths) {
        for (const testing_support::Size size : testing_support::kSizes) {
            for (const int height : {size.height, -size.height}) {
                const DibPtr image = testing_support::randomImage(size.width, height, bitCount, 5);
                const Loaded loaded = load(LoadTGA, save(SaveTGA, *image));
                ASSERT_TRUE(loaded.result);
                EXPECT_TRUE(testing_support::samePicture(testing_support::pictureOf(*loaded.image),
                                                         testing_support::pictureOf(*image)));
            }
        }
    }
}

TEST(TgaSave, LongRowsCrossBlocks) {
    const DibPtr image = testing_support::randomImage(30001, 5, 24, 5);
    const Loaded loaded = load(LoadTGA, save(SaveTGA, *image));
    ASSERT_TRUE(loaded.result);
    for (int y = 0; y < 5; ++y) EXPECT_EQ(rowBytes(*loaded.image, y), rowBytes(*image, y));
}

TEST(TgaSave, NumbersOfTheHeaderKeepTheirLow16Bits) {
    const DibPtr wide = testing_support::blankImage(65538, 1, 8);
    const Bytes wideFile = save(SaveTGA, *wide);
    EXPECT_EQ(start(wideFile, 18), savedHeader(1, 1, 256, 24, 2, 1, 8, 0));
    EXPECT_EQ(wideFile.size(), 18U + 768 + 65538);
    const DibPtr high = testing_support::blankImage(1, -65537, 16);
    const Bytes highFile = save(SaveTGA, *high);
    EXPECT_EQ(start(highFile, 18), savedHeader(0, 2, 0, 0, 1, 1, 16, 0));
    EXPECT_EQ(highFile.size(), 18U + 2 * 65537);
    // A table of 65537 colours.
    auto* header = static_cast<unsigned char*>(std::calloc(1, 40 + 4 * 65537));
    std::memcpy(header, wide->Header, 40);
    const Bytes color = {7, 8, 9, 0};
    std::copy(color.begin(), color.end(), header + 40);
    wide->HeaderFree();
    wide->Header = reinterpret_cast<BITMAPINFOHEADER*>(header);
    wide->HeaderOwner = 6;
    wide->Header->biClrUsed = 65537;
    const Bytes file = save(SaveTGA, *wide);
    EXPECT_EQ(start(file, 21), ByteWriter().raw(savedHeader(1, 1, 1, 24, 2, 1, 8, 0)).raw({7, 8, 9}).bytes);
    EXPECT_EQ(file.size(), 18U + 3 + 65538);
}

TEST(TgaSave, EmptyImagesMakeAHeader) {
    DibStream empty;
    bool saved = false;
    EXPECT_EQ(save(SaveTGA, empty, &saved), savedHeader(0, 2, 0, 0, 0, 0, 0, 0));
    EXPECT_TRUE(saved);
}

TEST(TgaSave, HeaderWithoutPixelsIsRefused) {
    for (const int bitCount : {4, 8, 24}) {
        const DibPtr image = testing_support::randomImage(2, 2, bitCount, 1);
        image->BufferFree();
        bool saved = true;
        EXPECT_TRUE(save(SaveTGA, *image, &saved).empty());
        EXPECT_FALSE(saved);
        EXPECT_EQ(image->ErrorCode, 6);
    }
}

TEST(TgaSave, ProgressAndCancelAtEveryRow) {
    for (const int bitCount : {8, 16, 24, 32}) {
        const DibPtr image = testing_support::randomImage(2, 4, bitCount, 1);
        ProgressLog log;
        bool saved = false;
        const Bytes whole = save(SaveTGA, *image, &saved, &log);
        EXPECT_TRUE(saved);
        EXPECT_EQ(log.fractions, (std::vector<float>{0.0F, 0.25F, 0.5F, 0.75F}));
        for (int row = 0; row < 4; ++row) {
            ProgressLog cancelled;
            cancelled.cancelAt = row;
            image->ErrorCode = kUntouched;
            const Bytes part = save(SaveTGA, *image, &saved, &cancelled);
            EXPECT_FALSE(saved);
            EXPECT_EQ(image->ErrorCode, bitCount == 8 ? kUntouched : 9);
            EXPECT_EQ(part, Bytes(whole.begin(), whole.end() - bitCount / 8 * 2 * (3 - row)));
        }
    }
}

TEST(TgaSave, CallbacksDoNotChangeWhatIsWritten) {
    const DibPtr image = testing_support::randomImage(2, 4, 24, 1);
    const Bytes expected = save(SaveTGA, *image);
    const auto paint = [](float, void* user) {
        auto* painted = static_cast<DibStream*>(user);
        std::memset(painted->Buffer, 0, static_cast<std::size_t>(painted->GetImageSize()));
        return true;
    };
    EXPECT_EQ(testing_support::writtenBytes(
                  [&](std::FILE* file) { EXPECT_TRUE(SaveTGA(file, image.get(), paint, image.get())); }),
              expected);
}

TEST(TgaSave, FailureTable) {
    const DibPtr image = testing_support::randomImage(2, 2, 24, 1);
    expectNoFile(SaveTGA, SaveTGA, *image, 3);
    image->ErrorCode = kUntouched;
    forEveryDeadFile([&](const char* path) { return SaveTGA(path, image.get(), nullptr, nullptr); },
                     [](bool saved, const char* path) { EXPECT_TRUE(saved) << path; });
    EXPECT_EQ(image->ErrorCode, kUntouched);
}

TEST(TgaSave, EveryFailingAllocation) {
    ProgressLog log;
    log.fractions.reserve(100);
    for (const int bitCount : {4, 8, 24}) {
        for (const DibProgressCallback callback :
             {DibProgressCallback{}, DibProgressCallback{ProgressLog::callback}}) {
            const int failures = failEverySave(
                {5, 4}, bitCount,
                [&](std::FILE* file, DibStream* image) {
                    log.fractions.clear();
                    return SaveTGA(file, image, callback, &log);
                },
                [&](const SaveAttempt& attempt, bool failureMet) {
                    // A conversion that fails half way leaves no image, which makes a file without pixels.
                    const bool onlyHeader =
                        attempt.saved && failureMet && std::ftell(attempt.file.get()) == 18;
                    EXPECT_TRUE(onlyHeader || attempt.saved == !failureMet);
                    EXPECT_TRUE(attempt.saved || attempt.image->ErrorCode == 2);
                    EXPECT_TRUE(!onlyHeader || bitCount == 4);
                });
            EXPECT_GE(failures, 1);
        }
    }
}

TEST(TgaSave, PathsOfBothWidths) {
    const DibPtr image = testing_support::randomImage(2, 2, 24, 1);
    const Bytes bytes = save(SaveTGA, *image);
    expectWritten(SaveTGA, SaveTGA, *image, bytes);
    const TemporaryFile file(".tga", bytes);
    DibStream loaded;
    EXPECT_TRUE(LoadTGA(file.path(), &loaded, nullptr, nullptr));
    EXPECT_TRUE(LoadTGA(file.widePath().c_str(), &loaded, nullptr, nullptr));
}

}  // namespace
}  // namespace codec_test

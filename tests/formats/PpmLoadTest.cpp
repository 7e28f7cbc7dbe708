#include "formats/Ppm.h"

#include <cstring>
#include <utility>

#include "dib/Kernels.h"
#include "tests/formats/CodecTest.h"

namespace codec_test {
namespace {

Loaded loadText(const std::string& text, ProgressLog* log = nullptr) {
    return load(LoadPPM, bytesOf(text), log);
}

TEST(PpmLoad, BinaryColourIsStoredBlueFirstTopRowFirst) {
    const Loaded loaded = loadText("P6\n2 2\n255\nabcdefghijkl");
    ASSERT_TRUE(loaded.result);
    EXPECT_EQ(loaded.code, 0);
    EXPECT_EQ(loaded.image->Header->biBitCount, 24);
    EXPECT_EQ(loaded.image->Header->biHeight, 2);
    EXPECT_EQ(rowBytes(*loaded.image, 0), bytesOf("cbafed"));
    EXPECT_EQ(rowBytes(*loaded.image, 1), bytesOf("ihglkj"));
    EXPECT_EQ(std::memcmp(loaded.image->Buffer, "ihg", 3), 0);
}

TEST(PpmLoad, BinaryGreyHasTheGreyTable) {
    const Loaded loaded = loadText("P5\n3 2\n255\nabcdef");
    ASSERT_TRUE(loaded.result);
    EXPECT_EQ(loaded.image->Header->biBitCount, 8);
    EXPECT_EQ(loaded.image->Header->biClrUsed, 256U);
    EXPECT_EQ(testing_support::headerBytes(*loaded.image)[40 + 4 * 200 + 1], 200);
    EXPECT_EQ(rowBytes(*loaded.image, 0), bytesOf("abc"));
    EXPECT_EQ(rowBytes(*loaded.image, 1), bytesOf("def"));
}

TEST(PpmLoad, AsciiKinds) {
    const Loaded color = loadText("P3\n1 2\n255\n1 2 3\n4 5 6");
    ASSERT_TRUE(color.result);
    EXPECT_EQ(rowBytes(*color.image, 0), (Bytes{3, 2, 1}));
    EXPECT_EQ(rowBytes(*color.image, 1), (Bytes{6, 5, 4}));
    const Loaded grey = loadText("P2\n3 1\n255\n7,8x-1");
    ASSERT_TRUE(grey.result);
    EXPECT_EQ(rowBytes(*grey.image, 0), (Bytes{7, 8, 255}));
}

TEST(PpmLoad, AsciiSamplesKeepTheirLowByteWhateverTheMaximum) {
    const Loaded loaded = loadText("P2\n4 1\n65535\n65535 256 4294967298 300\n");
    ASSERT_TRUE(loaded.result);
    EXPECT_EQ(rowBytes(*loaded.image, 0), (Bytes{255, 0, 2, 44}));
}

TEST(PpmLoad, DigitsInCommentsBetweenSamplesAreSamples) {
    const Loaded loaded = loadText("P2\n3 1\n255\n1 # 22\n3\n");
    ASSERT_TRUE(loaded.result);
    EXPECT_EQ(rowBytes(*loaded.image, 0), (Bytes{1, 22, 3}));
}

TEST(PpmLoad, CommentsAreSkippedOnlyBeforeTheSize) {
    EXPECT_TRUE(loadText("P5\n# one\n#\n1 1\n255\nx").result);
    // The comment counts as the line of the maximum, whose own line is then pixel data.
    const Loaded loaded = loadText("P5\n4 1\n# comment\n255\nabcd");
    ASSERT_TRUE(loaded.result);
    EXPECT_EQ(rowBytes(*loaded.image, 0), bytesOf("255\n"));
}

TEST(PpmLoad, LongLinesComeInPieces) {
    const std::string longComment = "#" + std::string(126, 'x');
    EXPECT_EQ(loadText("P5\n" + longComment + "\n1 1\n255\nx").code,
              6);  // the line feed is a line of its own
    EXPECT_TRUE(loadText("P5\n" + longComment + "# more\n1 1\n255\nx").result);
}

TEST(PpmLoad, SizeMayBeSeparatedByAnyWhiteSpaceOrSign) {
    EXPECT_EQ(loadText("P5\n \t2\t3 \n255\nabcdef").image->Header->biHeight, 3);
    EXPECT_EQ(loadText("P5\n+2+3\n255\nabcdef").image->Header->biWidth, 2);
}

TEST(PpmLoad, FirstLineIsComparedWhole) {
    for (const char* first :
         {"P1\n", "P4\n", "P6\r\n", "P6 \n", "P6 1 1\n", "p6\n", "P66\n", "P6", "\n", "BM"}) {
        const Loaded loaded = loadText(std::string(first) + "1 1\n255\nabc");
        EXPECT_FALSE(loaded.result) << first;
        EXPECT_EQ(loaded.code, 7) << first;
        EXPECT_EQ(loaded.image->Header, nullptr) << first;
    }
}

TEST(PpmLoad, FailureTable) {
    DibStream image;
    expectNoFile(LoadPPM, LoadPPM, image, 3);
    expectNoFile(LoadPGM, LoadPGM, image, 3);

    EXPECT_EQ(loadText("").code, 6);
    for (const char* size : {"", "\n", "3\n", "x 3\n", "3 x\n", "3x3\n", "-1 3\n", "-1 -3\n", "# 1 1\n"}) {
        EXPECT_EQ(loadText("P6\n" + std::string(size)).code, 6) << size;
    }
    for (const char* size :
         {"0 3\n", "3 0\n", "0 -3\n", "30000 30000\n", "4294967295 1\n", "1 99999999999999999999\n"}) {
        const Loaded loaded = loadText("P6\n" + std::string(size) + "255\nabc");
        EXPECT_EQ(loaded.code, 2) << size;
        EXPECT_EQ(loaded.image->Header, nullptr) << size;
    }
    EXPECT_EQ(loadText("P6\n1 1\n255\nab").code, 4);
    EXPECT_EQ(loadText("P5\n1 1\n").code, 4);
    EXPECT_EQ(loadText("P3\n1 1\n255\n1 2 x").code, 4);
}

TEST(PpmLoad, NegativeHeightReadsNothingAndFails) {
    const Loaded loaded = loadText("P6\n2 -3\n255\nabcdefghijklmnopqr");
    EXPECT_FALSE(loaded.result);
    EXPECT_EQ(loaded.code, 1);
    ASSERT_NE(loaded.image->Header, nullptr);
    EXPECT_EQ(loaded.image->Header->biHeight, -3);
}

TEST(PpmLoad, FailuresBeforeTheNewImageKeepTheOldOne) {
    const DibPtr image = testing_support::randomImage(3, 3, 24, 1);
    const Bytes before = testing_support::pixelBytes(*image);
    EXPECT_FALSE(load(LoadPPM, bytesOf("P6\n-1 2\n255\n"), *image));
    EXPECT_EQ(testing_support::pixelBytes(*image), before);
    EXPECT_FALSE(load(LoadPPM, bytesOf("P4\n1 2\n"), *image));
    EXPECT_EQ(testing_support::pixelBytes(*image), before);
}

TEST(PpmLoad, ShortDataKeepsTheRowsBefore) {
    const Loaded loaded = loadText("P5\n2 3\n255\nabcde");
    EXPECT_FALSE(loaded.result);
    EXPECT_EQ(loaded.code, 4);
    EXPECT_EQ(rowBytes(*loaded.image, 1), bytesOf("cd"));
    EXPECT_EQ(rowBytes(*loaded.image, 2)[0], 'e');
}

TEST(PpmLoad, CancelledLoadsKeepTheRowsBefore) {
    for (const int width : {4, 5}) {
        Bytes file = bytesOf("P5\n" + std::to_string(width) + " 3\n255\n");
        file.insert(file.end(), 3 * static_cast<std::size_t>(width), 'x');
        const auto cancel = [](float, void*) { return false; };
        DibStream image;
        EXPECT_FALSE(LoadPPM(testing_support::openBytes(file).get(), &image, cancel, nullptr));
        EXPECT_EQ(image.ErrorCode, 9);
        EXPECT_EQ(rowBytes(image, 0), Bytes(static_cast<std::size_t>(width), 'x'));
        EXPECT_EQ(rowBytes(image, 1), Bytes(static_cast<std::size_t>(width), 0));
        EXPECT_EQ(rowBytes(image, 2), Bytes(static_cast<std::size_t>(width), 0));
    }
}

// Rows that were read ahead of a cancelled one are dropped, in files that are too short for their picture,
// too.
TEST(PpmLoad, CancelledLoadsOfShortFilesKeepTheRowsBefore) {
    for (const char* kind : {"P5", "P6"}) {
        Bytes file = bytesOf(std::string(kind) + "\n1003 900\n255\n");
        file.insert(file.end(), 700 * 1003, 'x');
        const auto cancel = [](float, void*) { return false; };
        DibStream image;
        EXPECT_FALSE(LoadPPM(testing_support::openBytes(file).get(), &image, cancel, nullptr));
        EXPECT_EQ(image.ErrorCode, 9);
        EXPECT_EQ(image.ScanLine(0)[1000], 'x');
        for (const int y : {1, 100, 899}) {
            const unsigned char* row = image.ScanLine(y);
            EXPECT_EQ(Bytes(row, row + image.GetPitch()), Bytes(image.GetPitch(), 0)) << kind << " " << y;
        }
    }
}

// Byte i of the samples, which do not repeat from row to row.
unsigned char sampleByte(std::size_t i) { return static_cast<unsigned char>(i * 7 + i / 251); }

TEST(PpmLoad, LongPicturesKeepEveryRowAtEveryKernelLevel) {
    // One row, even and odd numbers of rows, several blocks; widths with and without fill after the row.
    const std::pair<int, int> sizes[] = {{1, 1}, {3, 2}, {4, 3}, {17, 5}, {64, 48}, {1000, 901}, {1003, 900}};
    for (const dib::KernelLevel level : dib::kKernelLevels) {
        dib::limitKernelLevel(level);
        for (const auto& [width, height] : sizes) {
            for (const std::size_t channels : {1U, 3U}) {
                Bytes file = bytesOf((channels == 1 ? "P5\n" : "P6\n") + std::to_string(width) + " " +
                                     std::to_string(height) + "\n255\n");
                const std::size_t count = static_cast<std::size_t>(width) * channels;
                for (std::size_t i = 0; i < count * static_cast<std::size_t>(height); ++i)
                    file.push_back(sampleByte(i));
                const Loaded loaded = load(LoadPPM, file);
                ASSERT_TRUE(loaded.result);
                for (int y = 0; y < height; ++y) {
                    Bytes row(count);
                    for (std::size_t i = 0; i < count; ++i) {
                        const std::size_t place = channels == 1 ? i : i - i % 3 + (2 - i % 3);
                        row[place] = sampleByte(static_cast<std::size_t>(y) * count + i);
                    }
                    ASSERT_EQ(rowBytes(*loaded.image, y), row) << width << " " << y;
                    const unsigned char* stored = loaded.image->ScanLine(y);
                    const Bytes fill(stored + count, stored + loaded.image->GetPitch());
                    ASSERT_EQ(fill, Bytes(fill.size(), 0)) << width << " " << y;
                }
            }
        }
    }
    dib::limitKernelLevel(dib::bestKernelLevel());
}

TEST(PpmLoad, LongPicturesAreReportedUpToTheRowThatIsCut) {
    for (const int width : {1000, 1003}) {
        Bytes file = bytesOf("P5\n" + std::to_string(width) + " 900\n255\n");
        const std::size_t rows = 637;  // in a block after the first
        for (std::size_t i = 0; i < rows * static_cast<std::size_t>(width) + 7; ++i)
            file.push_back(sampleByte(i));
        ProgressLog log;
        const Loaded loaded = load(LoadPPM, file, &log);
        EXPECT_FALSE(loaded.result);
        EXPECT_EQ(loaded.code, 4);
        EXPECT_EQ(log.fractions.size(), rows);
        for (const std::size_t y : {std::size_t{0}, std::size_t{262}, rows - 1, rows}) {
            const Bytes row = rowBytes(*loaded.image, static_cast<int>(y));
            for (std::size_t x = 0; x < (y == rows ? 7U : 1000U); ++x)
                ASSERT_EQ(row[x], sampleByte(y * static_cast<std::size_t>(width) + x)) << y << " " << x;
        }
    }
}

TEST(PpmLoad, ProgressStartsAtZero) {
    ProgressLog log;
    ASSERT_TRUE(loadText("P5\n1 4\n255\nabcd", &log).result);
    EXPECT_EQ(log.fractions, (std::vector<float>{0.0F, 0.25F, 0.5F, 0.75F}));
}

TEST(PpmLoad, CancelAtEveryRow) {
    for (const char* file : {"P5\n1 4\n255\n1234", "P2\n1 4\n255\n49 50 51 52\n"}) {
        for (int row = 0; row < 4; ++row) {
            ProgressLog log;
            log.cancelAt = row;
            const Loaded loaded = loadText(file, &log);
            EXPECT_FALSE(loaded.result);
            EXPECT_EQ(loaded.code, 9);
            EXPECT_EQ(log.fractions.size(), static_cast<std::size_t>(row) + 1);
            EXPECT_EQ(rowBytes(*loaded.image, row)[0], '1' + row);
        }
    }
}

TEST(PpmLoad, EveryTruncationFails) {
    for (const char* file : {"P6\n3 2\n255\nabcdefghijklmnopqr", "P5\n3 2\n255\nabcdef",
                             "P3\n1 2\n255\n1 2 3 4 5 6", "P2\n3 2\n255\n1 2 3 4 5 6"}) {
        ASSERT_TRUE(loadText(file).result);
        forEveryTruncation(bytesOf(file), [&](const Bytes& cut, std::size_t length) {
            const Loaded loaded = load(LoadPPM, cut);
            EXPECT_FALSE(loaded.result) << length;
            EXPECT_NE(loaded.code, 0) << length;
        });
    }
}

TEST(PpmLoad, FilesMayHaveAnyNumberOfCommentsAndBlanks) {
    NEEDS_CALL_STREAMS();
    // More than a pipe may have.
    std::string comments;
    for (int i = 0; i < (1 << 20) + 5; ++i) comments += "#\n";
    const Bytes commented = bytesOf("P5\n" + comments + "1 1\n255\nx");
    EXPECT_TRUE(load(LoadPPM, commented).result);
    const Bytes spaced = bytesOf("P2\n1 1\n255\n" + std::string((std::size_t{1} << 24) + 5, ' ') + "7");
    const Loaded loaded = load(LoadPPM, spaced);
    ASSERT_TRUE(loaded.result);
    EXPECT_EQ(rowBytes(*loaded.image, 0), (Bytes{7}));

    for (const Bytes& file : {commented, spaced}) {
        EndlessStream pipe{{file.begin(), file.end()}, "#\n"};
        DibStream image;
        EXPECT_FALSE(LoadPPM(pipe.open().get(), &image, nullptr, nullptr));
    }
}

TEST(PpmLoad, StreamsWithoutEndAreLeft) {
    NEEDS_CALL_STREAMS();
    for (EndlessStream stream :
         {EndlessStream{"", "x"}, EndlessStream{"P6\n", "#\n"}, EndlessStream{"P6\n", "#"},
          EndlessStream{"P2\n2 2\n255\n", "1"}, EndlessStream{"P2\n2 2\n255\n", " "}}) {
        const dib::FilePtr file = stream.open();
        DibStream image;
        EXPECT_FALSE(LoadPPM(file.get(), &image, nullptr, nullptr)) << stream.start << stream.repeated;
        EXPECT_NE(image.ErrorCode, 0);
    }
}

TEST(PpmLoad, AnnouncedSizeCostsNoMoreThanTheImage) {
    testing_support::resetLargestAllocation();
    EXPECT_EQ(loadText("P6\n20000 20000\n255\nabc").code, 4);
    EXPECT_LE(testing_support::largestAllocation(), 20000U * 60000U);
    const long before = testing_support::liveAllocations();
    EXPECT_EQ(loadText("P6\n65000 65000\n255\n").code, 2);
    EXPECT_EQ(testing_support::liveAllocations(), before);
}

TEST(PpmLoad, EveryFailingAllocation) {
    EXPECT_EQ(failEveryAllocation(LoadPPM, bytesOf("P6\n2 2\n255\nabcdefghijkl")), 2);  // header, pixels
}

TEST(PpmLoad, PathsOfBothWidths) {
    const TemporaryFile file(".ppm", bytesOf("P6\n1 1\n255\nabc"));
    DibStream image;
    EXPECT_TRUE(LoadPPM(file.path(), &image, nullptr, nullptr));
    EXPECT_TRUE(LoadPPM(file.widePath().c_str(), &image, nullptr, nullptr));
    EXPECT_TRUE(LoadPGM(file.path(), &image, nullptr, nullptr));
    EXPECT_TRUE(LoadPGM(file.widePath().c_str(), &image, nullptr, nullptr));
    EXPECT_FALSE(LoadPPM(file.path(), nullptr, nullptr, nullptr));
}

TEST(PpmReadInt, Numbers) {
    const auto read = [](const std::string& text, std::size_t* consumed = nullptr) {
        const Bytes bytes = bytesOf(text);
        formats::ByteReader reader(bytes.data(), bytes.size());
        int value = -12345;
        if (formats::readInt(reader, value) == 0) return -12345;
        if (consumed != nullptr) *consumed = static_cast<std::size_t>(reader.position());
        return value;
    };
    EXPECT_EQ(read(""), -12345);
    EXPECT_EQ(read("abc-"), -12345);
    EXPECT_EQ(read("12"), 12);
    EXPECT_EQ(read("-12 "), -12);
    EXPECT_EQ(read("- 12 "), -12);
    EXPECT_EQ(read("1-2 "), -12);
    EXPECT_EQ(read("--7"), -7);
    EXPECT_EQ(read("12-"), -12);
    std::size_t consumed = 0;
    EXPECT_EQ(read("  34,56", &consumed), 34);
    EXPECT_EQ(consumed, 5U);
}

}  // namespace
}  // namespace codec_test

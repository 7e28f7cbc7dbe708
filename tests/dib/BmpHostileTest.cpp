// BMP files that are cut, damaged or lie about their size, and memory that runs short.
#include <DibStream.h>
#include <gtest/gtest.h>

#include <fstream>

#include "dib/ImageSize.h"
#include "tests/dib/BmpBytes.h"
#include "tests/support/FailingMalloc.h"
#include "tests/support/Paths.h"
#include "tests/support/Samples.h"
#include "tests/support/System.h"

namespace bmp_bytes {
namespace {

// Megabytes of the process that are in memory.
long residentMegabytes() {
    std::ifstream statm("/proc/self/statm");
    long total = 0;
    long resident = 0;
    statm >> total >> resident;
    return resident * 4096 / (1 << 20);
}

TEST(BmpHostile, EveryTruncationIsAShortRead) {
    for (const Bytes& file : goodFiles()) {
        EXPECT_EQ(failureOf(file), -1);
        for (std::size_t length = 0; length < file.size(); ++length) {
            EXPECT_EQ(failureOf(Bytes(file.begin(), file.begin() + static_cast<long>(length))),
                      DIB_ERROR_READ)
                << length << " of " << file.size() << " bytes";
        }
    }
}

TEST(BmpHostile, EveryFieldAtItsExtremes) {
    // Offsets and sizes of every field of both headers.
    constexpr std::pair<std::size_t, int> kFields[] = {{2, 4},  {6, 2},  {8, 2},  {10, 4}, {14, 4},
                                                       {18, 4}, {22, 4}, {26, 2}, {28, 2}, {30, 4},
                                                       {34, 4}, {38, 4}, {42, 4}, {46, 4}, {50, 4}};
    constexpr std::uint32_t kExtremes[] = {0,          1,          2,          0x7FFF,     0x8000,
                                           0xFFFF,     0x10000001, 0x20000000, 0x40000000, 0x7FFFFFFF,
                                           0x80000000, 0x80000001, 0xFFFFFFFE, 0xFFFFFFFF};
    for (const Bytes& good : goodFiles()) {
        for (const auto& [offset, size] : kFields) {
            for (const std::uint32_t value : kExtremes) {
                Bytes file = good;
                if (size == 2) dib::writeLe16(file.data() + offset, value);
                if (size == 4) dib::writeLe32(file.data() + offset, value);
                DibStream dib;
                if (load(dib, file)) {
                    EXPECT_EQ(dib.ErrorCode, 0);
                    const dib::ImageSize loaded = dib::admitSize(*dib.Header);
                    EXPECT_TRUE(loaded.admitted);
                    EXPECT_EQ(dib.Header->biSizeImage, loaded.imageBytes);
                } else {
                    EXPECT_EQ(dib.Header, nullptr);
                    EXPECT_EQ(dib.Buffer, nullptr);
                    EXPECT_TRUE(dib.ErrorCode == 2 || dib.ErrorCode == 4 || dib.ErrorCode == 6 ||
                                dib.ErrorCode == 7)
                        << dib.ErrorCode;
                }
            }
        }
    }
}

TEST(BmpHostile, SizesThatCannotExist) {
    for (const auto& [width, height] : {std::pair{-5, 3},
                                        {INT_MIN, 1},
                                        {5, INT_MIN},
                                        {0x10000001, 1},
                                        {INT_MAX, INT_MAX},
                                        {65535, 65535},
                                        {1 << 20, 1 << 12}}) {
        EXPECT_EQ(failureOf(BmpBytes{width, height, 24, Bytes(100)}.build()), 2) << width << " x " << height;
        EXPECT_EQ(failureOf(BmpBytes{width, height, 32, Bytes(100)}.build()), 2) << width << " x " << height;
    }
}

TEST(BmpHostile, AnnouncedPixelsAreNotAllocatedForAShortFile) {
    testing_support::resetLargestAllocation();
    EXPECT_EQ(failureOf(BmpBytes{26000, 26000, 24, Bytes(100)}.build()), DIB_ERROR_READ);
    EXPECT_LT(testing_support::largestAllocation(), 1U << 20);

    Bytes runs = BmpBytes{4, 4, 8, Bytes(100), greyEntries(256), kRunLength8}.build();
    for (const std::uint32_t announced : {101U, 0x7FFFFFFFU, 0xFFFFFFFFU}) {
        patch32(runs, 34, announced);
        EXPECT_EQ(failureOf(runs), DIB_ERROR_READ);
    }
    EXPECT_LT(testing_support::largestAllocation(), 1U << 20);
}

TEST(BmpHostile, LargeBackgroundsCostNoMemory) {
    const long before = residentMegabytes();
    const Bytes runs{5, 9, 0, 1};
    DibStream dib;
    ASSERT_TRUE(load(dib, BmpBytes{30000, 30000, 8, runs, greyEntries(2), kRunLength8, 2}.build()));
    EXPECT_EQ(dib.Buffer[4], 9);
    EXPECT_EQ(dib.Buffer[5], 0);
    EXPECT_EQ(dib.Buffer[30000U * 30000U - 1], 0);
    EXPECT_LT(residentMegabytes() - before, 200);
}

TEST(BmpHostile, RunsAreBoundedByTheFile) {
    // A million line ends, and deltas that run far beyond the last row.
    DibStream dib;
    EXPECT_TRUE(load(dib, BmpBytes{4, 2, 8, Bytes(2000000), greyEntries(2), kRunLength8, 2}.build()));
    Bytes deltas;
    for (int i = 0; i < 1000; ++i) deltas.insert(deltas.end(), {0, 2, 255, 0, 1, 7});
    EXPECT_TRUE(load(dib, BmpBytes{4, 20000, 8, deltas, greyEntries(2), kRunLength8, 2}.build()));
    EXPECT_EQ(dib.Buffer[255], 7);
    EXPECT_EQ(dib.Buffer[255 + 256], 7);
}

TEST(BmpHostile, LoadingSurvivesEveryFailingAllocation) {
    for (const Bytes& file : goodFiles()) {
        DibStream* dib = nullptr;
        dib::FilePtr stream;
        bool loaded = false;
        const int failures = testing_support::forEachFailingAllocation(
            [&] {
                dib = new DibStream;
                dib->Create(3, 3, 8);
                stream = testing_support::openBytes(file);
            },
            [&] { loaded = dib->LoadFileInner(stream.get(), 63); },
            [&](bool failureMet) {
                EXPECT_EQ(loaded, !failureMet);
                EXPECT_EQ(dib->ErrorCode, failureMet ? DIB_ERROR_MEMORY : DIB_OK);
                EXPECT_EQ(dib->Header == nullptr, failureMet);
                EXPECT_EQ(dib->Buffer == nullptr, failureMet);
                stream.reset();
                dib->Release();
            });
        EXPECT_GE(failures, 2);
    }
}

TEST(BmpHostile, FilesThatCannotBeOpened) {
    DibStream dib;
    ASSERT_TRUE(dib.Create(1, 1, 8));
    EXPECT_FALSE(dib.LoadFromFile(testing_support::temporaryPath("missing.bmp").c_str(), 63));
    EXPECT_EQ(dib.ErrorCode, DIB_ERROR_OPEN);
    EXPECT_EQ(dib.Header, nullptr);
    EXPECT_EQ(dib.Buffer, nullptr);
    ASSERT_TRUE(dib.Create(1, 1, 8));
    dib.ErrorCode = 0;
    EXPECT_FALSE(dib.LoadFromFile(L"/missing/\x3042.bmp", 63));
    EXPECT_EQ(dib.ErrorCode, DIB_ERROR_OPEN);
    EXPECT_EQ(dib.Header, nullptr);
    EXPECT_FALSE(dib.LoadFromFile(testing_support::temporaryPath().c_str(), 63)) << "a folder has no bytes";
    EXPECT_EQ(dib.ErrorCode, testing_support::foldersOpen() ? DIB_ERROR_READ : DIB_ERROR_OPEN);
    ASSERT_TRUE(dib.Create(1, 1, 8));
    EXPECT_FALSE(dib.LoadFileInner(nullptr, 63));
    EXPECT_EQ(dib.ErrorCode, DIB_ERROR_OPEN);
    EXPECT_EQ(dib.Header, nullptr);
}

TEST(BmpHostile, FailedLoadsLeaveBorrowedBlocksAlone) {
    BITMAPINFOHEADER header{};
    unsigned char pixels[4] = {1, 2, 3, 4};
    DibStream dib;
    ASSERT_TRUE(dib.SetDib(&header, 0, pixels, 0));
    EXPECT_FALSE(load(dib, {}));
    EXPECT_EQ(dib.Header, nullptr);
    EXPECT_EQ(pixels[3], 4);
}

// What must come out of a real file follows from its variant as far as the index describes it.
TEST(BmpSamples, EveryFile) {
    if (testing_support::samplesFolder().empty()) GTEST_SKIP() << "no sample files";
    int compared = 0;
    for (const auto& sample : testing_support::samplesOf("bmp")) {
        SCOPED_TRACE(sample.path);
        const auto has = [&](const char* word) { return sample.variant.find(word) != std::string::npos; };
        DibStream dib;
        const bool loaded = dib.LoadFromFile(sample.path.c_str(), 63);
        if (!loaded) {
            EXPECT_EQ(dib.Header, nullptr);
            EXPECT_GT(dib.ErrorCode, 0);
        }
        if (has("not-BM")) {
            EXPECT_EQ(dib.ErrorCode, 6);
        }
        if (has("RLE4") || has("CORE12") || has("OS2v2-16") || has("PNG") || has("JPEG")) {
            EXPECT_EQ(dib.ErrorCode, 7);
        }
        if (has("BITFIELDS") && (has("INFO40") || has("16bpp") || has("V2-52"))) {
            EXPECT_EQ(dib.ErrorCode, 7);
        }
        const auto expected = testing_support::expectedPicture(sample);
        if (expected && loaded) {
            EXPECT_TRUE(testing_support::samePicture(testing_support::pictureOf(dib), *expected, 1));
            ++compared;
        }
        if (expected && !loaded) {
            EXPECT_EQ(dib.ErrorCode, 7) << "nothing but a variant that is not read is refused";
        }
    }
    EXPECT_GT(compared, 50);
}

}  // namespace
}  // namespace bmp_bytes

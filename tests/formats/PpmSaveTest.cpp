#include "dib/Kernels.h"
#include "formats/Ppm.h"
#include "tests/formats/CodecTest.h"

namespace codec_test {
namespace {

TEST(PpmSave, WritesRedFirstTopRowFirst) {
    for (const int height : {2, -2}) {
        const DibPtr image = testing_support::blankImage(1, height, 24);
        testing_support::setPixelValue(*image, 0, 0, 0x010203);
        testing_support::setPixelValue(*image, 0, 1, 0x040506);
        image->ErrorCode = kUntouched;
        bool saved = false;
        const Bytes expected = ByteWriter().text("P6\n1 2\n255\n").raw({1, 2, 3, 4, 5, 6}).bytes;
        EXPECT_EQ(save(SavePPM, *image, &saved), expected);
        EXPECT_TRUE(saved);
        EXPECT_EQ(image->ErrorCode, kUntouched);
    }
}

TEST(PpmSave, PalettesAreWrittenAsTheirColours) {
    const DibPtr image = testing_support::blankImage(3, 1, 8);
    auto* table = reinterpret_cast<DibBGRA*>(image->Header + 1);
    table[0] = {1, 2, 3, 0};
    table[200] = {4, 5, 6, 0};
    testing_support::setPixelValue(*image, 0, 0, 200);
    testing_support::setPixelValue(*image, 2, 0, 255);
    EXPECT_EQ(save(SavePPM, *image),
              ByteWriter().text("P6\n3 1\n255\n").raw({6, 5, 4, 3, 2, 1, 255, 255, 255}).bytes);
}

TEST(PpmSave, EveryDepthIsSavedInColourAndTheImageStays) {
    for (const int bitCount : testing_support::kDepths) {
        for (const testing_support::Size size : testing_support::kSizes) {
            for (const int height : {size.height, -size.height}) {
                const DibPtr image = testing_support::randomImage(size.width, height, bitCount, 9);
                const Bytes before = testing_support::pixelBytes(*image);
                bool saved = false;
                const Bytes file = save(SavePPM, *image, &saved);
                EXPECT_TRUE(saved);
                EXPECT_EQ(testing_support::pixelBytes(*image), before);
                EXPECT_EQ(image->Header->biBitCount, bitCount);
                const Loaded loaded = load(LoadPPM, file);
                ASSERT_TRUE(loaded.result);
                const int tolerance = bitCount == 16 ? 7 : 0;  // words lose the low bits of a byte
                EXPECT_TRUE(testing_support::samePicture(testing_support::pictureOf(*loaded.image),
                                                         testing_support::pictureOf(*image), tolerance));
            }
        }
    }
}

TEST(PpmSave, EveryKernelLevelWritesTheSame) {
    const DibPtr image = testing_support::randomImage(131, 3, 24, 4);
    for (const dib::KernelLevel level : dib::kKernelLevels) {
        dib::limitKernelLevel(level);
        const Bytes file = save(SavePPM, *image);
        const std::size_t start = file.size() - 131 * 3 * 3;
        for (int i = 0; i < 131 * 3; ++i) {
            const unsigned char* pixel = image->Pixel(i % 131, i / 131);
            for (int channel = 0; channel < 3; ++channel) {
                ASSERT_EQ(file[start + static_cast<std::size_t>(3 * i + channel)], pixel[2 - channel]);
            }
        }
    }
    dib::limitKernelLevel(dib::bestKernelLevel());
}

TEST(PpmSave, ProgressAndCancelAtEveryRow) {
    const DibPtr image = testing_support::randomImage(2, 4, 24, 1);
    ProgressLog log;
    bool saved = false;
    const Bytes whole = save(SavePPM, *image, &saved, &log);
    EXPECT_TRUE(saved);
    EXPECT_EQ(log.fractions, (std::vector<float>{0.0F, 0.25F, 0.5F, 0.75F}));
    for (int row = 0; row < 4; ++row) {
        ProgressLog cancelled;
        cancelled.cancelAt = row;
        image->ErrorCode = kUntouched;
        const Bytes part = save(SavePPM, *image, &saved, &cancelled);
        EXPECT_FALSE(saved);
        EXPECT_EQ(image->ErrorCode, kUntouched);
        EXPECT_EQ(part, Bytes(whole.begin(), whole.end() - 6 * (3 - row)));
    }
}

TEST(PpmSave, FailuresStoreNoCode) {
    const DibPtr image = testing_support::randomImage(2, 2, 24, 1);
    expectNoFile(SavePPM, SavePPM, *image, kUntouched);
    forEveryDeadFile([&](const char* path) { return SavePPM(path, image.get(), nullptr, nullptr); },
                     [](bool saved, const char* path) { EXPECT_TRUE(saved) << path; });
    EXPECT_EQ(image->ErrorCode, kUntouched);
    DibStream empty;
    bool saved = true;
    save(SavePPM, empty, &saved);
    EXPECT_FALSE(saved);
    image->BufferFree();
    save(SavePPM, *image, &saved);
    EXPECT_FALSE(saved);
}

TEST(PpmSave, EveryFailingAllocation) {
    for (const int bitCount : {8, 24}) {
        const int failures = failEverySave(
            {5, 4}, bitCount,
            [](std::FILE* file, DibStream* image) { return SavePPM(file, image, nullptr, nullptr); },
            [](const SaveAttempt& attempt, bool failureMet) { EXPECT_EQ(attempt.saved, !failureMet); });
        EXPECT_GE(failures, 1);
    }
}

TEST(PpmSave, PathsOfBothWidths) {
    const DibPtr image = testing_support::randomImage(2, 2, 24, 1);
    const Bytes bytes = save(SavePPM, *image);
    EXPECT_EQ(bytes.size(), 11U + 12);
    expectWritten(SavePPM, SavePPM, *image, bytes);
}

}  // namespace
}  // namespace codec_test

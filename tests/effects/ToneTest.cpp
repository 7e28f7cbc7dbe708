#include <DibEffect.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>
#include <vector>

#include "dib/Kernels.h"
#include "dib/ToneLookup.h"
#include "effects/Tone.h"
#include "tests/reference/PointReference.h"
#include "tests/support/EffectChecks.h"
#include "tests/support/TestImages.h"

namespace {

using testing_support::blankImage;
using testing_support::DibPtr;
using testing_support::pixelValue;
using testing_support::ProgressLog;
using testing_support::randomImage;
using testing_support::sameImage;
using testing_support::setPixelValue;

const std::vector<int> kDepths{1, 4, 8, 24, 32};

// All 256 values in the blue of one row.
DibPtr rampOfBlue() {
    DibPtr image = blankImage(256, 1, 24);
    for (int i = 0; i < 256; ++i) setPixelValue(*image, i, 0, static_cast<std::uint32_t>(i));
    return image;
}

TEST(Tone, EqualsThePlainLoops) {
    const float gammas[] = {2.2F, 0.4F, 1.0F, 0.0F, -0.0F, -2.0F, 1e-30F, 1e30F, INFINITY, std::nanf("")};
    const int limits[][2] = {{0, 255}, {10, 200},          {-50, 300},         {200, 10},    {0, 0},
                             {5, 4},   {INT_MIN, INT_MAX}, {INT_MAX, INT_MIN}, {-1, INT_MAX}};
    for (const float gamma : gammas) {
        for (const auto& limit : limits) {
            SCOPED_TRACE(::testing::Message() << limit[0] << " " << limit[1] << " " << gamma);
            const DibPtr image = rampOfBlue();
            const DibPtr expected(image->Clone());
            EXPECT_TRUE(DibEffectGammaCorrect(nullptr, nullptr, image.get(), limit[0], limit[1], gamma));
            reference::gammaCorrect(*expected, limit[0], limit[1], gamma);
            EXPECT_TRUE(sameImage(*image, *expected));
        }
    }
    for (const float brightness : {0.0F, 0.05F, -0.5F, 1e30F, INFINITY, std::nanf("")}) {
        for (const float contrast : {0.0F, 1.0F, 1.3F, -2.0F, 1e30F, -INFINITY, std::nanf("")}) {
            const DibPtr image = rampOfBlue();
            const DibPtr expected(image->Clone());
            EXPECT_TRUE(DibEffectContrast(nullptr, nullptr, image.get(), brightness, contrast));
            reference::contrast(*expected, brightness, contrast);
            EXPECT_TRUE(sameImage(*image, *expected)) << brightness << " " << contrast;
        }
    }
}

TEST(Tone, EveryDepthSizeAndKernel) {
    testing_support::expectEqualsReference(
        [](DibProgressCallback callback, void* user, DibStream* image) {
            return DibEffectGammaCorrect(callback, user, image, 0, 255, 2.2F);
        },
        [](DibStream& image) { reference::gammaCorrect(image, 0, 255, 2.2F); }, kDepths);
    testing_support::expectEqualsReference(
        [](DibProgressCallback callback, void* user, DibStream* image) {
            return DibEffectContrast(callback, user, image, 0.05F, 1.3F);
        },
        [](DibStream& image) { reference::contrast(image, 0.05F, 1.3F); }, kDepths);
}

TEST(Tone, ContrastOneLeavesValuesAndZeroMakesThem128) {
    const DibPtr image = rampOfBlue();
    const DibPtr before(image->Clone());
    EXPECT_TRUE(DibEffectContrast(nullptr, nullptr, image.get(), 0, 1));
    EXPECT_TRUE(sameImage(*image, *before));
    EXPECT_TRUE(DibEffectContrast(nullptr, nullptr, image.get(), 0, 0));
    for (int i = 0; i < 256; ++i) EXPECT_EQ(pixelValue(*image, i, 0), 0x808080U);
}

TEST(Tone, GammaOneLeavesValues) {
    const DibPtr image = rampOfBlue();
    const DibPtr before(image->Clone());
    EXPECT_TRUE(DibEffectGammaCorrect(nullptr, nullptr, image.get(), 0, 255, 1));
    EXPECT_TRUE(sameImage(*image, *before));
}

TEST(Tone, TheLowerLimitCountsTwice) {
    const DibPtr image = rampOfBlue();
    EXPECT_TRUE(DibEffectGammaCorrect(nullptr, nullptr, image.get(), 10, 200, 2));
    EXPECT_EQ(pixelValue(*image, 20, 0) & 255, 0U);
    // Of 191 levels, with d = value - 10: 191 sqrt(d / 191) = sqrt(191 d), rounded.
    EXPECT_EQ(pixelValue(*image, 21, 0) & 255, 46U);    // sqrt(2101) = 45.8
    EXPECT_EQ(pixelValue(*image, 110, 0) & 255, 138U);  // sqrt(19100) = 138.2
    EXPECT_EQ(pixelValue(*image, 209, 0) & 255, 195U);  // sqrt(38009) = 194.96
    EXPECT_EQ(pixelValue(*image, 210, 0) & 255, 255U);
}

TEST(Tone, OnlyTheColorTableOfIndexedImagesChanges) {
    const DibPtr image = randomImage(9, 4, 8, 1);
    const DibPtr before(image->Clone());
    const auto reserved = testing_support::headerBytes(*image)[40 + 7];
    EXPECT_TRUE(DibEffectContrast(nullptr, nullptr, image.get(), 0, 0));
    EXPECT_EQ(testing_support::pixelBytes(*image), testing_support::pixelBytes(*before));
    EXPECT_EQ(testing_support::headerBytes(*image)[40 + 4], 128);
    EXPECT_EQ(testing_support::headerBytes(*image)[40 + 7], reserved);
}

// Replaces the header by a borrowed block with this many table entries, whose bytes are all 10.
std::vector<std::uint32_t> lendTable(DibStream& image, std::size_t entries) {
    std::vector<std::uint32_t> block(10 + entries, 0x0A0A0A0A);
    std::memcpy(block.data(), image.Header, 40);
    image.HeaderFree();
    image.Header = reinterpret_cast<BITMAPINFOHEADER*>(block.data());
    return block;
}

TEST(Tone, AllAnnouncedEntriesOfAColorTableChange) {
    struct Case {
        int depth;
        std::uint32_t announced;
        std::size_t changed;
    };
    constexpr Case kCases[] = {{1, 0, 2},
                               {1, 1, 1},
                               {1, 3, 3},
                               {4, 0, 16},
                               {4, 5, 5},
                               {4, 17, 17},
                               {8, 0, 256},
                               {8, 5, 5},
                               {8, 256, 256},
                               {8, 257, 257},
                               {8, 4000, 4000},
                               // Counts are signed: these are below 1.
                               {8, 0x80000000U, 0},
                               {8, 0xFFFFFFFFU, 0},
                               {1, 0xFFFFFF00U, 0}};
    for (const Case& table : kCases) {
        SCOPED_TRACE(::testing::Message() << table.depth << " bits, " << table.announced << " entries");
        const DibPtr image = randomImage(3, 3, table.depth, 2);
        const auto pixels = testing_support::pixelBytes(*image);
        const std::vector<std::uint32_t> block = lendTable(*image, 4001);
        image->Header->biClrUsed = table.announced;
        EXPECT_TRUE(DibEffectContrast(nullptr, nullptr, image.get(), 0, 0));
        for (std::size_t i = 0; i <= 4000; ++i) {
            EXPECT_EQ(block[10 + i], i < table.changed ? 0x0A808080U : 0x0A0A0A0AU) << i;
        }
        // 128 lies above the upper limit.
        EXPECT_TRUE(DibEffectGammaCorrect(nullptr, nullptr, image.get(), 0, 100, 1));
        for (std::size_t i = 0; i <= 4000; ++i) {
            EXPECT_EQ(block[10 + i], i < table.changed ? 0x0AFFFFFFU : 0x0A0A0A0AU) << i;
        }
        EXPECT_EQ(image->Header->biClrUsed, table.announced);
        EXPECT_EQ(testing_support::pixelBytes(*image), pixels);
    }
}

TEST(Tone, AlphaStays) {
    const DibPtr image = randomImage(50, 3, 32, 3);
    const DibPtr before(image->Clone());
    EXPECT_TRUE(DibEffectContrast(nullptr, nullptr, image.get(), 0, 0));
    for (int x = 0; x < 50; ++x) {
        EXPECT_EQ(pixelValue(*image, x, 1), (pixelValue(*before, x, 1) & 0xFF000000U) | 0x808080U);
    }
}

TEST(Tone, RefusalsAndSilence) {
    const DibPtr image = randomImage(3, 3, 16, 4);
    const DibPtr before(image->Clone());
    DibStream empty;
    unsigned char table[256] = {};
    for (DibStream* refused : {image.get(), &empty, static_cast<DibStream*>(nullptr)}) {
        EXPECT_FALSE(DibEffectContrast(nullptr, nullptr, refused, 0, 0));
        EXPECT_FALSE(DibEffectGammaCorrect(nullptr, nullptr, refused, 0, 255, 2));
        EXPECT_FALSE(dib::changeBright(refused, table));
    }
    EXPECT_TRUE(sameImage(*image, *before));

    const DibPtr accepted = randomImage(3, 3, 24, 5);
    ProgressLog log;
    log.cancelAt = 0;
    EXPECT_TRUE(DibEffectContrast(ProgressLog::callback, &log, accepted.get(), 0, 0));
    EXPECT_TRUE(DibEffectGammaCorrect(ProgressLog::callback, &log, accepted.get(), 0, 255, 2));
    EXPECT_TRUE(log.fractions.empty());
}

const testing_support::EffectRun kBothCurves[] = {
    [](DibProgressCallback callback, void* user, DibStream* image) {
        return DibEffectContrast(callback, user, image, 0, 0);
    },
    [](DibProgressCallback callback, void* user, DibStream* image) {
        return DibEffectGammaCorrect(callback, user, image, 0, 255, 2);
    }};

TEST(Tone, HalfEmptyImagesAreRefusedUnchanged) {
    for (const auto& run : kBothCurves) {
        for (const int depth : {1, 4, 8, 16, 24, 32}) {
            const DibPtr headerOnly = randomImage(4, 4, depth, 6);
            headerOnly->BufferFree();
            const auto colors = testing_support::headerBytes(*headerOnly);
            EXPECT_FALSE(run(nullptr, nullptr, headerOnly.get())) << depth;
            EXPECT_EQ(testing_support::headerBytes(*headerOnly), colors) << depth;
            const DibPtr pixelsOnly = randomImage(4, 4, depth, 6);
            pixelsOnly->HeaderFree();
            EXPECT_FALSE(run(nullptr, nullptr, pixelsOnly.get())) << depth;
        }
    }
}

TEST(Tone, WithoutColumnsOnlyTheColorTableChanges) {
    unsigned char inverse[256];
    for (int i = 0; i < 256; ++i) inverse[i] = static_cast<unsigned char>(255 - i);
    for (const int width : {-4, 0, INT_MIN}) {
        for (const int height : {4, -4, 0, INT_MAX, INT_MIN}) {
            for (const int depth : testing_support::kDepths) {
                SCOPED_TRACE(::testing::Message() << depth << " bits, " << width << " x " << height);
                const DibPtr image = randomImage(4, 4, depth, 8);
                const auto pixels = testing_support::pixelBytes(*image);
                auto expected = testing_support::headerBytes(*image);
                for (std::size_t i = 40; i < expected.size() && depth <= 8; ++i) {
                    if (i % 4 != 3) expected[i] = static_cast<unsigned char>(255 - expected[i]);
                }
                image->Header->biWidth = width;
                image->Header->biHeight = height;
                EXPECT_EQ(dib::changeBright(image.get(), inverse), depth != 16);
                image->Header->biWidth = 4;
                image->Header->biHeight = 4;
                EXPECT_EQ(testing_support::pixelBytes(*image), pixels);
                EXPECT_EQ(testing_support::headerBytes(*image), expected);
            }
        }
    }
    for (const int width : {-4, 0}) {
        for (const int depth : testing_support::kDepths) {
            SCOPED_TRACE(::testing::Message() << depth << " bits, width " << width);
            const DibPtr contrast = randomImage(4, 4, depth, 9);
            const DibPtr gamma(contrast->Clone());
            const auto pixels = testing_support::pixelBytes(*contrast);
            const DibPtr complete(contrast->Clone());
            contrast->Header->biWidth = gamma->Header->biWidth = width;
            ProgressLog log;
            EXPECT_EQ(DibEffectContrast(ProgressLog::callback, &log, contrast.get(), 0, 0), depth != 16);
            // All below twice the lower limit: black.
            EXPECT_EQ(DibEffectGammaCorrect(ProgressLog::callback, &log, gamma.get(), 200, 255, 2),
                      depth != 16);
            EXPECT_TRUE(log.fractions.empty());
            contrast->Header->biWidth = gamma->Header->biWidth = 4;
            EXPECT_EQ(testing_support::pixelBytes(*contrast), pixels);
            EXPECT_EQ(testing_support::pixelBytes(*gamma), pixels);
            const auto before = testing_support::headerBytes(*complete);
            const auto flat = testing_support::headerBytes(*contrast);
            const auto black = testing_support::headerBytes(*gamma);
            for (std::size_t i = 40; i < before.size(); ++i) {
                const bool color = depth <= 8 && i % 4 != 3;
                EXPECT_EQ(flat[i], color ? 128 : before[i]);
                EXPECT_EQ(black[i], color ? 0 : before[i]);
            }
        }
    }
}

TEST(Tone, WithoutRowsOnlyTheColorTableChanges) {
    for (const auto& run : kBothCurves) {
        for (const int depth : kDepths) {
            const DibPtr image = randomImage(4, 4, depth, 7);
            const DibPtr complete(image->Clone());
            const auto pixels = testing_support::pixelBytes(*image);
            image->Header->biHeight = 0;
            EXPECT_TRUE(run(nullptr, nullptr, image.get())) << depth;
            image->Header->biHeight = 4;
            EXPECT_EQ(testing_support::pixelBytes(*image), pixels) << depth;
            const auto before = testing_support::headerBytes(*complete);
            EXPECT_TRUE(run(nullptr, nullptr, complete.get()));
            EXPECT_EQ(testing_support::headerBytes(*image), testing_support::headerBytes(*complete)) << depth;
            EXPECT_EQ(testing_support::headerBytes(*image) == before, depth > 8) << depth;
        }
    }
    const DibPtr wrong = randomImage(4, 4, 16, 7);
    wrong->Header->biHeight = 0;
    for (const auto& run : kBothCurves) EXPECT_FALSE(run(nullptr, nullptr, wrong.get()));
}

TEST(Tone, EveryByteOfATable) {
    unsigned char table[256];
    for (int i = 0; i < 256; ++i) table[i] = static_cast<unsigned char>(i * 167 + 13);
    for (const dib::KernelLevel level : dib::kKernelLevels) {
        dib::limitKernelLevel(level);
        const DibPtr image = rampOfBlue();
        EXPECT_TRUE(dib::changeBright(image.get(), table));
        for (int i = 0; i < 256; ++i) EXPECT_EQ(pixelValue(*image, i, 0) & 255, table[i]);
    }
}

// The table of a straight line with clamped ends.
std::vector<unsigned char> lineTable(double slope, double offset) {
    std::vector<unsigned char> table(256);
    for (int i = 0; i < 256; ++i) {
        table[static_cast<std::size_t>(i)] =
            static_cast<unsigned char>(std::clamp(i * slope + offset, 0.0, 255.0));
    }
    return table;
}

TEST(Tone, TablesOfRisingLinesAreMappedAsLines) {
    dib::ToneLine line;
    for (const double slope : {0.0, 0.01, 0.3, 1.0, 1.0039, 1.3, 2.0, 3.7}) {
        for (const double offset : {-300.0, -38.25, 0.0, 0.5, 12.1, 400.0}) {
            EXPECT_TRUE(line.fit(lineTable(slope, offset).data())) << slope << " " << offset;
        }
    }
    // Entries one above the line are allowed, entries two above it and falling lines are not.
    auto table = lineTable(1.3, -12);
    table[100] = 119;
    EXPECT_TRUE(line.fit(table.data()));
    table[100] = 121;
    EXPECT_FALSE(line.fit(table.data()));
    EXPECT_FALSE(line.fit(lineTable(-1, 255).data()));
    EXPECT_FALSE(line.fit(lineTable(4.1, 0).data()));
}

TEST(Tone, EveryLineGivesItsTable) {
    std::uint32_t random = 1;
    for (int round = 0; round < 300; ++round) {
        random = random * 1664525 + 1013904223;
        const double slope = (random >> 8) % 4000 / 1000.0;
        const double offset = (random >> 20) % 700 - 400.3;
        auto table = lineTable(slope, offset);
        for (std::size_t i = 0; i < 256; i += 1 + random % 7)
            table[i] = static_cast<unsigned char>(table[i] + (table[i] < 255 ? 1 : 0));
        for (const dib::KernelLevel level : dib::kKernelLevels) {
            dib::limitKernelLevel(level);
            const DibPtr image = rampOfBlue();
            EXPECT_TRUE(dib::changeBright(image.get(), table.data()));
            for (int i = 0; i < 256; ++i) {
                ASSERT_EQ(pixelValue(*image, i, 0) & 255, table[static_cast<std::size_t>(i)])
                    << slope << " " << offset << " at " << i;
            }
        }
    }
}

}  // namespace

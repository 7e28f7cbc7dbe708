#include "tests/support/EffectChecks.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "dib/Kernels.h"
#include "tests/support/FailingMalloc.h"
#include "tests/support/TestImages.h"

namespace testing_support {

namespace {

std::string nameOf(int width, int height, int depth) {
    return std::to_string(width) + " x " + std::to_string(height) + " at " + std::to_string(depth) + " bits";
}

DibPtr copyOf(DibStream& image) { return DibPtr(image.Clone()); }

std::vector<unsigned char> rowBytes(DibStream& image, int y) {
    return {image.ScanLine(y), image.ScanLine(y) + image.GetPitch()};
}

bool contains(const std::vector<int>& depths, int depth) {
    return std::find(depths.begin(), depths.end(), depth) != depths.end();
}

}  // namespace

void expectEqualsReference(const EffectRun& run, const EffectReference& reference,
                           const std::vector<int>& depths) {
    for (const int depth : depths) {
        for (const Size size : kSizes) {
            for (const int height : {size.height, -size.height}) {
                SCOPED_TRACE(nameOf(size.width, height, depth));
                const DibPtr image = randomImage(size.width, height, depth, 7);
                const DibPtr expected = copyOf(*image);
                reference(*expected);
                for (const auto level : dib::kKernelLevels) {
                    dib::limitKernelLevel(level);
                    const DibPtr actual = copyOf(*image);
                    EXPECT_TRUE(run(nullptr, nullptr, actual.get()));
                    EXPECT_TRUE(sameImage(*actual, *expected));
                    EXPECT_EQ(actual->ErrorCode, 0);
                }
                dib::limitKernelLevel(dib::bestKernelLevel());
                if (::testing::Test::HasFailure()) return;
            }
        }
    }
}

void expectRefusals(const EffectRun& run, const std::vector<int>& depths) {
    ProgressLog log;
    EXPECT_FALSE(run(ProgressLog::callback, &log, nullptr));
    DibStream empty;
    EXPECT_FALSE(run(ProgressLog::callback, &log, &empty));

    for (const int depth : kDepths) {
        SCOPED_TRACE(depth);
        const DibPtr headerOnly = randomImage(4, 4, depth, 1);
        headerOnly->BufferFree();
        EXPECT_FALSE(run(ProgressLog::callback, &log, headerOnly.get()));
        const DibPtr pixelsOnly = randomImage(4, 4, depth, 1);
        pixelsOnly->HeaderFree();
        EXPECT_FALSE(run(ProgressLog::callback, &log, pixelsOnly.get()));

        const DibPtr image = randomImage(5, 4, depth, 2);
        const DibPtr before = copyOf(*image);
        if (!contains(depths, depth)) {
            EXPECT_FALSE(run(ProgressLog::callback, &log, image.get()));
        }
        for (const int otherDepth : {0, 2, 3, 15, 31}) {
            if (otherDepth > depth) continue;
            image->Header->biBitCount = static_cast<std::uint16_t>(otherDepth);
            EXPECT_FALSE(run(ProgressLog::callback, &log, image.get())) << otherDepth;
        }
        image->Header->biBitCount = static_cast<std::uint16_t>(depth);
        EXPECT_TRUE(sameImage(*image, *before));

        if (contains(depths, depth)) {
            image->Header->biHeight = 0;
            EXPECT_TRUE(run(ProgressLog::callback, &log, image.get()));
            image->Header->biHeight = 4;
            EXPECT_TRUE(sameImage(*image, *before));
            // A size that cannot exist.
            image->Header->biWidth = -5;
            EXPECT_FALSE(run(ProgressLog::callback, &log, image.get()));
        }
        EXPECT_EQ(image->ErrorCode, 0);
    }
    EXPECT_TRUE(log.fractions.empty());
}

void expectProgressByRow(const EffectRun& run, const std::vector<int>& depths) {
    for (const int depth : depths) {
        for (const int height : {7, -7}) {
            SCOPED_TRACE(nameOf(9, height, depth));
            const DibPtr image = randomImage(9, height, depth, 3);
            const DibPtr full = copyOf(*image);
            ProgressLog all;
            EXPECT_TRUE(run(ProgressLog::callback, &all, full.get()));
            EXPECT_EQ(all.fractions,
                      (std::vector<float>{1.0F / 7, 2.0F / 7, 3.0F / 7, 4.0F / 7, 5.0F / 7, 6.0F / 7, 1.0F}));
            for (int cancelRow = 0; cancelRow < 7; ++cancelRow) {
                const DibPtr cut = copyOf(*image);
                ProgressLog log;
                log.cancelAt = cancelRow;
                EXPECT_FALSE(run(ProgressLog::callback, &log, cut.get()));
                EXPECT_EQ(log.fractions.size(), static_cast<std::size_t>(cancelRow) + 1);
                for (int y = 0; y < 7; ++y) {
                    DibStream& expected = y <= cancelRow ? *full : *image;
                    EXPECT_EQ(rowBytes(*cut, y), rowBytes(expected, y))
                        << "row " << y << " of a run cut at " << cancelRow;
                }
            }
        }
    }
}

int expectSurvivesFailingAllocations(const EffectRun& run, const std::vector<int>& depths) {
    int failures = 0;
    for (const int depth : depths) {
        SCOPED_TRACE(depth);
        DibPtr image;
        DibPtr before;
        bool result = false;
        failures += forEachFailingAllocation(
            [&] {
                image = randomImage(17, 5, depth, 4);
                before = copyOf(*image);
                image->ErrorCode = 7;
            },
            [&] { result = run(nullptr, nullptr, image.get()); },
            [&](bool failureMet) {
                EXPECT_EQ(result, !failureMet);
                EXPECT_EQ(image->ErrorCode, 7);
                if (failureMet) {
                    EXPECT_TRUE(sameImage(*image, *before));
                }
                image.reset();
                before.reset();
            });
    }
    return failures;
}

void expectSameRun(const EffectRun& run, const EffectRun& expected) {
    for (const bool hasPixels : {true, false}) {
        const DibPtr image = randomImage(9, 8, 24, 5);
        const DibPtr other = copyOf(*image);
        if (!hasPixels) {
            image->BufferFree();
            other->BufferFree();
        }
        ProgressLog log;
        ProgressLog otherLog;
        EXPECT_EQ(run(ProgressLog::callback, &log, image.get()), hasPixels);
        EXPECT_EQ(expected(ProgressLog::callback, &otherLog, other.get()), hasPixels);
        EXPECT_EQ(log.fractions, otherLog.fractions);
        EXPECT_EQ(log.fractions.empty(), !hasPixels);
        if (hasPixels) {
            EXPECT_TRUE(sameImage(*image, *other));
        }
    }
}

}  // namespace testing_support

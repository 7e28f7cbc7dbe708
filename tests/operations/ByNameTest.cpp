// Operations that have no function of their own: what holds for all of them.
#include <filesystem>
#include <set>

#include "operations/Operations.h"
#include "tests/operations/Operations.h"
#include "tests/support/FailingMalloc.h"
#include "tests/support/Paths.h"
#include "tests/support/TestImages.h"

namespace operations_test {

namespace {

using testing_support::DibPtr;
using testing_support::ProgressLog;
using testing_support::randomImage;
using testing_support::sameImage;

class OperationByName : public testing::Test {
protected:
    // Its own folder with the second picture that examples name.
    OperationByName() {
        const std::filesystem::path folder = testing_support::temporaryPath("by-name");
        std::filesystem::create_directories(folder);
        std::filesystem::current_path(folder);
        EXPECT_TRUE(randomImage(9, 5, 24, 2)->SaveToFile("other.bmp"));
    }

    // Calls `work(chain, bitCount)` with the example at every depth that its operation accepts.
    template <class Work>
    void forEachExample(const Work& work) {
        int count = 0;
        for (const operations::Area& area : operations::areas()) {
            for (const operations::Operation& row : area) {
                if (!row.call.empty()) continue;
                for (const int bitCount : testing_support::kDepths) {
                    if ((row.info.depths & operations::depthBit(bitCount)) == 0) continue;
                    SCOPED_TRACE(std::string(row.info.example) + " at " + std::to_string(bitCount));
                    work(row.info.example, bitCount);
                    ++count;
                }
            }
        }
        EXPECT_GE(count, 5 * 6);
    }
};

TEST_F(OperationByName, SucceedsWithProgressFromTopToEnd) {
    forEachExample([](const char* chain, int bitCount) {
        for (const int height : {11, -11}) {
            const DibPtr image = randomImage(17, height, bitCount, 4);
            ProgressLog log;
            DibOperationResult result;
            ASSERT_TRUE(DibApply(image.get(), chain, nullptr, &result, ProgressLog::callback, &log))
                << result.reason;
            EXPECT_EQ(log.fractions.front(), 0.0F);
            EXPECT_EQ(log.fractions.back(), 1.0F);
            EXPECT_TRUE(std::is_sorted(log.fractions.begin(), log.fractions.end()));
        }
    });
}

// Whatever the order of the rows, the picture is the same.
TEST_F(OperationByName, GivesTheSamePictureInEitherRowOrder) {
    forEachExample([](const char* chain, int bitCount) {
        const DibPtr bottomUp = randomImage(17, 11, bitCount, 4);
        const DibPtr topDown = randomImage(17, 11, bitCount, 4);
        ASSERT_TRUE(topDown->UpDown(true));
        ASSERT_TRUE(DibApply(bottomUp.get(), chain));
        ASSERT_TRUE(DibApply(topDown.get(), chain));
        const int width = bottomUp->Header->biWidth;
        const int height = std::abs(bottomUp->Header->biHeight);
        ASSERT_EQ(topDown->Header->biWidth, width);
        ASSERT_EQ(std::abs(topDown->Header->biHeight), height);
        ASSERT_EQ(topDown->Header->biBitCount, bottomUp->Header->biBitCount);
        for (int y = 0; y < height; ++y) {
            for (int x = 0; x < width; ++x) {
                ASSERT_EQ(testing_support::pixelValue(*topDown, x, y),
                          testing_support::pixelValue(*bottomUp, x, y))
                    << x << "," << y;
            }
        }
    });
}

TEST_F(OperationByName, ACancelAtAnyCallLeavesTheImageAsItWas) {
    forEachExample([](const char* chain, int bitCount) {
        const DibPtr before = randomImage(17, 11, bitCount, 4);
        ProgressLog whole;
        const DibPtr image = randomImage(17, 11, bitCount, 4);
        ASSERT_TRUE(DibApply(image.get(), chain, nullptr, nullptr, ProgressLog::callback, &whole));
        for (int call = 0; call < static_cast<int>(whole.fractions.size()); ++call) {
            const DibPtr cancelled = randomImage(17, 11, bitCount, 4);
            ProgressLog log{{}, call};
            DibOperationResult result;
            EXPECT_FALSE(DibApply(cancelled.get(), chain, nullptr, &result, ProgressLog::callback, &log));
            EXPECT_EQ(result.code, DIB_ERROR_INTERRUPTED) << result.reason;
            EXPECT_EQ(log.fractions.size(), static_cast<std::size_t>(call) + 1)
                << "called after it cancelled";
            EXPECT_TRUE(sameImage(*cancelled, *before));
        }
    });
}

TEST_F(OperationByName, SurvivesFailingAllocations) {
    forEachExample([](const char* chain, int bitCount) {
        const DibPtr before = randomImage(17, 11, bitCount, 4);
        const DibPtr expected = randomImage(17, 11, bitCount, 4);
        ASSERT_TRUE(DibApply(expected.get(), chain));
        DibPtr image;
        DibOperationResult result;
        bool isDone = false;
        const int failures = testing_support::forEachFailingAllocation(
            [&] { image = randomImage(17, 11, bitCount, 4); },
            [&] { isDone = DibApply(image.get(), chain, nullptr, &result); },
            [&](bool failureMet) {
                EXPECT_TRUE(isDone || failureMet) << result.reason;
                EXPECT_EQ(result.code, isDone ? DIB_OK : DIB_ERROR_MEMORY) << result.reason;
                EXPECT_TRUE(sameImage(*image, isDone ? *expected : *before));
                image.reset();
                result.paletteAlpha = DibBytes();
            });
        EXPECT_GT(failures, 2);
    });
}

}  // namespace

}  // namespace operations_test

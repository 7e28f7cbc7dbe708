// Progress and cancelling of every row of the table.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <set>
#include <string>
#include <vector>

#include "tests/operations/Operations.h"
#include "tests/support/TestImages.h"

namespace operations_test {

namespace {

using testing_support::DibPtr;
using testing_support::ProgressLog;
using testing_support::randomImage;
using testing_support::sameImage;

constexpr int kWidth = 120;
constexpr int kHeight = 240;

// Second pictures, and palettes.
bool openSecond(void*, const char*, DibStream* image, DibFileResult*, DibProgressCallback, void*) {
    const DibPtr second = randomImage(13, 7, 8, 2);
    return image->Copy(second->Header, second->Buffer);
}

struct Outcome {
    bool isDone;
    DibOperationResult result;
};
Outcome apply(DibStream& image, const std::string& chain, ProgressLog& log) {
    DibApplyOptions options;
    options.open = openSecond;
    Outcome outcome{false, {}};
    outcome.isDone = DibApply(&image, chain.c_str(), &options, &outcome.result, ProgressLog::callback, &log);
    return outcome;
}

std::vector<std::string> stepsOfTable() {
    std::vector<std::string> steps;
    for (const DibOperation* operation : all()) {
        steps.emplace_back(operation->example);
        for (const char* sample : operation->samples) {
            if (std::strchr(sample, ' ') == nullptr) steps.emplace_back(sample);
        }
    }
    return steps;
}

TEST(OperationProgress, RisesFrom0To1) {
    for (const std::string& step : stepsOfTable()) {
        for (const int bitCount : testing_support::kDepths) {
            SCOPED_TRACE(step + " at " + std::to_string(bitCount));
            const DibPtr image = randomImage(kWidth, kHeight, bitCount, 3);
            ProgressLog log;
            const Outcome outcome = apply(*image, step, log);
            // The rectangle of one example lies outside this picture, and some steps refuse depths.
            if (outcome.result.code == DIB_ERROR_MISMATCH) continue;
            ASSERT_TRUE(outcome.isDone) << outcome.result.reason;
            EXPECT_EQ(log.fractions.front(), 0.0F);
            EXPECT_EQ(log.fractions.back(), 1.0F);
            EXPECT_TRUE(std::ranges::is_sorted(log.fractions));
        }
    }
}

// At the first, second, middle and last call.
TEST(OperationProgress, CancellingLeavesTheImageAsItWas) {
    for (const std::string& step : stepsOfTable()) {
        for (const int bitCount : {8, 24, 32}) {
            SCOPED_TRACE(step + " at " + std::to_string(bitCount));
            const DibPtr image = randomImage(kWidth, kHeight, bitCount, 3);
            const DibPtr before = randomImage(kWidth, kHeight, bitCount, 3);
            ProgressLog whole;
            const DibPtr done = randomImage(kWidth, kHeight, bitCount, 3);
            if (!apply(*done, step, whole).isDone) continue;
            const int last = static_cast<int>(whole.fractions.size()) - 1;
            ASSERT_GE(last, 1);
            for (const int call : {0, 1, last / 2, last}) {
                ProgressLog log{{}, call};
                const Outcome outcome = apply(*image, step, log);
                EXPECT_FALSE(outcome.isDone);
                EXPECT_EQ(outcome.result.code, DIB_ERROR_INTERRUPTED) << outcome.result.reason;
                EXPECT_EQ(image->ErrorCode, DIB_ERROR_INTERRUPTED);
                EXPECT_EQ(log.fractions.size(), static_cast<std::size_t>(call) + 1);
                EXPECT_TRUE(sameImage(*image, *before));
            }
        }
    }
}

// One pass over memory, which reports nothing (DibOperation.h).
const std::set<std::string> kAtOnce = {"half",   "canvas",  "crop",     "border",       "scroll",
                                       "invert", "reverse", "brighten", "flip-storage", "compose"};
// So do these settings, and what changes nothing.
const std::set<std::string> kStepsAtOnce = {"bpp:32", "resize:50%", "resize:50%,filter=bilinear",
                                            "fill:100%x40%,filter=bilinear"};

std::string nameOf(const std::string& step) { return step.substr(0, step.find(':')); }

bool isAtOnce(const std::string& step) {
    return kAtOnce.contains(nameOf(step)) || kStepsAtOnce.contains(step);
}

float largestGap(const std::vector<float>& fractions) {
    float gap = 0;
    for (std::size_t i = 1; i < fractions.size(); ++i) gap = std::max(gap, fractions[i] - fractions[i - 1]);
    return gap;
}

// 32 rows of 120 are a block of turned pictures, 32 of 240 one of a mosaic; most steps report each row.
TEST(OperationProgress, OtherOperationsReportRows) {
    std::set<std::string> reporting;
    for (const std::string& step : stepsOfTable()) {
        SCOPED_TRACE(step);
        // Only alpha gives it something to do.
        const int bitCount = nameOf(step) == "flatten" ? 32 : 24;
        const DibPtr image = randomImage(kWidth, kHeight, bitCount, 3);
        ProgressLog log;
        if (!apply(*image, step, log).isDone) continue;
        if (isAtOnce(step)) {
            EXPECT_EQ(log.fractions, (std::vector<float>{0, 1}));
        } else {
            EXPECT_LE(largestGap(log.fractions), 0.3F);
            reporting.insert(nameOf(step));
        }
    }
    for (const DibOperation* operation : all())
        EXPECT_NE(reporting.contains(operation->name), kAtOnce.contains(operation->name)) << operation->name;
}

// The step of a row's example with one of its numbers as small or as large as it may be.
std::vector<std::string> extremesOf(const DibOperation& operation) {
    std::vector<std::string> steps;
    for (const DibParameter* parameter : DibList(operation.parameters)) {
        if (parameter->kind != DIB_PARAMETER_INTEGER && parameter->kind != DIB_PARAMETER_NUMBER) continue;
        for (const double value : {parameter->min, parameter->max}) {
            DibChain chain;
            EXPECT_TRUE(DibParseStep(operation.example, &chain));
            std::string step = operation.name;
            for (std::size_t i = 0; i < DibList(operation.parameters).size(); ++i) {
                const DibParameter* each = operation.parameters[i];
                char number[32];
                std::snprintf(number, sizeof number, "%.15g", value);
                step += (i == 0 ? ":" : ",") + std::string(each->name) + "=" +
                        (each == parameter ? number : chain.steps[0].values[i]);
            }
            steps.push_back(step);
        }
    }
    return steps;
}

// Work for each pixel that grew with a parameter would pass between two reports.
TEST(OperationProgress, AtTheEndsOfRangesRowsAreReportedToo) {
    int applied = 0;
    for (const DibOperation* operation : all()) {
        if (kAtOnce.contains(operation->name)) continue;
        for (const std::string& step : extremesOf(*operation)) {
            // A single block takes one pass over memory.
            if (step.starts_with("mosaic:size=2147483647")) continue;
            for (const int bitCount : {24, 32}) {
                SCOPED_TRACE(step + " at " + std::to_string(bitCount));
                const DibPtr image = randomImage(kWidth, kHeight, bitCount, 3);
                ProgressLog log;
                if (!apply(*image, step, log).isDone) continue;
                ++applied;
                const bool changesNothing = log.fractions.size() == 2;
                EXPECT_TRUE(changesNothing || largestGap(log.fractions) <= 0.4F);
            }
        }
    }
    EXPECT_GE(applied, 100);
}

// Colours are counted, and the best are chosen, before the first row is written.
TEST(OperationProgress, PalettesAreReportedBeforeTheirPixels) {
    const auto reportsBefore = [](const char* step, float share) {
        const DibPtr image = randomImage(kWidth, kHeight, 24, 3);
        ProgressLog log;
        EXPECT_TRUE(apply(*image, step, log).isDone) << step;
        return std::ranges::count_if(log.fractions, [=](float done) { return done > 0 && done <= share; });
    };
    EXPECT_GE(reportsBefore("bpp:8,method=median", 0.5F), 2 + 64 + 255);  // passes, cells and cuts
    EXPECT_GE(reportsBefore("bpp:4,method=median", 0.5F), 2 + 64 + 15);
    EXPECT_GE(reportsBefore("colors:256", 2 / 3.0F), 240 + 255 + 1);  // rows, cuts and moves
    EXPECT_GE(reportsBefore("colors:16,dither=none", 2 / 3.0F), 240 + 15 + 1);
}

}  // namespace

}  // namespace operations_test

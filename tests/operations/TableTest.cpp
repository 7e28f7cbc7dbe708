// Every row of the table is fit for what is made from it.
#include <algorithm>
#include <set>

#include "operations/Operations.h"
#include "tests/operations/Operations.h"

namespace operations_test {

namespace {

bool isPlainName(std::string_view name) {
    return !name.empty() &&
           name.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789-") == std::string_view::npos;
}

void checkParameters(const DibOperation& operation) {
    std::set<std::string_view> names;
    bool wasOptional = false;
    for (const DibParameter* parameter : DibList(operation.parameters)) {
        SCOPED_TRACE(parameter->name);
        EXPECT_TRUE(isPlainName(parameter->name));
        EXPECT_TRUE(names.insert(parameter->name).second) << "the name is taken";
        EXPECT_STRNE(parameter->help, "");
        const bool isOptional = parameter->standard != nullptr;
        EXPECT_TRUE(isOptional || !wasOptional) << "required after optional";
        wasOptional = isOptional;
        const bool hasChoices =
            parameter->kind == DIB_PARAMETER_CHOICE || parameter->kind == DIB_PARAMETER_FLAGS;
        EXPECT_EQ(hasChoices, parameter->choices != nullptr);
        for (const DibChoice* choice : DibList(parameter->choices)) {
            ASSERT_NE(choice->help, nullptr) << choice->name;
            EXPECT_STRNE(choice->help, "") << choice->name;
        }
        if (isOptional) {
            EXPECT_NO_THROW(operations::readValue(*parameter, parameter->standard));
        }
    }
}

TEST(OperationTable, EveryRowIsFit) {
    std::set<std::string_view> names;
    std::set<std::string_view> areas;
    std::string_view area;
    for (const DibOperation* operation : all()) {
        SCOPED_TRACE(operation->name);
        EXPECT_TRUE(isPlainName(operation->name));
        EXPECT_TRUE(names.insert(operation->name).second) << "the name is taken";
        EXPECT_TRUE(std::string_view(operation->help).ends_with('.'));
        EXPECT_NE(operation->depths, 0U);
        EXPECT_EQ(operation->depths & ~unsigned{DibStream::DIB_ACCEPT_ALL}, 0U);
        if (area != operation->area) {
            area = operation->area;
            EXPECT_TRUE(areas.insert(area).second) << "an area lies in two places";
        }
        DibChain chain;
        ASSERT_TRUE(DibParseStep(operation->example, &chain));
        EXPECT_EQ(chain.steps[0].operation, operation);
        checkParameters(*operation);
    }
    EXPECT_GE(names.size(), 31U);
}

TEST(OperationTable, ListsEveryRowOfEveryArea) {
    std::size_t rows = 0;
    for (const operations::Area& area : operations::areas())
        rows += static_cast<std::size_t>(std::ranges::count_if(area, &operations::Operation::isListed));
    std::size_t count = 0;
    const DibOperation* const* list = DibGetOperations(&count);
    EXPECT_EQ(count, rows);
    EXPECT_EQ(list[count], nullptr);
    for (std::size_t i = 0; i < count; ++i) EXPECT_EQ(DibFindOperation(list[i]->name), list[i]);
}

TEST(OperationTable, OldNamesAreFoundAndNotListed) {
    const DibOperation* old = DibFindOperation("flip-storage");
    ASSERT_NE(old, nullptr);
    for (const DibOperation* operation : all()) EXPECT_NE(operation, old);
}

TEST(OperationTable, FindsNamesAsTheyAre) {
    ASSERT_NE(DibFindOperation("rotate"), nullptr);
    EXPECT_STREQ(DibFindOperation("rotate")->name, "rotate");
    for (const char* name : {"", "Rotate", "rotate ", "rotat-", "no-such"})
        EXPECT_EQ(DibFindOperation(name), nullptr);
    EXPECT_EQ(DibFindOperation(nullptr), nullptr);
}

TEST(OperationTable, HasThreeSamplesThatEndWithTheirRow) {
    std::set<std::string_view> chains;
    for (const DibOperation* operation : all()) {
        for (const char* sample : operation->samples) {
            SCOPED_TRACE(sample);
            EXPECT_TRUE(chains.insert(sample).second) << "is shown twice";
            DibChain chain;
            ASSERT_TRUE(DibParseChain(sample, &chain));
            ASSERT_GT(chain.stepCount, 0);
            EXPECT_EQ(stepsOf(chain).back().operation, operation);
        }
    }
}

TEST(OperationTable, TheFirstSampleSettlesOnlyWhatMustBeGiven) {
    for (const DibOperation* operation : all()) {
        const std::string_view sample = operation->samples[0];
        SCOPED_TRACE(sample);
        // Some change nothing in a plain picture, which other steps prepare for them.
        const bool isPrepared = sample.find(' ') != std::string_view::npos;
        EXPECT_EQ(
            isPrepared,
            (std::set<std::string_view>{"flatten", "trim"}.contains(std::string_view(operation->name))));
        const std::string_view last = sample.substr(sample.rfind(' ') + 1);
        const auto given = std::ranges::count(last, ',') + (last.find(':') != std::string_view::npos ? 1 : 0);
        const auto required =
            std::ranges::count_if(DibList(operation->parameters), [](const DibParameter* parameter) {
                return parameter->standard == nullptr || std::string_view(parameter->name) == "seed";
            });
        EXPECT_EQ(given, required);
    }
}

TEST(OperationTable, SamplesStartRandomNumbersFromASeed) {
    int seeded = 0;
    for (const DibOperation* operation : all()) {
        const auto parameters = DibList(operation->parameters);
        for (std::size_t i = 0; i < parameters.size(); ++i) {
            if (std::string_view(parameters[i]->name) != "seed") continue;
            for (const char* sample : operation->samples) {
                DibChain chain;
                ASSERT_TRUE(DibParseChain(sample, &chain));
                EXPECT_STRNE(stepsOf(chain).back().values[i], "-1") << sample;
                ++seeded;
            }
        }
    }
    EXPECT_GE(seeded, 9);
}

TEST(OperationTable, CallsNameEveryParameter) {
    for (const operations::Area& area : operations::areas()) {
        for (const operations::Operation& row : area) {
            if (row.call.empty()) continue;
            for (const DibParameter* parameter : DibList(row.info.parameters)) {
                if (parameter->kind == DIB_PARAMETER_SWITCH) continue;
                if (row.treatment.isApart != nullptr && parameter->kind == DIB_PARAMETER_COLOR) continue;
                const std::string open = "{" + std::string(parameter->name);
                EXPECT_TRUE(row.call.find(open + "}") != std::string_view::npos ||
                            row.call.find(open + ":width}") != std::string_view::npos ||
                            row.call.find(open + ":height}") != std::string_view::npos)
                    << row.info.name << ": " << parameter->name;
            }
        }
    }
}

TEST(OperationTable, RowsWithATreatmentTakeEveryDepthAndHaveTheSwitch) {
    for (const operations::Area& area : operations::areas()) {
        for (const operations::Operation& row : area) {
            const auto parameters = DibList(row.info.parameters);
            const bool hasSwitch = parameters.size() != 0 &&
                                   std::string_view(parameters[parameters.size() - 1]->name) == "classic";
            EXPECT_EQ(hasSwitch, row.treatment.isGiven()) << row.info.name;
            if (!hasSwitch) continue;
            EXPECT_EQ(row.info.depths, operations::kAllDepths) << row.info.name;
            EXPECT_EQ(row.treatment.depths & ~row.treatment.classicDepths, 0U) << row.info.name;
        }
    }
}

}  // namespace

}  // namespace operations_test

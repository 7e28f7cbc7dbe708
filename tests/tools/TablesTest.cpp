#include <algorithm>
#include <nlohmann/json.hpp>
#include <set>

#include "tests/tools/Program.h"
#include "tools/cli/ExitCode.h"
#include "tools/io/Formats.h"
#include "tools/operations/Operations.h"

namespace tool_test {

namespace {

bool isPlainName(std::string_view name) {
    return !name.empty() &&
           name.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789-") == std::string_view::npos;
}

TEST(Tables, EveryOperationIsFit) {
    std::set<std::string_view> names;
    for (const tool::Operation& operation : tool::operations()) {
        SCOPED_TRACE(operation.name);
        EXPECT_TRUE(isPlainName(operation.name));
        EXPECT_TRUE(names.insert(operation.name).second) << "the name is taken";
        EXPECT_TRUE(operation.help.ends_with('.'));
        EXPECT_NE(operation.run, nullptr);
        EXPECT_EQ(tool::parseStep(operation.example).operation, &operation);

        std::set<std::string_view> parameterNames;
        bool wasOptional = false;
        for (const tool::Parameter& parameter : operation.parameters) {
            SCOPED_TRACE(parameter.name);
            EXPECT_TRUE(isPlainName(parameter.name));
            EXPECT_TRUE(parameterNames.insert(parameter.name).second) << "the name is taken";
            EXPECT_FALSE(parameter.help.empty());
            const bool isOptional = !parameter.standard.empty();
            EXPECT_TRUE(isOptional || !wasOptional) << "required after optional";
            wasOptional = isOptional;
            const bool hasChoices =
                parameter.kind == tool::ParameterKind::Choice || parameter.kind == tool::ParameterKind::Flags;
            EXPECT_EQ(hasChoices, !parameter.choices.empty());
            if (isOptional) {
                EXPECT_NO_THROW(tool::parseValue(parameter, parameter.standard, operation.name));
            }
        }
    }
}

TEST(Tables, EveryFormatIsFit) {
    std::set<std::string_view> names;
    std::set<std::string_view> extensions;
    for (const DibFormat* format : tool::formats()) {
        SCOPED_TRACE(format->name);
        EXPECT_TRUE(isPlainName(format->name));
        EXPECT_TRUE(names.insert(format->name).second) << "the name is taken";
        EXPECT_STRNE(format->title, "");
        for (const char* const* extension = format->extensions; *extension != nullptr; ++extension) {
            EXPECT_TRUE(isPlainName(*extension));
            EXPECT_TRUE(extensions.insert(*extension).second) << *extension << " is taken";
        }
    }
    EXPECT_EQ(names.size(), 12U);
}

using TablesInUse = ToolTest;

TEST_F(TablesInUse, EveryExampleRuns) {
    for (const tool::Operation& operation : tool::operations()) {
        const std::string example(operation.example);
        // Examples that read a second picture call it so.
        ASSERT_TRUE(picture_.SaveToFile("other.bmp"));
        const Result result = run({"run", "in.bmp", example, "out.bmp"});
        EXPECT_EQ(result.exitCode, 0) << example << ": " << result.errors;
        DibStream changed;
        EXPECT_TRUE(changed.LoadFromFile("out.bmp", DibStream::DIB_ACCEPT_ALL)) << example;
        std::remove("out.bmp");
    }
}

TEST_F(TablesInUse, JsonOfOperationsTellsTheWholeTable) {
    const Result result = run({"ops", "--json"});
    ASSERT_EQ(result.exitCode, 0) << result.errors;
    const nlohmann::json json = nlohmann::json::parse(result.output);
    ASSERT_EQ(json.size(), tool::operations().size());
    for (std::size_t i = 0; i < json.size(); ++i) {
        const tool::Operation& operation = tool::operations()[i];
        EXPECT_EQ(json[i]["name"], operation.name);
        EXPECT_EQ(json[i]["synopsis"], tool::synopsis(operation));
        ASSERT_EQ(json[i]["parameters"].size(), operation.parameters.size());
        for (std::size_t k = 0; k < operation.parameters.size(); ++k) {
            const nlohmann::json& parameter = json[i]["parameters"][k];
            EXPECT_EQ(parameter["name"], operation.parameters[k].name);
            EXPECT_EQ(parameter["type"], tool::kindName(operation.parameters[k].kind));
            EXPECT_EQ(parameter["required"], operation.parameters[k].standard.empty());
        }
    }
    const nlohmann::json& bpp =
        *std::ranges::find_if(json, [](const auto& row) { return row["name"] == "bpp"; });
    EXPECT_EQ(bpp["synopsis"], "bpp:DEPTH[,method=plain|grey|dither|median|truncate|diffuse]");
    EXPECT_EQ(bpp["parameters"][1]["default"], "plain");
    EXPECT_EQ(bpp["parameters"][0]["choices"][5]["name"], "32");
}

TEST_F(TablesInUse, OperationsAndFormatsAreListed) {
    const Result operations = run({"ops"});
    EXPECT_EQ(operations.exitCode, 0);
    for (const tool::Operation& operation : tool::operations()) {
        EXPECT_NE(operations.output.find(tool::synopsis(operation)), std::string::npos) << operation.name;
        const Result help = run({"help", std::string(operation.name)});
        EXPECT_EQ(help.exitCode, 0);
        EXPECT_TRUE(help.output.starts_with(tool::synopsis(operation)));
        for (const tool::Parameter& parameter : operation.parameters) {
            EXPECT_NE(help.output.find(parameter.help), std::string::npos) << parameter.name;
        }
    }
    const Result formats = run({"formats"});
    EXPECT_EQ(formats.exitCode, 0);
    EXPECT_NE(formats.output.find("bmp"), std::string::npos);
    const nlohmann::json json = nlohmann::json::parse(run({"formats", "--json"}).output);
    ASSERT_EQ(json.size(), tool::formats().size());
    EXPECT_EQ(json[0]["name"], "bmp");
    EXPECT_EQ(json[0]["extensions"], nlohmann::json::parse(R"(["bmp", "dib"])"));
    EXPECT_EQ(json[0]["reads"], true);
    EXPECT_EQ(json[0]["writes"], true);
}

}  // namespace

}  // namespace tool_test

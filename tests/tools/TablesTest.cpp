#include <nlohmann/json.hpp>
#include <set>

#include "tests/tools/Program.h"
#include "texts/Tables.h"

namespace tool_test {

namespace {

bool isPlainName(std::string_view name) {
    return !name.empty() &&
           name.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789-") == std::string_view::npos;
}

TEST(Tables, EveryFormatIsFit) {
    std::set<std::string_view> names;
    std::set<std::string_view> extensions;
    for (const DibFormat* format : texts::formats()) {
        SCOPED_TRACE(format->name);
        EXPECT_TRUE(isPlainName(format->name));
        EXPECT_TRUE(names.insert(format->name).second) << "the name is taken";
        EXPECT_STRNE(format->title, "");
        for (const char* const* extension = format->extensions; *extension != nullptr; ++extension) {
            EXPECT_TRUE(isPlainName(*extension));
            EXPECT_TRUE(extensions.insert(*extension).second) << *extension << " is taken";
        }
    }
    EXPECT_EQ(names.size(), 14U);
}

using TablesInUse = ToolTest;

TEST_F(TablesInUse, EveryExampleRuns) {
    for (const DibOperation* operation : texts::operations()) {
        const std::string example = operation->example;
        // Examples that read a second picture call it so.
        ASSERT_TRUE(picture_.SaveToFile("other.bmp"));
        const Result result = run({"run", "in.bmp", example, "out.bmp"});
        EXPECT_EQ(result.exitCode, 0) << example << ": " << result.errors;
        DibStream changed;
        EXPECT_TRUE(changed.LoadFromFile("out.bmp", DibStream::DIB_ACCEPT_ALL)) << example;
        std::remove("out.bmp");
    }
}

TEST_F(TablesInUse, JsonOfOperationsIsTheLibrarys) {
    const Result result = run({"ops", "--json"});
    ASSERT_EQ(result.exitCode, 0) << result.errors;
    EXPECT_EQ(result.output, texts::descriptions(DIB_DESCRIBE_JSON) + "\n");
    EXPECT_EQ(nlohmann::json::parse(result.output)["operations"].size(), texts::operations().size());
}

TEST_F(TablesInUse, OperationsAndFormatsAreListed) {
    const Result operations = run({"ops"});
    EXPECT_EQ(operations.exitCode, 0);
    for (const DibOperation* operation : texts::operations()) {
        const std::string text = texts::description(*operation, DIB_DESCRIBE_HELP);
        EXPECT_NE(operations.output.find(text), std::string::npos) << operation->name;
        const Result help = run({"help", operation->name});
        EXPECT_EQ(help.exitCode, 0);
        // A command may have the name of an operation, and comes first.
        EXPECT_TRUE(help.output.ends_with(text)) << help.output;
        EXPECT_EQ(help.output == text, operation->name != std::string_view("compare"));
    }
    const Result formats = run({"formats"});
    EXPECT_EQ(formats.exitCode, 0);
    EXPECT_NE(formats.output.find("bmp"), std::string::npos);
    const nlohmann::json all = nlohmann::json::parse(run({"formats", "--json"}).output);
    EXPECT_EQ(all["schema"], 1);
    const nlohmann::json json = all["formats"];
    ASSERT_EQ(json.size(), texts::formats().size());
    EXPECT_EQ(json[0]["name"], "bmp");
    EXPECT_EQ(json[0]["extensions"], nlohmann::json::parse(R"(["bmp", "dib"])"));
    EXPECT_EQ(json[0]["reads"], true);
    EXPECT_EQ(json[0]["writes"], true);
}

TEST_F(TablesInUse, SomeRowsAreListedByTheirNames) {
    const Result text = run({"ops", "half", "blur"});
    EXPECT_EQ(text.exitCode, 0);
    EXPECT_EQ(text.output, run({"help", "half"}).output + "\n" + run({"help", "blur"}).output);
    const auto json = nlohmann::json::parse(run({"ops", "--json", "crop", "blur"}).output);
    EXPECT_EQ(json["schema"], 1);
    ASSERT_EQ(json["operations"].size(), 2U);
    EXPECT_EQ(json["operations"][0]["name"], "crop");
    EXPECT_EQ(json["operations"][0]["movesPixels"], true);
    EXPECT_EQ(json["operations"][1]["name"], "blur");
    EXPECT_EQ(json["operations"][1]["movesPixels"], false);
    const auto formats = nlohmann::json::parse(run({"formats", "--json", "PGM", "png"}).output)["formats"];
    ASSERT_EQ(formats.size(), 2U);
    EXPECT_EQ(formats[0]["name"], "ppm");
    EXPECT_EQ(formats[0]["paletteAlpha"], false);
    EXPECT_EQ(formats[1]["name"], "png");
    EXPECT_EQ(formats[1]["paletteAlpha"], true);
}

TEST_F(TablesInUse, FormatsTellTypesPartsAndPlugIns) {
    const std::string text = run({"formats", "--plugins=nowhere"}).output;
    EXPECT_TRUE(
        text.starts_with("bmp    Windows bitmap\n"
                         "       extensions  bmp, dib\n"
                         "       MIME types  image/bmp\n"
                         "       reads       1, 4, 8, 16, 24, 32 bits\n"
                         "       writes      1, 4, 8, 16, 24, 32 bits\n"
                         "tga    Truevision TGA\n"))
        << text;
    EXPECT_NE(text.find("       parts       pages\n"), std::string::npos);
    EXPECT_NE(text.find("       parts       layers\n"), std::string::npos);
    EXPECT_NE(text.find("       plug-in     nowhere/vexlibdds.bundle, which cannot be loaded\n"),
              std::string::npos)
        << text;
    const auto rowOf = [](const Program::Words& words, const char* name) {
        const nlohmann::json json = nlohmann::json::parse(run(words).output)["formats"];
        return *std::ranges::find_if(json, [name](const auto& row) { return row["name"] == name; });
    };
    const nlohmann::json tiff = rowOf({"formats", "--json"}, "tiff");
    EXPECT_EQ(tiff["mimeTypes"], nlohmann::json::parse(R"(["image/tiff"])"));
    EXPECT_EQ(tiff["pages"], true);
    EXPECT_EQ(tiff["layers"], false);
    EXPECT_EQ(tiff["plugin"], nullptr);
    EXPECT_EQ(tiff["writesDepths"], "1, 4, 8, 24, 32 bits");
    EXPECT_EQ(rowOf({"formats", "--json"}, "psd")["layers"], true);
    const nlohmann::json missing = rowOf({"formats", "--json", "--plugins=nowhere/"}, "exr");
    EXPECT_EQ(missing["plugin"]["path"], "nowhere/vexlibexr.bundle");
    EXPECT_EQ(missing["plugin"]["available"], false);
}

}  // namespace

}  // namespace tool_test

// Operations in words, as JSON and in C++.
#include <functional>
#include <nlohmann/json.hpp>

#include "tests/operations/Operations.h"
#include "tests/support/FailingMalloc.h"

namespace operations_test {

namespace {

using nlohmann::json;

std::string description(const char* operation, DibDescription form) {
    DibBytes text;
    EXPECT_TRUE(DibDescribeOperation(DibFindOperation(operation), form, &text));
    EXPECT_EQ(text.data[text.size], 0);
    return textOf(text);
}

TEST(OperationDescriptions, SynopsesShowWhatMayBeLeftOut) {
    EXPECT_EQ(description("half", DIB_DESCRIBE_SYNOPSIS), "half[:classic]");
    EXPECT_EQ(description("flip-storage", DIB_DESCRIBE_SYNOPSIS), "flip-storage");
    EXPECT_EQ(description("bpp", DIB_DESCRIBE_SYNOPSIS),
              "bpp:DEPTH[,method=plain|grey|dither|median|truncate|diffuse][,classic]");
    EXPECT_EQ(description("resize", DIB_DESCRIBE_SYNOPSIS),
              "resize:WIDTHxHEIGHT[,filter=auto|area|bilinear|bicubic|lanczos|nearest][,classic]");
    EXPECT_EQ(description("color-noise", DIB_DESCRIBE_SYNOPSIS),
              "color-noise:#RRGGBB,STRENGTH[,seed=SEED][,classic]");
}

TEST(OperationDescriptions, HelpExplainsEveryParameter) {
    EXPECT_EQ(description("gaussian", DIB_DESCRIBE_HELP),
              "gaussian:RADIUS[,wrap=none|x|y][,classic]\n"
              "    Blurs with a Gaussian.\n"
              "    radius       three standard deviations; below 1 changes nothing (px, 0 to 255)\n"
              "    wrap         axes on which the picture repeats instead of ending at its edge; xy is both "
              "(default none)\n"
              "        x          left and right edges meet\n"
              "        y          top and bottom edges meet\n"
              "    classic      exactly as the classic function does it, whatever the palette and alpha\n"
              "    Example: gaussian:4.5\n");
    DibBytes text;
    ASSERT_TRUE(DibDescribeOperations(DIB_DESCRIBE_HELP, &text));
    for (const DibOperation* operation : all()) {
        EXPECT_NE(textOf(text).find(description(operation->name, DIB_DESCRIBE_HELP)), std::string::npos);
    }
}

TEST(OperationDescriptions, ParametersTellUnitRangeAndDefault) {
    const auto limits = [](const char* operation, int index) {
        DibBytes text;
        EXPECT_TRUE(DibDescribeParameter(DibFindOperation(operation)->parameters[index], &text));
        return textOf(text);
    };
    EXPECT_EQ(limits("gaussian", 0), "px, 0 to 255");
    EXPECT_EQ(limits("gamma", 0), "");
    EXPECT_EQ(limits("gamma", 2), "default 255");
    EXPECT_EQ(limits("mosaic", 0), "px, at least 1");
    EXPECT_EQ(limits("compose", 1), "of 1, or %, 0 to 1, default 0.5");
}

void expectRow(const json& row, const DibOperation& operation) {
    SCOPED_TRACE(operation.name);
    EXPECT_EQ(row["name"], operation.name);
    EXPECT_EQ(row["area"], operation.area);
    EXPECT_EQ(row["help"], operation.help);
    EXPECT_EQ(row["synopsis"], description(operation.name, DIB_DESCRIBE_SYNOPSIS));
    EXPECT_EQ(row["example"], operation.example);
    EXPECT_EQ(row["samples"], json({operation.samples[0], operation.samples[1], operation.samples[2]}));
    json depths = json::array();
    unsigned int bit = 1;
    for (const int bits : {1, 4, 8, 16, 24, 32}) {
        if ((operation.depths & bit) != 0) depths.push_back(bits);
        bit <<= 1;
    }
    EXPECT_EQ(row["depths"], depths);
    EXPECT_EQ(row["movesPixels"], operation.movesPixels);
    const auto parameters = DibList(operation.parameters);
    ASSERT_EQ(row["parameters"].size(), parameters.size());
    for (std::size_t i = 0; i < parameters.size(); ++i) {
        const json& parameter = row["parameters"][i];
        EXPECT_EQ(parameter["name"], parameters[i]->name);
        EXPECT_EQ(parameter["help"], parameters[i]->help);
        EXPECT_EQ(parameter["required"], parameters[i]->standard == nullptr);
        EXPECT_EQ(parameter.value("default", json()),
                  parameters[i]->standard != nullptr ? json(parameters[i]->standard) : json());
        EXPECT_EQ(parameter.value("unit", json()),
                  parameters[i]->unit != nullptr ? json(parameters[i]->unit) : json());
        if (parameters[i]->min < parameters[i]->max) {
            EXPECT_EQ(parameter["min"], parameters[i]->min);
            EXPECT_EQ(parameter["max"], parameters[i]->max);
        }
        const auto choices = DibList(parameters[i]->choices);
        EXPECT_EQ(parameter.value("choices", json::array()).size(), choices.size());
        for (std::size_t k = 0; k < choices.size(); ++k) {
            EXPECT_EQ(parameter["choices"][k]["name"], choices[k]->name);
            EXPECT_EQ(parameter["choices"][k]["value"], choices[k]->value);
        }
    }
}

TEST(OperationDescriptions, JsonHoldsTheWholeTable) {
    DibBytes text;
    ASSERT_TRUE(DibDescribeOperations(DIB_DESCRIBE_JSON, &text));
    const json table = json::parse(textOf(text));
    EXPECT_EQ(table["schema"], 1);
    ASSERT_EQ(table["operations"].size(), all().size());
    for (std::size_t i = 0; i < all().size(); ++i) {
        expectRow(table["operations"][i], *all()[i]);
        EXPECT_EQ(json::parse(description(all()[i]->name, DIB_DESCRIBE_JSON)), table["operations"][i]);
    }
    EXPECT_EQ(json::parse(description("gaussian", DIB_DESCRIBE_JSON)), json::parse(R"({
        "name": "gaussian", "area": "Blur and sharpen",
        "help": "Blurs with a Gaussian.",
        "synopsis": "gaussian:RADIUS[,wrap=none|x|y][,classic]", "example": "gaussian:4.5",
        "samples": ["gaussian:4.5", "gaussian:12", "gaussian:36,wrap=xy"], "depths": [1, 4, 8, 16, 24, 32],
        "movesPixels": false, "parameters": [
            {"name": "radius", "type": "number", "help": "three standard deviations; below 1 changes nothing",
             "required": true, "unit": "px", "min": 0, "max": 255, "limits": "px, 0 to 255"},
            {"name": "wrap", "type": "flags",
             "help": "axes on which the picture repeats instead of ending at its edge; xy is both",
             "required": false, "default": "none", "limits": "default none",
             "choices": [{"name": "x", "value": 1, "help": "left and right edges meet"},
                         {"name": "y", "value": 2, "help": "top and bottom edges meet"}]},
            {"name": "classic", "type": "switch",
             "help": "exactly as the classic function does it, whatever the palette and alpha",
             "required": false, "default": "no", "limits": ""}]})"));
}

TEST(OperationDescriptions, NeedSomethingToDescribe) {
    DibBytes text;
    ASSERT_TRUE(DibDescribeOperations(DIB_DESCRIBE_SYNOPSIS, &text));
    EXPECT_FALSE(DibDescribeOperation(nullptr, DIB_DESCRIBE_HELP, &text));
    EXPECT_EQ(text.data, nullptr);
    EXPECT_FALSE(DibDescribeOperation(DibFindOperation("half"), static_cast<DibDescription>(7), &text));
    EXPECT_FALSE(DibDescribeOperation(DibFindOperation("half"), DIB_DESCRIBE_HELP, nullptr));
    EXPECT_FALSE(DibDescribeParameter(nullptr, &text));
    EXPECT_FALSE(DibDescribeOperations(DIB_DESCRIBE_JSON, nullptr));
}

std::string callOf(const char* step, int width = 100, int height = 60, int bitCount = 24) {
    DibStream image;
    EXPECT_TRUE(image.Create(width, height, bitCount));
    DibChain chain;
    DibOperationResult result;
    EXPECT_TRUE(DibParseStep(step, &chain, &result)) << result.reason;
    DibBytes text;
    EXPECT_TRUE(DibDescribeCall(chain.steps, &image, &text, &result)) << result.reason;
    return textOf(text);
}

TEST(OperationCalls, WriteValuesAsCppDoes) {
    EXPECT_EQ(callOf("blur:2"), "DibEffectBlur(nullptr, nullptr, &image, 2, 0U);");
    EXPECT_EQ(callOf("blur:2,wrap=x"), "DibEffectBlur(nullptr, nullptr, &image, 2, DIB_WRAP_X);");
    EXPECT_EQ(callOf("blur:2,wrap=yx"),
              "DibEffectBlur(nullptr, nullptr, &image, 2, DIB_WRAP_X | DIB_WRAP_Y);");
    EXPECT_EQ(callOf("gaussian:4,classic"), "DibEffectGaussianBlur(nullptr, nullptr, &image, 4.0f, 0U);");
    EXPECT_EQ(callOf("gaussian:0.1,classic"), "DibEffectGaussianBlur(nullptr, nullptr, &image, 0.1f, 0U);");
    EXPECT_EQ(callOf("brighten:1000000000"), "image.Brighten(1e+09f);");
    EXPECT_EQ(callOf("rotate:180"), "DibEffectRotate(nullptr, nullptr, &image, 3.1415927f, 0U);");
    EXPECT_EQ(callOf("whirl:-2rad,x=0%,y=100%"),
              "DibEffectWhirl(nullptr, nullptr, &image, 0.0f, 59.0f, -2.0f, 0U);");
    EXPECT_EQ(callOf("noise:20,seed=7"), "std::srand(7);\nDibEffectNoise(nullptr, nullptr, &image, 20);");
    EXPECT_EQ(
        callOf("color-noise:#ff8001,50%,seed=1"),
        "std::srand(1);\nDibEffectColorNoise(nullptr, nullptr, &image, DibBGRA{1, 128, 255, 255}, 0.5f);");
    EXPECT_EQ(callOf("bpp:8"), "image.ChangeBpp(8, 0);");
    EXPECT_EQ(callOf("bpp:16,method=dither"), "image.ChangeBpp(16, DIB_DITHER);");
    EXPECT_EQ(callOf("resize:50%,filter=area,classic"),
              "image.Resize(50, 30, DibStream::DIB_RESIZE_INTEGRAL);");
    EXPECT_EQ(callOf("canvas:7x200%,fill=#ff8001"), "image.ChangeSize(7, 120, 0xffff8001);");
    EXPECT_EQ(callOf("canvas:7x8,fill=255", 9, 9, 8), "image.ChangeSize(7, 8, 255);");
    EXPECT_EQ(callOf("compose:a\"b\\\\c,1"),
              "DibEffectCompose(nullptr, nullptr, &image, \"a\\\"b\\\\c\", 1.0f, 0);");
    EXPECT_EQ(callOf("half"), "image.ResizeHalf();");
    EXPECT_EQ(callOf("flatten:#ffffff"), "DibApply(&image, \"flatten\");");
    EXPECT_EQ(callOf("grey"), "DibApply(&image, \"grey\");");
    EXPECT_EQ(callOf("levels:20,230,gamma=1.5"), "DibApply(&image, \"levels:20,230,gamma=1.5\");");
    EXPECT_EQ(callOf("blur:2,classic", 9, 9, 4), "DibEffectBlur(nullptr, nullptr, &image, 2, 0U);");
    EXPECT_EQ(callOf("blur:2,x", 9, 9, 4), "DibApply(&image, \"blur:2,wrap=x\");");
    EXPECT_EQ(callOf("blur:2", 9, 9, 32), "DibApply(&image, \"blur:2\");");
    EXPECT_EQ(callOf("compose:a\\ \"b\\\\\\,c.bmp", 9, 9, 4),
              "DibApply(&image, \"compose:a\\\\ \\\"b\\\\\\\\\\\\,c.bmp\");");
}

TEST(OperationCalls, NeedAStepAndAPicture) {
    DibChain chain;
    ASSERT_TRUE(DibParseStep("canvas:7x8,fill=256", &chain));
    DibOperationResult result;
    DibBytes text;
    DibStream image;
    EXPECT_FALSE(DibDescribeCall(chain.steps, &image, &text, &result));
    EXPECT_STREQ(result.reason, "canvas: the image has no pixels");
    EXPECT_FALSE(DibDescribeCall(chain.steps, nullptr, &text, &result));
    ASSERT_TRUE(image.Create(9, 9, 8));
    EXPECT_FALSE(DibDescribeCall(nullptr, &image, &text, &result));
    EXPECT_FALSE(DibDescribeCall(chain.steps, &image, nullptr, &result));
    EXPECT_FALSE(DibDescribeCall(chain.steps, &image, &text, &result));
    EXPECT_STREQ(result.reason, "canvas: fill: '256' is outside 0 to 255 for a picture of 8 bits");
}

TEST(OperationDescriptions, SurviveFailingAllocations) {
    DibStream image;
    ASSERT_TRUE(image.Create(9, 9, 24));
    DibChain chain;
    ASSERT_TRUE(DibParseStep("color-noise:#ff8001,50%,seed=1", &chain));
    const std::function<bool(DibBytes*)> kTexts[] = {
        [](DibBytes* text) {
            return DibDescribeOperation(DibFindOperation("bpp"), DIB_DESCRIBE_SYNOPSIS, text);
        },
        [](DibBytes* text) { return DibDescribeOperation(DibFindOperation("bpp"), DIB_DESCRIBE_HELP, text); },
        [](DibBytes* text) { return DibDescribeOperation(DibFindOperation("bpp"), DIB_DESCRIBE_JSON, text); },
        [](DibBytes* text) { return DibDescribeParameter(DibFindOperation("bpp")->parameters[1], text); },
        [&](DibBytes* text) { return DibDescribeCall(chain.steps, &image, text); },
    };
    for (const auto& describe : kTexts) {
        DibBytes* text = nullptr;
        bool isDone = false;
        const int failures = testing_support::forEachFailingAllocation(
            [&] { text = new DibBytes; }, [&] { isDone = describe(text); },
            [&](bool failureMet) {
                EXPECT_EQ(isDone, !failureMet);
                EXPECT_EQ(text->data != nullptr, isDone);
                delete text;
            });
        EXPECT_GT(failures, 0);
    }
}

}  // namespace

}  // namespace operations_test

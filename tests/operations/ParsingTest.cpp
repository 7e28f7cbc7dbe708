// Steps and chains: what they mean, and why they are refused.
#include "tests/operations/Operations.h"
#include "tests/support/FailingMalloc.h"

namespace operations_test {

namespace {

// "rotate 30 xy | half": the operations of a chain with the values of their parameters.
std::string parsed(const std::string& text, bool (*parse)(const char*, DibChain*, DibOperationResult*)) {
    DibChain chain;
    DibOperationResult result;
    EXPECT_TRUE(parse(text.c_str(), &chain, &result)) << result.reason;
    EXPECT_EQ(result.code, DIB_OK);
    EXPECT_STREQ(result.reason, "");
    std::string all;
    for (const DibStep& step : stepsOf(chain)) {
        all += (all.empty() ? "" : " | ") + std::string(step.operation->name);
        const auto parameters = DibList(step.operation->parameters);
        for (std::size_t i = 0; i < parameters.size(); ++i) {
            if (parameters[i]->kind != DIB_PARAMETER_SWITCH) all += std::string(" ") + step.values[i];
        }
    }
    return all;
}
std::string chainOf(const std::string& text) { return parsed(text, DibParseChain); }
std::string stepOf(const std::string& text) { return parsed(text, DibParseStep); }

TEST(OperationParsing, ValuesComeByPlaceOrByName) {
    EXPECT_EQ(stepOf("half"), "half");
    EXPECT_EQ(stepOf("rotate:30"), "rotate 30 none none");
    EXPECT_EQ(stepOf("rotate:30,wrap=xy"), "rotate 30 xy none");
    EXPECT_EQ(stepOf("rotate:wrap=xy,30"), "rotate 30 xy none");
    EXPECT_EQ(stepOf("rotate:wrap=xy,angle=-30deg"), "rotate -30deg xy none");
    EXPECT_EQ(stepOf("gamma:2.2"), "gamma 2.2 0 255");
    EXPECT_EQ(stepOf("gamma:2.2,high=200"), "gamma 2.2 0 200");
    EXPECT_EQ(stepOf("compose:a=b c.bmp,30%,tile"), "compose a=b c.bmp 30% tile");
    EXPECT_EQ(stepOf("compose:file=a=b.bmp"), "compose a=b.bmp 0.5 stretch");
    EXPECT_EQ(stepOf("compose:a\\,b\\\\c.bmp"), "compose a,b\\c.bmp 0.5 stretch");
}

TEST(OperationParsing, StepsHaveWhiteSpaceBetweenThem) {
    EXPECT_EQ(chainOf(""), "");
    EXPECT_EQ(chainOf(" \t\n "), "");
    EXPECT_EQ(chainOf("half"), "half");
    EXPECT_EQ(chainOf("  rotate:30,wrap=xy \n\tgaussian:4 half "),
              "rotate 30 xy none | gaussian 4 none | half");
    EXPECT_EQ(chainOf("compose:a\\ b.bmp half"), "compose a b.bmp 0.5 stretch | half");
}

struct Wrong {
    const char* text;
    const char* reason;
    const char* operation = nullptr;
    const char* parameter = nullptr;
    const char* suggestion = nullptr;
};

const char* nameOf(const auto* record) { return record != nullptr ? record->name : nullptr; }

void expectRefused(const Wrong& wrong, bool (*parse)(const char*, DibChain*, DibOperationResult*), int step) {
    SCOPED_TRACE(wrong.text);
    DibChain chain;
    DibOperationResult result;
    EXPECT_FALSE(parse(wrong.text, &chain, &result));
    EXPECT_EQ(chain.steps, nullptr);
    EXPECT_EQ(chain.stepCount, 0);
    EXPECT_EQ(result.code, DIB_ERROR_INVALID);
    EXPECT_STREQ(result.reason, wrong.reason);
    EXPECT_EQ(result.step, step);
    EXPECT_STREQ(nameOf(result.operation), wrong.operation);
    EXPECT_STREQ(nameOf(result.parameter), wrong.parameter);
    EXPECT_STREQ(result.suggestion, wrong.suggestion);
}

TEST(OperationParsing, RefusalsNameWhatIsWrong) {
    const Wrong kCases[] = {
        {"", "no operation ''"},
        {"bulr:2", "no operation 'bulr'; did you mean 'blur'?", nullptr, nullptr, "blur"},
        {"gauss", "no operation 'gauss'; did you mean 'gaussian'?", nullptr, nullptr, "gaussian"},
        {"Rotate:30", "no operation 'Rotate'; did you mean 'rotate'?", nullptr, nullptr, "rotate"},
        {"gray", "no operation 'gray'; did you mean 'grey'?", nullptr, nullptr, "grey"},
        {"frobnicate", "no operation 'frobnicate'"},
        {"blur", "blur: radius is missing (usage: blur:RADIUS[,wrap=none|x|y][,classic])", "blur", "radius"},
        {"blur:2,warp=x",
         "blur: no parameter 'warp'; did you mean 'wrap'? (usage: blur:RADIUS[,wrap=none|x|y][,classic])",
         "blur", nullptr, "wrap"},
        {"blur:2,x,3", "blur: too many values, at '3' (usage: blur:RADIUS[,wrap=none|x|y][,classic])",
         "blur"},
        {"blur:2,radius=3", "blur: radius is given twice (usage: blur:RADIUS[,wrap=none|x|y][,classic])",
         "blur", "radius"},
        {"half:", "half: too many values, at '' (usage: half[:classic])", "half"},
        {"bpp:8,method=medain",
         "bpp: method: 'medain' is not one of plain, grey, dither, median, truncate, diffuse; did you mean "
         "'median'?",
         "bpp", "method", "median"},
        {"bpp:1,method=median",
         "bpp: method: not available for depth 1 (usage: "
         "bpp:DEPTH[,method=plain|grey|dither|median|truncate|diffuse][,classic])",
         "bpp"},
        {"bpp:8,method=gray",
         "bpp: method: 'gray' is not one of plain, grey, dither, median, truncate, diffuse; did you mean "
         "'grey'?",
         "bpp", "method", "grey"},
        {"gamma:0", "gamma: gamma: must be above 0 (usage: gamma:GAMMA[,low=LOW][,high=HIGH][,classic])",
         "gamma"},
        {"gamma:-2.2", "gamma: gamma: must be above 0 (usage: gamma:GAMMA[,low=LOW][,high=HIGH][,classic])",
         "gamma"},
        {"wave:0,3",
         "wave: wavelength: must not be 0 (usage: "
         "wave:WAVELENGTH,AMPLITUDE[,phase=PHASE][,direction=DIRECTION][,wrap=none|x|y][,classic])",
         "wave"},
    };
    for (const Wrong& wrong : kCases) expectRefused(wrong, DibParseStep, 0);
}

// None of these counts as the nearest value that is allowed.
TEST(OperationParsing, ValuesOutOfRangeAreRefused) {
    const Wrong kCases[] = {
        {"gaussian:300", "gaussian: radius: '300' is outside 0 to 255", "gaussian", "radius"},
        {"gaussian:255.001", "gaussian: radius: '255.001' is outside 0 to 255", "gaussian", "radius"},
        {"gaussian:-1", "gaussian: radius: '-1' is outside 0 to 255", "gaussian", "radius"},
        {"median:501", "median: radius: '501' is outside 0 to 500", "median", "radius"},
        {"blur:-1", "blur: radius: '-1' is outside 0 to 1450", "blur", "radius"},
        {"mosaic:0", "mosaic: size: '0' is outside 1 to 2147483647", "mosaic", "size"},
        {"noise:65536", "noise: amount: '65536' is outside 0 to 65535", "noise", "amount"},
        {"blur:1451", "blur: radius: '1451' is outside 0 to 1450", "blur", "radius"},
        {"color-noise:#ff8000,150%", "color-noise: strength: '150%' is outside 0 to 1", "color-noise",
         "strength"},
        {"compose:a.bmp,1.5", "compose: opacity: '1.5' is outside 0 to 1", "compose", "opacity"},
        {"canvas:5x5,fill=4294967296", "canvas: fill: '4294967296' is outside 0 to 4294967295", "canvas",
         "fill"},
        {"resize:0x5", "resize: size: '0x5' is outside 1 to 2147483647", "resize", "size"},
        {"brighten:-0.5", "brighten: factor: '-0.5' is outside 0 to 1000000000", "brighten", "factor"},
        {"motion-blur:0", "motion-blur: length: '0' is outside 1 to 4096", "motion-blur", "length"},
        {"motion-blur:4097", "motion-blur: length: '4097' is outside 1 to 4096", "motion-blur", "length"},
        {"emboss:1,distance=1025", "emboss: distance: '1025' is outside 1 to 1024", "emboss", "distance"},
    };
    for (const Wrong& wrong : kCases) expectRefused(wrong, DibParseStep, 0);
    DibChain chain;
    EXPECT_TRUE(DibParseStep("gaussian:255", &chain));
    EXPECT_TRUE(DibParseStep("median:500", &chain));
}

TEST(OperationParsing, TheRangeIsInTheResult) {
    DibChain chain;
    DibOperationResult result;
    ASSERT_FALSE(DibParseChain("half gaussian:300", &chain, &result));
    ASSERT_NE(result.parameter, nullptr);
    EXPECT_EQ(result.parameter->min, 0);
    EXPECT_EQ(result.parameter->max, 255);
    EXPECT_EQ(result.step, 1);
}

TEST(OperationParsing, TheStepOfAChainIsNamed) {
    expectRefused(
        {"half rotate:30 bulr:2", "no operation 'bulr'; did you mean 'blur'?", nullptr, nullptr, "blur"},
        DibParseChain, 2);
    expectRefused({"half rotate:x", "rotate: angle: 'x' is not a number", "rotate", "angle"}, DibParseChain,
                  1);
}

TEST(OperationParsing, NullsAreRefused) {
    DibChain chain;
    DibOperationResult result;
    EXPECT_FALSE(DibParseChain(nullptr, &chain, &result));
    EXPECT_EQ(result.code, DIB_ERROR_INVALID);
    EXPECT_FALSE(DibParseStep("half", nullptr, &result));
    EXPECT_EQ(result.code, DIB_ERROR_INVALID);
    EXPECT_FALSE(DibParseStep("no-such", &chain));
    EXPECT_TRUE(DibParseStep("half", &chain));
}

TEST(OperationParsing, AChainReplacesTheOneBefore) {
    DibChain chain;
    ASSERT_TRUE(DibParseChain("half half", &chain));
    ASSERT_TRUE(DibParseChain("rotate:5", &chain));
    EXPECT_EQ(chain.stepCount, 1);
    ASSERT_TRUE(DibParseChain("", &chain));
    EXPECT_EQ(chain.stepCount, 0);
    EXPECT_EQ(chain.steps, nullptr);
}

TEST(OperationParsing, HostileTextsAreRefusedInShortReasons) {
    const std::string kTexts[] = {
        std::string(1000000, 'x'),
        std::string(1000000, ','),
        "blur:" + std::string(1000000, ','),
        "blur:" + std::string(1000000, '9'),
        "blur:2,wrap=" + std::string(1000000, 'z'),
        "blur:" + std::string(1000000, '\\'),
        "blur:" + std::string(100000, '=') + ",",
        ":" + std::string(1000000, ':'),
        "\xff\xfe\x80:\xc3",
        "rotate:\xe2\x80\xae" + std::string(300, '\xc3'),
        std::string(1000, '\xe4') + "\xb8",
    };
    for (const std::string& text : kTexts) {
        for (const auto parse : {DibParseStep, DibParseChain}) {
            DibChain chain;
            DibOperationResult result;
            EXPECT_FALSE(parse(text.c_str(), &chain, &result)) << text.substr(0, 40);
            EXPECT_EQ(result.code, DIB_ERROR_INVALID);
            EXPECT_LT(std::string(result.reason).size(), sizeof result.reason);
        }
    }
    // Cut between two characters, never inside one.
    std::string name;
    for (int i = 0; i < 100; ++i) name += "\xe4\xb8\xad";
    DibChain chain;
    DibOperationResult result;
    EXPECT_FALSE(DibParseStep(name.c_str(), &chain, &result));
    EXPECT_EQ(result.reason, "no operation '" + name.substr(0, 120) + "...'");
    // A text ends at its first zero byte.
    EXPECT_EQ(stepOf(std::string("half\0no-such", 12)), "half");
}

TEST(OperationParsing, ALongChainIsParsed) {
    std::string text;
    for (int i = 0; i < 10000; ++i) text += "rotate:30 ";
    DibChain chain;
    ASSERT_TRUE(DibParseChain(text.c_str(), &chain));
    EXPECT_EQ(chain.stepCount, 10000);
    EXPECT_STREQ(chain.steps[9999].values[0], "30");
}

TEST(OperationParsing, SurvivesFailingAllocations) {
    for (const char* text :
         {"rotate:30,wrap=xy compose:a\\ b.bmp,mode=tile bpp:8", "half bulr:2", "rotate:none"}) {
        DibChain expected;
        const bool isRight = DibParseChain(text, &expected);
        DibChain* chain = nullptr;
        DibOperationResult result;
        bool isParsed = false;
        const int failures = testing_support::forEachFailingAllocation(
            [&] { chain = new DibChain; }, [&] { isParsed = DibParseChain(text, chain, &result); },
            [&](bool failureMet) {
                if (failureMet && result.code == DIB_ERROR_MEMORY) {
                    EXPECT_FALSE(isParsed);
                    EXPECT_EQ(chain->stepCount, 0);
                    EXPECT_STREQ(result.reason, "there is not enough memory");
                } else {
                    EXPECT_EQ(isParsed, isRight);
                    EXPECT_EQ(chain->stepCount, expected.stepCount);
                }
                delete chain;
            });
        EXPECT_GT(failures, 3) << text;
    }
}

TEST(OperationNames, TheNearestIsSuggested) {
    const char* const kNames[] = {"blur", "motion-blur", "gaussian", "half", nullptr};
    EXPECT_STREQ(DibNearestName("bulr", kNames), "blur");
    EXPECT_STREQ(DibNearestName("blr", kNames), "blur");
    EXPECT_STREQ(DibNearestName("blurs", kNames), "blur");
    EXPECT_STREQ(DibNearestName("moti", kNames), "motion-blur");
    EXPECT_STREQ(DibNearestName("gaussain", kNames), "gaussian");
    EXPECT_EQ(DibNearestName("xyz", kNames), nullptr);
    EXPECT_EQ(DibNearestName("", kNames), nullptr);
    EXPECT_EQ(DibNearestName(std::string(100000, 'b').c_str(), kNames), nullptr);
    EXPECT_EQ(DibNearestName(nullptr, kNames), nullptr);
    EXPECT_EQ(DibNearestName("blur", nullptr), nullptr);
}

}  // namespace

}  // namespace operations_test

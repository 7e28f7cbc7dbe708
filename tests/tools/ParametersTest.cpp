#include <gtest/gtest.h>
#include <deque>

#include <numbers>

#include "tools/cli/ExitCode.h"
#include "tools/operations/Operations.h"

namespace {

using tool::Arguments;
using tool::Parameter;
using tool::parseValue;

constexpr Parameter kCount = tool::integer("count", "", {1, 100});
constexpr Parameter kSeed = tool::integer("seed", "", {0, tool::kAnyInteger.max});
constexpr Parameter kGain = tool::number("gain", "", {-2, 2});
constexpr Parameter kStrength = tool::fraction("strength", "");
constexpr Parameter kTurn = tool::angle("turn", "");
constexpr Parameter kWide = tool::length("wide", "", {0, 1000});
constexpr Parameter kShift = tool::length("shift", "");
constexpr Parameter kPlace = tool::position("place", "");
constexpr Parameter kExtent = tool::size("extent", "");
constexpr Parameter kWrap = tool::wrap();
constexpr Parameter kTint = tool::color("tint", "");
constexpr Parameter kBack = tool::fill("back", "");
constexpr Parameter kFile = tool::path("file", "");

// The value of the only parameter of an operation, which lives as long as the test program.
Arguments one(const Parameter& parameter, std::string_view text) {
    static std::deque<tool::Operation> operations;
    tool::Operation& operation = operations.emplace_back();
    operation.parameters = {&parameter, 1};
    return Arguments(operation, {parseValue(parameter, text, "op")});
}

std::string refusal(const Parameter& parameter, std::string_view text) {
    try {
        parseValue(parameter, text, "op");
    } catch (const tool::Failure& failure) {
        EXPECT_EQ(failure.exitCode(), tool::kExitUsage);
        return failure.what();
    }
    return "accepted";
}

TEST(Parameters, IntegersAreWholeTokensInRange) {
    EXPECT_EQ(one(kCount, "1").integer("count"), 1);
    EXPECT_EQ(one(kCount, "100").integer("count"), 100);
    EXPECT_EQ(one(kSeed, "2147483647").integer("seed"), 2147483647);
    EXPECT_EQ(refusal(kCount, "0"), "op: count: '0' is outside 1 to 100");
    EXPECT_EQ(refusal(kCount, "101"), "op: count: '101' is outside 1 to 100");
    for (const char* text : {"", " 1", "1 ", "1x", "1.5", "1e2", "+1", "0x10", "--1", "nan", "inf", "1-1"}) {
        EXPECT_EQ(refusal(kCount, text), "op: count: '" + std::string(text) + "' is not a whole number");
    }
    EXPECT_EQ(refusal(kSeed, "99999999999999999999"),
              "op: seed: '99999999999999999999' is outside 0 to 2147483647");
}

TEST(Parameters, NumbersAreFinite) {
    EXPECT_EQ(one(kGain, "-1.25").number("gain"), -1.25F);
    EXPECT_EQ(one(kGain, "1e-1").number("gain"), 0.1F);
    EXPECT_EQ(refusal(kGain, "2.5"), "op: gain: '2.5' is outside -2 to 2");
    for (const char* text : {"", "nan", "inf", "-inf", "1,5", "0x1p1", "1.5 ", "1e999"}) {
        EXPECT_EQ(refusal(kGain, text), "op: gain: '" + std::string(text) + "' is not a number");
    }
}

TEST(Parameters, FractionsMayBePercentages) {
    EXPECT_EQ(one(kStrength, "0.5").number("strength"), 0.5F);
    EXPECT_EQ(one(kStrength, "50%").number("strength"), 0.5F);
    EXPECT_EQ(refusal(kStrength, "101%"), "op: strength: '101%' is outside 0 to 1");
    EXPECT_EQ(refusal(kStrength, "%"), "op: strength: '%' is not a percentage");
}

TEST(Parameters, AnglesAreDegreesUnlessTheySayRadians) {
    EXPECT_FLOAT_EQ(one(kTurn, "180").radians("turn"), std::numbers::pi_v<float>);
    EXPECT_FLOAT_EQ(one(kTurn, "-90deg").radians("turn"), -std::numbers::pi_v<float> / 2);
    EXPECT_EQ(one(kTurn, "1.5rad").radians("turn"), 1.5F);
    EXPECT_EQ(refusal(kTurn, "90grad"), "op: turn: '90grad' is not a number");
    EXPECT_EQ(refusal(kTurn, "deg"), "op: turn: 'deg' is not a number");
}

TEST(Parameters, LengthsAreWholePixelsOrPercent) {
    EXPECT_EQ(one(kWide, "12").pixels("wide", 50), 12);
    EXPECT_EQ(one(kWide, "50%").pixels("wide", 33), 17);
    EXPECT_EQ(one(kWide, "150%").pixels("wide", 33), 50);
    EXPECT_EQ(one(kShift, "-50%").pixels("shift", 10), -5);
    EXPECT_EQ(one(kShift, "1000000%").pixels("shift", 2147483647), 2147483647);
    EXPECT_EQ(refusal(kWide, "-1"), "op: wide: '-1' is outside 0 to 1000");
    EXPECT_EQ(refusal(kWide, "1.5"), "op: wide: '1.5' is not a whole number");
    EXPECT_EQ(refusal(kWide, "-1%"), "op: wide: '-1%' is outside 0% to 1000000%");
}

TEST(Parameters, PositionsCountFromTheFirstPixelsCentre) {
    EXPECT_EQ(one(kPlace, "2.5").position("place", 10), 2.5F);
    EXPECT_EQ(one(kPlace, "0%").position("place", 10), 0.0F);
    EXPECT_EQ(one(kPlace, "50%").position("place", 10), 4.5F);
    EXPECT_EQ(one(kPlace, "100%").position("place", 10), 9.0F);
}

TEST(Parameters, SizesHaveTwoLengthsOrOnePercentage) {
    DibStream image;
    ASSERT_TRUE(image.Create(10, -7, 8));
    const auto size = [&image](const char* text) {
        const tool::PixelSize found = one(kExtent, text).size("extent", image);
        return std::pair(found.width, found.height);
    };
    EXPECT_EQ(size("320x200"), std::pair(320, 200));
    EXPECT_EQ(size("50%"), std::pair(5, 4));
    EXPECT_EQ(size("50%x14"), std::pair(5, 14));
    EXPECT_EQ(size("1%"), std::pair(1, 1));
    EXPECT_EQ(refusal(kExtent, "320"), "op: extent: '320' must be WIDTHxHEIGHT or a percentage");
    EXPECT_EQ(refusal(kExtent, "320x"), "op: extent: '320x' is not a whole number");
    EXPECT_EQ(refusal(kExtent, "x"), "op: extent: 'x' is not a whole number");
    EXPECT_EQ(refusal(kExtent, "0x5"), "op: extent: '0x5' is outside 1 to 2147483647");
    EXPECT_EQ(refusal(kExtent, "0%"), "op: extent: '0%' is an empty size");
}

TEST(Parameters, FlagsRunTogetherOrAreJoined) {
    EXPECT_EQ(one(kWrap, "none").word("wrap"), 0U);
    EXPECT_EQ(one(kWrap, "x").word("wrap"), 1U);
    EXPECT_EQ(one(kWrap, "y").word("wrap"), 2U);
    EXPECT_EQ(one(kWrap, "xy").word("wrap"), 3U);
    EXPECT_EQ(one(kWrap, "y+x").word("wrap"), 3U);
    EXPECT_EQ(refusal(kWrap, ""), "op: wrap: '' must be none, x, y or a combination such as x+y");
    for (const char* text : {"z", "x+", "+x", "x+z", "X"}) {
        EXPECT_EQ(refusal(kWrap, text),
                  "op: wrap: '" + std::string(text) + "' must be none, x, y or a combination such as x+y");
    }
}

TEST(Parameters, ColorsAreSixOrEightHexDigits) {
    const DibBGRA color = one(kTint, "#12aBf0").color("tint");
    EXPECT_EQ(color.red, 0x12);
    EXPECT_EQ(color.green, 0xAB);
    EXPECT_EQ(color.blue, 0xF0);
    EXPECT_EQ(color.alpha, 0xFF);
    EXPECT_EQ(one(kTint, "#12abf080").color("tint").alpha, 0x80);
    for (const char* text : {"", "#", "#12345", "#1234567", "123456", "#12345g", "#-12345", "#123456789"}) {
        EXPECT_EQ(refusal(kTint, text),
                  "op: tint: '" + std::string(text) + "' must be a colour #rrggbb or #rrggbbaa");
    }
}

TEST(Parameters, FillsTakeTheFormOfAPixel) {
    const auto fill = [](const char* text, int bitCount) {
        DibStream image;
        EXPECT_TRUE(image.Create(2, 2, bitCount));
        if (bitCount == 4) image.SetMonoPalette();
        return one(kBack, text).fill("back", image);
    };
    EXPECT_EQ(fill("#ff8000", 32), 0xFFFF8000U);
    EXPECT_EQ(fill("#ff800040", 32), 0x40FF8000U);
    EXPECT_EQ(fill("#ff8000", 16), (31U << 10) | (16U << 5));
    EXPECT_EQ(fill("#808080", 8), 0x80U);
    EXPECT_EQ(fill("#ffffff", 4), 15U);
    EXPECT_EQ(fill("#ffffff", 1), 1U);
    EXPECT_EQ(fill("7", 4), 7U);
    EXPECT_EQ(fill("4294967295", 32), 4294967295U);
    EXPECT_EQ(refusal(kBack, "-1"), "op: back: '-1' is outside 0 to 4294967295");
    EXPECT_EQ(refusal(kBack, "red"), "op: back: 'red' is not a whole number");
}

TEST(Parameters, PathsAreTakenAsTheyAre) {
    EXPECT_STREQ(one(kFile, "a=b c.bmp").path("file"), "a=b c.bmp");
    EXPECT_EQ(refusal(kFile, ""), "op: file: '' is not a file name");
}

TEST(Parameters, AnUndeclaredNameIsAProgrammersMistake) {
    EXPECT_THROW(one(kCount, "1").integer("cuont"), std::logic_error);
}

}  // namespace

#include <gtest/gtest.h>

#include <deque>
#include <numbers>
#include <string>
#include <tuple>

#include "operations/Operations.h"
#include "tests/support/FailingMalloc.h"

namespace {

using operations::Arguments;
using operations::readValue;

constexpr DibParameter kCount = operations::integer("count", "", {1, 100});
constexpr DibParameter kSeed = operations::integer("seed", "", {0, operations::kAnyInteger.max});
constexpr DibParameter kGain = operations::number("gain", "", {-2, 2});
constexpr DibParameter kStrength = operations::fraction("strength", "");
constexpr DibParameter kTurn = operations::angle("turn", "");
constexpr DibParameter kWide = operations::length("wide", "", {0, 1000});
constexpr DibParameter kShift = operations::length("shift", "");
constexpr DibParameter kPlace = operations::position("place", "");
constexpr DibParameter kExtent = operations::size("extent", "");
constexpr DibParameter kWrap = operations::wrap();
constexpr DibParameter kTint = operations::color("tint", "");
constexpr DibParameter kBack = operations::fill("back", "");
constexpr DibParameter kFile = operations::path("file", "");

// The value of the only parameter of an operation, which lives as long as the test program.
Arguments one(const DibParameter& parameter, std::string_view text) {
    struct Only {
        const DibParameter* list[2];
        operations::Operation row;
    };
    static std::deque<Only> all;
    Only& only = all.emplace_back(Only{{&parameter, nullptr}, {}});
    only.row.info.parameters = only.list;
    return Arguments(only.row, {readValue(parameter, text)});
}

std::string refusal(const DibParameter& parameter, std::string_view text) {
    try {
        readValue(parameter, text);
    } catch (const operations::Refusal& wrong) {
        EXPECT_EQ(wrong.code, DIB_ERROR_INVALID);
        EXPECT_EQ(wrong.parameter, &parameter);
        return wrong.reason;
    }
    return "accepted";
}

TEST(OperationValues, IntegersAreWholeTokensInRange) {
    EXPECT_EQ(one(kCount, "1").integer("count"), 1);
    EXPECT_EQ(one(kCount, "100").integer("count"), 100);
    EXPECT_EQ(one(kSeed, "2147483647").integer("seed"), 2147483647);
    EXPECT_EQ(refusal(kCount, "0"), "count: '0' is outside 1 to 100");
    EXPECT_EQ(refusal(kCount, "101"), "count: '101' is outside 1 to 100");
    EXPECT_EQ(refusal(kCount, ""), "count: the value is empty");
    for (const char* text : {" 1", "1 ", "1x", "1.5", "1e2", "+1", "0x10", "--1", "nan", "inf", "1-1"}) {
        EXPECT_EQ(refusal(kCount, text), "count: '" + std::string(text) + "' is not a whole number");
    }
    EXPECT_EQ(refusal(kSeed, "99999999999999999999"),
              "seed: '99999999999999999999' is outside 0 to 2147483647");
}

TEST(OperationValues, NumbersAreFinite) {
    EXPECT_EQ(one(kGain, "-1.25").number("gain"), -1.25F);
    EXPECT_EQ(one(kGain, "1e-1").number("gain"), 0.1F);
    EXPECT_EQ(refusal(kGain, "2.5"), "gain: '2.5' is outside -2 to 2");
    for (const char* text : {"nan", "inf", "-inf", "1,5", "0x1p1", "1.5 ", "1e999"}) {
        EXPECT_EQ(refusal(kGain, text), "gain: '" + std::string(text) + "' is not a number");
    }
}

TEST(OperationValues, FractionsMayBePercentages) {
    EXPECT_EQ(one(kStrength, "0.5").number("strength"), 0.5F);
    EXPECT_EQ(one(kStrength, "50%").number("strength"), 0.5F);
    EXPECT_EQ(refusal(kStrength, "101%"), "strength: '101%' is outside 0 to 1");
    EXPECT_EQ(refusal(kStrength, "%"), "strength: '%' is not a percentage");
}

TEST(OperationValues, AnglesAreDegreesUnlessTheySayRadians) {
    EXPECT_FLOAT_EQ(one(kTurn, "180").radians("turn"), std::numbers::pi_v<float>);
    EXPECT_FLOAT_EQ(one(kTurn, "-90deg").radians("turn"), -std::numbers::pi_v<float> / 2);
    EXPECT_EQ(one(kTurn, "1.5rad").radians("turn"), 1.5F);
    EXPECT_EQ(refusal(kTurn, "90grad"), "turn: '90grad' is not a number");
    EXPECT_EQ(refusal(kTurn, "deg"), "turn: 'deg' is not a number");
}

TEST(OperationValues, LengthsAreWholePixelsOrPercent) {
    EXPECT_EQ(one(kWide, "12").pixels("wide", 50), 12);
    EXPECT_EQ(one(kWide, "50%").pixels("wide", 33), 17);
    EXPECT_EQ(one(kWide, "150%").pixels("wide", 33), 50);
    EXPECT_EQ(one(kShift, "-50%").pixels("shift", 10), -5);
    EXPECT_EQ(one(kShift, "100%").pixels("shift", 2147483647), 2147483647);
    EXPECT_THROW(one(kShift, "101%").pixels("shift", 2147483647), operations::Refusal);
    EXPECT_EQ(refusal(kWide, "-1"), "wide: '-1' is outside 0 to 1000");
    EXPECT_EQ(refusal(kWide, "1.5"), "wide: '1.5' is not a whole number");
    EXPECT_EQ(refusal(kWide, "-1%"), "wide: '-1%' is outside 0% to 1000000%");
}

TEST(OperationValues, PositionsCountFromTheFirstPixelsCentre) {
    EXPECT_EQ(one(kPlace, "2.5").position("place", 10), 2.5F);
    EXPECT_EQ(one(kPlace, "0%").position("place", 10), 0.0F);
    EXPECT_EQ(one(kPlace, "50%").position("place", 10), 4.5F);
    EXPECT_EQ(one(kPlace, "100%").position("place", 10), 9.0F);
}

TEST(OperationValues, SizesHaveTwoLengthsOrOnePercentage) {
    DibStream image;
    ASSERT_TRUE(image.Create(10, -7, 8));
    const auto size = [&image](const char* text) {
        const operations::PixelSize found = one(kExtent, text).size("extent", image);
        return std::pair(found.width, found.height);
    };
    EXPECT_EQ(size("320x200"), std::pair(320, 200));
    EXPECT_EQ(size("50%"), std::pair(5, 4));
    EXPECT_EQ(size("50%x14"), std::pair(5, 14));
    EXPECT_EQ(size("1%"), std::pair(1, 1));
    EXPECT_EQ(refusal(kExtent, "320"), "extent: '320' is not a size: 320x240, 320x, x240 and 50% are");
    EXPECT_EQ(size("30x"), std::pair(30, 21));
    EXPECT_EQ(size("x21"), std::pair(30, 21));
    EXPECT_EQ(size("x200%"), std::pair(20, 14));
    EXPECT_EQ(size("1x"), std::pair(1, 1));
    EXPECT_EQ(refusal(kExtent, "x0%"), "extent: 'x0%' is an empty size");
    EXPECT_EQ(refusal(kExtent, "x"), "extent: 'x' is not a size: 320x240, 320x, x240 and 50% are");
    EXPECT_EQ(refusal(kExtent, "0x5"), "extent: '0x5' is outside 1 to 2147483647");
    EXPECT_EQ(refusal(kExtent, "0%"), "extent: '0%' is an empty size");
}

TEST(OperationValues, FlagsRunTogetherOrAreJoined) {
    EXPECT_EQ(one(kWrap, "none").word("wrap"), 0U);
    EXPECT_EQ(one(kWrap, "x").word("wrap"), 1U);
    EXPECT_EQ(one(kWrap, "y").word("wrap"), 2U);
    EXPECT_EQ(one(kWrap, "xy").word("wrap"), 3U);
    EXPECT_EQ(one(kWrap, "y+x").word("wrap"), 3U);
    EXPECT_EQ(refusal(kWrap, ""), "wrap: the value is empty; leave it out for none");
    for (const char* text : {"z", "x+", "+x", "x+z", "X"}) {
        EXPECT_EQ(refusal(kWrap, text),
                  "wrap: '" + std::string(text) + "' must be none, x, y or a combination such as x+y");
    }
}

TEST(OperationValues, ShortColorsHaveEachDigitTwice) {
    const auto wordOf = [](const DibBGRA& c) {
        return std::uint32_t{c.alpha} << 24 | std::uint32_t{c.red} << 16 | std::uint32_t{c.green} << 8 |
               c.blue;
    };
    EXPECT_EQ(wordOf(one(kTint, "#fff").color("tint")), 0xFFFFFFFFU);
    EXPECT_EQ(wordOf(one(kTint, "#1aC").color("tint")), 0xFF11AACCU);
    EXPECT_EQ(wordOf(one(kTint, "#1aC8").color("tint")), 0x8811AACCU);
    EXPECT_EQ(wordOf(one(kTint, "#0000").color("tint")), 0U);
}

TEST(OperationValues, ColorsAreThreeToEightHexDigits) {
    const DibBGRA color = one(kTint, "#12aBf0").color("tint");
    EXPECT_EQ(color.red, 0x12);
    EXPECT_EQ(color.green, 0xAB);
    EXPECT_EQ(color.blue, 0xF0);
    EXPECT_EQ(color.alpha, 0xFF);
    EXPECT_EQ(one(kTint, "#12abf080").color("tint").alpha, 0x80);
    for (const char* text :
         {"#", "#1", "#12", "#12345", "#1234567", "#fg0", "123456", "#12345g", "#-12345", "#123456789"}) {
        EXPECT_EQ(refusal(kTint, text),
                  "tint: '" + std::string(text) + "' must be a colour #rrggbb or #rrggbbaa");
    }
}

TEST(OperationValues, ColorsAreReadOnTheirOwn) {
    DibBGRA color = {1, 2, 3, 4};
    DibOperationResult result;
    ASSERT_TRUE(DibParseColor("#102030", &color));
    EXPECT_EQ(std::tuple(color.red, color.green, color.blue, color.alpha), std::tuple(16, 32, 48, 255));
    ASSERT_TRUE(DibParseColor("#abCDef07", &color, &result));
    EXPECT_EQ(std::tuple(color.red, color.green, color.blue, color.alpha), std::tuple(171, 205, 239, 7));
    for (const char* text :
         {"", "#", "none", "102030", "#10", "#10203", "#10203g", "#-02030", "#102030405", " #102030"}) {
        EXPECT_FALSE(DibParseColor(text, &color, &result)) << text;
        EXPECT_EQ(result.code, DIB_ERROR_INVALID);
        EXPECT_EQ(result.reason, "'" + std::string(text) + "' must be a colour #rrggbb or #rrggbbaa");
        EXPECT_EQ(color.alpha, 7);
    }
    EXPECT_FALSE(DibParseColor(nullptr, &color, &result));
    EXPECT_FALSE(DibParseColor("#102030", nullptr, &result));
    EXPECT_EQ(result.code, DIB_ERROR_INVALID);
    // On Windows the allocation is that of an exception, for which the C++ library has a reserve.
#ifndef _WIN32
    const int failures = testing_support::forEachFailingAllocation(
        [] {}, [&] { DibParseColor("none", &color, &result); },
        [&](bool failureMet) {
            EXPECT_EQ(result.code, failureMet ? DIB_ERROR_MEMORY : DIB_ERROR_INVALID);
            EXPECT_EQ(color.alpha, 7);
        });
    EXPECT_GE(failures, 1);
#endif
}

TEST(OperationValues, FillsTakeTheFormOfAPixel) {
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
    EXPECT_EQ(fill("16777215", 24), 16777215U);
    EXPECT_EQ(fill("255", 8), 255U);
    EXPECT_EQ(refusal(kBack, "-1"), "back: '-1' is outside 0 to 4294967295");
    EXPECT_EQ(refusal(kBack, "red"), "back: 'red' is not a whole number");
}

TEST(OperationValues, PathsAreTakenAsTheyAre) {
    EXPECT_STREQ(one(kFile, "a=b c.bmp").path("file"), "a=b c.bmp");
    EXPECT_EQ(refusal(kFile, ""), "file: the value is empty");
}

TEST(OperationValues, AnUndeclaredNameIsAProgrammersMistake) {
    EXPECT_THROW(one(kCount, "1").integer("cuont"), std::logic_error);
}

}  // namespace

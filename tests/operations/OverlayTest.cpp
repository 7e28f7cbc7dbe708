// A second picture over the first, by numbers.
#include <algorithm>

#include "dib/Blend.h"
#include "dib/Kernels.h"
#include "tests/operations/Pictures.h"
#include "tests/support/Paths.h"

namespace operations_test {

namespace {

using testing_support::DibPtr;
using Values = std::vector<std::uint32_t>;

std::string saved(const DibPtr& image) {
    const std::string path = testing_support::temporaryPath("over.png");
    EXPECT_TRUE(DibSaveFile(path.c_str(), image.get()));
    return path;
}

// The columns of a row of six at which two pixels come to lie.
Values placedAt(const std::string& parameters) {
    const std::string path = saved(picture(2, 24, {1, 2}));
    return after(*picture(6, 24, Values(6, 0)), "overlay:" + path + "," + parameters);
}

TEST(Overlay, LiesWhereItIsPut) {
    EXPECT_EQ(placedAt("0"), (Values{1, 2, 0, 0, 0, 0}));
    EXPECT_EQ(placedAt("3"), (Values{0, 0, 0, 1, 2, 0}));
    EXPECT_EQ(placedAt("-1"), (Values{2, 0, 0, 0, 0, 0}));
    EXPECT_EQ(placedAt("5"), (Values{0, 0, 0, 0, 0, 1}));
    EXPECT_EQ(placedAt("50%"), (Values{0, 0, 1, 2, 0, 0}));
    EXPECT_EQ(placedAt("100%"), (Values{0, 0, 0, 0, 1, 2}));
    EXPECT_EQ(placedAt("place=center"), (Values{0, 0, 1, 2, 0, 0}));
    EXPECT_EQ(placedAt("place=center,x=1"), (Values{0, 0, 0, 1, 2, 0}));
    EXPECT_EQ(placedAt("place=e"), (Values{0, 0, 0, 0, 1, 2}));
    EXPECT_EQ(placedAt("place=se,x=1"), (Values{0, 0, 0, 1, 2, 0}));
}

TEST(Overlay, LiesInARowAsInAColumn) {
    const std::string path = saved(picture(1, 24, {1, 2}));
    const auto rows = [&](const std::string& parameters) {
        return after(*picture(1, 24, Values(5, 0)), "overlay:" + path + "," + parameters);
    };
    EXPECT_EQ(rows("y=1"), (Values{0, 1, 2, 0, 0}));
    EXPECT_EQ(rows("y=-1"), (Values{2, 0, 0, 0, 0}));
    EXPECT_EQ(rows("place=s,y=1"), (Values{0, 0, 1, 2, 0}));
    EXPECT_EQ(rows("place=w"), (Values{0, 1, 2, 0, 0}));
}

TEST(Overlay, OfGreysIsGrey) {
    if (!DibFindFormat("png")->hasPaletteAlpha) GTEST_SKIP() << "PNG files have no palettes on this system";
    const std::string grey = saved(picture(2, 8, {100, 200}));
    for (const char* mode : {"normal", "multiply", "luminosity"}) {
        const std::string step = "overlay:" + grey + ",opacity=60%,mode=" + mode;
        SCOPED_TRACE(step);
        const DibPtr image = picture(2, 8, {50, 240});
        const DibPtr wide = picture(2, 24, {0x323232, 0xF0F0F0});
        DibOperationResult result;
        ASSERT_TRUE(DibApply(image.get(), step.c_str(), nullptr, &result)) << result.reason;
        EXPECT_EQ(result.noteCount, 0);
        EXPECT_EQ(image->Header->biBitCount, 8);
        const Values colors = after(*wide, step);
        EXPECT_EQ(valuesOf(*image), (Values{colors[0] & 255, colors[1] & 255}));
    }
    // A picture of another kind may bring colours.
    const std::string colored = saved(picture(2, 24, {100, 200}));
    const DibPtr image = picture(2, 8, {50, 240});
    EXPECT_EQ(after(*image, "overlay:" + colored), (Values{100, 200}));
    EXPECT_EQ(image->Header->biBitCount, 24);
}

TEST(Overlay, OutsideThePictureChangesNothingAndSaysSo) {
    const std::string path = saved(picture(2, 24, {1, 2}));
    const DibPtr image = picture(2, 24, {3, 4});
    DibOperationResult result;
    ASSERT_TRUE(DibApply(image.get(), ("overlay:" + path + ",2147483647").c_str(), nullptr, &result));
    EXPECT_EQ(valuesOf(*image), (Values{3, 4}));
    ASSERT_EQ(result.noteCount, 1);
    EXPECT_STREQ(result.notes[0].text, "overlay: the second picture lies outside the first");
}

TEST(Overlay, ObeysItsAlphaAndTheOpacity) {
    const std::string path = saved(picture(3, 32, {0x00FFFFFF, 0x80FFFFFF, 0xFFFFFFFF}));
    EXPECT_EQ(after(*picture(3, 24, Values(3, 0x000064)), "overlay:" + path),
              (Values{0x000064, 0x8080B2, 0xFFFFFF}));
    EXPECT_EQ(after(*picture(3, 24, Values(3, 0x000064)), "overlay:" + path + ",opacity=50%"),
              (Values{0x000064, 0x40408B, 0x8080B2}));
    EXPECT_EQ(after(*picture(3, 24, Values(3, 0x000064)), "overlay:" + path + ",opacity=0"),
              (Values{0x000064, 0x000064, 0x000064}));
}

// 0x80 over 0x40: 128 + 64 - 128 x 64 / 255 = 160 of alpha, with 128 and 32 parts of the two colours.
TEST(Overlay, WeighsColoursWithBothAlphas) {
    const std::string path = saved(picture(4, 32, {0x800000FF, 0x80FF0000, 0x00FF0000, 0xFF010203}));
    EXPECT_EQ(after(*picture(4, 32, {0x4000FF00, 0x00123456, 0x40123456, 0x40123456}), "overlay:" + path),
              (Values{0xA00033CC, 0x80FF0000, 0x40123456, 0xFF010203}));
}

TEST(Overlay, WidensAPaletteAndSaysSo) {
    const std::string path = saved(picture(1, 24, {0x010203}));
    const DibPtr image = picture(2, 4, {1, 2});
    DibOperationResult result;
    ASSERT_TRUE(DibApply(image.get(), ("overlay:" + path).c_str(), nullptr, &result));
    EXPECT_EQ(valuesOf(*image), (Values{0x010203, 0x222222}));
    ASSERT_EQ(result.noteCount, 1);
    EXPECT_STREQ(result.notes[0].text, "overlay: the palette of 4 bits became 24 bits a pixel");
}

struct Blended {
    const char* mode;
    std::uint32_t value;
};

// Backdrop blue 200, green 100, red 50 under source blue 100, green 150, red 250.
TEST(Overlay, BlendsByTheFormulaOfItsMode) {
    const Blended kCases[] = {
        {"normal", 0xFA9664},        {"darken", 0x326464},       {"multiply", 0x313B4E},
        {"color-burn", 0x2E0073},    {"darker-color", 0x3264C8}, {"lighten", 0xFA96C8},
        {"screen", 0xFBBFDE},        {"color-dodge", 0xFFF3FF},  {"add", 0xFFFAFF},
        {"lighter-color", 0xFA9664}, {"overlay", 0x6276BC},      {"soft-light", 0x6F6FBF},
        {"hard-light", 0xF77F9D},    {"vivid-light", 0xFF79B9},  {"linear-light", 0xFF9191},
        {"pin-light", 0xF564C8},     {"hard-mix", 0xFF00FF},     {"difference", 0xC83264},
        {"exclusion", 0xCA848F},     {"hue", 0xAC4815},          {"saturation", 0x3264C8},
        {"color", 0xAB4815},         {"luminosity", 0x8BB2FF},
    };
    const std::string path = saved(picture(1, 24, {0xFA9664}));
    for (const Blended& blended : kCases) {
        EXPECT_EQ(after(*picture(1, 24, {0x3264C8}), "overlay:" + path + ",mode=" + blended.mode),
                  (Values{blended.value}))
            << blended.mode;
    }
}

// Half of a multiplied source: 200 x 100 / 255 = 78 of blue, halfway to 200 is 139.
TEST(Overlay, BlendsAsFarAsItIsOpaque) {
    const std::string path = saved(picture(1, 32, {0x80FA9664}));
    EXPECT_EQ(after(*picture(1, 24, {0x3264C8}), "overlay:" + path + ",mode=multiply"), (Values{0x314F8B}));
    // A transparent backdrop shows the source alone.
    EXPECT_EQ(after(*picture(1, 32, {0x003264C8}), "overlay:" + path + ",mode=multiply"),
              (Values{0x80FA9664}));
}

// Every backdrop under every source: the sources, and as many backdrops.
std::pair<Values, Values> everyPairOfGreys() {
    Values sources;
    Values backdrops;
    for (std::uint32_t i = 0; i < 65536; ++i) {
        sources.push_back((i >> 8) * 0x010101);
        backdrops.push_back((i & 255) * 0x010101);
    }
    return {sources, backdrops};
}

TEST(Overlay, BlendsEveryByteAsTheTableOfItsMode) {
    const auto [sources, backdrops] = everyPairOfGreys();
    const std::string path = saved(picture(256, 24, sources));
    const std::pair<const char*, dib::BlendMode> modes[] = {
        {"darken", dib::BlendMode::kDarken},         {"lighten", dib::BlendMode::kLighten},
        {"multiply", dib::BlendMode::kMultiply},     {"screen", dib::BlendMode::kScreen},
        {"difference", dib::BlendMode::kDifference}, {"add", dib::BlendMode::kLinearDodge},
        {"exclusion", dib::BlendMode::kExclusion},   {"overlay", dib::BlendMode::kOverlay}};
    for (const auto& [name, mode] : modes) {
        const dib::Blender blender(mode);
        Values expected;
        for (std::size_t i = 0; i < sources.size(); ++i) {
            const auto byteOf = [](std::uint32_t value) { return static_cast<std::uint8_t>(value); };
            const std::uint8_t backdrop[] = {byteOf(backdrops[i]), byteOf(backdrops[i]),
                                             byteOf(backdrops[i])};
            const std::uint8_t source[] = {byteOf(sources[i]), byteOf(sources[i]), byteOf(sources[i])};
            std::uint8_t result[3];
            blender.blend(backdrop, source, result);
            expected.push_back(result[0] * 0x010101U);
        }
        EXPECT_EQ(after(*picture(256, 24, backdrops), "overlay:" + path + ",mode=" + name), expected) << name;
    }
}

TEST(Overlay, DissolvesIntoWholePixels) {
    const std::string path = saved(picture(100, 32, Values(100 * 40, 0x40FFFFFF)));
    const Values values = after(*picture(100, 24, Values(100 * 40, 0)), "overlay:" + path + ",mode=dissolve");
    const auto white = std::ranges::count(values, 0xFFFFFFU);
    EXPECT_EQ(std::ranges::count(values, 0U) + white, 4000);
    // A quarter, by chance.
    EXPECT_GT(white, 900);
    EXPECT_LT(white, 1100);
}

std::uint32_t rounded(std::uint32_t sum) { return (sum + 127) / 255; }

// What `mode` shows of a source over a backdrop, in whole numbers.
std::uint32_t covered(const dib::Blender& blender, std::uint32_t source, std::uint32_t backdrop) {
    const std::uint32_t alpha = source >> 24;
    const std::uint32_t backdropAlpha = backdrop >> 24;
    const std::uint32_t ofSource = 255 * alpha;
    const std::uint32_t ofBackdrop = backdropAlpha * (255 - alpha);
    const std::uint32_t both = ofSource + ofBackdrop;
    if (both == 0) return backdrop;
    std::uint32_t result = rounded(both) << 24;
    for (int shift = 0; shift < 24; shift += 8) {
        const auto under = static_cast<std::uint8_t>(backdrop >> shift);
        const auto color = static_cast<std::uint8_t>(source >> shift);
        const std::uint8_t unders[] = {under, under, under};
        const std::uint8_t colors[] = {color, color, color};
        std::uint8_t blended[3];
        blender.blend(unders, colors, blended);
        const std::uint32_t shown = rounded(blended[0] * backdropAlpha + color * (255 - backdropAlpha));
        result |= (shown * ofSource + under * ofBackdrop + both / 2) / both << shift;
    }
    return result;
}

// Every alpha over every other one, with colours of all kinds.
TEST(Overlay, CoversEveryAlphaAtEveryKernelLevel) {
    Values sources;
    Values backdrops;
    for (std::uint32_t i = 0; i < 256 * 257; ++i) {
        sources.push_back((i >> 8) << 24 | (i * 0x9E3779B1U >> 8));
        backdrops.push_back((i & 255) << 24 | (i * 0x85EBCA77U >> 8));
    }
    const std::string path = saved(picture(257, 32, sources));
    const std::pair<const char*, dib::BlendMode> modes[] = {
        {"normal", dib::BlendMode::kNormal},   {"multiply", dib::BlendMode::kMultiply},
        {"screen", dib::BlendMode::kScreen},   {"difference", dib::BlendMode::kDifference},
        {"add", dib::BlendMode::kLinearDodge}, {"exclusion", dib::BlendMode::kExclusion}};
    for (const auto& [name, mode] : modes) {
        const dib::Blender blender(mode);
        Values expected;
        for (std::size_t i = 0; i < sources.size(); ++i)
            expected.push_back(covered(blender, sources[i], backdrops[i]));
        for (const dib::KernelLevel level : dib::kKernelLevels) {
            dib::limitKernelLevel(level);
            EXPECT_EQ(after(*picture(257, 32, backdrops), "overlay:" + path + ",mode=" + name), expected)
                << name;
        }
        dib::limitKernelLevel(dib::bestKernelLevel());
    }
}

// A source without alpha keeps its depth, with any opacity.
TEST(Overlay, CoversEvenlyAtEveryKernelLevel) {
    const auto [sources, backdrops] = everyPairOfGreys();
    const std::string path = saved(picture(256, 24, sources));
    for (const std::uint32_t opacity : {255U, 102U, 0U}) {
        Values expected;
        for (std::size_t i = 0; i < sources.size(); ++i) {
            const std::uint32_t product = rounded((sources[i] & 255) * (backdrops[i] & 255));
            expected.push_back(rounded(product * opacity + (backdrops[i] & 255) * (255 - opacity)) *
                               0x010101);
        }
        for (const dib::KernelLevel level : dib::kKernelLevels) {
            dib::limitKernelLevel(level);
            EXPECT_EQ(after(*picture(256, 24, backdrops), "overlay:" + path + ",mode=multiply,opacity=" +
                                                              std::to_string(opacity * 100 / 255) + "%"),
                      expected)
                << opacity;
        }
        dib::limitKernelLevel(dib::bestKernelLevel());
    }
}

}  // namespace

}  // namespace operations_test

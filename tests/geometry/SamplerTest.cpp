#include "geometry/Sampler.h"

#include <DibColor.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "dib/Memory.h"
#include "tests/reference/SamplerReference.h"
#include "tests/support/TestImages.h"

namespace {

using reference::colorAt;
using testing_support::blankImage;
using testing_support::DibPtr;
using testing_support::kDepths;
using testing_support::kSizes;
using testing_support::Random;
using testing_support::randomImage;
using testing_support::setPixelValue;

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

std::uint32_t inlinedColorAt(DibStream& image, float x, float y, unsigned int flags) {
    const dib::SampleSource source(image);
    EXPECT_TRUE(source.readable());
    std::uint32_t color = 0;
    EXPECT_TRUE(dib::withAnyDepth(image.Header->biBitCount, [&](auto depth) {
        color = dib::sample<decltype(depth)>(source, x, y, flags);
        return true;
    }));
    return color;
}

// Four columns of indices 10, 20, 30, 40.
DibPtr rampRow(int height = 1) {
    DibPtr dib = blankImage(4, height, 8);
    for (int y = 0; y < std::abs(height); ++y) {
        for (int x = 0; x < 4; ++x) setPixelValue(*dib, x, y, static_cast<std::uint32_t>(10 * (x + 1)));
    }
    return dib;
}

TEST(Sampler, ClampedCoordinatesStayAtTheEdges) {
    const DibPtr dib = rampRow();
    EXPECT_EQ(DibGetColor8(dib.get(), -3.7F, 0, 0), 10U);
    EXPECT_EQ(DibGetColor8(dib.get(), 9, 0, 0), 40U);
    EXPECT_EQ(DibGetColor8(dib.get(), 2.99F, 0, 0), 30U);
    EXPECT_EQ(DibGetColor8(dib.get(), -0.0F, -8, 0), 10U);
}

TEST(Sampler, WrappedCoordinatesGoAroundTheImage) {
    const DibPtr dib = rampRow();
    EXPECT_EQ(DibGetColor8(dib.get(), -1, 0, 1), 40U);
    EXPECT_EQ(DibGetColor8(dib.get(), -4, 0, 1), 10U);
    EXPECT_EQ(DibGetColor8(dib.get(), 4, 0, 1), 10U);
    EXPECT_EQ(DibGetColor8(dib.get(), 10, 0, 1), 30U);
    EXPECT_EQ(DibGetColor8(dib.get(), -1e-9F, 0, 1), 10U);
    EXPECT_EQ(DibGetColor8(dib.get(), -9.5F, 0, 1), 30U);
}

TEST(Sampler, FlagsActOnTheirOwnAxisAndOtherBitsAreIgnored) {
    const DibPtr dib = blankImage(2, 3, 8);
    for (int y = 0; y < 3; ++y) {
        setPixelValue(*dib, 0, y, static_cast<std::uint32_t>(10 * y));
        setPixelValue(*dib, 1, y, static_cast<std::uint32_t>(10 * y + 1));
    }
    EXPECT_EQ(DibGetColor8(dib.get(), 2, 3, 0), 21U);
    EXPECT_EQ(DibGetColor8(dib.get(), 2, 3, 1), 20U);
    EXPECT_EQ(DibGetColor8(dib.get(), 2, 3, 2), 1U);
    EXPECT_EQ(DibGetColor8(dib.get(), 2, 3, 0xFFFFFFFCU), 21U);
}

TEST(Sampler, IndexedPixelsComeFromTheirBits) {
    const DibPtr one = blankImage(10, 1, 1);
    one->Buffer[0] = 0x40;
    one->Buffer[1] = 0x40;
    EXPECT_EQ(DibGetColor1(one.get(), 0, 0, 0), 0U);
    EXPECT_EQ(DibGetColor1(one.get(), 1, 0, 0), 1U);
    EXPECT_EQ(DibGetColor1(one.get(), 9, 0, 0), 1U);

    const DibPtr four = blankImage(3, 1, 4);
    four->Buffer[0] = 0xA5;
    four->Buffer[1] = 0xC7;
    EXPECT_EQ(DibGetColor4(four.get(), 0, 0, 0), 10U);
    EXPECT_EQ(DibGetColor4(four.get(), 1, 0, 0), 5U);
    EXPECT_EQ(DibGetColor4(four.get(), 2, 0, 0), 12U);

    const DibPtr sixteen = blankImage(1, 1, 16);
    setPixelValue(*sixteen, 0, 0, 0xBEEF);
    EXPECT_EQ(DibGetColor16(sixteen.get(), 0, 0, 0), 0xBEEFU);
}

TEST(Sampler, HalfwayBetweenTwoPixelsTruncates) {
    for (const int depth : {24, 32}) {
        const DibPtr dib = blankImage(4, 1, depth);
        setPixelValue(*dib, 2, 0, 0xFF);
        EXPECT_EQ(colorAt(*dib, 1.5F, 0, 0), 127U);
        EXPECT_EQ(colorAt(*dib, 1, 0, 0), 0U);
        EXPECT_EQ(colorAt(*dib, 2, 0, 0), 255U);
    }
}

TEST(Sampler, RightEdgeMixesOnlyWhenWrapping) {
    for (const int depth : {24, 32}) {
        const DibPtr dib = blankImage(3, 1, depth);
        setPixelValue(*dib, 0, 0, 0x000040);
        setPixelValue(*dib, 2, 0, 0x080080);
        EXPECT_EQ(colorAt(*dib, 2.5F, 0, 0), 0x080080U);
        EXPECT_EQ(colorAt(*dib, 2.5F, 0, 1), 0x040060U);
    }
}

TEST(Sampler, BottomRowMixesWithTheTopRowWhenWrapping) {
    for (const int height : {2, -2}) {
        const DibPtr dib = blankImage(1, height, 24);
        setPixelValue(*dib, 0, 0, 0x000040);
        setPixelValue(*dib, 0, 1, 0x000080);
        EXPECT_EQ(colorAt(*dib, 0, 1.5F, 0), 0x80U);
        EXPECT_EQ(colorAt(*dib, 0, 1.5F, 2), 0x60U);
    }
}

TEST(Sampler, ClampedRightEdgeRepeatsRedInTheFourthByte) {
    const DibPtr dib = blankImage(2, 2, 32);
    for (int y = 0; y < 2; ++y) {
        for (int x = 0; x < 2; ++x) setPixelValue(*dib, x, y, 0x11AA3344);
    }
    EXPECT_EQ(DibGetColor32(dib.get(), 1, 0, 0), 0xAAAA3344U);  // a row below exists
    EXPECT_EQ(DibGetColor32(dib.get(), 1, 1, 2), 0xAAAA3344U);  // y wraps
    EXPECT_EQ(DibGetColor32(dib.get(), 1, 1, 0), 0x11AA3344U);  // one row
    EXPECT_EQ(DibGetColor32(dib.get(), 1, 0, 1), 0x11AA3344U);  // x wraps
    EXPECT_EQ(DibGetColor32(dib.get(), 0, 0, 0), 0x11AA3344U);  // another column
}

TEST(Sampler, WholeNumbersReturnThePixel) {
    for (const int depth : kDepths) {
        const DibPtr dib = randomImage(5, -4, depth, 7);
        for (int y = 0; y < 4; ++y) {
            for (int x = 0; x < 4; ++x) {
                EXPECT_EQ(colorAt(*dib, static_cast<float>(x), static_cast<float>(y), 0),
                          testing_support::pixelValue(*dib, x, y));
            }
        }
    }
}

TEST(Sampler, ForeignNumbersReadAPixelOfTheImage) {
    const DibPtr dib = rampRow(3);
    for (unsigned int flags = 0; flags < 4; ++flags) {
        EXPECT_EQ(DibGetColor8(dib.get(), kNan, kNan, flags), 10U);
        EXPECT_EQ(DibGetColor8(dib.get(), -kInfinity, -kInfinity, flags), 10U);
    }
    EXPECT_EQ(DibGetColor8(dib.get(), kInfinity, kInfinity, 0), 40U);
    EXPECT_EQ(DibGetColor8(dib.get(), kInfinity, kInfinity, 3), 10U);
    EXPECT_EQ(DibGetColor8(dib.get(), 3e38F, 0, 0), 40U);
    EXPECT_EQ(DibGetColor8(dib.get(), std::fmod(3e38F, 4.0F), 0, 1), DibGetColor8(dib.get(), 3e38F, 0, 1));
}

TEST(Sampler, ForeignNumbersReadAMixablePixelToo) {
    for (const int depth : {24, 32}) {
        const DibPtr dib = blankImage(2, 2, depth);
        setPixelValue(*dib, 0, 0, 0x010203);
        setPixelValue(*dib, 1, 0, 0x040506);
        setPixelValue(*dib, 0, 1, 0x070809);
        setPixelValue(*dib, 1, 1, 0x0A0B0C);
        for (unsigned int flags = 0; flags < 4; ++flags) {
            EXPECT_EQ(colorAt(*dib, kNan, kNan, flags), 0x010203U) << flags;
            EXPECT_EQ(colorAt(*dib, -kInfinity, -kInfinity, flags), 0x010203U) << flags;
            EXPECT_EQ(colorAt(*dib, 0, kNan, flags), 0x010203U) << flags;
            EXPECT_EQ(colorAt(*dib, kNan, 0.5F, flags), 0x040506U) << flags;
        }
        EXPECT_EQ(colorAt(*dib, kInfinity, kInfinity, 0), 0x0A0B0CU);
        EXPECT_EQ(colorAt(*dib, kInfinity, kInfinity, 3), 0x010203U);
        EXPECT_EQ(colorAt(*dib, kInfinity, kInfinity, 2) & 0xFFFFFFU, 0x040506U);
        EXPECT_EQ(colorAt(*dib, kInfinity, kInfinity, 1), 0x070809U);
        EXPECT_EQ(colorAt(*dib, 3e38F, -3e38F, 0) & 0xFFFFFFU, 0x040506U);
    }
}

// 2^24 + 3 is rounded up to 2^24 + 4 in float.
TEST(Sampler, RoundedUpWidthsMixNothingBehindTheLastPixel) {
    constexpr int kWide = (1 << 24) + 3;
    for (const int depth : {24, 32}) {
        const DibPtr dib = blankImage(kWide, 1, depth);
        setPixelValue(*dib, 0, 0, 0x0A0B0C);
        setPixelValue(*dib, kWide - 1, 0, 0x010203);
        EXPECT_EQ(colorAt(*dib, 1e9F, 0, 0), 0x010203U);
        EXPECT_EQ(colorAt(*dib, kInfinity, 0, 0), 0x010203U);
        EXPECT_EQ(colorAt(*dib, static_cast<float>(kWide), 5, 0), 0x010203U);
        EXPECT_EQ(colorAt(*dib, static_cast<float>(kWide), 0, 1), 0x0A0B0CU);
        EXPECT_EQ(colorAt(*dib, -1, 0, 1), 0x0A0B0CU);
        EXPECT_EQ(colorAt(*dib, kNan, kNan, 3), 0x0A0B0CU);
    }
}

// 2^25 - 1 is rounded up to 2^25 in float.
TEST(Sampler, RoundedUpWidthNeverPassesTheLastPixel) {
    constexpr int kWide = (1 << 25) - 1;
    const DibPtr dib = blankImage(kWide, 1, 1);
    setPixelValue(*dib, kWide - 1, 0, 1);
    EXPECT_EQ(DibGetColor1(dib.get(), 1e9F, 0, 0), 1U);
    EXPECT_EQ(DibGetColor1(dib.get(), static_cast<float>(kWide), 0, 0), 1U);
    EXPECT_EQ(DibGetColor1(dib.get(), -1.0F, 0, 1), 0U);
}

TEST(Sampler, HalfEmptyImagesGiveZero) {
    DibStream empty;
    EXPECT_EQ(DibGetColor32(&empty, 0, 0, 0), 0U);
    EXPECT_EQ(DibGetColor24(nullptr, 0, 0, 0), 0U);
    DibStream noPixels;
    noPixels.Header = noPixels.CreateHeader(2, 2, 32);
    noPixels.HeaderOwner = dib::kOwned;
    EXPECT_EQ(DibGetColor32(&noPixels, 0, 0, 0), 0U);
    EXPECT_EQ(DibGetColor8(&noPixels, 0, 0, 0), 0U);
}

// Twelve bytes of 8 bits: rows 1 2 3 4, 5 6 7 8 and 9 10 11 12 from the start of the block.
DibPtr twelveBytes(int height) {
    DibPtr dib = blankImage(4, height, 8);
    for (unsigned i = 0; i < 12; ++i) dib->Buffer[i] = static_cast<unsigned char>(i + 1);
    return dib;
}

TEST(Sampler, FewerBitsAreReadInTheWrongLayout) {
    const DibPtr dib = twelveBytes(-3);
    EXPECT_EQ(DibGetColor16(dib.get(), 0, 0, 0), 0x0201U);
    EXPECT_EQ(DibGetColor16(dib.get(), 3, 1, 0), 0x0908U) << "on into the next row";
    EXPECT_EQ(DibGetColor16(dib.get(), 2, 2, 0), 0x0C0BU);
    EXPECT_EQ(DibGetColor16(dib.get(), 3, 2, 0), 0U) << "one byte lies beyond the block";
    EXPECT_EQ(DibGetColor24(dib.get(), 0, 0, 0), 0x030201U);
    EXPECT_EQ(DibGetColor24(dib.get(), 3, 0, 0), 0x0C0B0AU);
    EXPECT_EQ(DibGetColor24(dib.get(), 2, 1, 0), 0U);
    EXPECT_EQ(DibGetColor24(dib.get(), 0, 2, 0), 0x0B0A09U);
    EXPECT_EQ(DibGetColor24(dib.get(), 1, 2, 0), 0U) << "bytes 13 to 15 of 12";
    EXPECT_EQ(DibGetColor32(dib.get(), 0, 0, 0), 0x04030201U);
    EXPECT_EQ(DibGetColor32(dib.get(), 2, 0, 0), 0x0C0B0A09U);
    EXPECT_EQ(DibGetColor32(dib.get(), 3, 0, 0), 0U);
    // Mixed: halfway from 1 2 3 to 4 5 6, and from there to 5 6 7 and 8 9 10.
    EXPECT_EQ(DibGetColor24(dib.get(), 0.5F, 0, 0), 0x040302U);
    EXPECT_EQ(DibGetColor24(dib.get(), 0.5F, 0.5F, 0), 0x060504U);
    // A pixel with a weight lies outside.
    EXPECT_EQ(DibGetColor24(dib.get(), 0.5F, 2, 0), 0U);
    EXPECT_EQ(DibGetColor24(dib.get(), 1, 1.5F, 0), 0U);
    EXPECT_EQ(DibGetColor24(dib.get(), 1, 1, 0), 0x0A0908U) << "without weight it is not read";

    // The rows of a bottom-up image lie the other way round, and the block ends after the top one.
    const DibPtr bottomUp = twelveBytes(3);
    EXPECT_EQ(DibGetColor24(bottomUp.get(), 0, 2, 0), 0x030201U);
    EXPECT_EQ(DibGetColor24(bottomUp.get(), 1, 0, 0), 0U);
    EXPECT_EQ(DibGetColor16(bottomUp.get(), 3, 0, 0), 0U);
}

TEST(Sampler, NoDepthLeavesTheBlock) {
    for (const int depth : kDepths) {
        for (const int height : {3, -3}) {
            const DibPtr dib = randomImage(9, height, depth, 3);
            for (float x = -1; x < 10; x += 0.5F) {
                for (float y = -1; y < 4; y += 0.5F) {
                    for (unsigned flags = 0; flags < 4; ++flags) {
                        DibGetColor1(dib.get(), x, y, flags);
                        DibGetColor4(dib.get(), x, y, flags);
                        DibGetColor8(dib.get(), x, y, flags);
                        DibGetColor16(dib.get(), x, y, flags);
                        DibGetColor24(dib.get(), x, y, flags);
                        DibGetColor32(dib.get(), x, y, flags);
                    }
                }
            }
            // The address is that of the image's depth.
            EXPECT_EQ(DibGetColor8(dib.get(), 7, 0, 0), dib->Pixel(7, 0)[0]);
        }
    }
}

TEST(Sampler, EqualsThePlainArithmeticEverywhere) {
    Random random(11);
    for (const int depth : kDepths) {
        for (const auto& size : kSizes) {
            for (const int sign : {1, -1}) {
                const DibPtr dib = randomImage(size.width, sign * size.height, depth, random.next());
                const auto w = static_cast<float>(size.width);
                const auto h = static_cast<float>(size.height);
                for (int i = 0; i < 400; ++i) {
                    const float x = random.real(-4 * w - 2, 4 * w + 2);
                    const float y = random.real(-4 * h - 2, 4 * h + 2);
                    for (unsigned int flags = 0; flags < 4; ++flags) {
                        const std::uint32_t expected = reference::sampleColor(*dib, x, y, flags);
                        ASSERT_EQ(colorAt(*dib, x, y, flags), expected) << x << ' ' << y << ' ' << flags;
                        ASSERT_EQ(inlinedColorAt(*dib, x, y, flags), expected) << x << ' ' << y;
                    }
                }
            }
        }
    }
}

}  // namespace

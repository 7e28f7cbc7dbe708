// Pictures are turned as their files ask.
#include "formats/door/Orientation.h"

#include <array>
#include <cstring>

#include "tests/formats/DoorTest.h"

namespace door_test {
namespace {

// A picture of 3 x 2 pixels, numbered 1 2 3 / 4 5 6, and what each orientation shows of it.
struct Turned {
    int orientation;
    int width;
    std::array<std::uint32_t, 6> pixels;
};
constexpr Turned kTurned[] = {
    {1, 3, {1, 2, 3, 4, 5, 6}}, {2, 3, {3, 2, 1, 6, 5, 4}}, {3, 3, {6, 5, 4, 3, 2, 1}},
    {4, 3, {4, 5, 6, 1, 2, 3}}, {5, 2, {1, 4, 2, 5, 3, 6}}, {6, 2, {4, 1, 5, 2, 6, 3}},
    {7, 2, {6, 3, 5, 2, 4, 1}}, {8, 2, {3, 6, 2, 5, 1, 4}}, {0, 3, {1, 2, 3, 4, 5, 6}},
    {9, 3, {1, 2, 3, 4, 5, 6}},
};

TEST(Orientation, EveryValueAtEveryDepthAndRowOrder) {
    for (const int bitCount : {4, 8, 16, 24, 32}) {
        for (const int height : {2, -2}) {
            for (const Turned& turned : kTurned) {
                SCOPED_TRACE(std::to_string(turned.orientation) + " at " + std::to_string(bitCount));
                const DibPtr image = testing_support::randomImage(3, height, bitCount, 1);
                for (int i = 0; i < 6; ++i) {
                    testing_support::setPixelValue(*image, i % 3, i / 3, static_cast<std::uint32_t>(i + 1));
                }
                const DibPtr before(image->Clone());
                DibFileResult result;
                result.metadata.orientation = turned.orientation;
                ASSERT_TRUE(formats::turnUpright(*image, result));
                EXPECT_EQ(result.metadata.orientation, 1);
                ASSERT_EQ(image->Header->biWidth, turned.width);
                EXPECT_EQ(std::abs(image->Header->biHeight), 6 / turned.width);
                EXPECT_EQ(formats::exchangesSides(turned.orientation), turned.width == 2);
                for (int i = 0; i < 6; ++i) {
                    EXPECT_EQ(testing_support::pixelValue(*image, i % turned.width, i / turned.width),
                              turned.pixels[static_cast<std::size_t>(i)]);
                }
                if (bitCount > 8) continue;
                const std::size_t table = 4U << bitCount;
                EXPECT_EQ(std::memcmp(image->Header + 1, before->Header + 1, table), 0);
            }
        }
    }
}

TEST(Orientation, BitsAreTurned) {
    const DibPtr image = testing_support::blankImage(10, 3, 1);
    testing_support::setPixelValue(*image, 9, 0, 1);
    DibFileResult result;
    result.metadata.orientation = 6;
    ASSERT_TRUE(formats::turnUpright(*image, result));
    ASSERT_EQ(image->Header->biWidth, 3);
    for (int i = 0; i < 30; ++i) {
        EXPECT_EQ(testing_support::pixelValue(*image, i % 3, i / 3), i == 29 ? 1U : 0U) << i;
    }
}

TEST(Orientation, WithoutMemoryThePictureStays) {
    DibPtr image;
    DibFileResult result;
    bool isTurned = false;
    EXPECT_GE(testing_support::forEachFailingAllocation(
                  [&] {
                      image = testing_support::randomImage(3, 2, 24, 1);
                      result = {};
                      result.metadata.orientation = 6;
                  },
                  [&] { isTurned = formats::turnUpright(*image, result); },
                  [&](bool failureMet) {
                      EXPECT_EQ(isTurned, !failureMet);
                      EXPECT_EQ(result.code, failureMet ? 2 : 0);
                      EXPECT_EQ(image->Header->biWidth, failureMet ? 3 : 2);
                      image.reset();
                  }),
              2);
}

}  // namespace
}  // namespace door_test

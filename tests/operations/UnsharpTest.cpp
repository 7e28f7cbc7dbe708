// The unsharp mask, against its formula and by numbers.
#include <algorithm>
#include <cmath>

#include "tests/operations/Pictures.h"

namespace operations_test {

namespace {

using testing_support::DibPtr;
using testing_support::randomImage;
using Values = std::vector<std::uint32_t>;

struct Mask {
    double deviation;
    double amount;
    double threshold;
};

// A channel of a pixel after the mask, by the formula in two dimensions.
double maskedChannel(DibStream& image, int x, int y, int shift, const Mask& mask, bool isWeighted) {
    const int reach = static_cast<int>(std::ceil(3 * mask.deviation));
    const int width = image.Header->biWidth;
    const int height = std::abs(image.Header->biHeight);
    double sum = 0;
    double weights = 0;
    for (int dy = -reach; dy <= reach; ++dy) {
        for (int dx = -reach; dx <= reach; ++dx) {
            const std::uint32_t value = testing_support::pixelValue(image, std::clamp(x + dx, 0, width - 1),
                                                                    std::clamp(y + dy, 0, height - 1));
            double weight = std::exp(-(dx * dx + dy * dy) / (2 * mask.deviation * mask.deviation));
            if (isWeighted) weight *= value >> 24;
            sum += weight * (value >> shift & 255);
            weights += weight;
        }
    }
    const double own = testing_support::pixelValue(image, x, y) >> shift & 255;
    const double difference = weights > 0 ? own - sum / weights : own;
    const double added = std::fabs(difference) < mask.threshold ? 0 : mask.amount * difference;
    return std::clamp(own + added, 0.0, 255.0);
}

void expectMasked(int bitCount, const std::string& chain, const Mask& mask) {
    const DibPtr image = randomImage(23, 17, bitCount, 5);
    const DibPtr before = randomImage(23, 17, bitCount, 5);
    ASSERT_TRUE(DibApply(image.get(), chain.c_str()));
    for (int y = 0; y < 17; ++y) {
        for (int x = 0; x < 23; ++x) {
            const std::uint32_t value = testing_support::pixelValue(*image, x, y);
            for (const int shift : {0, 8, 16}) {
                // Sums of floats, which are rounded once more.
                EXPECT_NEAR(value >> shift & 255, maskedChannel(*before, x, y, shift, mask, bitCount == 32),
                            0.51)
                    << chain << " at " << bitCount << ": " << x << "," << y;
            }
            EXPECT_EQ(value >> 24, testing_support::pixelValue(*before, x, y) >> 24);
        }
    }
}

TEST(Unsharp, IsTheDifferenceFromAGaussianBlur) {
    for (const int bitCount : {24, 32}) {
        expectMasked(bitCount, "unsharp", {2, 1, 0});
        expectMasked(bitCount, "unsharp:0.7,50%", {0.7, 0.5, 0});
        expectMasked(bitCount, "unsharp:9,25%", {9, 0.25, 0});
    }
}

TEST(Unsharp, LeavesSmallDifferencesAlone) {
    const DibPtr image =
        picture(7, 24, {0x646464, 0x646464, 0x646464, 0x666666, 0x646464, 0x646464, 0x646464});
    const Values before = valuesOf(*image);
    EXPECT_EQ(after(*image, "unsharp:1,300%,threshold=2"), before);
    EXPECT_NE(after(*image, "unsharp:1,300%,threshold=1"), before);
}

TEST(Unsharp, KeepsAreasOfOneColour) {
    for (const int bitCount : {24, 32}) {
        const std::uint32_t value = bitCount == 24 ? 0x64C8FF : 0x4064C8FF;
        const DibPtr image = testing_support::plainImage(40, 30, bitCount, value);
        EXPECT_EQ(after(*image, "unsharp:100,1000%"), Values(40 * 30, value));
    }
}

// An edge from 100 to 200 is stressed by the same on both sides.
TEST(Unsharp, KeepsTheMean) {
    Values values;
    for (int x = 0; x < 40; ++x) values.push_back(x < 20 ? 0x646464 : 0xC8C8C8);
    const DibPtr image = picture(40, 24, values);
    int sum = 0;
    const Values sharp = after(*image, "unsharp:2,40%");
    for (const std::uint32_t value : sharp) sum += static_cast<int>(value & 255);
    EXPECT_EQ(sum, 20 * 100 + 20 * 200);
    EXPECT_EQ(sharp[19], 0x545454U);
    EXPECT_EQ(sharp[20], 0xD8D8D8U);
    EXPECT_EQ(sharp[0], 0x646464U);
}

// Transparent pixels do not show at the edges of others.
TEST(Unsharp, WeighsColoursWithAlpha) {
    const DibPtr image = picture(4, 32, {0x00FFFFFF, 0xFF646464, 0xFF646464, 0x00000000});
    EXPECT_EQ(after(*image, "unsharp")[1], 0xFF646464U);
}

TEST(Unsharp, OpaquePicturesAreTheSameWithAndWithoutAlpha) {
    const DibPtr image = randomImage(33, 9, 24, 7);
    const DibPtr withAlpha = randomImage(33, 9, 24, 7);
    ASSERT_TRUE(withAlpha->ChangeTo32Bit(0));
    Values expected = after(*image, "unsharp:1.3");
    for (std::uint32_t& value : expected) value |= 0xFF000000U;
    EXPECT_EQ(after(*withAlpha, "unsharp:1.3"), expected);
}

}  // namespace

}  // namespace operations_test

#include "formats/FloatPixels.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "tests/support/TestImages.h"

namespace {

TEST(FloatPixels, FloatsEqualTheFormulaAroundEveryStep) {
    const auto expect = [](float value) {
        const float samples[] = {value, value, value, value};
        unsigned char from[16];
        std::memcpy(from, samples, sizeof from);
        unsigned char to[4];
        formats::floatsToBgra(from, to, 1);
        const double byte =
            std::floor(std::pow(static_cast<double>(value), 0.45454543828964233) * 255.0 + 0.5);
        EXPECT_EQ(to[0], byte > 255 ? 255 : static_cast<int>(byte)) << value;
        EXPECT_EQ(to[3], to[0]);
    };
    for (int i = 0; i <= 255; ++i) {
        float value = static_cast<float>(std::pow((i + 0.5) / 255.0, 2.2));
        for (int step = 0; step < 40; ++step) value = std::nextafter(value, 0.0F);
        for (int step = 0; step < 80; ++step, value = std::nextafter(value, 2.0F)) expect(value);
    }
    testing_support::Random random(5);
    for (int i = 0; i < 100000; ++i) expect(random.real(0.0F, 1.2F));
    for (float value = 1.0F; value > 0.0F; value /= 2.0F) expect(value);
}

}  // namespace

// The colours of half-transparent pixels at every kernel level, beside plain divisions.
#include "formats/psd/Matte.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <vector>

#include "dib/Kernels.h"
#include "dib/LightCurve.h"
#include "formats/psd/RowColors.h"
#include "tests/reference/PsdReference.h"
#include "tests/support/TestImages.h"

namespace {

using Bytes = std::vector<unsigned char>;

template <class Check>
void atEveryLevel(Check check) {
    for (const dib::KernelLevel level : dib::kKernelLevels) {
        dib::limitKernelLevel(level);
        check();
    }
    dib::limitKernelLevel(dib::bestKernelLevel());
}

TEST(PsdMatte, EveryColourOfEveryAlpha) {
    Bytes mixed;
    Bytes alpha;
    for (unsigned i = 0; i < 65536; ++i) {
        mixed.push_back(static_cast<unsigned char>(i % 256));
        alpha.push_back(static_cast<unsigned char>(i / 256));
    }
    const Bytes green(mixed.rbegin(), mixed.rend());
    const Bytes blue(mixed.size(), 200);
    const unsigned char* const planes[] = {mixed.data(), green.data(), blue.data(), alpha.data()};
    atEveryLevel([&] {
        Bytes pixels(4 * mixed.size());
        formats::psd::joinWithoutWhite(planes, pixels.data(), mixed.size());
        for (std::size_t i = 0; i < mixed.size(); ++i) {
            ASSERT_EQ(pixels[4 * i + 2], reference::withoutWhite(mixed[i], alpha[i], 255)) << i;
            ASSERT_EQ(pixels[4 * i + 1], reference::withoutWhite(green[i], alpha[i], 255)) << i;
            ASSERT_EQ(pixels[4 * i], reference::withoutWhite(200, alpha[i], 255)) << i;
            ASSERT_EQ(pixels[4 * i + 3], alpha[i]) << i;
        }
    });
}

TEST(PsdMatte, BlackDarkensWithoutWhite) {
    testing_support::Random random(3);
    constexpr std::size_t kCount = 20011;
    std::vector<Bytes> samples(5, Bytes(kCount));
    for (Bytes& plane : samples) {
        for (unsigned char& sample : plane) sample = static_cast<unsigned char>(random.below(256));
    }
    const unsigned char* const planes[] = {samples[0].data(), samples[1].data(), samples[2].data(),
                                           samples[3].data(), samples[4].data()};
    atEveryLevel([&] {
        Bytes pixels(4 * kCount);
        formats::psd::joinWithoutWhite(planes, pixels.data(), kCount);
        for (std::size_t i = 0; i < kCount; ++i) {
            const unsigned black = reference::withoutWhite(samples[3][i], samples[4][i], 255);
            for (std::size_t c = 0; c < 3; ++c) {
                const unsigned color = reference::withoutWhite(samples[c][i], samples[4][i], 255);
                ASSERT_EQ(pixels[4 * i + 2 - c], (2 * color * black + 255) / 510) << i;
            }
            ASSERT_EQ(pixels[4 * i + 3], samples[4][i]) << i;
        }
    });
}

// Rows of every length: what vectors leave is done like the rest, and nothing after the row is touched.
TEST(PsdMatte, RowsOfEveryLength) {
    const Bytes mixed(80, 205);
    const Bytes alpha(80, 100);
    const unsigned char* const planes[] = {mixed.data(), mixed.data(), mixed.data(), alpha.data()};
    atEveryLevel([&] {
        for (std::size_t count = 0; count < 80; ++count) {
            Bytes pixels(4 * 80, 7);
            formats::psd::joinWithoutWhite(planes, pixels.data(), count);
            Bytes expected;
            for (std::size_t i = 0; i < count; ++i) expected.insert(expected.end(), {127, 127, 127, 100});
            expected.resize(4 * 80, 7);
            ASSERT_EQ(pixels, expected) << count;
        }
    });
}

void addWord(Bytes& samples, unsigned value) {
    samples.push_back(static_cast<unsigned char>(value >> 8));
    samples.push_back(static_cast<unsigned char>(value & 255));
}

// Around every place where one byte becomes the next one, and anywhere.
TEST(PsdMatte, WordsAreTheNearestBytes) {
    testing_support::Random random(4);
    std::vector<unsigned> values;
    std::vector<unsigned> alphas;
    const auto add = [&](std::int64_t value, unsigned alpha) {
        if (value < 0 || value > 65535) return;
        values.push_back(static_cast<unsigned>(value));
        alphas.push_back(alpha);
    };
    for (const unsigned alpha : {0U, 1U, 2U, 255U, 256U, 510U, 32768U, 65025U, 65280U, 65534U, 65535U}) {
        for (unsigned byte = 0; byte < 256; ++byte) {
            const std::int64_t ink = (2 * byte + 1) * std::int64_t{alpha} / 510;
            for (int off = -2; off <= 2; ++off) add(65535 - ink + off, alpha);
        }
    }
    for (int i = 0; i < 40000; ++i) {
        const auto alpha = static_cast<unsigned>(random.below(65536));
        const std::int64_t ink = random.between(0, 255) * std::int64_t{alpha} / 255;
        add(65535 - ink + random.between(-300, 300), alpha);
        add(random.below(65536), alpha);
    }
    Bytes mixed;
    Bytes alpha;
    for (const unsigned value : values) addWord(mixed, value);
    for (const unsigned value : alphas) addWord(alpha, value);
    atEveryLevel([&] {
        Bytes to(values.size());
        formats::psd::wordsWithoutWhite(mixed.data(), alpha.data(), to.data(), to.size());
        for (std::size_t i = 0; i < to.size(); ++i) {
            ASSERT_EQ(to[i], reference::withoutWhite(values[i], alphas[i], 65535))
                << values[i] << ' ' << alphas[i];
        }
    });
}

void addFloat(Bytes& samples, float value) {
    const auto bits = std::bit_cast<std::uint32_t>(value);
    for (int shift = 24; shift >= 0; shift -= 8)
        samples.push_back(static_cast<unsigned char>(bits >> shift & 255));
}

TEST(PsdMatte, FloatsOfLight) {
    const float nan = std::nanf("");
    testing_support::Random random(6);
    std::vector<std::pair<float, float>> cases = {
        {0.75F, 0.5F}, {0.25F, 0.5F},  {0.3F, 0.0F},   {0.3F, -0.0F}, {0.3F, -2.0F},
        {0.3F, 1.0F},  {0.3F, 5.0F},   {0.3F, nan},    {nan, 0.5F},   {7.0F, 0.5F},
        {-1.0F, 0.5F}, {1.0F, 1e-30F}, {0.0F, 1e-42F}, {0.001F, 1.0F}};
    for (int i = 0; i < 20000; ++i) {
        const float alpha = random.real(0.0F, 1.0F);
        cases.emplace_back(1.0F - alpha * random.real(0.0F, 1.1F), alpha);
    }
    Bytes mixed;
    Bytes alpha;
    for (const auto& [color, part] : cases) {
        addFloat(mixed, color);
        addFloat(alpha, part);
    }
    atEveryLevel([&] {
        Bytes to(cases.size());
        formats::psd::floatsWithoutWhite(mixed.data(), alpha.data(), to.data(), to.size());
        EXPECT_EQ(to[0], 188);  // 0.5
        EXPECT_EQ(to[1], 0);    // -0.5
        EXPECT_EQ(to[2], 149);  // 0.3 itself
        EXPECT_EQ(to[7], 149);
        EXPECT_EQ(to[8], 0);
        EXPECT_EQ(to[9], 255);
        EXPECT_EQ(to[11], 255);
        EXPECT_EQ(to[12], 0);
        for (std::size_t i = 0; i < cases.size(); ++i) {
            const auto [color, part] = cases[i];
            const double divisor = part > 0.0F && part < 1.0F ? double{part} : 1.0;
            const auto light = static_cast<float>(1.0 - (1.0 - double{color}) / divisor);
            ASSERT_EQ(to[i], reference::srgbByte(light)) << color << ' ' << part;
        }
    });
}

TEST(PsdMatte, HalfTransparentBytesAreFound) {
    atEveryLevel([&] {
        for (std::size_t count = 0; count < 70; ++count) {
            Bytes alpha(71, 100);
            for (std::size_t i = 0; i < count; ++i) alpha[i] = i % 3 == 0 ? 0 : 255;
            EXPECT_FALSE(formats::psd::hasHalfTransparent(alpha.data(), count)) << count;
            for (const unsigned char half : Bytes{1, 127, 254}) {
                if (count == 0) continue;
                Bytes other = alpha;
                other[count - 1] = half;
                EXPECT_TRUE(formats::psd::hasHalfTransparent(other.data(), count)) << count;
            }
        }
    });
}

// One stray sample of 64 is allowed, of half-transparent ones; two levels are rounding.
TEST(PsdMatte, MoreInkThanAlphaWasNotMixed) {
    const auto isMixed = [](const Bytes& samples, std::size_t sampleBytes, const Bytes& alpha) {
        formats::psd::InkCensus census;
        census.add(samples.data(), sampleBytes, alpha.data(), alpha.size());
        return census.isMixed();
    };
    atEveryLevel([&] {
        EXPECT_TRUE(isMixed({155, 153, 0, 0}, 1, {100, 100, 0, 255}));
        EXPECT_FALSE(isMixed({155, 152, 0, 0}, 1, {100, 100, 0, 255}));
        EXPECT_TRUE(isMixed({153, 0, 155, 255}, 2, {100, 100}));
        EXPECT_FALSE(isMixed({152, 255, 155, 0}, 2, {100, 100}));
        Bytes samples(200, 200);
        const Bytes alpha(200, 60);
        samples[77] = samples[150] = samples[199] = 0;
        EXPECT_TRUE(isMixed(samples, 1, alpha));
        samples[3] = 0;
        EXPECT_FALSE(isMixed(samples, 1, alpha));
    });
}

// Parts without half-transparent pixels are joined otherwise; the row does not show where they meet.
TEST(PsdMatte, RowsOfOpaqueAndHalfTransparentParts) {
    constexpr std::size_t kWidth = 1000;
    testing_support::Random random(8);
    for (const int depth : {8, 16}) {
        const std::size_t bytes = kWidth * static_cast<std::size_t>(depth) / 8;
        std::vector<Bytes> samples(5, Bytes(bytes));
        for (Bytes& plane : samples) {
            for (unsigned char& sample : plane) sample = static_cast<unsigned char>(random.below(256));
        }
        // Opaque up to 300, and from 700 on transparent.
        Bytes& alpha = samples[4];
        std::fill(alpha.begin(), alpha.begin() + 300 * depth / 8, static_cast<unsigned char>(255));
        std::fill(alpha.begin() + 700 * depth / 8, alpha.end(), static_cast<unsigned char>(0));
        const unsigned char* const planes[] = {samples[0].data(), samples[1].data(), samples[2].data(),
                                               samples[3].data(), samples[4].data()};
        formats::psd::RowColors colors({4, depth, 4, true, true, 32});
        ASSERT_TRUE(colors.prepare(kWidth));
        Bytes pixels(4 * kWidth);
        colors.make(planes, pixels.data());
        const auto sample = [&](std::size_t plane, std::size_t x) {
            const Bytes& of = samples[plane];
            return depth == 8 ? unsigned{of[x]} : of[2 * x] * 256U + of[2 * x + 1];
        };
        const unsigned most = depth == 8 ? 255 : 65535;
        for (std::size_t x = 0; x < kWidth; ++x) {
            const unsigned part = sample(4, x);
            const unsigned black = reference::withoutWhite(sample(3, x), part, most);
            for (std::size_t c = 0; c < 3; ++c) {
                const unsigned color = reference::withoutWhite(sample(c, x), part, most);
                ASSERT_EQ(pixels[4 * x + 2 - c], (2 * color * black + 255) / 510) << depth << ' ' << x;
            }
            ASSERT_EQ(pixels[4 * x + 3], (2 * part * 255 + most) / (2 * most)) << depth << ' ' << x;
        }
    }
}

TEST(PsdMatte, LightFollowsTheCurveOfSrgbAroundEveryStep) {
    const dib::LightCurve& curve = dib::srgbCurve();
    for (int byte = 0; byte < 256; ++byte) {
        const double value = (byte + 0.5) / 255.0;
        auto light =
            static_cast<float>(value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4));
        for (int step = 0; step < 40; ++step) light = std::nextafter(light, 0.0F);
        for (int step = 0; step < 80; ++step, light = std::nextafter(light, 2.0F))
            ASSERT_EQ(curve(light), reference::srgbByte(light)) << light;
    }
    testing_support::Random random(5);
    for (int i = 0; i < 50000; ++i) {
        const float light = random.real(0.0F, 1.2F);
        ASSERT_EQ(curve(light), reference::srgbByte(light)) << light;
    }
    EXPECT_EQ(curve(0.5F), 188);
    EXPECT_EQ(curve(0.001F), 3);
}

}  // namespace

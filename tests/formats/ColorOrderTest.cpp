#include "formats/ColorOrder.h"

#include "dib/Kernels.h"
#include "tests/formats/CodecTest.h"

namespace codec_test {
namespace {

TEST(ColorOrder, ExchangesEverywhereAlike) {
    for (const auto level : {dib::KernelLevel::kBaseline, dib::bestKernelLevel()}) {
        dib::limitKernelLevel(level);
        for (std::size_t pixels = 0; pixels < 70; ++pixels) {
            Bytes from(pixels * 4 + 4);
            testing_support::Random random(pixels);
            for (unsigned char& byte : from) byte = static_cast<unsigned char>(random.next());
            Bytes to(from.size(), 0xAB);
            formats::swapRedBlue32(from.data(), to.data(), pixels);
            for (std::size_t i = 0; i < pixels; ++i) {
                EXPECT_EQ(Bytes(&to[4 * i], &to[4 * i] + 4),
                          (Bytes{from[4 * i + 2], from[4 * i + 1], from[4 * i], from[4 * i + 3]}));
            }
            EXPECT_EQ(to.back(), 0xAB);
        }
    }
    dib::limitKernelLevel(dib::bestKernelLevel());
}

TEST(ColorOrder, WidensEverywhereAlike) {
    for (const auto level : {dib::KernelLevel::kBaseline, dib::bestKernelLevel()}) {
        dib::limitKernelLevel(level);
        for (std::size_t pixels = 0; pixels < 70; ++pixels) {
            // Blocks of exactly that size: nothing beyond may be touched.
            Bytes from(pixels * 3);
            testing_support::Random random(pixels);
            for (unsigned char& byte : from) byte = static_cast<unsigned char>(random.next());
            Bytes to(pixels * 4);
            formats::expandToRgba(from.data(), to.data(), pixels);
            for (std::size_t i = 0; i < pixels; ++i) {
                EXPECT_EQ(Bytes(&to[4 * i], &to[4 * i] + 4),
                          (Bytes{from[3 * i + 2], from[3 * i + 1], from[3 * i], 255}));
            }
        }
    }
    dib::limitKernelLevel(dib::bestKernelLevel());
}

}  // namespace
}  // namespace codec_test

#include "dib/Numbers.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <type_traits>

#include "dib/Bytes.h"
#include "dib/FloatBits.h"

namespace {

TEST(Numbers, KeepTheValueInAnotherType) {
    EXPECT_EQ(dib::asSize(7), std::size_t{7});
    EXPECT_EQ(dib::asInt(std::size_t{2147483647}), 2147483647);
    EXPECT_EQ(-dib::asOffset(std::size_t{4096}), -4096);
    static_assert(std::is_same_v<decltype(dib::asSize(std::int16_t{1})), std::size_t>);
}

TEST(Numbers, KeepTheBitsWithAndWithoutASign) {
    EXPECT_EQ(dib::asUnsigned(std::int16_t{-1}), 65535U);
    EXPECT_EQ(dib::asSigned(std::uint32_t{0x80000000U}), INT32_MIN);
    static_assert(std::is_same_v<decltype(dib::asUnsigned(std::int64_t{1})), std::uint64_t>);
}

TEST(Numbers, BitsOfFloats) {
    static_assert(dib::bitsOfFloat(-1.5F) == 0xBFC00000U);
    static_assert(dib::floatOfBits(0x3E800000U) == 0.25F);
    EXPECT_EQ(dib::bitsOfFloat(dib::floatOfBits(0x7F800001U)) & 0x7F800000U, 0x7F800000U);
}

TEST(Numbers, SaturateAtTheEndsOfInt) {
    EXPECT_EQ(dib::saturatedInt(std::int64_t{2147483648}), 2147483647);
    EXPECT_EQ(dib::saturatedInt(std::int64_t{-2147483649}), -2147483647 - 1);
    EXPECT_EQ(dib::saturatedInt(std::uint64_t{UINT64_MAX}), 2147483647);
    EXPECT_EQ(dib::saturatedInt(std::int64_t{-5}), -5);
}

TEST(Numbers, DoneShareIsAFraction) {
    EXPECT_EQ(dib::doneShare(3, 4), 0.75F);
    EXPECT_EQ(dib::doneShare(std::int64_t{0}, std::int64_t{9}), 0.0F);
}

TEST(Numbers, LowBits) {
    EXPECT_EQ(dib::byteOf(0x1FE), 0xFE);
    EXPECT_EQ(dib::wordOf(0x12345), 0x2345);
    EXPECT_EQ(dib::dwordOf(std::uint64_t{0x123456789}), 0x23456789U);
    EXPECT_EQ(dib::charOf(0x141U), 'A');
    const unsigned char bytes[] = {'8', 'B', 'P', 'S'};
    EXPECT_EQ(dib::textAt(bytes, 3), "8BP");
}

}  // namespace

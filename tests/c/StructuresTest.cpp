// Structures of other versions than the library's.
#include "c/Structures.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace {

// As the first version had it, and as this library has it.
struct First {
    std::size_t size;
    std::uint64_t a;
};
struct Grown {
    std::size_t size;
    std::uint64_t a;
    std::uint64_t b;
};

}  // namespace

template <>
inline constexpr std::size_t c_interface::kFirstSize<Grown> = 16;

namespace {

TEST(Structures, OlderProgramsGetTheDefaultsOfNewMembers) {
    const First older = {sizeof(First), 7};
    Grown options = {sizeof(Grown), 1, 2};
    EXPECT_EQ(c_interface::readOptions(reinterpret_cast<const Grown*>(&older), options), 0);
    EXPECT_EQ(options.size, 24U);
    EXPECT_EQ(options.a, 7U);
    EXPECT_EQ(options.b, 2U);
}

TEST(Structures, OlderProgramsGetNoNewMembers) {
    Grown older = {sizeof(First), 7, 8};
    c_interface::fill(older, Grown{sizeof(Grown), 1, 2});
    EXPECT_EQ(older.size, 16U);
    EXPECT_EQ(older.a, 1U);
    EXPECT_EQ(older.b, 8U);
}

TEST(Structures, OtherSizesAreRefused) {
    const auto isSized = [](std::size_t size) { return c_interface::isSized(Grown{size, 0, 0}); };
    for (const std::size_t size : {16U, 24U, 32U, 65536U}) EXPECT_TRUE(isSized(size)) << size;
    for (const std::size_t size : {0U, 8U, 15U, 17U, 20U, 23U, 65544U}) EXPECT_FALSE(isSized(size)) << size;
    Grown options = {24, 1, 2};
    const Grown wrong = {8, 7, 7};
    EXPECT_EQ(c_interface::readOptions(&wrong, options), 6);
    EXPECT_EQ(c_interface::readOptions<Grown>(nullptr, options), 0);
    EXPECT_EQ(options.a, 1U);
}

TEST(Structures, HaveTheMembersBeforeTheirEnd) {
    Grown older = {sizeof(First), 7, 8};
    EXPECT_TRUE(c_interface::has(older, older.a));
    EXPECT_FALSE(c_interface::has(older, older.b));
    older.size = 23;
    EXPECT_FALSE(c_interface::has(older, older.b));
    older.size = 24;
    EXPECT_TRUE(c_interface::has(older, older.b));
}

// The first version's sizes stay for ever; a structure never ends with padding, which an older program would
// not have set.
TEST(Structures, KeepTheirFirstSize) {
    if (sizeof(void*) != 8) GTEST_SKIP() << "the numbers are those of 64-bit systems";
    EXPECT_EQ(sizeof(dib_metadata), 128U);
    EXPECT_EQ(c_interface::kFirstSize<dib_result>, 2624U);
    EXPECT_EQ(sizeof(dib_result), 2896U);
    EXPECT_EQ(c_interface::kFirstSize<dib_format>, 64U);
    EXPECT_EQ(sizeof(dib_format), 72U);
    EXPECT_EQ(c_interface::kFirstSize<dib_load_options>, 80U);
    EXPECT_EQ(sizeof(dib_load_options), 112U);
    EXPECT_EQ(c_interface::kFirstSize<dib_file_info>, 72U);
    EXPECT_EQ(sizeof(dib_file_info), 368U);
    EXPECT_EQ(c_interface::kFirstSize<dib_save_options>, 48U);
    EXPECT_EQ(sizeof(dib_save_options), 56U);
    EXPECT_EQ(sizeof(dib_apply_options), 40U);
    EXPECT_EQ(sizeof(dib_difference), 56U);
    EXPECT_EQ(sizeof(dib_layer), 816U);
    EXPECT_EQ(sizeof(dib_layer_mask), 40U);
    EXPECT_EQ(sizeof(dib_montage_options), 56U);
}

}  // namespace

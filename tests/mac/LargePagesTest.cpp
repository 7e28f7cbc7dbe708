// Large pages on macOS: no call of the system, which has none for them.
#include "dib/LargePages.h"

#include <gtest/gtest.h>
#include <sys/mman.h>

#include <cerrno>
#include <cstddef>

namespace {

// Advice about an address without memory would fail and store a code.
TEST(MacLargePages, AskTheSystemForNothing) {
    constexpr std::size_t kBytes = std::size_t{8} << 20;
    void* const block = mmap(nullptr, kBytes, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(block, MAP_FAILED);
    ASSERT_EQ(munmap(block, kBytes), 0);
    errno = 0;
    dib::preferLargePages(static_cast<unsigned char*>(block), kBytes);
    EXPECT_EQ(errno, 0);
}

}  // namespace

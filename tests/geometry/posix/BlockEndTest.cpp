// Pixels that end where memory ends: reading on ends the program.
#include <DibStream.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstring>

#include "tests/geometry/GeometryTestSupport.h"

namespace geometry_test {
namespace {

TEST(BlockEnd, ResizeBilinearReadsNothingBehindTheLastRow) {
    const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    void* pages = mmap(nullptr, 2 * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(pages, MAP_FAILED);
    auto* end = static_cast<unsigned char*>(pages) + page;
    ASSERT_EQ(mprotect(end, page, PROT_NONE), 0);
    for (const int depth : {24, 32}) {
        for (const int height : {4, -4, 1, -1}) {
            const DibPtr image = randomImage(8, height, depth, 1);
            const std::size_t bytes = testing_support::pixelBytes(*image).size();
            std::memcpy(end - bytes, image->Buffer, bytes);
            DibStream last;
            ASSERT_TRUE(last.SetDib(image->Header, 0, end - bytes, 0));
            const DibPtr copy(last.Clone());
            ASSERT_TRUE(copy->ResizeBilinear(13, 9));
            ASSERT_TRUE(last.ResizeBilinear(13, 9));
            EXPECT_TRUE(sameImage(last, *copy)) << depth << " bits, height " << height;
        }
    }
    munmap(pages, 2 * page);
}

}  // namespace
}  // namespace geometry_test

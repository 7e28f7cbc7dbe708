// Writing BMP files to blocks of memory, and by paths that have no 8-bit form.
#include <DibStream.h>
#include <gtest/gtest.h>

#include <cstdio>

#include "dib/File.h"
#include "tests/dib/BmpBytes.h"
#include "tests/support/TestImages.h"

namespace bmp_bytes {
namespace {

TEST(BmpSave, EveryShortWriteIsAWriteError) {
    const auto image = testing_support::randomImage(3, 2, 8, 1);
    const std::size_t whole = save(*image).size();
    for (std::size_t room = 1; room <= whole; ++room) {
        Bytes block(room);
        const dib::FilePtr file(fmemopen(block.data(), block.size(), "wb"));
        std::setvbuf(file.get(), nullptr, _IONBF, 0);
        const bool fits = room >= whole;
        EXPECT_EQ(image->SaveFileInner(file.get()), fits) << room;
        EXPECT_EQ(image->ErrorCode, fits ? DIB_OK : DIB_ERROR_WRITE) << room;
    }
}

TEST(BmpSave, SomeWideTextIsNoPath) {
    const auto image = testing_support::randomImage(5, 5, 24, 2);
    EXPECT_FALSE(image->SaveToFile(L"/tmp/\xD800.bmp")) << "no 8-bit form";
    EXPECT_EQ(image->ErrorCode, DIB_ERROR_OPEN);
}

}  // namespace
}  // namespace bmp_bytes

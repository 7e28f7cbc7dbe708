// ZIP-compressed pixels in a build without zlib: the reason says so.
#include <DibFile.h>
#include <gtest/gtest.h>

#include "tests/support/PsdBuilder.h"

namespace {

TEST(NoZlib, ZipDocumentsAreRefusedWithAReason) {
    testing_support::PsdDocument document;
    document.compression = testing_support::PsdCompression::kZip;
    const auto bytes = document.bytes();
    DibStream image;
    DibFileResult result;
    EXPECT_FALSE(DibLoadMemory(bytes.data(), bytes.size(), &image, nullptr, &result));
    EXPECT_EQ(result.code, DIB_ERROR_UNSUPPORTED);
    EXPECT_STREQ(result.reason, "ZIP-compressed pixels are not read by a build without zlib");
    document.compression = testing_support::PsdCompression::kPackBits;
    const auto packed = document.bytes();
    EXPECT_TRUE(DibLoadMemory(packed.data(), packed.size(), &image, nullptr, &result)) << result.reason;
}

}  // namespace

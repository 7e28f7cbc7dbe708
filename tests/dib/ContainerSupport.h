// What the tests of the image object share.
#ifndef TESTS_DIB_CONTAINER_SUPPORT_H
#define TESTS_DIB_CONTAINER_SUPPORT_H

#include <DibStream.h>
#include <gtest/gtest.h>

#include "dib/ColorTable.h"

namespace container_support {

// A header block with room for a long header and a full table.
struct HeaderBlock {
    alignas(8) unsigned char bytes[124 + 1024] = {};
    BITMAPINFOHEADER* header() { return reinterpret_cast<BITMAPINFOHEADER*>(bytes); }
    HeaderBlock(int width, int height, int bitCount) {
        DibStream helper;
        EXPECT_TRUE(helper.SetBitmapInfo(*header(), width, height, bitCount));
    }
};

inline void expectEmpty(const DibStream& dib) {
    EXPECT_EQ(dib.Header, nullptr);
    EXPECT_EQ(dib.Buffer, nullptr);
    EXPECT_EQ(dib.HeaderOwner, 0U);
    EXPECT_EQ(dib.BufferOwner, 0U);
}

inline void expectGrey(const DibStream& dib, int entries, int step) {
    const DibBGRA* table = dib::colorTable(dib.Header);
    for (int i = 0; i < entries; ++i) {
        EXPECT_EQ(table[i].blue, i * step) << i;
        EXPECT_EQ(table[i].green, i * step) << i;
        EXPECT_EQ(table[i].red, i * step) << i;
        EXPECT_EQ(table[i].alpha, 0) << i;
    }
}

}  // namespace container_support

#endif

// Builds BMP files field by field.
#ifndef TESTS_DIB_BMP_BYTES_H
#define TESTS_DIB_BMP_BYTES_H

#include <DibStream.h>

#include <cstdint>
#include <vector>

#include "dib/Bytes.h"
#include "tests/support/ByteFile.h"
#include "tests/support/TestImages.h"

namespace bmp_bytes {

using Bytes = std::vector<unsigned char>;

constexpr std::uint32_t kUncompressed = 0;
constexpr std::uint32_t kRunLength8 = 1;
constexpr std::uint32_t kMasks = 3;

struct BmpBytes {
    int width = 0;
    int height = 0;
    int bits = 0;
    Bytes pixels;
    Bytes table{};
    std::uint32_t compression = kUncompressed;
    std::uint32_t clrUsed = 0;
    std::uint32_t infoBytes = 40;
    std::vector<std::uint32_t> masks{};  // red, green, blue, alpha; inside the info header
    bool announceOffset = true;

    Bytes build() const {
        testing_support::ByteWriter out;
        const auto offset = static_cast<std::uint32_t>(14 + infoBytes + table.size());
        out.text("BM").le32(0).le16(0).le16(0).le32(announceOffset ? offset : 0);
        out.le32(infoBytes).le32(static_cast<std::uint32_t>(width)).le32(static_cast<std::uint32_t>(height));
        out.le16(1).le16(static_cast<std::uint32_t>(bits)).le32(compression);
        out.le32(compression == kRunLength8 ? static_cast<std::uint32_t>(pixels.size()) : 0);
        out.le32(2835).le32(2836).le32(clrUsed).le32(0);
        for (const std::uint32_t mask : masks) out.le32(mask);
        out.bytes.resize(14 + infoBytes);
        return out.raw(table).raw(pixels).bytes;
    }
};

inline Bytes greyEntries(unsigned count) {
    testing_support::ByteWriter out;
    for (unsigned i = 0; i < count; ++i) out.u8(i).u8(i).u8(i).u8(0);
    return out.bytes;
}

// One small file of every kind that is read; the last byte of each is needed.
inline std::vector<Bytes> goodFiles() {
    std::vector<Bytes> files;
    for (const int bits : testing_support::kDepths) {
        const auto rowBytes = static_cast<std::size_t>(((bits * 5 + 31) >> 3) & ~3);
        Bytes pixels(rowBytes * 3);
        for (std::size_t i = 0; i < pixels.size(); ++i) pixels[i] = static_cast<unsigned char>(i * 37 + 11);
        const Bytes table = greyEntries(bits <= 8 ? 1U << bits : 0);
        files.push_back(BmpBytes{5, 3, bits, pixels, table}.build());
        files.push_back(BmpBytes{5, -3, bits, pixels, table}.build());
    }
    const Bytes runs{3, 7, 0, 3, 1, 2, 3, 0, 0, 0, 0, 2, 1, 0, 2, 9};
    files.push_back(BmpBytes{6, 3, 8, runs, greyEntries(16), kRunLength8, 16}.build());
    const Bytes words(2 * 2 * 4, 0x5A);
    files.push_back(
        BmpBytes{2, 2, 32, words, {}, kMasks, 0, 108, {0xFF, 0xFF00, 0xFF0000, 0xFF000000}}.build());
    files.push_back(BmpBytes{2, 2, 32, words, {}, kUncompressed, 0, 124, {}, false}.build());
    return files;
}

inline bool load(DibStream& dib, const Bytes& file, unsigned int flags = DibStream::DIB_ACCEPT_ALL) {
    return dib.LoadFileInner(testing_support::openBytes(file).get(), flags);
}

// The code of a load that must fail and leave nothing of an older image; -1 when it succeeds.
inline int failureOf(const Bytes& file, unsigned int flags = DibStream::DIB_ACCEPT_ALL) {
    DibStream dib;
    EXPECT_TRUE(dib.Create(3, 3, 8));
    if (load(dib, file, flags)) return -1;
    EXPECT_EQ(dib.Header, nullptr);
    EXPECT_EQ(dib.Buffer, nullptr);
    EXPECT_EQ(dib.HeaderOwner, 0U);
    EXPECT_EQ(dib.BufferOwner, 0U);
    return dib.ErrorCode;
}

inline Bytes save(DibStream& dib) {
    return testing_support::writtenBytes(
        [&](std::FILE* file) { EXPECT_TRUE(dib.SaveFileInner(file)) << dib.ErrorCode; });
}

inline void patch32(Bytes& file, std::size_t offset, std::uint32_t value) {
    dib::writeLe32(file.data() + offset, value);
}

}  // namespace bmp_bytes

#endif

// TGA files, built field by field.
#ifndef TESTS_FORMATS_TGA_DOOR_TEST_H
#define TESTS_FORMATS_TGA_DOOR_TEST_H

#include "tests/formats/DoorCodecTest.h"

namespace door_test {

using codec_test::ByteWriter;

struct Fields {
    unsigned type = 2;
    unsigned width = 2;
    unsigned height = 2;
    unsigned bits = 24;
    unsigned descriptor = 0;
    unsigned mapEntries = 0;
    unsigned mapBits = 0;
    unsigned mapFirst = 0;
};

inline Bytes tga(const Fields& f, const Bytes& rest) {
    ByteWriter out;
    out.u8(3).u8(f.mapEntries > 0 ? 1 : 0).u8(f.type).le16(f.mapFirst).le16(f.mapEntries).u8(f.mapBits);
    out.le16(0).le16(0).le16(f.width).le16(f.height).u8(f.bits).u8(f.descriptor);
    return out.text("id!").raw(rest).bytes;
}

inline Bytes counting(std::size_t count, unsigned first = 1) {
    Bytes bytes(count);
    for (std::size_t i = 0; i < count; ++i) bytes[i] = static_cast<unsigned char>(first + i);
    return bytes;
}

inline Bytes joined(const Bytes& a, const Bytes& b) { return ByteWriter().raw(a).raw(b).bytes; }

// An extension area that holds nothing but the place of a thumbnail and the type of the alpha, and a footer.
inline Bytes withFooter(const Bytes& file, unsigned alphaType, unsigned thumbnail = 0) {
    ByteWriter out;
    out.raw(file).le16(495).fill(484).le32(thumbnail).le32(0).u8(alphaType);
    return out.le32(static_cast<unsigned>(file.size())).le32(0).text("TRUEVISION-XFILE.").u8(0).bytes;
}

inline constexpr const char* kName = "x.tga";

inline Opened openedTga(const Bytes& file) { return opened(file, named(kName)); }

inline Bytes shownRows(DibStream& image) {
    Bytes all;
    for (int y = 0; y < std::abs(image.Header->biHeight); ++y) {
        const Bytes row = codec_test::rowBytes(image, y);
        all.insert(all.end(), row.begin(), row.end());
    }
    return all;
}

inline Bytes shown(const Bytes& file, int bitCount) {
    const Opened load = openedTga(file);
    EXPECT_TRUE(load.isLoaded) << load.result.reason;
    if (!load.isLoaded) return {};
    EXPECT_EQ(load.image->Header->biBitCount, bitCount);
    return shownRows(*load.image);
}

}  // namespace door_test

#endif

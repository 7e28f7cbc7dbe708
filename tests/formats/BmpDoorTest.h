// BMP files, built field by field.
#ifndef TESTS_FORMATS_BMP_DOOR_TEST_H
#define TESTS_FORMATS_BMP_DOOR_TEST_H

#include "tests/formats/DoorCodecTest.h"

namespace door_test {

using codec_test::ByteWriter;

struct BmpParts {
    unsigned headerBytes = 40;
    int width = 0;
    int height = 0;
    unsigned bits = 24;
    unsigned compression = 0;
    unsigned colors = 0;
    Bytes masks = {};  // inside the header where it is long enough, else after it
    Bytes table = {};
    Bytes pixels = {};
    unsigned pixelsPerMeter = 0;
    bool hasFileHeader = true;
};

inline Bytes bmp(const BmpParts& parts) {
    ByteWriter info;
    info.le32(parts.headerBytes);
    if (parts.headerBytes == 12) {
        info.le16(static_cast<unsigned>(parts.width)).le16(static_cast<unsigned>(parts.height) & 0xFFFF);
        info.le16(1).le16(parts.bits);
    } else {
        info.le32(static_cast<unsigned>(parts.width)).le32(static_cast<unsigned>(parts.height));
        info.le16(1).le16(parts.bits).le32(parts.compression).le32(0);
        info.le32(parts.pixelsPerMeter).le32(parts.pixelsPerMeter).le32(parts.colors).le32(0);
        info.bytes.resize(std::min<std::size_t>(info.bytes.size(), parts.headerBytes));
        if (!parts.masks.empty()) info.raw(parts.masks);
        if (info.bytes.size() < parts.headerBytes) info.fill(parts.headerBytes - info.bytes.size());
    }
    info.raw(parts.table);
    ByteWriter file;
    if (parts.hasFileHeader) {
        const auto offset = static_cast<unsigned>(14 + info.bytes.size());
        file.text("BM").le32(0).le32(0).le32(offset);
    }
    return file.raw(info.bytes).raw(parts.pixels).bytes;
}

inline Bytes masks(unsigned red, unsigned green, unsigned blue) {
    return ByteWriter().le32(red).le32(green).le32(blue).bytes;
}
inline Bytes masks(unsigned red, unsigned green, unsigned blue, unsigned alpha) {
    return ByteWriter().raw(masks(red, green, blue)).le32(alpha).bytes;
}

// Rows from the top, without fill, whatever the row order.
inline Bytes shownBytes(DibStream& image) {
    Bytes all;
    for (int y = 0; y < std::abs(image.Header->biHeight); ++y) {
        const Bytes row = codec_test::rowBytes(image, y);
        all.insert(all.end(), row.begin(), row.end());
    }
    return all;
}

// The bytes of an opened picture, or nothing with the reason as a failure.
inline Bytes shown(const Bytes& file, int bitCount, const DibLoadOptions& options = {}) {
    const Opened load = opened(file, options);
    EXPECT_TRUE(load.isLoaded) << load.result.reason;
    if (!load.isLoaded) return {};
    EXPECT_EQ(load.image->Header->biBitCount, bitCount);
    return shownBytes(*load.image);
}

}  // namespace door_test

#endif

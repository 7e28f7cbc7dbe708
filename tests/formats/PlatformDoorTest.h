// What the tests of PNG, JPEG and TIFF files through DibFile.h share.
#ifndef TESTS_FORMATS_PLATFORM_DOOR_TEST_H
#define TESTS_FORMATS_PLATFORM_DOOR_TEST_H

#include <cstring>

#include "tests/formats/DoorCodecTest.h"

namespace door_test {

inline DibBGRA* tableOf(DibStream& image) {
    return reinterpret_cast<DibBGRA*>(reinterpret_cast<unsigned char*>(image.Header) + 40);
}

// Random indices among `colors` colours without order.
inline DibPtr paletteImage(int width, int height, int bitCount, int colors) {
    DibPtr image = testing_support::blankImage(width, height, bitCount);
    image->Header->biClrUsed = static_cast<std::uint32_t>(colors);
    for (int i = 0; i < 1 << bitCount; ++i) {
        const auto level = static_cast<unsigned char>(i < colors ? 7 + 37 * i : 0);
        tableOf(*image)[i] = {static_cast<unsigned char>(level / 2), static_cast<unsigned char>(255 - level),
                              level, 0};
    }
    for (int y = 0; y < std::abs(height); ++y) {
        for (int x = 0; x < width; ++x)
            testing_support::setPixelValue(*image, x, y, static_cast<unsigned>((3 * x + 5 * y) % colors));
    }
    return image;
}

inline void expectSameColors(DibStream& actual, DibStream& expected) {
    ASSERT_EQ(actual.Header->biClrUsed, expected.Header->biClrUsed);
    for (std::uint32_t i = 0; i < expected.Header->biClrUsed; ++i) {
        EXPECT_EQ(tableOf(actual)[i].red, tableOf(expected)[i].red) << i;
        EXPECT_EQ(tableOf(actual)[i].green, tableOf(expected)[i].green) << i;
        EXPECT_EQ(tableOf(actual)[i].blue, tableOf(expected)[i].blue) << i;
    }
}

// The pixels alone: fill bits and bytes, and the order of rows, may differ.
inline ::testing::AssertionResult samePixels(DibStream& actual, DibStream& expected) {
    if (actual.Header->biBitCount != expected.Header->biBitCount ||
        actual.Header->biWidth != expected.Header->biWidth ||
        std::abs(actual.Header->biHeight) != std::abs(expected.Header->biHeight)) {
        return ::testing::AssertionFailure() << "size or depth";
    }
    for (int y = 0; y < std::abs(expected.Header->biHeight); ++y) {
        for (int x = 0; x < expected.Header->biWidth; ++x) {
            if (testing_support::pixelValue(actual, x, y) != testing_support::pixelValue(expected, x, y))
                return ::testing::AssertionFailure() << x << ", " << y;
        }
    }
    return ::testing::AssertionSuccess();
}

// The image comes back from a file exactly.
inline void expectSamePixelsFrom(DibStream& image, const char* format) {
    DibFileResult result;
    const Bytes bytes = saved(image, format, &result);
    ASSERT_FALSE(bytes.empty()) << result.reason;
    const Opened load = opened(bytes);
    ASSERT_TRUE(load.isLoaded) << load.result.reason;
    EXPECT_TRUE(samePixels(*load.image, image)) << image.Header->biWidth << " x " << image.Header->biHeight;
}

inline DibBytes bytesFor(const Bytes& from) {
    DibBytes bytes;
    bytes.data = static_cast<unsigned char*>(std::malloc(from.size()));
    std::memcpy(bytes.data, from.data(), from.size());
    bytes.size = from.size();
    return bytes;
}
inline Bytes bytesOf(const DibBytes& bytes) { return {bytes.data, bytes.data + bytes.size}; }

// A profile as far as libraries look at it: a header, an empty table of tags and bytes that cannot be packed
// (libpng takes no profiles that are packed in a few).
inline Bytes profileFor(const char* space) {
    Bytes profile(532, 0);
    for (std::size_t i = 132; i < profile.size(); ++i)
        profile[i] = static_cast<unsigned char>(i * i * 31 + i / 7 * 13);
    profile[2] = 2;
    profile[3] = 20;
    profile[8] = 2;
    std::memcpy(&profile[12], "mntr", 4);
    std::memcpy(&profile[16], space, 4);
    std::memcpy(&profile[20], "XYZ ", 4);
    std::memcpy(&profile[36], "acsp", 4);
    const unsigned char white[] = {0, 0, 0xF6, 0xD6, 0, 1, 0, 0, 0, 0, 0xD3, 0x2D};
    std::memcpy(&profile[68], white, sizeof white);
    return profile;
}

// A block in the order "MM" with an orientation and a maker.
inline Bytes exifWith(unsigned orientation) {
    return codec_test::ByteWriter()
        .raw({'M', 'M', 0, 42, 0, 0, 0, 8, 0, 2})
        .raw({0x01, 0x0F, 0, 2, 0, 0, 0, 4, 'D', 'i', 'b', 0})
        .raw({0x01, 0x12, 0, 3, 0, 0, 0, 1, 0, static_cast<unsigned char>(orientation), 0, 0})
        .raw({0, 0, 0, 0})
        .bytes;
}

inline Bytes savedWith(const DibStream& image, const char* format, const DibMetadata& metadata,
                       DibFileResult* result = nullptr) {
    DibSaveOptions options;
    options.format = format;
    options.metadata = &metadata;
    DibBytes bytes;
    if (!DibSaveMemory(&bytes, &image, &options, result)) return {};
    return bytesOf(bytes);
}

inline std::string lossesOf(const DibStream& image, const char* format) {
    DibFileResult result;
    DibSaveLosses(&image, format, nullptr, &result);
    return notesOf(result);
}

}  // namespace door_test

#endif

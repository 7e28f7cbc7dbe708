// BC1 to BC5: palettes between two end points, and an index into them for each texel.
#include <cstddef>
#include <cstdint>

#include "dib/Bytes.h"
#include "plugins/dds/Blocks.h"

namespace plugins::dds {

namespace {

std::uint64_t littleEndian(const unsigned char* bytes, int count) {
    std::uint64_t value = 0;
    for (int i = count - 1; i >= 0; --i) value = value << 8 | bytes[i];
    return value;
}

// 5, 6, 5 bits, spread over the whole range of bytes.
Texel fromRgb565(unsigned color) {
    const unsigned red = color >> 11;
    const unsigned green = color >> 5 & 63;
    const unsigned blue = color & 31;
    return {dib::byteOf(blue << 3 | blue >> 2), dib::byteOf(green << 2 | green >> 4),
            dib::byteOf(red << 3 | red >> 2), 255};
}

Texel mix(const Texel& a, unsigned shareOfA, const Texel& b, unsigned shareOfB) {
    const auto channel = [&](unsigned ofA, unsigned ofB) {
        return dib::byteOf((ofA * shareOfA + ofB * shareOfB) / (shareOfA + shareOfB));
    };
    return {channel(a.blue, b.blue), channel(a.green, b.green), channel(a.red, b.red), 255};
}

// Two end points and 2-bit indices. In BC1 the fourth colour is clear if the first end point is not greater.
void decodeColors(const unsigned char* bytes, bool mayBeClear, Block& texels) {
    const unsigned first = dib::readLe16(bytes);
    const unsigned second = dib::readLe16(bytes + 2);
    Texel palette[4] = {fromRgb565(first), fromRgb565(second), {}, {}};
    if (first > second || !mayBeClear) {
        palette[2] = mix(palette[0], 2, palette[1], 1);
        palette[3] = mix(palette[0], 1, palette[1], 2);
    } else {
        palette[2] = mix(palette[0], 1, palette[1], 1);
        palette[3] = {0, 0, 0, 0};
    }
    std::uint32_t indices = dib::readLe32(bytes + 4);
    for (Texel& texel : texels) {
        texel = palette[indices & 3];
        indices >>= 2;
    }
}

// A channel value as a fraction of whole numbers; `Range` turns it into a byte.
struct UnsignedRange {
    static constexpr int kLowest = 0;
    static constexpr int kHighest = 255;
    static int endPoint(unsigned char byte) { return byte; }
    static int byte(int numerator, int denominator) { return numerator / denominator; }
};
struct SignedRange {
    static constexpr int kLowest = -127;
    static constexpr int kHighest = 127;
    // -128 also means -1.
    static int endPoint(unsigned char byte) {
        const int value = byte < 128 ? byte : byte - 256;
        return value < kLowest ? kLowest : value;
    }
    static int byte(int numerator, int denominator) {
        const int span = kHighest - kLowest;
        return ((numerator - kLowest * denominator) * 255 + span * denominator / 2) / (span * denominator);
    }
};

// Two end points and 3-bit indices. If the first end point is not greater, the palette also has both ends of
// the range.
template <class Range>
std::array<unsigned char, 16> decodeChannel(const unsigned char* bytes) {
    const int first = Range::endPoint(bytes[0]);
    const int second = Range::endPoint(bytes[1]);
    const int steps = first > second ? 7 : 5;
    int palette[8] = {Range::byte(first, 1), Range::byte(second, 1)};
    for (int i = 1; i < steps; ++i) {
        palette[i + 1] = Range::byte(first * (steps - i) + second * i, steps);
    }
    if (steps == 5) {
        palette[6] = Range::byte(Range::kLowest, 1);
        palette[7] = Range::byte(Range::kHighest, 1);
    }
    std::uint64_t indices = littleEndian(bytes + 2, 6);
    std::array<unsigned char, 16> channel{};
    for (unsigned char& value : channel) {
        value = dib::byteOf(palette[indices & 7]);
        indices >>= 3;
    }
    return channel;
}

template <class Range>
void decodeGrey(const unsigned char* bytes, Block& texels) {
    const auto grey = decodeChannel<Range>(bytes);
    for (std::size_t i = 0; i < texels.size(); ++i) texels[i] = {grey[i], grey[i], grey[i], 255};
}

template <class Range>
void decodeRedGreen(const unsigned char* bytes, Block& texels) {
    const auto red = decodeChannel<Range>(bytes);
    const auto green = decodeChannel<Range>(bytes + 8);
    const auto blue = dib::byteOf(Range::byte(0, 1));
    for (std::size_t i = 0; i < texels.size(); ++i) texels[i] = {blue, green[i], red[i], 255};
}

}  // namespace

void decodeBc1(const unsigned char* bytes, Block& texels) { decodeColors(bytes, true, texels); }

void decodeBc2(const unsigned char* bytes, Block& texels) {
    decodeColors(bytes + 8, false, texels);
    std::uint64_t alphas = littleEndian(bytes, 8);
    for (Texel& texel : texels) {
        texel.alpha = dib::byteOf((alphas & 15) * 17);
        alphas >>= 4;
    }
}

void decodeBc3(const unsigned char* bytes, Block& texels) {
    decodeColors(bytes + 8, false, texels);
    const auto alpha = decodeChannel<UnsignedRange>(bytes);
    for (std::size_t i = 0; i < texels.size(); ++i) texels[i].alpha = alpha[i];
}

void decodeBc4Unsigned(const unsigned char* bytes, Block& texels) {
    decodeGrey<UnsignedRange>(bytes, texels);
}
void decodeBc4Signed(const unsigned char* bytes, Block& texels) { decodeGrey<SignedRange>(bytes, texels); }
void decodeBc5Unsigned(const unsigned char* bytes, Block& texels) {
    decodeRedGreen<UnsignedRange>(bytes, texels);
}
void decodeBc5Signed(const unsigned char* bytes, Block& texels) {
    decodeRedGreen<SignedRange>(bytes, texels);
}

}  // namespace plugins::dds

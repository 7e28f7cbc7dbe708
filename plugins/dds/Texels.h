// Formats that hold texels one by one or in pairs, in channels of 8, 16 or 32 bits.
#ifndef PLUGINS_DDS_TEXELS_H
#define PLUGINS_DDS_TEXELS_H

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>

#include "dib/Bytes.h"
#include "dib/FloatBits.h"
#include "dib/HalfFloat.h"
#include "plugins/dds/Blocks.h"

namespace plugins::dds {

// 0 to 1 as 0 to 255; less is 0, as NaN is, and more is 255.
inline unsigned char byteOfUnit(float value) {
    if (!(value > 0.0F)) return 0;
    return value >= 1.0F ? 255 : dib::byteOf(std::lround(value * 255.0F));
}
// -1 to 1 as 0 to 255; the lowest number also means -1.
inline unsigned char byteOfSigned(std::int64_t value, std::int64_t highest) {
    const std::int64_t fromLowest = std::max(value, -highest) + highest;
    return dib::byteOf((fromLowest * 255 + highest) / (2 * highest));
}

// Each kind of sample: its bits in the file, its byte in the picture, and the byte of a channel that is
// absent.
struct Unsigned8 {
    static constexpr int kBits = 8;
    static constexpr unsigned char kAbsent = 0;
    static unsigned char byte(const unsigned char* at) { return *at; }
};
struct Unsigned16 {
    static constexpr int kBits = 16;
    static constexpr unsigned char kAbsent = 0;
    static unsigned char byte(const unsigned char* at) {
        return dib::byteOf((dib::readLe16(at) * 255U + 32767) / 65535);
    }
};
struct Unsigned32 {
    static constexpr int kBits = 32;
    static constexpr unsigned char kAbsent = 0;
    static unsigned char byte(const unsigned char* at) {
        return dib::byteOf((dib::readLe32(at) * std::uint64_t{255} + INT32_MAX) / UINT32_MAX);
    }
};
struct Signed8 {
    static constexpr int kBits = 8;
    static constexpr unsigned char kAbsent = 128;
    static unsigned char byte(const unsigned char* at) {
        return byteOfSigned(static_cast<std::int8_t>(*at), INT8_MAX);
    }
};
struct Signed16 {
    static constexpr int kBits = 16;
    static constexpr unsigned char kAbsent = 128;
    static unsigned char byte(const unsigned char* at) {
        return byteOfSigned(dib::readLeSigned16(at), INT16_MAX);
    }
};
struct Signed32 {
    static constexpr int kBits = 32;
    static constexpr unsigned char kAbsent = 128;
    static unsigned char byte(const unsigned char* at) {
        return byteOfSigned(dib::readLeSigned32(at), INT32_MAX);
    }
};
struct Float16 {
    static constexpr int kBits = 16;
    static constexpr unsigned char kAbsent = 0;
    static unsigned char byte(const unsigned char* at) {
        return byteOfUnit(dib::floatOfHalf(dib::readLe16(at)));
    }
};
struct Float32 {
    static constexpr int kBits = 32;
    static constexpr unsigned char kAbsent = 0;
    static unsigned char byte(const unsigned char* at) {
        return byteOfUnit(dib::floatOfBits(dib::readLe32(at)));
    }
};

// Red, green, blue and alpha, or the first of them; one channel is a grey.
template <class Sample, int kChannels>
void decodeChannels(const unsigned char* bytes, Block& texels) {
    unsigned char value[4] = {Sample::kAbsent, Sample::kAbsent, Sample::kAbsent, 255};
    for (int i = 0; i < kChannels; ++i) value[i] = Sample::byte(bytes + i * (Sample::kBits / 8));
    if (kChannels == 1) value[1] = value[2] = value[0];
    texels[0] = {value[2], value[1], value[0], value[3]};
}

// Eight texels of black or white, from the highest bit down.
void decodeBits(const unsigned char* bytes, Block& texels);
// BC3 with red where others have alpha.
void decodeRxgb(const unsigned char* bytes, Block& texels);
// BC6H in values from 0 to 1, without a curve.
void decodeBc6UnsignedPlain(const unsigned char* bytes, Block& texels);
void decodeBc6SignedPlain(const unsigned char* bytes, Block& texels);
// Floats of 11, 11 and 10 bits without a sign, and of 9 bits with one exponent.
void decodeR11G11B10(const unsigned char* bytes, Block& texels);
void decodeR9G9B9E5(const unsigned char* bytes, Block& texels);
// Pairs of texels that share red and blue: R G B G, and G R G B.
void decodeRgbg(const unsigned char* bytes, Block& texels);
void decodeGrgb(const unsigned char* bytes, Block& texels);
// Pairs of texels that share chroma (BT.601, 16 to 235): Y U Y V, and U Y V Y.
void decodeYuy2(const unsigned char* bytes, Block& texels);
void decodeUyvy(const unsigned char* bytes, Block& texels);
// One texel of the same, with alpha: V U Y A.
void decodeAyuv(const unsigned char* bytes, Block& texels);

}  // namespace plugins::dds

#endif

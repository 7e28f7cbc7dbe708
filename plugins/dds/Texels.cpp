#include "plugins/dds/Texels.h"

#include <cmath>

#include "dib/Bytes.h"
#include "dib/Numbers.h"

namespace plugins::dds {

namespace {

Texel texelOf(const FloatTexel& sample) {
    return {byteOfUnit(sample.blue), byteOfUnit(sample.green), byteOfUnit(sample.red), 255};
}

void decodeBc6Plain(const unsigned char* bytes, bool isSigned, Block& texels) {
    FloatBlock samples;
    decodeBc6Samples(bytes, isSigned, samples);
    for (std::size_t i = 0; i < texels.size(); ++i) texels[i] = texelOf(samples[i]);
}

// A float without a sign, of five bits of exponent and some of fraction, is a half without its last bits.
float smallFloat(std::uint32_t bits, int fractionBits) {
    return dib::floatOfHalf(static_cast<std::uint16_t>(bits << (10 - fractionBits)));
}

unsigned char held(int value) { return dib::byteOf(std::clamp(value, 0, 255)); }

// The rows of the BT.601 matrix in parts of 256.
Texel texelOf(int luminance, int u, int v, unsigned char alpha) {
    const int light = 298 * (luminance - 16) + 128;
    const int blueness = u - 128;
    const int redness = v - 128;
    return {held((light + 516 * blueness) >> 8), held((light - 100 * blueness - 208 * redness) >> 8),
            held((light + 409 * redness) >> 8), alpha};
}

}  // namespace

void decodeBits(const unsigned char* bytes, Block& texels) {
    for (unsigned i = 0; i < 8; ++i) {
        const auto level = dib::byteOf((*bytes >> (7 - i) & 1) != 0 ? 255 : 0);
        texels[i] = {level, level, level, 255};
    }
}

void decodeRxgb(const unsigned char* bytes, Block& texels) {
    decodeBc3(bytes, texels);
    for (Texel& texel : texels) {
        texel.red = texel.alpha;
        texel.alpha = 255;
    }
}

void decodeBc6UnsignedPlain(const unsigned char* bytes, Block& texels) {
    decodeBc6Plain(bytes, false, texels);
}
void decodeBc6SignedPlain(const unsigned char* bytes, Block& texels) { decodeBc6Plain(bytes, true, texels); }

void decodeR11G11B10(const unsigned char* bytes, Block& texels) {
    const std::uint32_t bits = dib::readLe32(bytes);
    texels[0] =
        texelOf({smallFloat(bits & 0x7FF, 6), smallFloat(bits >> 11 & 0x7FF, 6), smallFloat(bits >> 22, 5)});
}

void decodeR9G9B9E5(const unsigned char* bytes, Block& texels) {
    constexpr int kBias = 15 + 9;
    const std::uint32_t bits = dib::readLe32(bytes);
    const int exponent = dib::asInt(bits >> 27) - kBias;
    const auto channel = [&](int shift) {
        return std::ldexp(static_cast<float>(bits >> shift & 0x1FF), exponent);
    };
    texels[0] = texelOf({channel(0), channel(9), channel(18)});
}

void decodeRgbg(const unsigned char* bytes, Block& texels) {
    texels[0] = {bytes[2], bytes[1], bytes[0], 255};
    texels[1] = {bytes[2], bytes[3], bytes[0], 255};
}
void decodeGrgb(const unsigned char* bytes, Block& texels) {
    texels[0] = {bytes[3], bytes[0], bytes[1], 255};
    texels[1] = {bytes[3], bytes[2], bytes[1], 255};
}

void decodeYuy2(const unsigned char* bytes, Block& texels) {
    texels[0] = texelOf(bytes[0], bytes[1], bytes[3], 255);
    texels[1] = texelOf(bytes[2], bytes[1], bytes[3], 255);
}
void decodeUyvy(const unsigned char* bytes, Block& texels) {
    texels[0] = texelOf(bytes[1], bytes[0], bytes[2], 255);
    texels[1] = texelOf(bytes[3], bytes[0], bytes[2], 255);
}
void decodeAyuv(const unsigned char* bytes, Block& texels) {
    texels[0] = texelOf(bytes[2], bytes[1], bytes[0], bytes[3]);
}

}  // namespace plugins::dds

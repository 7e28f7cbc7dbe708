// BC6H: half floats without alpha, in fourteen modes that scatter the bits of their end points.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "dib/Bytes.h"
#include "dib/HalfFloat.h"
#include "dib/LightCurve.h"
#include "dib/Numbers.h"
#include "plugins/dds/Blocks.h"
#include "plugins/dds/Subsets.h"

namespace plugins::dds {

namespace {

constexpr int kPartition = 12;  // the field after those of 3 channels x 4 end points

// Which field the next bit belongs to, and which bit of it, in the order of the block.
struct Layout {
    unsigned char field[80] = {};
    unsigned char bit[80] = {};
    unsigned char width[kPartition + 1] = {};  // bits of each field
    int bits = 0;

    // From text such as "gy4 rw0-9": a channel and end point, and a bit or a range of them, in either
    // direction. "d" is the partition.
    constexpr explicit Layout(std::string_view text) {
        std::size_t at = 0;
        const auto number = [&] {
            int value = 0;
            while (at < text.size() && text[at] >= '0' && text[at] <= '9')
                value = value * 10 + (text[at++] - '0');
            return value;
        };
        while (at < text.size()) {
            const char channel = text[at++];
            int name = kPartition;
            if (channel != 'd') {
                const int endPoint = text[at++] - 'w';
                name = (channel == 'r' ? 0 : channel == 'g' ? 1 : 2) + 3 * endPoint;
            }
            const int first = number();
            int last = first;
            if (at < text.size() && text[at] == '-') {
                ++at;
                last = number();
            }
            const int step = last < first ? -1 : 1;
            for (int i = first; i != last + step; i += step, ++bits, ++width[name]) {
                field[bits] = dib::byteOf(name);
                bit[bits] = dib::byteOf(i);
            }
            ++at;  // the space
        }
    }
};

// The layout also gives the number of bits of the end points. Only modes with two subsets have a partition.
struct Mode {
    unsigned code;
    Layout layout;

    constexpr int subsets() const { return layout.width[kPartition] != 0 ? 2 : 1; }
    int baseBits() const { return layout.width[0]; }
    int deltaBits(int channel) const { return layout.width[3 + channel]; }
    // End points shorter than the first one are differences to it.
    bool isRelative() const { return deltaBits(0) < baseBits(); }
};

constexpr Mode kModes[] = {
    {0x00,
     Layout("gy4 by4 bz4 rw0-9 gw0-9 bw0-9 rx0-4 gz4 gy0-3 gx0-4 bz0 gz0-3 bx0-4 bz1 by0-3 ry0-4 bz2 rz0-4 "
            "bz3 d0-4")},
    {0x01,
     Layout("gy5 gz4 gz5 rw0-6 bz0 bz1 by4 gw0-6 by5 bz2 gy4 bw0-6 bz3 bz5 bz4 rx0-5 gy0-3 gx0-5 gz0-3 bx0-5 "
            "by0-3 ry0-5 rz0-5 d0-4")},
    {0x02,
     Layout("rw0-9 gw0-9 bw0-9 rx0-4 rw10 gy0-3 gx0-3 gw10 bz0 gz0-3 bx0-3 bw10 bz1 by0-3 ry0-4 bz2 rz0-4 "
            "bz3 d0-4")},
    {0x06,
     Layout("rw0-9 gw0-9 bw0-9 rx0-3 rw10 gz4 gy0-3 gx0-4 gw10 gz0-3 bx0-3 bw10 bz1 by0-3 ry0-3 bz0 bz2 "
            "rz0-3 gy4 bz3 d0-4")},
    {0x0A,
     Layout("rw0-9 gw0-9 bw0-9 rx0-3 rw10 by4 gy0-3 gx0-3 gw10 bz0 gz0-3 bx0-4 bw10 by0-3 ry0-3 bz1 bz2 "
            "rz0-3 bz4 bz3 d0-4")},
    {0x0E,
     Layout("rw0-8 by4 gw0-8 gy4 bw0-8 bz4 rx0-4 gz4 gy0-3 gx0-4 bz0 gz0-3 bx0-4 bz1 by0-3 ry0-4 bz2 rz0-4 "
            "bz3 d0-4")},
    {0x12,
     Layout("rw0-7 gz4 by4 gw0-7 bz2 gy4 bw0-7 bz3 bz4 rx0-5 gy0-3 gx0-4 bz0 gz0-3 bx0-4 bz1 by0-3 ry0-5 "
            "rz0-5 d0-4")},
    {0x16,
     Layout("rw0-7 bz0 by4 gw0-7 gy5 gy4 bw0-7 gz5 bz4 rx0-4 gz4 gy0-3 gx0-5 gz0-3 bx0-4 bz1 by0-3 ry0-4 bz2 "
            "rz0-4 bz3 d0-4")},
    {0x1A,
     Layout("rw0-7 bz1 by4 gw0-7 by5 gy4 bw0-7 bz5 bz4 rx0-4 gz4 gy0-3 gx0-4 bz0 gz0-3 bx0-5 by0-3 ry0-4 bz2 "
            "rz0-4 bz3 d0-4")},
    {0x1E,
     Layout("rw0-5 gz4 bz0 bz1 by4 gw0-5 gy5 by5 bz2 gy4 bw0-5 gz5 bz3 bz5 bz4 rx0-5 gy0-3 gx0-5 gz0-3 bx0-5 "
            "by0-3 ry0-5 rz0-5 d0-4")},
    {0x03, Layout("rw0-9 gw0-9 bw0-9 rx0-9 gx0-9 bx0-9")},
    {0x07, Layout("rw0-9 gw0-9 bw0-9 rx0-8 rw10 gx0-8 gw10 bx0-8 bw10")},
    {0x0B, Layout("rw0-9 gw0-9 bw0-9 rx0-7 rw11-10 gx0-7 gw11-10 bx0-7 bw11-10")},
    {0x0F, Layout("rw0-9 gw0-9 bw0-9 rx0-3 rw15-10 gx0-3 gw15-10 bx0-3 bw15-10")},
};

constexpr bool layoutsAreWhole() {
    for (const Mode& mode : kModes) {
        const int modeBits = mode.code < 2 ? 2 : 5;
        if (modeBits + mode.layout.bits != (mode.subsets() == 2 ? 82 : 65)) return false;
    }
    return true;
}
static_assert(layoutsAreWhole());

const Mode* takeMode(BitReader& bits) {
    unsigned code = bits.take(2);
    if (code >= 2) code |= bits.take(3) << 2;
    for (const Mode& mode : kModes) {
        if (mode.code == code) return &mode;
    }
    return nullptr;
}

int signExtend(int value, int bits) {
    const int sign = 1 << (bits - 1);
    return ((value & (2 * sign - 1)) ^ sign) - sign;
}

// To 16 bits without a sign, or 15 bits and one.
int unquantize(int value, int bits, bool isSigned) {
    if (!isSigned) {
        if (bits >= 15 || value == 0) return value;
        return value == (1 << bits) - 1 ? 0xFFFF : ((value << 16) + 0x8000) >> bits;
    }
    if (bits >= 16 || value == 0) return value;
    const int magnitude = value < 0 ? -value : value;
    const int wide = magnitude >= (1 << (bits - 1)) - 1 ? 0x7FFF : ((magnitude << 15) + 0x4000) >> (bits - 1);
    return value < 0 ? -wide : wide;
}

// The end points w, x, y, z of each channel, unquantized, and the partition.
struct EndPoints {
    EndPoints(const Mode& mode, BitReader& bits, bool isSigned) {
        int raw[kPartition + 1] = {};
        for (int i = 0; i < mode.layout.bits; ++i) {
            raw[mode.layout.field[i]] |= dib::asInt(bits.take(1) << mode.layout.bit[i]);
        }
        partition = static_cast<unsigned>(raw[kPartition]);
        for (int channel = 0; channel < 3; ++channel) {
            const int base = raw[channel];
            for (int end = 0; end < 2 * mode.subsets(); ++end) {
                int whole = raw[channel + 3 * end];
                if (mode.isRelative() && end > 0) {
                    whole =
                        (base + signExtend(whole, mode.deltaBits(channel))) & ((1 << mode.baseBits()) - 1);
                }
                if (isSigned) whole = signExtend(whole, mode.baseBits());
                value[end][channel] = unquantize(whole, mode.baseBits(), isSigned);
            }
        }
    }
    int value[4][3] = {};
    unsigned partition = 0;
};

// Scales an interpolated value to the bits of a half. Values from 0 up never become infinity.
float sampleOf(int value, bool isSigned) {
    const int half = isSigned ? std::abs(value) * 31 >> 5 : value * 31 >> 6;
    const float magnitude = dib::floatOfHalf(dib::wordOf(half));
    return value < 0 ? -magnitude : magnitude;
}

void decode(const unsigned char* bytes, bool isSigned, Block& texels) {
    FloatBlock samples;
    decodeBc6Samples(bytes, isSigned, samples);
    const dib::LightCurve& curve = dib::lightCurve();
    for (std::size_t i = 0; i < texels.size(); ++i) {
        texels[i] = {curve(samples[i].blue), curve(samples[i].green), curve(samples[i].red), 255};
    }
}

}  // namespace

void decodeBc6Samples(const unsigned char* bytes, bool isSigned, FloatBlock& samples) {
    BitReader bits(bytes);
    const Mode* mode = takeMode(bits);
    if (mode == nullptr) {  // reserved
        samples.fill({0, 0, 0});
        return;
    }
    const EndPoints ends(*mode, bits, isSigned);
    const int indexBits = mode->subsets() == 2 ? 3 : 4;
    for (unsigned i = 0; i < samples.size(); ++i) {
        const bool isAnchored = isAnchor(mode->subsets(), ends.partition, i);
        const unsigned index = bits.take(isAnchored ? indexBits - 1 : indexBits);
        const unsigned subset = subsetOf(mode->subsets(), ends.partition, i);
        const auto channel = [&](int c) {
            const int value =
                interpolate(ends.value[2 * subset][c], ends.value[2 * subset + 1][c], index, indexBits);
            return sampleOf(value, isSigned);
        };
        samples[i] = {channel(0), channel(1), channel(2)};
    }
}

void decodeBc6Unsigned(const unsigned char* bytes, Block& texels) { decode(bytes, false, texels); }
void decodeBc6Signed(const unsigned char* bytes, Block& texels) { decode(bytes, true, texels); }

}  // namespace plugins::dds

// BC7: eight modes, which differ in the number of subsets and in the bits of end points and indices.
#include <utility>

#include "dib/Bytes.h"
#include "dib/Numbers.h"
#include "plugins/dds/Blocks.h"
#include "plugins/dds/Subsets.h"

namespace plugins::dds {

namespace {

struct Mode {
    int subsets;
    int partitionBits;
    int rotationBits;
    int selectorBits;  // whether colour and alpha swap their indices
    int colorBits;
    int alphaBits;
    int ownLowBits;     // a lowest bit for each end point
    int sharedLowBits;  // a lowest bit for each subset
    int indexBits;
    int secondIndexBits;
};

constexpr Mode kModes[8] = {
    {3, 4, 0, 0, 4, 0, 1, 0, 3, 0}, {2, 6, 0, 0, 6, 0, 0, 1, 3, 0}, {3, 6, 0, 0, 5, 0, 0, 0, 2, 0},
    {2, 6, 0, 0, 7, 0, 1, 0, 2, 0}, {1, 0, 2, 1, 5, 6, 0, 0, 2, 3}, {1, 0, 2, 0, 7, 8, 0, 0, 2, 2},
    {1, 0, 0, 0, 7, 7, 1, 0, 4, 0}, {2, 6, 0, 0, 5, 5, 1, 0, 2, 0},
};

constexpr int kChannels = 4;  // red, green, blue, alpha
constexpr int kAlpha = 3;

// Spreads a value of that many bits over the whole range of bytes.
int spread(unsigned value, int bits) {
    const unsigned high = value << (8 - bits);
    return dib::asInt(high | high >> bits);
}

// The end points of each subset as bytes: all reds, all greens, all blues, all alphas, then the lowest bits.
struct EndPoints {
    EndPoints(const Mode& mode, BitReader& bits) {
        const int count = mode.subsets * 2;
        unsigned raw[6][kChannels] = {};
        for (int channel = 0; channel < kChannels; ++channel) {
            const int width = channel == kAlpha ? mode.alphaBits : mode.colorBits;
            for (int i = 0; i < count; ++i) raw[i][channel] = bits.take(width);
        }
        const int lowBits = mode.ownLowBits + mode.sharedLowBits;
        unsigned low = 0;
        for (int i = 0; i < count; ++i) {
            if (lowBits != 0 && (mode.ownLowBits != 0 || i % 2 == 0)) low = bits.take(1);
            for (int channel = 0; channel < kChannels; ++channel) {
                const int width = channel == kAlpha ? mode.alphaBits : mode.colorBits;
                const unsigned full = lowBits != 0 ? raw[i][channel] << 1 | low : raw[i][channel];
                value[i][channel] = width == 0 ? 255 : spread(full, width + lowBits);
            }
        }
    }
    int value[6][kChannels] = {};
};

void takeIndices(BitReader& bits, int width, int subsets, unsigned partition, unsigned (&indices)[16]) {
    for (unsigned i = 0; i < 16; ++i) {
        indices[i] = bits.take(isAnchor(subsets, partition, i) ? width - 1 : width);
    }
}

}  // namespace

void decodeBc7(const unsigned char* bytes, Block& texels) {
    // The mode is the number of zeroes before the first one; a block without any is clear.
    BitReader bits(bytes);
    int number = 0;
    while (number < 8 && bits.take(1) == 0) ++number;
    if (number == 8) {
        texels.fill({0, 0, 0, 0});
        return;
    }
    const Mode& mode = kModes[number];
    const unsigned partition = bits.take(mode.partitionBits);
    const unsigned rotation = bits.take(mode.rotationBits);
    const bool swapsIndices = bits.take(mode.selectorBits) != 0;
    const EndPoints ends(mode, bits);
    unsigned first[16] = {};
    unsigned second[16] = {};
    takeIndices(bits, mode.indexBits, mode.subsets, partition, first);
    if (mode.secondIndexBits != 0) takeIndices(bits, mode.secondIndexBits, mode.subsets, partition, second);

    for (unsigned i = 0; i < 16; ++i) {
        const unsigned subset = subsetOf(mode.subsets, partition, i);
        unsigned colorIndex = first[i];
        unsigned alphaIndex = first[i];
        int colorBits = mode.indexBits;
        int alphaBits = mode.indexBits;
        if (mode.secondIndexBits != 0) {
            (swapsIndices ? colorIndex : alphaIndex) = second[i];
            (swapsIndices ? colorBits : alphaBits) = mode.secondIndexBits;
        }
        unsigned char channels[kChannels];
        for (int channel = 0; channel < kChannels; ++channel) {
            channels[channel] = dib::byteOf(interpolate(
                ends.value[2 * subset][channel], ends.value[2 * subset + 1][channel],
                channel == kAlpha ? alphaIndex : colorIndex, channel == kAlpha ? alphaBits : colorBits));
        }
        // The rotation is the channel that was packed as alpha, with end points of its own.
        if (rotation != 0) std::swap(channels[rotation - 1], channels[kAlpha]);
        texels[i] = {channels[2], channels[1], channels[0], channels[kAlpha]};
    }
}

}  // namespace plugins::dds

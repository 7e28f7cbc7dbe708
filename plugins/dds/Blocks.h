// The block formats: each block is 4 x 4 texels in 8 or 16 bytes.
#ifndef PLUGINS_DDS_BLOCKS_H
#define PLUGINS_DDS_BLOCKS_H

#include <array>

namespace plugins::dds {

// As a 32-bit picture keeps it.
struct Texel {
    unsigned char blue;
    unsigned char green;
    unsigned char red;
    unsigned char alpha;
};

struct FloatTexel {
    float red;
    float green;
    float blue;
};

// Row by row from the top.
using Block = std::array<Texel, 16>;
using FloatBlock = std::array<FloatTexel, 16>;
using BlockDecoder = void (*)(const unsigned char* bytes, Block& texels);

// Every decoder takes any bytes. A channel that a format does not hold is 0, in the range of the others, and
// alpha is 255.
void decodeBc1(const unsigned char* bytes, Block& texels);
void decodeBc2(const unsigned char* bytes, Block& texels);
void decodeBc3(const unsigned char* bytes, Block& texels);
// One channel, as a grey.
void decodeBc4Unsigned(const unsigned char* bytes, Block& texels);
// From -1 to 1, as 0 to 255.
void decodeBc4Signed(const unsigned char* bytes, Block& texels);
// Red and green.
void decodeBc5Unsigned(const unsigned char* bytes, Block& texels);
void decodeBc5Signed(const unsigned char* bytes, Block& texels);
// Linear light in half floats, as it is and through the gamma curve.
void decodeBc6Samples(const unsigned char* bytes, bool isSigned, FloatBlock& samples);
void decodeBc6Unsigned(const unsigned char* bytes, Block& texels);
void decodeBc6Signed(const unsigned char* bytes, Block& texels);
void decodeBc7(const unsigned char* bytes, Block& texels);

}  // namespace plugins::dds

#endif

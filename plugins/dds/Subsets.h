// What BC6H and BC7 share: bits from the lowest up, the partition of a block into subsets, and interpolation.
#ifndef PLUGINS_DDS_SUBSETS_H
#define PLUGINS_DDS_SUBSETS_H

#include <cstddef>

namespace plugins::dds {

// The 128 bits of a block.
class BitReader {
public:
    explicit BitReader(const unsigned char* bytes) : bytes_(bytes) {}
    unsigned take(int count) {
        unsigned value = 0;
        for (int i = 0; i < count; ++i, ++at_) {
            value |= (unsigned{bytes_[at_ >> 3]} >> (at_ & 7) & 1U) << i;
        }
        return value;
    }

private:
    const unsigned char* bytes_;
    std::size_t at_ = 0;
};

// The subset of each texel under partition 0 to 63, for blocks of 1, 2 or 3 subsets.
unsigned subsetOf(int subsets, unsigned partition, unsigned texel);

// Whether the texel's index has one bit less: each subset has one whose highest bit is always 0.
bool isAnchor(int subsets, unsigned partition, unsigned texel);

// Between a and b, by an index of 2, 3 or 4 bits.
int interpolate(int a, int b, unsigned index, int indexBits);

}  // namespace plugins::dds

#endif

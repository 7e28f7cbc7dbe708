// Copying pixels of less than a byte: ranges of bits, the most significant bit of a byte first.
#ifndef GEOMETRY_BIT_COPY_H
#define GEOMETRY_BIT_COPY_H

#include <algorithm>
#include <cstdint>

namespace dib {

// Copies `count` bits from bit `fromBit` of `from` to bit `toBit` of `to`. Bits around the target stay, and
// no byte is read that holds none of the copied bits. The ranges must not overlap.
inline void copyBits(unsigned char* to, std::int64_t toBit, const unsigned char* from, std::int64_t fromBit,
                     std::int64_t count) {
    to += toBit / 8;
    from += fromBit / 8;
    toBit %= 8;
    fromBit %= 8;
    if (toBit == 0 && fromBit == 0) {
        std::copy_n(from, count / 8, to);
        to += count / 8;
        from += count / 8;
        count %= 8;
    }
    // One target byte at a time, or what is left of it.
    while (count > 0) {
        const std::int64_t bits = std::min(8 - toBit, count);
        unsigned window = from[0] * 256U;
        if (fromBit + bits > 8) window |= from[1];
        const unsigned mask = (0xFF00U >> bits & 0xFFU) >> toBit;
        const unsigned value = (window << fromBit >> 8 & 0xFFU) >> toBit;
        *to = static_cast<unsigned char>((*to & ~mask) | (value & mask));
        ++to;
        toBit = 0;
        fromBit += bits;
        from += fromBit / 8;
        fromBit %= 8;
        count -= bits;
    }
}

}  // namespace dib

#endif

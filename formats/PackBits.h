// PackBits, also called ByteRun1: a header byte n of 0 to 127 is followed by n + 1 bytes, one of -1 to -127
// by a byte that is repeated 1 - n times, and -128 means nothing.
#ifndef FORMATS_PACK_BITS_H
#define FORMATS_PACK_BITS_H

#include <cstddef>
#include <span>

#include "formats/ByteReader.h"

namespace formats {

enum class PackBitsEnd {
    kWhole,   // the last packet ended where the output does
    kShort,   // the source ended before the output was full
    kOverrun  // the last packet has more than the output took
};

class PackBits {
public:
    explicit PackBits(ByteReader& source) : source_(source) {}

    // Fills `out`, first with the rest of the last packet. An incomplete packet at the end gives no bytes.
    PackBitsEnd unpack(std::span<unsigned char> out);

    // Bytes that the last `unpack` wrote.
    std::size_t unpacked() const { return unpacked_; }
    // Bytes of the last packet that did not fit.
    std::size_t left() const { return left_; }
    // Skips them.
    void drop();

private:
    // Copies bytes of the open packet to the rest of the output.
    void takeOpen(std::span<unsigned char> out);
    // Opens the next packet; false when it is incomplete.
    bool open();

    ByteReader& source_;
    std::size_t unpacked_ = 0;
    std::size_t left_ = 0;
    bool isRun_ = false;
    unsigned char repeated_ = 0;
};

// Unpacks a row in memory. False, with `out` undefined, unless the packed bytes give exactly `count` bytes.
bool unpackRow(const unsigned char* packed, std::size_t packedBytes, unsigned char* out, std::size_t count);

// Packs a row; returns the length. `out` has room for `packedBound(count)` bytes.
std::size_t packRow(const unsigned char* row, std::size_t count, unsigned char* out);
constexpr std::size_t packedBound(std::size_t count) { return count + (count + 127) / 128; }

}  // namespace formats

#endif

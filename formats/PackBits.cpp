#include "formats/PackBits.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

namespace formats {

namespace {

constexpr unsigned kNoOperation = 128;
constexpr std::size_t kLongestRun = 128;
constexpr std::size_t kLongestPacket = 1 + kLongestRun;

// Most packets are short. Where both sides have room for the longest one they are moved in blocks of fixed
// size: what is written too much is overwritten by the next packet.
constexpr std::size_t kBlock = 16;

// What a packet takes and gives, by its header byte.
struct Packet {
    std::uint8_t packed;
    std::uint8_t unpacked;
};
constexpr auto kPackets = [] {
    std::array<Packet, 256> packets{};
    for (unsigned header = 0; header < 256; ++header) {
        if (header < 128) {
            packets[header] = {static_cast<std::uint8_t>(header + 2), static_cast<std::uint8_t>(header + 1)};
        } else {
            packets[header] = {2, static_cast<std::uint8_t>(257 - header)};
        }
    }
    packets[kNoOperation] = {1, 0};
    return packets;
}();

inline void copyBlocks(unsigned char* to, const unsigned char* from, std::size_t length) {
    for (std::size_t i = 0; i < length; i += kBlock) std::memcpy(to + i, from + i, kBlock);
}

inline void fillBlocks(unsigned char* to, unsigned char value, std::size_t length) {
    for (std::size_t i = 0; i < length; i += kBlock) std::memset(to + i, value, kBlock);
}

struct Unpacked {
    std::size_t packed;
    std::size_t unpacked;
};

// Unpacks until the output is full, or the next packet is not whole or has no room.
Unpacked unpackWholePackets(const unsigned char* const packed, std::size_t packedBytes,
                            unsigned char* const out, std::size_t count) {
    std::size_t from = 0;
    std::size_t to = 0;
    while (to < count && from < packedBytes) {
        const unsigned header = packed[from];
        const Packet packet = kPackets[header];
        const std::size_t room = count - to;
        const std::size_t rest = packedBytes - from;
        if (room >= kLongestRun && rest >= kLongestPacket) {
            if (header < kNoOperation) {
                copyBlocks(out + to, packed + from + 1, packet.unpacked);
            } else {
                fillBlocks(out + to, packed[from + 1], packet.unpacked);
            }
        } else {
            if (packet.packed > rest || packet.unpacked > room) break;
            if (header < kNoOperation) {
                std::memcpy(out + to, packed + from + 1, packet.unpacked);
            } else if (header > kNoOperation) {
                std::memset(out + to, packed[from + 1], packet.unpacked);
            }
        }
        from += packet.packed;
        to += packet.unpacked;
    }
    return {from, to};
}

}  // namespace

PackBitsEnd PackBits::unpack(std::span<unsigned char> out) {
    unpacked_ = 0;
    takeOpen(out);
    while (unpacked_ < out.size()) {
        const ByteReader::Bytes source = source_.ahead(kLongestPacket);
        const Unpacked whole =
            unpackWholePackets(source.data, source.size, out.data() + unpacked_, out.size() - unpacked_);
        source_.consume(whole.packed);
        unpacked_ += whole.unpacked;
        if (unpacked_ == out.size() || whole.packed > 0) continue;
        if (!open()) return PackBitsEnd::kShort;
        takeOpen(out);
    }
    return left_ == 0 ? PackBitsEnd::kWhole : PackBitsEnd::kOverrun;
}

bool PackBits::open() {
    const ByteReader::Bytes source = source_.ahead(kLongestPacket);
    if (source.size < 2 || source.size < kPackets[source.data[0]].packed) {
        source_.consume(source.size);
        return false;
    }
    isRun_ = source.data[0] > kNoOperation;
    left_ = kPackets[source.data[0]].unpacked;
    repeated_ = source.data[1];
    source_.consume(isRun_ ? 2 : 1);
    return true;
}

void PackBits::takeOpen(std::span<unsigned char> out) {
    const std::size_t count = std::min(left_, out.size() - unpacked_);
    if (count == 0) return;
    if (isRun_) {
        std::memset(out.data() + unpacked_, repeated_, count);
    } else {
        source_.read(out.data() + unpacked_, count);
    }
    unpacked_ += count;
    left_ -= count;
}

void PackBits::drop() {
    if (!isRun_) source_.skip(left_);
    left_ = 0;
}

bool unpackRow(const unsigned char* packed, std::size_t packedBytes, unsigned char* out, std::size_t count) {
    const Unpacked row = unpackWholePackets(packed, packedBytes, out, count);
    return row.unpacked == count && row.packed == packedBytes;
}

}  // namespace formats

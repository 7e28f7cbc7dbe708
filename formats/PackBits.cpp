#include "formats/PackBits.h"

#include <algorithm>
#include <cstring>

namespace formats {

namespace {

constexpr int kNoOperation = -128;
constexpr std::size_t kLongestRun = 128;
constexpr std::size_t kLongestPacket = 1 + kLongestRun;

// Most packets are short. Where both sides have room for the longest packet, blocks of fixed size are copied;
// the next packet overwrites the excess.
constexpr std::size_t kBlock = 16;

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

// Unpacks until the output is full or the next packet is incomplete or does not fit.
Unpacked unpackWholePackets(const unsigned char* packed, std::size_t packedBytes, unsigned char* out,
                            std::size_t count) {
    const unsigned char* from = packed;
    unsigned char* to = out;
    const unsigned char* const packedEnd = packed + packedBytes;
    unsigned char* const end = out + count;
    while (to < end && from < packedEnd) {
        const int header = static_cast<signed char>(*from);
        const auto room = static_cast<std::size_t>(end - to);
        const auto rest = static_cast<std::size_t>(packedEnd - from);
        const bool roomy = room >= kLongestRun && rest >= kLongestPacket;
        if (header >= 0) {
            const std::size_t length = static_cast<std::size_t>(header) + 1;
            if (roomy) {
                copyBlocks(to, from + 1, length);
            } else {
                if (length > room || length >= rest) break;
                std::memcpy(to, from + 1, length);
            }
            from += 1 + length;
            to += length;
        } else if (header != kNoOperation) {
            const std::size_t length = static_cast<std::size_t>(1 - header);
            if (roomy) {
                fillBlocks(to, from[1], length);
            } else {
                if (length > room || rest < 2) break;
                std::memset(to, from[1], length);
            }
            from += 2;
            to += length;
        } else {
            from += 1;
        }
    }
    return {static_cast<std::size_t>(from - packed), static_cast<std::size_t>(to - out)};
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
    const int header = source.size > 0 ? static_cast<signed char>(source.data[0]) : 0;
    const std::size_t length = static_cast<std::size_t>(header < 0 ? 1 - header : 1 + header);
    isRun_ = header < 0;
    if (source.size < (isRun_ ? 2 : 1 + length)) {
        source_.consume(source.size);
        return false;
    }
    left_ = length;
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

std::size_t packRow(const unsigned char* row, std::size_t count, unsigned char* out) {
    // A run of two saves nothing.
    constexpr std::size_t kShortestRun = 3;
    const auto startsRun = [&](std::size_t at) {
        return at + kShortestRun <= count && row[at] == row[at + 1] && row[at] == row[at + 2];
    };
    unsigned char* to = out;
    for (std::size_t at = 0; at < count;) {
        const std::size_t most = std::min(count, at + kLongestRun);
        std::size_t end = at + 1;
        if (startsRun(at)) {
            while (end < most && row[end] == row[at]) ++end;
            *to++ = static_cast<unsigned char>(257 - (end - at));
            *to++ = row[at];
        } else {
            while (end < most && !startsRun(end)) ++end;
            *to++ = static_cast<unsigned char>(end - at - 1);
            to = std::copy(row + at, row + end, to);
        }
        at = end;
    }
    return static_cast<std::size_t>(to - out);
}

}  // namespace formats

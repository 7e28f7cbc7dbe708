#include "formats/PsdPackBits.h"

#include <algorithm>
#include <cstring>

namespace formats {

namespace {

constexpr int kNoOperation = -128;
constexpr std::size_t kLongestRun = 128;
constexpr std::size_t kLongestPacket = 1 + kLongestRun;

// Most packets are short. Where both sides have room for the longest one they are moved in blocks of fixed
// size: what is written too much is overwritten by the next packet.
constexpr std::size_t kBlock = 16;

inline void copyBlocks(unsigned char* to, const unsigned char* from, std::size_t length) {
    for (std::size_t i = 0; i < length; i += kBlock) std::memcpy(to + i, from + i, kBlock);
}

inline void fillBlocks(unsigned char* to, unsigned char value, std::size_t length) {
    for (std::size_t i = 0; i < length; i += kBlock) std::memset(to + i, value, kBlock);
}

}  // namespace

bool unpackRow(const unsigned char* packed, std::size_t packedBytes, unsigned char* out, std::size_t count) {
    const unsigned char* const packedEnd = packed + packedBytes;
    unsigned char* const end = out + count;
    while (out < end) {
        if (packedEnd - packed < 2) return false;
        const int code = static_cast<signed char>(packed[0]);
        const auto room = static_cast<std::size_t>(end - out);
        const auto rest = static_cast<std::size_t>(packedEnd - packed);
        const bool roomy = room >= kLongestRun && rest >= kLongestPacket;
        if (code >= 0) {
            const std::size_t length = static_cast<std::size_t>(code) + 1;
            if (roomy) {
                copyBlocks(out, packed + 1, length);
            } else {
                if (length > room || length >= rest) return false;
                std::memcpy(out, packed + 1, length);
            }
            out += length;
            packed += 1 + length;
        } else if (code != kNoOperation) {
            const std::size_t length = static_cast<std::size_t>(1 - code);
            if (roomy) {
                fillBlocks(out, packed[1], length);
            } else {
                if (length > room) return false;
                std::memset(out, packed[1], length);
            }
            out += length;
            packed += 2;
        } else {
            packed += 1;
        }
    }
    return packed == packedEnd;
}

std::size_t unpackBits(PsdReader& reader, unsigned char* out, std::size_t count) {
    std::size_t produced = 0;
    while (produced < count) {
        const PsdReader::Bytes packet = reader.ahead(kLongestPacket);
        if (packet.size < 2) {
            // Not even the smallest packet is left; a lone no-operation is consumed like any other.
            reader.consume(packet.size);
            break;
        }
        const int code = static_cast<signed char>(packet.data[0]);
        const std::size_t room = count - produced;
        if (code >= 0) {
            const std::size_t length = static_cast<std::size_t>(code) + 1;
            if (packet.size < 1 + length) {
                reader.consume(packet.size);
                break;
            }
            std::memcpy(out + produced, packet.data + 1, std::min(length, room));
            produced += length;
            reader.consume(1 + length);
        } else if (code != kNoOperation) {
            const std::size_t length = static_cast<std::size_t>(1 - code);
            std::memset(out + produced, packet.data[1], std::min(length, room));
            produced += length;
            reader.consume(2);
        } else {
            reader.consume(1);
        }
    }
    return produced;
}

}  // namespace formats

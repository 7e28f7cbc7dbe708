#include "formats/PsdPackBits.h"

#include <algorithm>
#include <cstring>

namespace formats {

namespace {

constexpr int kNoOperation = -128;
constexpr std::size_t kLongestRun = 128;
constexpr std::size_t kLongestPacket = 1 + kLongestRun;

}  // namespace

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

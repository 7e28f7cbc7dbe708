#include "formats/Iff.h"

#include <algorithm>
#include <cstring>

#include "dib/Bytes.h"
#include "dib/Numbers.h"

namespace formats {

bool iff_chunk::load(ByteReader& file) {
    const unsigned char* bytes = file.take(kBytes);
    if (bytes == nullptr) return false;
    std::memcpy(id, bytes, sizeof id);
    length = dib::readBe32(bytes + sizeof id);
    return true;
}

bool iff_chunk::is(const char* name) const { return std::memcmp(id, name, sizeof id) == 0; }

bool iff_outstream::add(int n) {
    const std::uint64_t wanted = std::uint64_t{length} + static_cast<std::uint64_t>(n);
    if (wanted <= capacity) return true;
    if (wanted > UINT32_MAX) return false;
    const std::uint64_t grown = std::min(wanted + length + 256, std::uint64_t{UINT32_MAX});
    void* block = std::realloc(buffer, dib::asSize(grown));
    if (block == nullptr) return false;
    buffer = static_cast<unsigned char*>(block);
    capacity = dib::dwordOf(grown);
    return true;
}

bool iff_outstream::append(const void* bytes, int n) {
    if (!add(n)) return false;
    std::memcpy(buffer + length, bytes, dib::asSize(n));
    length += dib::dwordOf(n);
    return true;
}

bool iff_outstream::dword(unsigned int value) {
    unsigned char bytes[4];
    dib::writeBe32(bytes, value);
    return append(bytes, sizeof bytes);
}

}  // namespace formats

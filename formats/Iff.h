// The chunks of IFF files.
#ifndef FORMATS_IFF_H
#define FORMATS_IFF_H

#include <cstdint>
#include <cstdlib>

#include "formats/ByteReader.h"

namespace formats {

// The head of a chunk.
struct iff_chunk {
    static constexpr int kBytes = 8;
    unsigned char id[4] = {};
    std::uint32_t length = 0;

    // Reads the eight bytes; false on a short read.
    bool load(ByteReader& file);
    // Bytes of the whole chunk.
    std::int64_t bytes() const { return kBytes + std::int64_t{length}; }
    bool is(const char* name) const;
};

// A growing block of bytes. Each function returns false, with nothing changed, when memory is short.
struct iff_outstream {
    unsigned char* buffer = nullptr;
    std::uint32_t capacity = 0;
    std::uint32_t length = 0;

    iff_outstream() = default;
    ~iff_outstream() { std::free(buffer); }
    iff_outstream(const iff_outstream&) = delete;
    iff_outstream& operator=(const iff_outstream&) = delete;

    // Makes room for n more bytes.
    bool add(int n);
    // Appends a number, most significant byte first.
    bool dword(unsigned int value);
    bool append(const void* bytes, int n);
};

}  // namespace formats

#endif

// A chunk of a PNG file, as writers put it there.
#ifndef FORMATS_LINUX_PNG_CHUNK_H
#define FORMATS_LINUX_PNG_CHUNK_H

#include <libdeflate.h>

#include <cstddef>
#include <cstdint>

#include "dib/Bytes.h"
#include "formats/ByteWriter.h"

namespace formats {

inline void writeChunk(ByteWriter& file, const char* name, const unsigned char* data, std::size_t bytes) {
    unsigned char frame[4];
    dib::writeBe32(frame, bytes);
    file.bytes(frame, sizeof frame);
    file.bytes(name, 4);
    file.bytes(data, bytes);
    std::uint32_t check = libdeflate_crc32(0, reinterpret_cast<const unsigned char*>(name), 4);
    if (bytes != 0) check = libdeflate_crc32(check, data, bytes);  // without data it would start anew
    dib::writeBe32(frame, check);
    file.bytes(frame, sizeof frame);
}

}  // namespace formats

#endif

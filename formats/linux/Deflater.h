// Packing by deflate, a piece at a time, into a zlib stream.
#ifndef FORMATS_LINUX_DEFLATER_H
#define FORMATS_LINUX_DEFLATER_H

#include <zlib.h>

#include <cstddef>

#include "dib/Memory.h"

namespace formats {

// Two libraries share the levels: ISA-L is ten times as fast as zlib and has no small levels. Where
// there is no ISA-L, as on 32-bit machines and in browsers, zlib packs them all.
class Deflater {
public:
    Deflater();
    ~Deflater();
    Deflater(const Deflater&) = delete;
    Deflater& operator=(const Deflater&) = delete;

    // Levels are those of DibSaveOptions::compressionLevel. False when memory is short.
    bool start(int level);
    // The next bytes to pack. All of the ones before must have been packed.
    void feed(const unsigned char* from, std::size_t bytes, bool isLast);
    // Packs until the room is full or the bytes are used up, and returns how many bytes were written. What
    // was fed is packed when there is room left.
    std::size_t pack(unsigned char* to, std::size_t room);

private:
    bool startFast();
    void feedFast(const unsigned char* from, std::size_t bytes, bool isLast);
    std::size_t packFast(unsigned char* to, std::size_t room);
    std::size_t packSmall(unsigned char* to, std::size_t room);

    struct FastState;
    dib::MallocPtr<FastState> fast_;
    z_stream small_{};
    bool isSmall_ = false;
    bool isLast_ = false;
};

}  // namespace formats

#endif

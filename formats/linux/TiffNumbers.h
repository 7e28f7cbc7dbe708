// Numbers in the order of bytes that a TIFF file has.
#ifndef FORMATS_LINUX_TIFF_NUMBERS_H
#define FORMATS_LINUX_TIFF_NUMBERS_H

#include <cstddef>
#include <cstdint>

#include "dib/Bytes.h"

namespace formats {

// Numbers of up to eight bytes.
class TiffNumbers {
public:
    explicit TiffNumbers(bool isLittle) : isLittle_(isLittle) {}

    std::uint64_t read(const unsigned char* p, std::size_t bytes) const {
        std::uint64_t value = 0;
        for (std::size_t i = 0; i < bytes; ++i) value = value << 8 | p[isLittle_ ? bytes - 1 - i : i];
        return value;
    }
    std::uint32_t read16(const unsigned char* p) const { return dib::dwordOf(read(p, 2)); }
    std::uint32_t read32(const unsigned char* p) const { return dib::dwordOf(read(p, 4)); }
    void write(unsigned char* p, std::uint64_t value, std::size_t bytes) const {
        for (std::size_t i = 0; i < bytes; ++i)
            p[isLittle_ ? i : bytes - 1 - i] = dib::byteOf(value >> 8 * i);
    }

private:
    bool isLittle_;
};

}  // namespace formats

#endif

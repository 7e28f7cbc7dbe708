// Reading a PSD document: big-endian numbers, and a bound on the work that a damaged document can cause.
#ifndef FORMATS_PSD_READER_H
#define FORMATS_PSD_READER_H

#include <algorithm>
#include <concepts>
#include <cstdint>
#include <cstdio>

#include "formats/ByteReader.h"

namespace formats::psd {

class Reader : public ByteReader {
public:
    // Starts at the first byte of the file.
    explicit Reader(std::FILE* file) : ByteReader(rewound(file)) {
        workLeft_ =
            std::clamp<std::int64_t>(size(), 0, INT64_MAX / (2 * kWorkPerFileByte)) * kWorkPerFileByte +
            kWorkFloor;
    }
    // Leaves the file where reading stopped.
    ~Reader() { leave(); }

    // Reads a number; one that the end of the file cuts off keeps its value.
    template <std::integral T>
    bool readNumber(T& number) {
        unsigned char bytes[sizeof(T)];
        if (!read(bytes, sizeof bytes)) return false;
        std::uint64_t value = 0;
        for (const unsigned char byte : bytes) value = value << 8 | byte;
        number = static_cast<T>(value);
        return true;
    }
    // Several, one after the other.
    template <std::integral... T>
    void readNumbers(T&... numbers) {
        (readNumber(numbers), ...);
    }

    // Channel lengths may be written so that the same bytes are read again and again, and rectangles cost
    // nothing to announce. Pixels made and bytes decoded are therefore counted against what a file of this
    // length can honestly need: a packed bitmap grows to 512 times its length, everything else stays below.
    // False when that is exceeded.
    bool admitWork(std::int64_t bytes) {
        if (bytes > workLeft_) return false;
        workLeft_ -= bytes;
        return true;
    }
    std::int64_t workLeft() const { return workLeft_; }

private:
    static std::FILE* rewound(std::FILE* file) {
        std::fseek(file, 0, SEEK_SET);
        return file;
    }

    static constexpr std::int64_t kWorkFloor = std::int64_t{64} << 20;
    static constexpr std::int64_t kWorkPerFileByte = 1024;

    std::int64_t workLeft_ = 0;
};

}  // namespace formats::psd

#endif

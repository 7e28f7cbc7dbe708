// Reading a PSD document: big-endian numbers, and a bound on the work that a damaged document can cause.
#ifndef FORMATS_PSD_READER_H
#define FORMATS_PSD_READER_H

#include <algorithm>
#include <concepts>
#include <cstdint>

#include "formats/ByteReader.h"

namespace formats::psd {

class Reader {
public:
    using Bytes = ByteReader::Bytes;
    static constexpr std::size_t kBufferBytes = ByteReader::kBufferBytes;

    // `file` is at its start.
    explicit Reader(ByteReader& file)
        : file_(file),
          workLeft_(std::clamp<std::int64_t>(file.size(), 0, INT64_MAX / (2 * kWorkPerFileByte)) *
                        kWorkPerFileByte +
                    kWorkFloor) {}

    ByteReader& bytes() { return file_; }
    Bytes ahead(std::size_t wanted) { return file_.ahead(wanted); }
    void consume(std::size_t count) { file_.consume(count); }
    std::size_t copy(void* out, std::size_t count) { return file_.copy(out, count); }
    bool read(void* out, std::size_t count) { return file_.read(out, count); }
    std::int64_t position() const { return file_.position(); }
    bool seek(std::int64_t position) { return file_.seek(position); }
    std::int64_t size() { return file_.size(); }
    std::int64_t remaining() { return file_.remaining(); }

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
    // length can need otherwise: a packed bitmap grows to 512 times its length, everything else stays below.
    // False when that is exceeded.
    bool admitWork(std::int64_t bytes) {
        if (bytes > workLeft_) return false;
        workLeft_ -= bytes;
        return true;
    }
    std::int64_t workLeft() const { return workLeft_; }

private:
    static constexpr std::int64_t kWorkFloor = std::int64_t{64} << 20;
    static constexpr std::int64_t kWorkPerFileByte = 1024;

    ByteReader& file_;
    std::int64_t workLeft_;
};

}  // namespace formats::psd

#endif

// Deflate streams of TIFF pieces. libtiff stops when a piece is full and looks neither at the end of the
// stream nor always at its sum, so it is not known whether they are whole.
#ifndef FORMATS_LINUX_TIFF_DEFLATE_H
#define FORMATS_LINUX_TIFF_DEFLATE_H

#include <tiffio.h>

#include <cstddef>
#include <cstdint>
#include <memory>

#include "dib/Memory.h"
#include "formats/ByteReader.h"

struct libdeflate_decompressor;

namespace formats {

class TiffDeflate {
public:
    // Prepares for pieces whose rows have up to `rowBytes` bytes. False when memory is short.
    bool start(TIFF* tiff, std::size_t rowBytes);
    // Whether the pieces are deflate streams.
    bool isUsed() const { return isUsed_; }

    // Unpacks the piece at these bytes of the file. False when libtiff must unpack it, and when the stream is
    // not whole or does not have exactly these rows, which are then undefined.
    bool read(ByteReader& file, std::uint64_t at, std::uint64_t bytes, unsigned char* to, std::size_t rows,
              std::size_t rowBytes);

    // Begins a piece that libtiff unpacks; `add` takes its rows.
    void begin() { sum_ = 1; }
    void add(const unsigned char* rows, std::size_t count, std::size_t rowBytes);
    // Whether the stream at these bytes of the file is whole and has exactly the rows that were added.
    bool isWhole(ByteReader& file, std::uint64_t at, std::uint64_t bytes);
    // The unpacked length of a piece, which may be cut.
    std::uint64_t unpackedBytes(unsigned char* packed, std::size_t bytes);

    bool isShortOfMemory() const { return isShortOfMemory_; }

private:
    enum class Rows { kAsStored, kChanged, kUnknown };
    struct Free {
        void operator()(libdeflate_decompressor* decompressor) const;
    };

    bool readPacked(ByteReader& file, std::uint64_t at, std::uint64_t bytes);
    void restoreRow(unsigned char* row, std::size_t rowBytes) const;
    bool unpack(unsigned char* packed, std::size_t bytes, std::uint64_t& unpacked);

    bool isUsed_ = false;
    bool isShortOfMemory_ = false;
    bool isReversed_ = false;      // the bits of the file's bytes
    bool isSwapped_ = false;       // the bytes of the file's samples
    bool hasDifferences_ = false;  // instead of samples
    Rows rows_ = Rows::kAsStored;  // rows of the stream against those that libtiff returns
    std::size_t sampleBytes_ = 1;
    std::size_t pixelSamples_ = 1;
    std::uint32_t sum_ = 1;
    dib::MallocPtr<unsigned char> row_;  // as the stream holds it
    std::unique_ptr<libdeflate_decompressor, Free> decompressor_;
    dib::MallocPtr<unsigned char> packed_;
    std::size_t packedRoom_ = 0;
};

}  // namespace formats

#endif

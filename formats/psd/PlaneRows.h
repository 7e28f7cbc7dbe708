// The rows of a plane, whatever packs them. The planes of a picture are read side by side, so that each pixel
// is written once and whole.
#ifndef FORMATS_PSD_PLANE_ROWS_H
#define FORMATS_PSD_PLANE_ROWS_H

#include <cstddef>
#include <cstdint>
#include <span>

#include "formats/Inflater.h"
#include "formats/psd/Outline.h"
#include "formats/psd/PlaneWindow.h"

namespace formats::psd {

enum class Packing : std::uint16_t { kRaw = 0, kPackBits = 1, kZip = 2, kZipPredicted = 3 };
constexpr std::uint32_t kLastPacking = 3;
constexpr bool isZip(Packing packing) {
    return packing == Packing::kZip || packing == Packing::kZipPredicted;
}

// A block of picture data: a packing word, then planes of one size. Those of a zlib stream follow each other
// in it, or have one each.
struct PlaneBlock {
    Packing packing = Packing::kRaw;
    Extent data;  // after the packing
    std::int64_t planes = 1;
    std::int64_t rows = 0;
    std::size_t rowBytes = 0;  // of an unpacked row
    int depth = 8;
    bool isLarge = false;  // packed lengths have 4 bytes instead of 2

    // The fewest bytes that so many of its planes can take; 0 when nothing can be said.
    std::uint64_t fewestBytes(std::size_t shown) const;
};

class PlaneRows {
public:
    // The next row, valid until the next call; null when it is damaged or missing, and from then on.
    const unsigned char* next(ByteReader& file);
    // Why the rows ended.
    bool isShortOfMemory() const { return inflater_.isShortOfMemory(); }

private:
    friend bool openPlanes(ByteReader& file, const PlaneBlock& block, std::span<PlaneRows> planes);

    bool open(ByteReader& file, const PlaneBlock& block, std::int64_t plane, std::int64_t& start);
    bool openPacked(ByteReader& file, std::int64_t plane, std::int64_t& start);
    bool openZip(std::int64_t plane);
    std::size_t packedBytes(std::int64_t row) const;
    const unsigned char* read(ByteReader& file);
    const unsigned char* unpackedRow(ByteReader& file);
    const unsigned char* inflatedRow(ByteReader& file);
    const unsigned char* undoPrediction();

    PlaneBlock block_;
    PlaneWindow window_;
    dib::MallocPtr<unsigned char> lengths_;  // big-endian, of packed rows
    dib::MallocPtr<unsigned char> line_;
    dib::MallocPtr<unsigned char> whole_;  // a row of floats, whose bytes were apart
    Inflater inflater_;
    std::int64_t row_ = 0;
    std::int64_t rowsBefore_ = 0;  // of the zlib stream, which belong to other planes
    bool isDamaged_ = false;
};

// Opens the first planes of a block. False when memory is short; planes that are not in the file have no
// rows.
bool openPlanes(ByteReader& file, const PlaneBlock& block, std::span<PlaneRows> planes);

}  // namespace formats::psd

#endif

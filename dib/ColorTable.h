// The colour table that follows a header: its length, and reading that never passes its end.
#ifndef DIB_COLOR_TABLE_H
#define DIB_COLOR_TABLE_H

#include <DibStream.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

namespace dib {

constexpr std::size_t kHeaderBytes = sizeof(BITMAPINFOHEADER);
constexpr std::size_t kEntryBytes = sizeof(DibBGRA);

// Entries that a depth can address; 0 above 8 bits.
constexpr std::size_t addressableEntries(int bitCount) {
    return bitCount >= 1 && bitCount <= 8 ? std::size_t{1} << bitCount : 0;
}

// Entries that the header announces: biClrUsed, or as many as the depth addresses when that is 0.
inline std::size_t announcedEntries(const BITMAPINFOHEADER& header) {
    return header.biClrUsed != 0 ? header.biClrUsed : addressableEntries(header.biBitCount);
}

// The announced entries that the depth can address.
inline std::size_t usableEntries(const BITMAPINFOHEADER& header) {
    return std::min(announcedEntries(header), addressableEntries(header.biBitCount));
}

// The longest info header that files have: its fifth version.
constexpr std::size_t kLongestHeaderBytes = 124;

// Where the table starts: after the header, whose length is `biSize`. Every block has 40 bytes, so smaller
// values count as 40.
inline std::size_t tableOffset(const BITMAPINFOHEADER& header) {
    return std::max<std::size_t>(header.biSize, kHeaderBytes);
}

// Whether the size of the header block, with its announced entries, fits in a signed 32-bit number like every
// other size of an image. Larger announcements are damage.
inline bool announcesPossibleTable(const BITMAPINFOHEADER& header) {
    const std::size_t offset = tableOffset(header);
    return offset <= INT32_MAX && announcedEntries(header) <= (INT32_MAX - offset) / kEntryBytes;
}

// The first entry.
inline DibBGRA* colorTable(BITMAPINFOHEADER* header) {
    return reinterpret_cast<DibBGRA*>(reinterpret_cast<unsigned char*>(header) + tableOffset(*header));
}
inline const DibBGRA* colorTable(const BITMAPINFOHEADER* header) {
    return reinterpret_cast<const DibBGRA*>(reinterpret_cast<const unsigned char*>(header) +
                                            tableOffset(*header));
}

// A full table: the announced entries that the depth can address, black beyond them. Readers index this copy,
// so no pixel value reads outside the block.
std::array<DibBGRA, 256> readColorTable(const BITMAPINFOHEADER& header);

// Copies the usable entries of an image to the table of another one of the same depth, which holds as many as
// the depth can address.
void copyColorTable(const DibStream& from, DibStream& to);

// Writes the first `entries` entries of the grey ramp of the header's depth (1, 4 or 8 bits) into its table,
// which must hold them.
void writeGreyEntries(BITMAPINFOHEADER& header, std::size_t entries);

// Makes sure that the header block of an image holds at least `entries` table entries after a 40-byte header:
// a block that announces fewer is replaced by a larger one that the image owns, with the new entries zero.
// `biClrUsed` stays. Returns false, with nothing changed, when memory is short.
bool ensureColorTable(DibStream& image, std::size_t entries);

}  // namespace dib

#endif

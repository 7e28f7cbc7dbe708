#include "operations/pixels/Fill.h"

#include <optional>

#include "dib/ColorTable.h"
#include "operations/pixels/Pixels.h"

namespace operations {

namespace {

// The entry that is exactly a colour.
std::optional<std::uint32_t> entryOf(const BITMAPINFOHEADER& header, const DibBGRA& color) {
    const auto table = dib::readColorTable(header);
    const std::size_t entries = dib::usableEntries(header);
    for (std::uint32_t i = 0; i < entries; ++i) {
        if (table[i].blue == color.blue && table[i].green == color.green && table[i].red == color.red)
            return i;
    }
    return std::nullopt;
}

std::uint32_t wordOf(const DibBGRA& color) {
    return color.blue | std::uint32_t{color.green} << 8 | std::uint32_t{color.red} << 16 |
           std::uint32_t{color.alpha} << 24;
}

// Appends an entry to a table that has room for it.
std::uint32_t addEntry(DibStream& image, const DibBGRA& color) {
    const std::size_t entries = dib::usableEntries(*image.Header);
    if (!dib::ensureColorTable(image, entries + 1)) throw Refusal{DIB_ERROR_MEMORY, kNoMemory};
    dib::colorTable(image.Header)[entries] = {color.blue, color.green, color.red, 0};
    image.Header->biClrUsed = dib::dwordOf(entries + 1);
    return dib::dwordOf(entries);
}

}  // namespace

std::uint32_t widenedFill(const Job& job, const DibBGRA& color) {
    const BITMAPINFOHEADER& header = *job.image.Header;
    const bool isOpaque = color.alpha == 255;
    if (isOpaque && header.biBitCount <= 8) {
        if (const std::optional<std::uint32_t> entry = entryOf(header, color)) return *entry;
    }
    widen(job, isOpaque ? 24 : 32);
    return wordOf(color);
}

std::uint32_t paletteFill(const Job& job, const DibBGRA& color) {
    const BITMAPINFOHEADER& header = *job.image.Header;
    const bool hasRoom = dib::usableEntries(header) < dib::addressableEntries(header.biBitCount);
    if (hasRoom && color.alpha == 255 && !entryOf(header, color)) return addEntry(job.image, color);
    return widenedFill(job, color);
}

}  // namespace operations

#include "dib/ColorTable.h"
#include "dib/Bytes.h"

#include <algorithm>
#include <cstring>

#include "dib/Memory.h"

namespace dib {

std::array<DibBGRA, 256> readColorTable(const BITMAPINFOHEADER& header) {
    std::array<DibBGRA, 256> table{};
    const std::size_t entries = usableEntries(header);
    if (entries > 0) std::memcpy(table.data(), colorTable(&header), entries * kEntryBytes);
    return table;
}

void copyColorTable(const DibStream& from, DibStream& to) {
    const std::size_t entries = usableEntries(*from.Header);
    std::memcpy(colorTable(to.Header), colorTable(from.Header), entries * kEntryBytes);
    to.Header->biClrUsed = from.Header->biClrUsed == 0 ? 0 : static_cast<std::uint32_t>(entries);
}

void writeGreyEntries(BITMAPINFOHEADER& header, std::size_t entries) {
    const std::size_t brightest = addressableEntries(header.biBitCount) - 1;
    DibBGRA* table = colorTable(&header);
    for (std::size_t i = 0; i < entries; ++i) {
        const auto grey = byteOf(i * 255 / brightest);
        table[i] = {grey, grey, grey, 0};
    }
}

bool ensureColorTable(DibStream& image, std::size_t entries) {
    const BITMAPINFOHEADER& header = *image.Header;
    const std::size_t announced = announcedEntries(header);
    if (announced >= entries) return true;

    auto block = allocateZeroed<unsigned char>(kHeaderBytes + entries * kEntryBytes);
    if (block == nullptr) return false;
    std::memcpy(block.get(), &header, kHeaderBytes);
    std::memcpy(block.get() + kHeaderBytes, colorTable(&header), announced * kEntryBytes);
    image.HeaderFree();
    image.Header = reinterpret_cast<BITMAPINFOHEADER*>(block.release());
    image.Header->biSize = kHeaderBytes;
    image.HeaderOwner = kOwned;
    return true;
}

}  // namespace dib

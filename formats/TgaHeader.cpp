#include "formats/TgaHeader.h"

#include "dib/Bytes.h"

namespace formats {

TgaHeader TgaHeader::parse(const unsigned char* bytes) {
    TgaHeader header;
    header.idBytes = bytes[0];
    header.colorMapType = bytes[1];
    header.imageType = bytes[2];
    header.mapFirst = dib::readLe16(bytes + 3);
    header.mapEntries = static_cast<std::int16_t>(dib::readLe16(bytes + 5));
    header.mapEntryBits = bytes[7];
    header.width = static_cast<std::int16_t>(dib::readLe16(bytes + 12));
    header.height = static_cast<std::int16_t>(dib::readLe16(bytes + 14));
    header.bitCount = bytes[16];
    header.descriptor = bytes[17];
    return header;
}

std::array<unsigned char, TgaHeader::kBytes> TgaHeader::bytes() const {
    std::array<unsigned char, kBytes> bytes{};
    bytes[0] = static_cast<unsigned char>(idBytes);
    bytes[1] = static_cast<unsigned char>(colorMapType);
    bytes[2] = static_cast<unsigned char>(imageType);
    dib::writeLe16(&bytes[3], mapFirst);
    dib::writeLe16(&bytes[5], static_cast<std::uint16_t>(mapEntries));
    bytes[7] = static_cast<unsigned char>(mapEntryBits);
    dib::writeLe16(&bytes[12], static_cast<std::uint16_t>(width));
    dib::writeLe16(&bytes[14], static_cast<std::uint16_t>(height));
    bytes[16] = static_cast<unsigned char>(bitCount);
    bytes[17] = static_cast<unsigned char>(descriptor);
    return bytes;
}

}  // namespace formats

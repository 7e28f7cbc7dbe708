#include "formats/TgaHeader.h"

#include "dib/Bytes.h"

namespace formats {

TgaHeader TgaHeader::parse(const unsigned char* bytes) {
    TgaHeader header;
    header.idBytes = bytes[0];
    header.colorMapType = bytes[1];
    header.imageType = bytes[2];
    header.mapFirst = dib::readLe16(bytes + 3);
    header.mapEntries = dib::readLeSigned16(bytes + 5);
    header.mapEntryBits = bytes[7];
    header.width = dib::readLeSigned16(bytes + 12);
    header.height = dib::readLeSigned16(bytes + 14);
    header.bitCount = bytes[16];
    header.descriptor = bytes[17];
    return header;
}

std::array<unsigned char, TgaHeader::kBytes> TgaHeader::bytes() const {
    std::array<unsigned char, kBytes> bytes{};
    bytes[0] = dib::byteOf(idBytes);
    bytes[1] = dib::byteOf(colorMapType);
    bytes[2] = dib::byteOf(imageType);
    dib::writeLe16(&bytes[3], mapFirst);
    dib::writeLe16(&bytes[5], mapEntries);
    bytes[7] = dib::byteOf(mapEntryBits);
    dib::writeLe16(&bytes[12], width);
    dib::writeLe16(&bytes[14], height);
    bytes[16] = dib::byteOf(bitCount);
    bytes[17] = dib::byteOf(descriptor);
    return bytes;
}

}  // namespace formats

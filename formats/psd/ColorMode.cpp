// The colour-mode data of a PSD document: a palette of 768 bytes, or something that no reader here needs.
#include "dib/ColorTable.h"
#include "formats/psd/Document.h"

namespace formats::psd {

bool readColorMode(Document& document) {
    std::uint32_t length = 0;
    if (!document.report() || !document.file.readNumber(length)) return false;
    constexpr std::uint32_t kPaletteBytes = 768;
    if (length != kPaletteBytes) {
        document.file.seek(document.file.position() + length);
        return true;
    }
    // 256 reds, then the greens, then the blues. Grey documents may have a palette, too.
    unsigned char planes[kPaletteBytes];
    if (!document.file.read(planes, sizeof planes)) return false;
    BITMAPINFOHEADER* header = document.target != nullptr ? document.target->Header : nullptr;
    if (header == nullptr || header->biBitCount != 8 || dib::announcedEntries(*header) < 256) return true;
    DibBGRA* table = dib::colorTable(header);
    for (int i = 0; i < 256; ++i) table[i] = {planes[512 + i], planes[256 + i], planes[i], 0};
    return true;
}

}  // namespace formats::psd

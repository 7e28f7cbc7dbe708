// What the headers, the footer and the colour map of a TGA file say of its picture.
#ifndef FORMATS_TGA_PICTURE_H
#define FORMATS_TGA_PICTURE_H

#include <DibStream.h>

#include <cstddef>
#include <cstdint>
#include <vector>

#include "dib/Numbers.h"
#include "formats/ChannelMasks.h"
#include "formats/TgaHeader.h"
#include "formats/door/Request.h"

namespace formats {

constexpr ChannelMasks kTgaWordsWithAlpha = {0x7C00, 0x03E0, 0x001F, 0x8000};

// How stored pixels become those of the image.
enum class TgaChange { kNone, kOpaque, kWords, kGreyAndAlpha, kGreyOnly, kLookUp };

struct TgaPicture {
    TgaHeader header;
    int width = 0;
    int height = 0;
    std::size_t pixelBytes = 0;  // stored
    bool isPacked = false;
    bool isMapped = false;
    bool isGrey = false;
    bool hasAlpha = false;
    bool isPremultiplied = false;
    bool hasTexts = false;
    int bitCount = 0;  // of the image
    TgaChange change = TgaChange::kNone;
    std::vector<DibBGRA> map;  // by index: 256 or 65536 colours, black where the file has no entry
    std::size_t entries = 0;
    std::int64_t thumbnail = 0;  // where a small copy of the picture begins; 0: there is none

    // Level 1 is the thumbnail.
    int levels() const { return thumbnail > 0 ? 2 : 1; }
    std::size_t rowBytes() const {
        const auto pixels = dib::asSize(width);
        return header.bitCount == 1 ? (pixels + 7) / 8 : pixels * pixelBytes;
    }
    bool dividesByAlpha() const { return isPremultiplied && hasAlpha && bitCount == 32; }
    // Whether rows are stored as the image holds them, but for alpha that is ignored.
    bool isPlain() const {
        const bool isLaidOut = change == TgaChange::kNone || change == TgaChange::kOpaque;
        return !isPacked && !header.isRightToLeft() && isLaidOut && !dividesByAlpha();
    }
};

// Leaves the file at the first pixel of the level that the options choose. False with a code and a reason.
bool readTgaPicture(ByteReader& file, TgaPicture& picture, const DibLoadOptions& options,
                    DibFileResult& result);

}  // namespace formats

#endif

// What the chunks of an ILBM file say of its picture, for the functions of DibFile.h.
#ifndef FORMATS_ILBM_FORM_H
#define FORMATS_ILBM_FORM_H

#include <DibFile.h>

#include <array>
#include <cstdint>

#include "formats/ByteReader.h"
#include "formats/IlbmLayout.h"
#include "formats/IlbmRows.h"

namespace formats {

constexpr std::array<unsigned char, 3> kEightPlanesEach = {8, 8, 8};

struct IlbmForm {
    BitmapHeader header;
    std::uint32_t viewMode = 0;  // of the screen that the picture was made for
    std::size_t colorCount = 0;  // that the file has
    IlbmColors colors{};         // of the picture
    std::array<unsigned char, 3> channelPlanes = kEightPlanesEach;  // of red, green and blue
    int xResolution = 0;                                            // pixels per inch
    int yResolution = 0;
    bool hasTexts = false;
    std::int64_t body = 0;  // the position of the rows
    IlbmPixels pixels = IlbmPixels::kBits;
    IlbmAlpha alpha = IlbmAlpha::kNone;

    int imageBits() const { return alpha != IlbmAlpha::kNone ? 32 : bitCountOf(pixels); }
    bool hasAlpha() const { return alpha != IlbmAlpha::kNone || pixels == IlbmPixels::kColorsAndAlpha; }
};

// Reads the chunks up to the rows. False with the reason in the result.
bool readIlbmForm(ByteReader& file, const DibLoadOptions& options, IlbmForm& form, DibFileResult& result);

}  // namespace formats

#endif

// What a document says about itself, without its pixels: what its header and resources hold, what its
// layers are, and where their planes lie in the file. Documents of both versions; the lengths of large ones
// have more bytes.
#ifndef FORMATS_PSD_OUTLINE_H
#define FORMATS_PSD_OUTLINE_H

#include <cstdint>
#include <string>
#include <vector>

#include "formats/diagnosis/RefusedFile.h"

namespace formats::psd {

enum ColorMode {
    kBitmap = 0,
    kGrey = 1,
    kIndexed = 2,
    kRgb = 3,
    kCmyk = 4,
    kMultichannel = 7,
    kDuotone = 8,
    kLab = 9,
};

// Ids of a layer's channels that are not colours.
enum ChannelId { kTransparency = -1, kMask = -2, kSecondMask = -3 };

struct Rectangle {
    std::int32_t top = 0;
    std::int32_t left = 0;
    std::int32_t bottom = 0;
    std::int32_t right = 0;
    std::int64_t width() const { return std::int64_t{right} - left; }
    std::int64_t height() const { return std::int64_t{bottom} - top; }
    bool isEmpty() const { return right <= left || bottom <= top; }
};

// Bytes of the file.
struct Extent {
    std::int64_t start = 0;
    std::int64_t end = 0;
};

struct ChannelRecord {
    int id = 0;
    Extent data;
};

struct MaskRecord {
    bool exists = false;
    Rectangle rectangle;
    std::uint8_t outside = 0;  // value outside the rectangle
    std::uint8_t flags = 0;
};

struct LayerRecord {
    Rectangle rectangle;
    std::vector<ChannelRecord> channels;
    std::uint32_t blendKey = 0;  // four letters
    std::uint8_t opacity = 0;
    std::uint8_t clipping = 0;
    std::uint8_t flags = 0;
    MaskRecord masks[2];
    std::uint32_t divider = 0;  // 1 and 2 end a group from above, 3 from below
    std::string name;           // UTF-8

    const ChannelRecord* channel(int id) const;
};

struct Outline {
    bool isLarge = false;
    int channels = 0;
    std::int64_t width = 0;
    std::int64_t height = 0;
    int depth = 0;
    int mode = 0;
    Extent palette;
    double xResolution = 0;  // pixels per inch
    double yResolution = 0;
    Extent profile;  // resources that are metadata; empty where there are none
    Extent exif;
    Extent xmp;
    bool hasIptc = false;
    bool hasMergedPicture = true;  // false when the document says that it has none
    Extent layers;                 // from the number of layers on
    int layerCount = 0;
    bool hasTransparency = false;  // the first channel after the colours is that of the merged picture
    bool isMatted = false;         // its colours are mixed with white where it is transparent
    std::int64_t picture = 0;      // where the merged picture begins

    // How many planes of the merged picture are colours, as this library shows them.
    int colors() const;
    const char* modeName() const;
    // Bits of a pixel of the merged picture.
    int bitCount() const;
};

// Why the document cannot be read at all; empty when nothing in its header speaks against it.
Problem headerProblem(const RefusedFile& file);
// Everything but the layers' records. The header must have no problem.
Outline outlineOf(const RefusedFile& file);
// The records, from the lowest layer on; fewer than announced when the file ends before. May throw
// std::bad_alloc.
std::vector<LayerRecord> layersOf(const RefusedFile& file, const Outline& outline);

}  // namespace formats::psd

#endif

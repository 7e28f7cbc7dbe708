// The decoders and encoders of the three file formats.
#ifndef FORMATS_LINUX_IMAGE_FILES_H
#define FORMATS_LINUX_IMAGE_FILES_H

#include <cstddef>
#include <memory>

#include "dib/Bytes.h"
#include "dib/Numbers.h"
#include "formats/ByteReader.h"
#include "formats/ByteWriter.h"
#include "formats/PlatformImages.h"
#include "formats/door/Request.h"

namespace formats {

// Where classic loads and those of the door differ.
struct Dialect {
    bool keepsIndices;  // pixels of 1, 2 and 4 bits keep 1 or 4 bits and their palette; else they become 8
    bool keepsOpaqueTable;      // a palette whose colours are all opaque stays one, else becomes 32 bits
    bool turnsRows;             // by the tag of a TIFF file; else the door does
    bool readsMetadata;         // resolution, orientation, profile and EXIF block
    bool showsFloatsAsTheyAre;  // 0 to 1 become 0 to 255 in proportion; else by a light curve
    bool keepsInkBits;          // wide inks keep their bits until they are colours; else 8
    bool unpacksJpeg;  // JPEG pieces of TIFF files come as rows; else the library converts the picture
    bool refusesBrokenPixels;  // invalid codes in JPEG data are damage; else they are shown as decoded
};
constexpr Dialect kClassic = {.keepsIndices = false,
                              .keepsOpaqueTable = false,
                              .turnsRows = true,
                              .readsMetadata = false,
                              .showsFloatsAsTheyAre = false,
                              .keepsInkBits = false,
                              .unpacksJpeg = false,
                              .refusesBrokenPixels = false};
constexpr Dialect kWide = {.keepsIndices = true,
                           .keepsOpaqueTable = true,
                           .turnsRows = false,
                           .readsMetadata = true,
                           .showsFloatsAsTheyAre = true,
                           .keepsInkBits = true,
                           .unpacksJpeg = true,
                           .refusesBrokenPixels = true};

// Noted where all pixels are there.
constexpr char kNoEndMark[] = "the file ends without its end mark; all rows were read";

struct DecoderOptions {
    Dialect dialect = kClassic;
    int page = 0;
    bool keepsDamaged = false;      // reads what it can, and `damage` says what was wrong
    bool readsHeadersOnly = false;  // profiles and EXIF blocks are left out
    bool keepsPalette = false;      // with its alpha in the metadata
    int atLeastWidth = 0;           // DibLoadOptions: 0 and 0 decode the full size
    int atLeastHeight = 0;
    bool isTurned = false;         // the size is that after the door has turned the picture
    Progress* progress = nullptr;  // reports long steps before the first row
};

class FileDecoder : public BitmapDecoder {
public:
    // After `readLayout`: what is not in the layout, and the notes and metadata of a load. False when memory
    // is short.
    virtual bool describe(DibFileInfo& info, DibFileResult& result) = 0;
    // After the last row: what follows the pixels. False when memory is short.
    virtual bool finish(DibFileResult&) { return true; }
    // What is wrong with the pixels, also where all rows came; null when nothing is known.
    virtual const char* damage() const { return nullptr; }
    // Rows among those that came of which some pixels are missing.
    virtual std::size_t rowsLost() const { return 0; }
    virtual bool isShortOfMemory() const { return isShortOfMemory_; }

protected:
    bool isShortOfMemory_ = false;
};

// Writes pixels of 2 bits as pixels of 4, of which `bytes` bytes are wanted.
inline void widenPairs(const unsigned char* from, unsigned char* to, std::size_t bytes) {
    for (std::size_t i = 0; i < bytes; ++i) {
        const unsigned two = i % 2 == 0 ? from[i / 2] >> 4 : from[i / 2] & 15U;
        to[i] = dib::byteOf((two >> 2) << 4 | (two & 3));
    }
}

// Each takes the file at its start; null when memory is short.
std::unique_ptr<FileDecoder> openJpeg(ByteReader& file, const DecoderOptions& options);
std::unique_ptr<FileDecoder> openPng(ByteReader& file, const DecoderOptions& options);
std::unique_ptr<FileDecoder> openTiff(ByteReader& file, const DecoderOptions& options);

// Red, green, blue, alpha bytes without fill, top row first: what the classic savers write.
struct RgbaPicture {
    const unsigned char* pixels;
    int width;
    int height;

    const unsigned char* row(int y) const { return pixels + dib::asSize(y) * dib::asSize(width) * 4; }
};

// False when the picture cannot be encoded.
bool writeClassicJpeg(ByteWriter& file, const RgbaPicture& picture);
bool writeClassicPng(ByteWriter& file, const RgbaPicture& picture);
bool writeClassicTiff(ByteWriter& file, const RgbaPicture& picture);

// Bytes of an EXIF block that fit in a JPEG file.
constexpr std::size_t kMostJpegExif = 65527;
// The same for an XMP packet and a comment.
constexpr std::size_t kMostJpegXmp = 65504;
constexpr std::size_t kMostJpegComment = 65533;

bool writeJpeg(WriteRequest& request);
bool writePng(WriteRequest& request);
bool writeTiff(WriteRequest& request);

bool lossesJpeg(LossRequest& request);
bool lossesPng(LossRequest& request);
bool lossesTiff(LossRequest& request);

}  // namespace formats

#endif

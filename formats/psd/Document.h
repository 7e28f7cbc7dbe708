// One load of a PSD document: what its five sections share, and the sections in file order.
#ifndef FORMATS_PSD_DOCUMENT_H
#define FORMATS_PSD_DOCUMENT_H

#include <DibPSDLoader.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <span>
#include <vector>

#include "formats/door/Progress.h"
#include "formats/psd/Reader.h"

namespace formats::psd {

enum ColorMode { kBitmap = 0, kGrey = 1, kIndexed = 2, kRgb = 3, kCmyk = 4 };

// Whether a colour mode can be read with so many bits per channel.
constexpr bool isVariant(int mode, int depth) {
    switch (mode) {
        case kBitmap: return depth == 1;
        case kIndexed: return depth == 8;
        case kGrey:
        case kRgb:
        case kCmyk: return depth == 8 || depth == 16 || depth == 32;
        default: return false;
    }
}

// What the functions of DibFile.h ask of a load. Their callers see no picture before it is finished.
struct Wide {
    Progress& progress;
    bool hasAlpha;  // the channel behind the colours is the transparency of the merged picture
    int layer;      // the only one to be read; negative: the merged picture
};

// Where the pixels of a picture could not be read.
struct Damage {
    std::size_t channel = 0;
    std::int64_t row = -1;  // negative: nowhere
};

// Lives while `DibPSDLoader::Load` runs and works on the loader's fields.
class Document {
public:
    using Header = DibPSDLoader::FileHeader;

    // `stream` is what the steps of a load see as their file; `wide` is null for classic loads.
    Document(DibPSDLoader& loader, ByteReader& source, std::FILE* stream, const Wide* wide = nullptr);
    ~Document();
    Document(const Document&) = delete;
    Document& operator=(const Document&) = delete;

    // Reads all sections.
    bool load();
    // Reads the sections up to the layers, but no picture of the document's size.
    bool loadLayers();

    // Reports the position; false when the callback cancels, or empties or replaces the target.
    bool report();
    // Reports a part of the merged picture to the caller of a wide load.
    bool reportPart(std::int64_t done, std::int64_t total);
    // Writes to the log, if there is one.
    __attribute__((format(printf, 2, 3))) void log(const char* format, ...) const;
    bool hasLog() const { return loader_.log_ != nullptr; }
    // Stores a code in the target, if there is one.
    void setError(DibErrorCode code);
    bool wantsLayers() const { return loader_.enableLayer_; }
    bool wantsMasks() const { return loader_.enableMask_; }
    bool wantsPixels(std::size_t layer) const {
        return wide == nullptr || static_cast<std::size_t>(wide->layer) == layer;
    }
    // How samples are stored: greys of pictures with alpha go into red.
    int storedMode(const DibStream* image) const;

    Reader file;
    const Wide* const wide;
    Damage damage;
    bool isShortOfMemory = false;  // classic loads leave the code as it is then
    bool failForMemory() {
        isShortOfMemory = true;
        return false;
    }
    // Whether a callback can see the target before it is finished.
    const bool isWatched;
    // A callback may call the steps of a load, but not read the layers while they are being read.
    bool isReadingLayers = false;

    Header& header;
    DibStream*& target;
    std::vector<PSDLayerInfo>& layers;
    std::vector<PSDLayerImage>& layerImages;

private:
    bool createTarget();
    int targetBits() const;

    DibPSDLoader& loader_;
};

// The sections. Each is false when it cannot be read or the callback cancels.

bool readHeader(Document& document);
bool readColorMode(Document& document);
bool readResources(Document& document);
bool readLayers(Document& document);
// Reads the merged picture into the target.
bool readMergedPicture(Document& document);

// Parts of sections.

// Reads picture data, one channel per id, into `image` (null drops them). Masks become pictures of their own
// at the end of `masks`, if that is given.
bool readImageData(Document& document, DibStream* image, std::vector<DibStream*>* masks,
                   std::span<const PSD_CHANNEL_ID> ids);
// Decodes a PackBits row of `count` bytes from `packedBytes` bytes of the file.
bool readPackBitsRow(Document& document, unsigned char* out, std::int64_t count, std::int64_t packedBytes);
// Reads a length byte and its text, padded together to a multiple of `unit` bytes (1 to 4). `out` is to be
// freed, also after a failure.
bool readText(Reader& file, char*& out, int unit);

}  // namespace formats::psd

#endif

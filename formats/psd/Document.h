// One load of a PSD document: what its five sections share, and the sections in file order.
#ifndef FORMATS_PSD_DOCUMENT_H
#define FORMATS_PSD_DOCUMENT_H

#include <DibPSDLoader.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <span>
#include <vector>

#include "formats/PrintfFormat.h"
#include "formats/psd/Outline.h"
#include "formats/psd/Reader.h"

namespace formats::psd {

// Whether classic loads read a colour mode with so many bits per channel.
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

// Lives while `DibPSDLoader::Load` runs and works on the loader's fields.
class Document {
public:
    using Header = DibPSDLoader::FileHeader;

    // `source` reads `stream`.
    Document(DibPSDLoader& loader, ByteReader& source, std::FILE* stream);
    ~Document();
    Document(const Document&) = delete;
    Document& operator=(const Document&) = delete;

    // Reads all sections.
    bool load();

    // Reports the position; false when the callback cancels, or empties or replaces the target.
    bool report();
    // Writes to the log, if there is one.
    __attribute__((format(DIB_PRINTF, 2, 3))) void log(const char* format, ...) const;
    bool hasLog() const { return loader_.log_ != nullptr; }
    // Stores a code in the target, if there is one.
    void setError(DibErrorCode code);
    bool wantsLayers() const { return loader_.enableLayer_; }
    bool wantsMasks() const { return loader_.enableMask_; }

    Reader file;
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

// Files of libtiff on a reader or a writer.
#ifndef FORMATS_LINUX_TIFF_HANDLE_H
#define FORMATS_LINUX_TIFF_HANDLE_H

#include <tiffio.h>

#include <memory>

#include "formats/ByteReader.h"
#include "formats/linux/TiffTarget.h"

namespace formats {

struct CloseTiff {
    void operator()(TIFF* tiff) const { TIFFClose(tiff); }
};
using TiffPtr = std::unique_ptr<TIFF, CloseTiff>;

// A file as the library reads it, and what the library says of it.
struct TiffSource {
    ByteReader& file;
    unsigned complaints = 0;     // errors, and warnings of decoders that go on without the pixels
    bool isJpegBroken = false;   // its JPEG decoder warned
    bool isBeyondLimit = false;  // a piece is larger than the library may allocate
    bool isShortOfMemory = false;
};

// Both must outlive the result, which is null when the library refuses the file or memory is short.
TiffPtr readTiff(TiffSource& source);
// The order of bytes within numbers: "wl" from the lowest on, "wb" from the highest on.
TiffPtr writeTiff(TiffTarget& target, const char* mode = "wl");

// Pictures in a file, by the chain of its directories; as many as 65536 are counted.
int countTiffPages(ByteReader& file);

// The tags of a directory. The library refuses one when memory is short.
class TiffTagSetter {
public:
    explicit TiffTagSetter(TIFF* tiff) : tiff_(tiff) {}
    template <class... Values>
    void set(std::uint32_t tag, Values... values) {
        areSet_ = TIFFSetField(tiff_, tag, values...) == 1 && areSet_;
    }
    void setNumber(std::uint32_t tag, int number) { set(tag, static_cast<std::uint32_t>(number)); }
    bool areSet() const { return areSet_; }

private:
    TIFF* tiff_;
    bool areSet_ = true;
};

}  // namespace formats

#endif

// What PNG files say beside the picture: texts, which are kept, and chunks that are left out, which are
// noted.
#ifndef FORMATS_LINUX_PNG_EXTRAS_H
#define FORMATS_LINUX_PNG_EXTRAS_H

#include <DibFile.h>
#include <png.h>

#include <string_view>

#include "formats/ByteWriter.h"

namespace formats {

// The chunks that nobody reads.
class LeftOutChunks {
public:
    // From now on `png` reports them here.
    void watch(png_structp png);
    // Notes those that came since the last call. Where the file has a profile, it says what colours are.
    void note(bool hasProfile, DibFileResult& result);

private:
    static int add(png_structp png, png_unknown_chunkp chunk);
    void add(std::string_view name, const unsigned char* data, std::size_t size);

    static constexpr std::size_t kMostNames = 8;
    bool hasGamma_ = false;
    bool hasPrimaries_ = false;
    bool isStandard_ = false;  // the chunk says that colours are sRGB
    bool isAnimated_ = false;
    char names_[kMostNames * 5 + 1] = "";  // of all others, each after a space
};

// Stores the texts that have been read. They may throw std::bad_alloc.
void keepPngTexts(png_structp png, png_infop info, DibMetadata& metadata);
void writePngTexts(ByteWriter& file, const DibMetadata& metadata);
// Whether a file can have a text of that keyword.
bool isPngKeyword(std::string_view keyword);

}  // namespace formats

#endif

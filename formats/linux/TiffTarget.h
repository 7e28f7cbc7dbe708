// A file as libtiff writes it. The library puts the directory after the pixels, where a cut loses it and
// with it all pixels. Here it comes first, in room that is left for it.
#ifndef FORMATS_LINUX_TIFF_TARGET_H
#define FORMATS_LINUX_TIFF_TARGET_H

#include <cstddef>
#include <cstdint>

#include "formats/ByteWriter.h"

namespace formats {

class TiffTarget {
public:
    explicit TiffTarget(ByteWriter& file) : file_(file) {}
    TiffTarget(const TiffTarget&) = delete;
    TiffTarget& operator=(const TiffTarget&) = delete;

    // Before the first pixel: leaves room for a directory with all that it points to.
    void leaveRoom(std::size_t bytes);
    // After the last pixel: what the library writes from here on is the directory.
    void beginDirectory();
    // Puts the directory, which is complete, in its room. One that is too long stays after the pixels.
    // False when memory was short.
    bool endDirectory(bool isLittle);

    // The library calls these.
    std::size_t write(const void* from, std::size_t bytes);
    bool seek(std::int64_t position);
    std::int64_t position() const;
    std::int64_t size();

private:
    ByteWriter& file_;
    std::int64_t room_ = 0;  // where it is
    std::size_t roomBytes_ = 0;
    DibBytes directory_;
    ByteWriter directoryWriter_{directory_};
    bool isDirectory_ = false;  // the library writes it
    std::int64_t end_ = 0;      // of the pixels, where the library writes the directory
    std::int64_t at_ = 0;       // where it writes next
};

}  // namespace formats

#endif

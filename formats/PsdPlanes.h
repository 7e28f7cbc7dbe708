// The planes of a picture of 8 bits per channel, row by row together: each pixel is written once and whole
// instead of once per channel.
#ifndef FORMATS_PSD_PLANES_H
#define FORMATS_PSD_PLANES_H

#include <DibStream.h>

#include <array>
#include <cstddef>
#include <cstdint>

#include "dib/Memory.h"
#include "formats/PsdReader.h"

namespace formats {

class PsdPlanes {
public:
    // The reader stands at the first row of the first plane. `channels` is 1 (into 8 bits), 3 (red, green, blue
    // into 24 bits) or 4 (with alpha into 32 bits). `packedLengths` is the table of big-endian packed lengths; null
    // for raw rows.
    PsdPlanes(PsdReader& reader, DibStream& image, std::size_t channels, const unsigned char* packedLengths);

    // Whether the file holds all planes and there is memory to read them side by side.
    bool prepare();
    // Stores all rows; the bytes behind each become 0xFF. False when one does not unpack.
    bool storeRows();

    // The end of the last plane.
    std::int64_t end() const { return starts_[channels_]; }

private:
    // A part of one plane's bytes in the file.
    struct Window {
        dib::MallocPtr<unsigned char> bytes;
        std::size_t next = 0;
        std::size_t filled = 0;
        std::int64_t filePosition = 0;  // of the byte behind the window
    };

    bool isOnlyRawPlane() const { return channels_ == 1 && packedLengths_ == nullptr; }
    std::size_t packedBytes(std::size_t channel, std::size_t row) const;
    // A row of one plane as the file has it; null when it cannot be read.
    const unsigned char* bytesOf(std::size_t channel, std::size_t row);
    // The same unpacked; null also when that fails.
    const unsigned char* rowOf(std::size_t channel, std::size_t row);
    bool storeOnlyPlane();
    bool slide(Window& window, std::size_t channel, std::size_t wanted);

    PsdReader& reader_;
    DibStream& image_;
    std::size_t channels_;
    const unsigned char* packedLengths_;
    std::size_t width_;
    std::size_t rows_;
    std::size_t windowBytes_ = 0;
    std::array<std::int64_t, 5> starts_{};
    std::array<Window, 4> windows_;
    std::array<dib::MallocPtr<unsigned char>, 4> lines_;
};

}  // namespace formats

#endif

// The decoders and encoders of the three file formats, each on an open file.
#ifndef FORMATS_LINUX_IMAGE_FILES_H
#define FORMATS_LINUX_IMAGE_FILES_H

#include <cstddef>
#include <cstdio>
#include <memory>

#include "dib/File.h"
#include "formats/PlatformImages.h"

namespace formats {

// Each takes the file at its start; null when memory is short.
std::unique_ptr<BitmapDecoder> openJpeg(dib::FilePtr file);
std::unique_ptr<BitmapDecoder> openPng(dib::FilePtr file);
std::unique_ptr<BitmapDecoder> openTiff(dib::FilePtr file);

// Red, green, blue, alpha bytes without fill, top row first.
struct RgbaPicture {
    const unsigned char* pixels;
    int width;
    int height;

    const unsigned char* row(int y) const {
        return pixels + static_cast<std::size_t>(y) * static_cast<std::size_t>(width) * 4;
    }
};

// False when something could not be written.
bool writeJpeg(std::FILE* file, const RgbaPicture& picture);
bool writePng(std::FILE* file, const RgbaPicture& picture);
bool writeTiff(std::FILE* file, const RgbaPicture& picture);

}  // namespace formats

#endif

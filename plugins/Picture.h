// The picture that a plug-in makes: a header block and a pixel block, both from malloc, for the caller to
// free.
#ifndef PLUGINS_PICTURE_H
#define PLUGINS_PICTURE_H

#include <DibStream.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>

#include "dib/ColorTable.h"
#include "dib/ImageSize.h"
#include "dib/Memory.h"

namespace plugins {

class Picture {
public:
    static constexpr int kGrey = 8;
    static constexpr int kColor = 32;

    // Makes a bottom-up picture of zeroes; an 8-bit one has a table of greys. False, and nothing is asked of
    // the system, for sizes that the library would refuse.
    bool create(std::int64_t width, std::int64_t height, int bitCount) {
        if (width < 1 || height < 1 || height > INT32_MAX) return false;
        const dib::ImageSize size = dib::admitSize(width, static_cast<std::int32_t>(height), bitCount);
        if (!size.admitted) return false;
        const std::size_t entries = dib::addressableEntries(bitCount);
        const std::size_t headerBytes = sizeof(BITMAPINFOHEADER) + entries * 4;
        pitch_ = size.rowBytes;
        header_.reset(static_cast<BITMAPINFOHEADER*>(std::calloc(1, headerBytes)));
        if (header_ == nullptr) return false;
        buffer_.reset(static_cast<unsigned char*>(std::calloc(size.rows, pitch_)));
        if (buffer_ == nullptr) return false;
        header_->biSize = sizeof(BITMAPINFOHEADER);
        header_->biWidth = static_cast<std::int32_t>(width);
        header_->biHeight = static_cast<std::int32_t>(height);
        header_->biPlanes = 1;
        header_->biBitCount = static_cast<std::uint16_t>(bitCount);
        header_->biClrUsed = static_cast<std::uint32_t>(entries);
        header_->biSizeImage = static_cast<std::uint32_t>(size.imageBytes);
        auto* table = reinterpret_cast<unsigned char*>(header_.get() + 1);
        for (std::size_t i = 0; i < entries * 4; ++i) {
            if (i % 4 != 3) table[i] = static_cast<unsigned char>(i / 4);
        }
        return true;
    }

    // The first byte of row y, counted from the top.
    unsigned char* row(std::size_t y) {
        return buffer_.get() + (static_cast<std::size_t>(header_->biHeight) - 1 - y) * pitch_;
    }
    const BITMAPINFOHEADER& header() const { return *header_; }

    void release(BITMAPINFOHEADER** header, unsigned char** buffer) {
        *header = header_.release();
        *buffer = buffer_.release();
    }

private:
    std::unique_ptr<BITMAPINFOHEADER, dib::FreeDeleter> header_;
    std::unique_ptr<unsigned char, dib::FreeDeleter> buffer_;
    std::size_t pitch_ = 0;
};

}  // namespace plugins

#endif

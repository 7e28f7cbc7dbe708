// The picture that a plug-in makes: a header block and a pixel block, both from malloc, for the caller to
// free.
#ifndef PLUGINS_PICTURE_H
#define PLUGINS_PICTURE_H

#include <DibStream.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>

#include "dib/Bytes.h"
#include "dib/ColorTable.h"
#include "dib/ImageSize.h"
#include "dib/Memory.h"
#include "dib/Numbers.h"

namespace plugins {

class Picture {
public:
    static constexpr int kGrey = 8;
    static constexpr int kColor = 32;

    // Whether the library accepts such a size.
    static bool isPossible(std::int64_t width, std::int64_t height, int bitCount) {
        return width >= 1 && height >= 1 && height <= INT32_MAX &&
               dib::admitSize(width, dib::asInt(height), bitCount).admitted;
    }
    // Makes a bottom-up picture of zeroes; an 8-bit one has a table of greys. False when memory is short, and
    // without an allocation for sizes that the library would refuse.
    bool create(std::int64_t width, std::int64_t height, int bitCount) {
        if (!isPossible(width, height, bitCount)) return false;
        const dib::ImageSize size = dib::admitSize(width, dib::asInt(height), bitCount);
        const std::size_t entries = dib::addressableEntries(bitCount);
        const std::size_t headerBytes = dib::kHeaderBytes + entries * dib::kEntryBytes;
        size_ = size;
        header_.reset(static_cast<BITMAPINFOHEADER*>(std::calloc(1, headerBytes)));
        buffer_ = dib::allocateZeroed<unsigned char>(size.imageBytes);
        if (header_ == nullptr || buffer_ == nullptr) return false;
        header_->biSize = dib::kHeaderBytes;
        header_->biWidth = dib::asInt(width);
        header_->biHeight = dib::asInt(height);
        header_->biPlanes = 1;
        header_->biBitCount = dib::wordOf(bitCount);
        header_->biClrUsed = dib::dwordOf(entries);
        header_->biSizeImage = dib::dwordOf(size.imageBytes);
        DibBGRA* table = dib::colorTable(header_.get());
        for (std::size_t i = 0; i < entries; ++i) {
            const auto grey = dib::byteOf(i);
            table[i] = {grey, grey, grey, 0};
        }
        return true;
    }

    // How many rows from the top have been read, for readers that keep those of damaged files.
    std::size_t rowsRead = 0;

    // The first byte of row y, counted from the top.
    unsigned char* row(std::size_t y) { return buffer_.get() + (size_.rows - 1 - y) * size_.rowBytes; }
    const BITMAPINFOHEADER& header() const { return *header_; }
    std::size_t rows() const { return size_.rows; }
    std::size_t rowBytes() const { return size_.rowBytes; }
    // Replaces the greys by up to 256 entries; the others become 0.
    void usePalette(const DibBGRA* entries, std::size_t count) {
        header_->biClrUsed = dib::dwordOf(count);
        DibBGRA* table = dib::colorTable(header_.get());
        std::fill_n(std::copy_n(entries, count, table), dib::addressableEntries(kGrey) - count,
                    DibBGRA{0, 0, 0, 0});
    }

    void release(BITMAPINFOHEADER** header, unsigned char** buffer) {
        *header = header_.release();
        *buffer = buffer_.release();
    }

private:
    std::unique_ptr<BITMAPINFOHEADER, dib::FreeDeleter> header_;
    dib::MallocPtr<unsigned char> buffer_;
    dib::ImageSize size_;
};

}  // namespace plugins

#endif

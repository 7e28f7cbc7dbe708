// The image that a file announces, while its rows are read.
//
// A file of few bytes may announce a large picture, so no row is touched before it is read. Whatever ends a
// load, the rows that were not read are 0: from the start, where the file cannot hold them all, else at the
// end.
#ifndef FORMATS_NEW_IMAGE_H
#define FORMATS_NEW_IMAGE_H

#include <DibStream.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "dib/Numbers.h"
#include "formats/ByteReader.h"
#include "formats/door/Progress.h"

namespace formats {

class NewImage {
public:
    explicit NewImage(DibStream* image, Progress* progress = nullptr) : image_(image), progress_(progress) {}
    // Makes the rows 0 that were not read.
    ~NewImage() { clearUnread(); }
    NewImage(const NewImage&) = delete;
    NewImage& operator=(const NewImage&) = delete;

    // As `DibStream::Create`, but for pixels and fill bytes, which are undefined.
    bool create(int width, int height, int bitCount);
    // The same with pixels of 0 when fewer than `fewestBytes` follow in the file, which is the least that all
    // rows take; 0 when no row will be read.
    bool create(ByteReader& file, int width, int height, int bitCount, std::uint64_t fewestBytes);

    // Says that the pixels of `rows` rows have been read, and clears the fill after them. They start at
    // `first` in the pixel block; rows are read one after the other from either end of it. False when the
    // caller of a load that has a Progress cancels.
    bool read(unsigned char* first, std::size_t rows = 1) {
        const std::size_t bytes = rows * rowBytes_;
        // Only the last word of a row has fill.
        for (std::size_t end = rowBytes_; lastWord_ != UINT32_MAX && end <= bytes; end += rowBytes_) {
            std::uint32_t word;
            std::memcpy(&word, first + end - sizeof word, sizeof word);
            word &= lastWord_;
            std::memcpy(first + end - sizeof word, &word, sizeof word);
        }
        if (first == begin_) {
            begin_ += bytes;
        } else if (first + bytes == end_) {
            end_ -= bytes;
        }
        if (progress_ == nullptr) return true;
        rowsRead_ += rows;
        return progress_->rows(rowsRead_, dib::asSize(std::abs(std::int64_t{height_})));
    }
    // The same for one row of which the first `bytes` came; the others become 0.
    void readPart(unsigned char* row, std::size_t bytes);

    // Makes rows 0 that were read too far ahead: from `first` up to `end`, counted from the top.
    void clearRows(int first, int end);

    // Whether the image still has the blocks that were created: a callback may have emptied or replaced it.
    bool isIntact() const;
    // Reports that a row is done. False with the code when the callback cancels, and when it emptied or
    // replaced the image, which then belongs to the callback alone.
    bool report(DibProgressCallback callback, void* user, int row);

    DibStream* get() const { return image_; }
    DibStream* operator->() const { return image_; }

private:
    bool create(int width, int height, int bitCount, bool isBlank);
    void clearUnread();

    DibStream* image_;
    Progress* progress_;
    std::size_t rowsRead_ = 0;
    std::int32_t width_ = 0;
    std::int32_t height_ = 0;
    int bitCount_ = 0;
    unsigned char* pixels_ = nullptr;
    std::size_t rowBytes_ = 0;
    std::uint32_t lastWord_ = 0;  // the bits of a row's last word that hold pixels
    // The rows that were not read and may hold anything.
    unsigned char* begin_ = nullptr;
    unsigned char* end_ = nullptr;
};

inline bool fail(const NewImage& image, DibErrorCode code) {
    image->ErrorCode = code;
    return false;
}

}  // namespace formats

#endif

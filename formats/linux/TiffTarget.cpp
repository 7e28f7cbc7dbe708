#include "formats/linux/TiffTarget.h"

#include <tiffio.h>

#include "dib/Bytes.h"
#include "dib/Numbers.h"
#include "formats/linux/TiffNumbers.h"

namespace formats {

namespace {

// Values that are too long for their entries follow the directory, at places that count from the start of
// the file. They move with it.
void move(unsigned char* directory, const TiffNumbers& numbers, std::uint32_t from, std::uint32_t to) {
    constexpr std::size_t kEntryBytes = 12;
    unsigned char* entry = directory + 2;
    for (std::uint32_t left = numbers.read16(directory); left > 0; --left, entry += kEntryBytes) {
        const auto type = static_cast<TIFFDataType>(numbers.read16(entry + 2));
        const std::uint64_t bytes =
            std::uint64_t{dib::asUnsigned(TIFFDataWidth(type))} * numbers.read32(entry + 4);
        if (bytes > 4) numbers.write(entry + 8, numbers.read32(entry + 8) - from + to, 4);
    }
}

std::int64_t even(std::int64_t position) { return position + position % 2; }

}  // namespace

void TiffTarget::leaveRoom(std::size_t bytes) {
    room_ = even(file_.size());
    roomBytes_ = bytes;
    // The library appends to what is there.
    file_.seek(room_ + dib::asOffset(bytes) - 1);
    file_.bytes("", 1);
}

void TiffTarget::beginDirectory() {
    end_ = at_ = even(file_.size());
    isDirectory_ = true;
}

bool TiffTarget::endDirectory(bool isLittle) {
    if (!directoryWriter_.isWhole() || directory_.size == 0) return false;
    const std::int64_t place = directory_.size <= roomBytes_ ? room_ : end_;
    const TiffNumbers numbers(isLittle);
    const auto offset = dib::dwordOf(place);
    move(directory_.data, numbers, dib::dwordOf(end_), offset);
    file_.seek(place);
    file_.bytes(directory_.data, directory_.size);
    constexpr std::int64_t kPlaceInHeader = 4;
    unsigned char bytes[4];
    numbers.write(bytes, offset, sizeof bytes);
    file_.seek(kPlaceInHeader);
    file_.bytes(bytes, sizeof bytes);
    return true;
}

std::size_t TiffTarget::write(const void* from, std::size_t bytes) {
    ByteWriter& writer = isDirectory_ ? directoryWriter_ : file_;
    if (isDirectory_ && at_ < end_) return bytes;  // the directory is elsewhere
    if (isDirectory_) directoryWriter_.seek(at_ - end_);
    writer.bytes(from, bytes);
    at_ += dib::asOffset(bytes);
    return writer.isWhole() ? bytes : 0;
}

bool TiffTarget::seek(std::int64_t position) {
    at_ = position;
    return isDirectory_ || file_.seek(position);
}

std::int64_t TiffTarget::position() const { return isDirectory_ ? at_ : file_.position(); }

std::int64_t TiffTarget::size() {
    return isDirectory_ ? end_ + dib::asOffset(directory_.size) : file_.size();
}

}  // namespace formats

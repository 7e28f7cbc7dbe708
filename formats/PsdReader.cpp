#include "formats/PsdReader.h"

#include <cstring>

#include "dib/Bytes.h"
#include "dib/File.h"

namespace formats {

namespace {

constexpr std::int64_t kWorkFloor = std::int64_t{64} << 20;
constexpr std::int64_t kWorkPerFileByte = 1024;

}  // namespace

PsdReader::PsdReader(std::FILE* file) : file_(file) {
    if (fseeko(file_, 0, SEEK_END) == 0) size_ = std::max<std::int64_t>(ftello(file_), 0);
    workLeft_ = std::min(size_, INT64_MAX / (2 * kWorkPerFileByte)) * kWorkPerFileByte + kWorkFloor;
    fseeko(file_, 0, SEEK_SET);
}

PsdReader::~PsdReader() { fseeko(file_, position(), SEEK_SET); }

void PsdReader::seek(std::int64_t position) {
    if (position >= bufferStart_ && position <= bufferStart_ + static_cast<std::int64_t>(end_)) {
        next_ = static_cast<std::size_t>(position - bufferStart_);
        return;
    }
    // Beyond the end there is nothing to read, so the file itself need not go there.
    fseeko(file_, std::min(position, size_), SEEK_SET);
    bufferStart_ = position;
    next_ = end_ = 0;
}

void PsdReader::refill() {
    std::memmove(buffer_, buffer_ + next_, end_ - next_);
    bufferStart_ += static_cast<std::int64_t>(next_);
    end_ -= next_;
    next_ = 0;
    if (bufferStart_ + static_cast<std::int64_t>(end_) < size_)
        end_ += std::fread(buffer_ + end_, 1, kBufferBytes - end_, file_);
}

std::size_t PsdReader::readSome(void* out, std::size_t bytes) {
    auto* to = static_cast<unsigned char*>(out);
    std::size_t done = 0;
    while (done < bytes) {
        // Large parts need no stop in the buffer.
        if (next_ == end_ && bytes - done >= kBufferBytes && position() < size_) {
            const std::size_t direct = std::fread(to + done, 1, bytes - done, file_);
            bufferStart_ += static_cast<std::int64_t>(next_ + direct);
            next_ = end_ = 0;
            if (direct == 0) break;
            done += direct;
            continue;
        }
        const Bytes source = ahead(1);
        if (source.size == 0) break;
        const std::size_t part = std::min(bytes - done, source.size);
        std::memcpy(to + done, source.data, part);
        consume(part);
        done += part;
    }
    return done;
}

bool PsdReader::readRows(unsigned char* first, std::ptrdiff_t step, std::size_t rowBytes, std::size_t rows) {
    fseeko(file_, std::min(position(), size_), SEEK_SET);
    bufferStart_ = position();
    next_ = end_ = 0;
    const std::size_t bytes = dib::readRows(file_, first, step, rowBytes, rows);
    bufferStart_ += static_cast<std::int64_t>(bytes);
    return bytes == rowBytes * rows;
}

bool PsdReader::read8(std::uint8_t& out) {
    out = 0;
    return read(&out, 1);
}

bool PsdReader::read16(std::uint16_t& out) {
    unsigned char bytes[2] = {};
    const bool whole = read(bytes, sizeof bytes);
    out = dib::readBe16(bytes);
    return whole;
}

bool PsdReader::read32(std::uint32_t& out) {
    unsigned char bytes[4] = {};
    const bool whole = read(bytes, sizeof bytes);
    out = dib::readBe32(bytes);
    return whole;
}

bool PsdReader::admitWork(std::int64_t bytes) {
    if (bytes > workLeft_) return false;
    workLeft_ -= bytes;
    return true;
}

}  // namespace formats

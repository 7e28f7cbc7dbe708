#include "formats/door/Source.h"

#include <VexLibs.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "files/ReplacedFile.h"
#include "formats/door/Detection.h"
#include "formats/door/Request.h"

namespace formats {

bool Source::refuseFolder() { return refuse(result_, DIB_ERROR_READ, "this is a folder, not a file"); }

bool Source::open(const char* path) {
    if (path == nullptr || *path == '\0') return refuse(result_, DIB_ERROR_OPEN, "the path is empty");
    errno = 0;
    path_ = path;
    file_ = dib::openForReading(path);
    if (file_ == nullptr) {
        const int why = errno;
        if (why == ENOMEM) return refuseForMemory(result_);
        if (files::isFolder(path)) return refuseFolder();
        return refuse(result_, DIB_ERROR_OPEN, "the file cannot be opened%s%s", why != 0 ? ": " : "",
                      why != 0 ? std::strerror(why) : "");
    }
    // Some systems open a folder, which cannot be read then.
    if (!dib::isReadable(file_.get())) return refuseFolder();
    if (dib::positionIn(file_.get()) < 0) return open(file_.get());
    reader_ = std::make_unique<ByteReader>(file_.get());
    return true;
}

bool Source::open(const wchar_t* path) {
    if (path == nullptr) return refuse(result_, DIB_ERROR_OPEN, "the path is empty");
    const VexString wide(path);
    if (!wide.isValid()) return refuse(result_, DIB_ERROR_OPEN, "the path has no UTF-8 form");
    return open(wide.toUtf8String().c_str());
}

bool Source::open(const void* bytes, std::size_t size) {
    if (bytes == nullptr) return refuse(result_, DIB_ERROR_OPEN, "there is no block of memory");
    reader_ = std::make_unique<ByteReader>(static_cast<const unsigned char*>(bytes), size);
    return true;
}

bool Source::open(std::FILE* file) {
    if (file == nullptr) return refuse(result_, DIB_ERROR_OPEN, "there is no open file");
    if (dib::positionIn(file) == 0) {
        reader_ = std::make_unique<ByteReader>(file);
        return true;
    }
    const auto read = [](void* context, void* out, std::size_t bytes) {
        auto* from = static_cast<std::FILE*>(context);
        const std::size_t got = std::fread(out, 1, bytes, from);
        return got == 0 && dib::readError(from) != 0 ? DibReader::kFailed : got;
    };
    return open(DibReader{read, file});
}

bool Source::isWanted() const {
    if (options_ == nullptr) return true;
    const FirstBytes bytes = {bytes_.data, std::min(bytes_.size, kFirstBytes)};
    const FileFormat* format = detectFormat(bytes, path(), *options_);
    return format != nullptr && accepts(*options_, *format);
}

bool Source::open(const DibReader& reader) {
    if (reader.read == nullptr) return refuse(result_, DIB_ERROR_OPEN, "there is no function to read with");
    constexpr std::size_t kFirst = 64 * 1024;
    // A slow source returns few bytes at a time, or blocks until it has all of them.
    constexpr std::size_t kMostWatched = 16 * 1024;
    const bool isWatched = progress_ != nullptr && progress_->isWatched();
    std::size_t capacity = 0;
    bool isJudged = false;
    for (;;) {
        if (bytes_.size == capacity) {
            capacity = capacity == 0 ? kFirst : 2 * capacity;
            void* block = std::realloc(bytes_.data, capacity);
            if (block == nullptr) return refuseForMemory(result_, "for the stream");
            bytes_.data = static_cast<unsigned char*>(block);
        }
        if (isWatched && !progress_->report(0)) return refuse(result_, DIB_ERROR_INTERRUPTED, "cancelled");
        const std::size_t room = capacity - bytes_.size;
        const std::size_t asked = isWatched ? std::min(room, kMostWatched) : room;
        errno = 0;
        const std::size_t got = reader.read(reader.context, bytes_.data + bytes_.size, asked);
        if (got > asked) error_ = errno != 0 ? errno : EIO;
        if (got == 0 || error_ != 0) break;
        bytes_.size += got;
        if (bytes_.size > mostBytes_) {
            return refuse(result_, DIB_ERROR_MISMATCH, "the stream is too long; the limit of bytes is %llu",
                          static_cast<unsigned long long>(mostBytes_));
        }
        if (isJudged || bytes_.size < kFirstBytes) continue;
        isJudged = true;
        if (!isWanted()) break;  // the caller refuses it by its first bytes
    }
    return open(bytes_.data, bytes_.size);
}

FirstBytes Source::firstBytes() {
    const ByteReader::Bytes bytes = reader_->ahead(kFirstBytes);
    return {bytes.data, std::min(bytes.size, kFirstBytes)};
}

}  // namespace formats

// Where the bytes of a file come from: a path, memory, an open file or a function.
#ifndef FORMATS_DOOR_SOURCE_H
#define FORMATS_DOOR_SOURCE_H

#include <DibFile.h>

#include <memory>
#include <string>

#include "dib/File.h"
#include "formats/ByteReader.h"
#include "formats/Formats.h"
#include "formats/door/Progress.h"

namespace formats {

class Source {
public:
    // Sources that cannot be read in place are copied first, up to `DibLoadOptions::mostBytes`, but for those
    // whose first bytes are of no accepted format. The callback of `progress` may cancel this; null: there is
    // none.
    Source(DibFileResult& result, const DibLoadOptions& options, Progress* progress = nullptr)
        : result_(result), options_(&options), mostBytes_(options.mostBytes), progress_(progress) {}
    // For files of any content.
    Source(DibFileResult& result, std::uint64_t mostBytes) : result_(result), mostBytes_(mostBytes) {}

    // Each is called once. False with the reason in the result. May throw std::bad_alloc.
    bool open(const char* path);
    bool open(const wchar_t* path);
    bool open(const void* bytes, std::size_t size);
    // A file that is at its start and can seek is read where it is.
    bool open(std::FILE* file);
    bool open(const DibReader& reader);

    ByteReader& reader() { return *reader_; }
    // UTF-8; null when there is none.
    const char* path() const { return path_.empty() ? nullptr : path_.c_str(); }
    // The same, but null as well for what cannot be read twice.
    const char* pathToReadAgain() const { return bytes_.data == nullptr ? path() : nullptr; }
    FirstBytes firstBytes();
    // Why reading failed, as the system's number; 0 when it did not.
    int error() const { return error_ != 0 || reader_ == nullptr ? error_ : reader_->error(); }

private:
    bool refuseFolder();
    bool isWanted() const;

    DibFileResult& result_;
    const DibLoadOptions* options_ = nullptr;
    std::uint64_t mostBytes_;
    Progress* progress_ = nullptr;
    int error_ = 0;
    std::string path_;
    dib::FilePtr file_;
    DibBytes bytes_;
    std::unique_ptr<ByteReader> reader_;
};

}  // namespace formats

#endif

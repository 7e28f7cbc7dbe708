#include "formats/door/DecoderPath.h"

#include <cerrno>

#include "dib/File.h"
#include "formats/door/WholeFile.h"

namespace formats {

namespace {

bool copyTo(const std::string& path, ByteReader& from) {
    dib::FilePtr to = dib::openForWriting(path.c_str());
    if (to == nullptr || !from.seek(0)) return false;
    for (;;) {
        const ByteReader::Bytes part = from.ahead(ByteReader::kBufferBytes);
        if (part.size == 0) return dib::closeWritten(std::move(to));
        if (!dib::writeBytes(to.get(), part.data, part.size)) return false;
        from.consume(part.size);
    }
}

}  // namespace

DecoderPath::DecoderPath(ByteReader& file, const char* path, DibFileResult& result) {
    if (path != nullptr) {
        path_ = path;
        return;
    }
    errno = 0;
    copy_.emplace();
    if (copy_->exists() && copyTo(copy_->path(), file)) {
        path_ = copy_->path();
        return;
    }
    const int why = errno;
    constexpr std::size_t kLongestFolder = 120;
    const std::string what = "no temporary copy can be made in " +
                             files::temporaryFolder().substr(0, kLongestFolder) + ", which TMPDIR chooses";
    refuseForSystem(result, DIB_ERROR_WRITE, what.c_str(), why);
}

bool readPicture(const FileFormat& format, ReadRequest& request) {
    if (format.read != nullptr) return format.read(request);
    const DecoderPath path(request);
    if (path.get() == nullptr) return false;
    request.image->ErrorCode = DIB_OK;
    if (format.load(path.get(), request.image, Progress::forward, &request.progress)) return true;
    request.result.code = request.image->ErrorCode != DIB_OK ? request.image->ErrorCode : DIB_ERROR_INVALID;
    return false;
}

}  // namespace formats

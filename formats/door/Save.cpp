// Saving: find the format, note what it cannot hold, encode, put the file in place.
#include <DibFile.h>
#include <VexLibs.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>

#include "dib/Depths.h"
#include "dib/File.h"
#include "dib/ImageSize.h"
#include "files/NamelessFile.h"
#include "formats/Formats.h"
#include "formats/door/Frame.h"
#include "formats/door/Options.h"
#include "formats/door/WholeFile.h"

namespace formats {

namespace {

struct Save {
    const DibStream& image;
    DibSaveOptions& options;
    DibFileResult& result;
    Progress& progress;
    const FileFormat* format = nullptr;
};

bool isDepth(int bitCount) {
    return dib::withAnyDepth(bitCount, [](auto) { return true; });
}

bool hasPicture(const DibStream* image) {
    return image != nullptr && image->Header != nullptr && image->Buffer != nullptr && dib::hasRows(*image) &&
           isDepth(image->Header->biBitCount) && dib::admitSize(*image->Header).imageBytes > 0;
}

bool refuseEmpty(DibFileResult& result) {
    return refuse(result, DIB_ERROR_INVALID, "the image has no pixels");
}

// A path whose extension is that of no format.
bool refuseName(const char* path, const char* extension, DibFileResult& result) {
    if (*extension != '\0')
        return refuse(result, DIB_ERROR_UNSUPPORTED, "no format has the extension \"%.60s\"", extension);
    return refuse(result, DIB_ERROR_UNSUPPORTED,
                  "'%.120s' has no extension: name a format, or a file name that ends in .png, .tif ...",
                  path);
}

bool isOfFile(const char* path, DibFileResult& result) {
    if (*path == '\0') return refuse(result, DIB_ERROR_OPEN, "the path is empty");
    return !files::isFolder(path) || refuse(result, DIB_ERROR_OPEN, "'%.200s' is a folder", path);
}

// By the option, else by the extension of the path.
const FileFormat* chooseFormat(const char* name, const char* path, DibFileResult& result) {
    const FileFormat* format = nullptr;
    if (name != nullptr) {
        format = formatOfName(name);
        if (format == nullptr) refuse(result, DIB_ERROR_UNSUPPORTED, "no format has the name %.60s", name);
    } else if (path != nullptr) {
        const char* extension = extensionOf(path);
        format = *extension != '\0' ? formatOfExtension(extension) : nullptr;
        if (format == nullptr) refuseName(path, extension, result);
    } else {
        refuse(result, DIB_ERROR_UNSUPPORTED, "no format is given");
    }
    if (format == nullptr) return nullptr;
    result.format = &format->info;
    if (format->write != nullptr || format->save != nullptr) return format;
    refuse(result, DIB_ERROR_UNSUPPORTED, "%s files cannot be written", format->info.name);
    return nullptr;
}

int countLosses(const DibFileResult& result) {
    int count = 0;
    for (int i = 0; i < result.noteCount; ++i) count += result.notes[i].kind == DIB_NOTE_LOSS ? 1 : 0;
    return count;
}

const char* firstLoss(const DibFileResult& result) {
    for (int i = 0; i < result.noteCount; ++i) {
        if (result.notes[i].kind == DIB_NOTE_LOSS) return result.notes[i].text;
    }
    return "";
}

// False when there can be no file.
bool findLosses(const FileFormat& format, LossRequest request) {
    return end(request.result, format.losses == nullptr || format.losses(request));
}

bool judgeLosses(Save& save) {
    if (!findLosses(*save.format, {save.image, save.options, save.result})) return false;
    if (!save.options.refusesLosses || countLosses(save.result) == 0) return true;
    return refuse(save.result, DIB_ERROR_MISMATCH, "%s", firstLoss(save.result));
}

// The classic savers store codes in their image: this one borrows the blocks of the caller's.
class Borrowed : public DibStream {
public:
    explicit Borrowed(const DibStream& image) {
        Header = image.Header;
        Buffer = image.Buffer;
    }
};

// The formats that an imaging framework encodes have no writer of their own: they go through the classic
// saver. All others that can be saved have one, and all formats have on Linux.
bool writeByPath(WriteRequest& request, const FileFormat& format) {
    const files::NamelessFile copy;
    if (!copy.exists()) return refuse(request.result, DIB_ERROR_OPEN, "no temporary file can be made");
    const std::string& path = copy.path();
    Borrowed image(request.image);
    if (!format.save(path.c_str(), &image, Progress::forward, &request.progress)) {
        request.result.code = image.ErrorCode != DIB_OK ? image.ErrorCode : DIB_ERROR_WRITE;
        return false;
    }
    const dib::FilePtr file = dib::openForReading(path.c_str());
    if (file == nullptr) return refuse(request.result, DIB_ERROR_OPEN, "the temporary file is lost");
    ByteReader reader(file.get());
    for (;;) {
        const ByteReader::Bytes part = reader.ahead(ByteReader::kBufferBytes);
        if (part.size == 0) return true;
        request.file.bytes(part.data, part.size);
        reader.consume(part.size);
    }
}

bool encode(Save& save, ByteWriter& file) {
    DibFileResult& result = save.result;
    if (!save.progress.report(0)) return refuse(result, DIB_ERROR_INTERRUPTED, "cancelled");
    WriteRequest request = {file, save.image, save.options, result, save.progress};
    const bool isEncoded =
        save.format->write != nullptr ? save.format->write(request) : writeByPath(request, *save.format);
    if (save.progress.isCancelled()) {
        result.reason[0] = '\0';
        return refuse(result, DIB_ERROR_INTERRUPTED, "cancelled");
    }
    if (isEncoded && file.isWhole()) return true;
    if (file.isShortOfMemory() || result.code == DIB_ERROR_MEMORY) {
        return refuseForMemory(result);
    }
    if (!file.isWhole() || result.code == DIB_ERROR_WRITE)
        return refuseForSystem(result, DIB_ERROR_WRITE, kUnwritten, errno);
    return refuse(result, DIB_ERROR_INVALID, "the image cannot be encoded");
}

bool finish(Save& save) {
    if (save.progress.report(1)) return true;
    return refuse(save.result, DIB_ERROR_INTERRUPTED, "cancelled");
}

bool saveTo(Save& save, const char* path) {
    return writeWhole(
        path, save.result, [&](ByteWriter& file) { return encode(save, file); }, [&] { return finish(save); },
        save.options.keepsExisting ? files::ReplacedFile::kKeep : files::ReplacedFile::kReplace);
}

bool saveTo(Save& save, DibBytes* bytes) {
    DibBytes encoded;
    ByteWriter writer(encoded);
    if (!encode(save, writer) || !finish(save)) return false;
    *bytes = std::move(encoded);
    return true;
}

// In blocks: a stream may be slow, and may fail at any of them.
bool saveTo(Save& save, const DibWriter* writer) {
    constexpr std::size_t kBlockBytes = std::size_t{1} << 20;
    DibBytes encoded;
    ByteWriter memory(encoded);
    if (!encode(save, memory)) return false;
    for (std::size_t done = 0; done < encoded.size;) {
        const std::size_t bytes = std::min(kBlockBytes, encoded.size - done);
        errno = 0;
        if (!writer->write(writer->context, encoded.data + done, bytes))
            return refuseForSystem(save.result, DIB_ERROR_WRITE, "the stream cannot be written", errno);
        done += bytes;
        const double part = static_cast<double>(done) / static_cast<double>(encoded.size);
        if (done < encoded.size && !save.progress.report(0.99 + 0.01 * part))
            return refuse(save.result, DIB_ERROR_INTERRUPTED, "cancelled");
    }
    return finish(save);
}

bool saveTo(Save& save, std::FILE* file) {
    const auto write = [](void* context, const void* from, std::size_t bytes) {
        auto* to = static_cast<std::FILE*>(context);
        return dib::writeBytes(to, from, bytes) && std::fflush(to) == 0;
    };
    const DibWriter writer = {write, file};
    return saveTo(save, &writer);
}

const char* pathFor(const char* path) { return path; }
template <class Target>
const char* pathFor(const Target*) {
    return nullptr;
}

bool isThere(const DibWriter* writer) { return writer->write != nullptr; }
template <class Target>
bool isThere(const Target* target) {
    return target != nullptr;
}

// Each call starts its result anew. Options may point to the metadata in it, because an application opens and
// saves with one result: they are kept for the call, and in the result after it.
class KeptMetadata {
public:
    KeptMetadata(DibFileResult& result, const DibSaveOptions* options)
        : result_(result), isKept_(options != nullptr && options->metadata == &result.metadata) {
        if (isKept_) metadata_ = std::move(result.metadata);
    }
    ~KeptMetadata() {
        if (isKept_) result_.metadata = std::move(metadata_);
    }
    KeptMetadata(const KeptMetadata&) = delete;
    KeptMetadata& operator=(const KeptMetadata&) = delete;

    // As completeOptions does it.
    bool complete(const DibSaveOptions* options, DibSaveOptions& complete) const {
        if (!completeOptions(options, complete, result_)) return false;
        if (isKept_) complete.metadata = &metadata_;
        return complete.metadata == nullptr || isPossible(*complete.metadata, result_);
    }

private:
    DibFileResult& result_;
    bool isKept_;
    DibMetadata metadata_;
};

template <class Target>
bool run(Save& save, Target* target) {
    const char* path = pathFor(target);
    if (path != nullptr && !isOfFile(path, save.result)) return false;
    const char* name = save.options.format;
    save.format = chooseFormat(name, path, save.result);
    if (save.format == nullptr) return false;
    // Some formats are a family, of which the name or the extension says the member.
    save.options.format = spellingOf(*save.format, name != nullptr ? name : extensionOf(path));
    return judgeLosses(save) && end(save.result, saveTo(save, target));
}

bool run(Save& save, const wchar_t* path) {
    const VexString wide(path);
    if (!wide.isValid()) return refuse(save.result, DIB_ERROR_OPEN, "the path has no UTF-8 form");
    return run(save, wide.toUtf8String().c_str());
}

template <class Target>
bool saveAs(const DibStream* image, const DibSaveOptions* options, DibFileResult* result,
            DibProgressCallback callback, void* user, Target* target) {
    DibFileResult own;
    DibFileResult& out = result != nullptr ? *result : own;
    const KeptMetadata kept(out, options);
    return runCall(out, [&] {
        if (!isThere(target)) return refuse(out, DIB_ERROR_OPEN, "there is nothing to write to");
        if (!hasPicture(image)) return refuseEmpty(out);
        DibSaveOptions complete;
        if (!kept.complete(options, complete)) return false;
        Progress progress(callback, user);
        Save save = {*image, complete, out, progress};
        return run(save, target);
    });
}

}  // namespace

}  // namespace formats

int DibSaveLosses(const DibStream* image, const char* format, const DibSaveOptions* options,
                  DibFileResult* result) {
    DibFileResult own;
    DibFileResult& out = result != nullptr ? *result : own;
    const formats::KeptMetadata kept(out, options);
    return formats::runCall(out, [&] {
        if (!formats::hasPicture(image)) return formats::refuseEmpty(out) ? 1 : 0;
        DibSaveOptions complete;
        if (!kept.complete(options, complete)) return 0;
        const formats::FileFormat* row = formats::chooseFormat(format, nullptr, out);
        if (row == nullptr) return 0;
        complete.format = formats::spellingOf(*row, format);
        formats::findLosses(*row, {*image, complete, out});
        return formats::countLosses(out);
    });
}

bool DibSaveFile(const char* path, const DibStream* image, const DibSaveOptions* options,
                 DibFileResult* result, DibProgressCallback callback, void* user) {
    return formats::saveAs(image, options, result, callback, user, path);
}
bool DibSaveFile(const wchar_t* path, const DibStream* image, const DibSaveOptions* options,
                 DibFileResult* result, DibProgressCallback callback, void* user) {
    return formats::saveAs(image, options, result, callback, user, path);
}
bool DibSaveMemory(DibBytes* bytes, const DibStream* image, const DibSaveOptions* options,
                   DibFileResult* result, DibProgressCallback callback, void* user) {
    return formats::saveAs(image, options, result, callback, user, bytes);
}
bool DibSaveStream(std::FILE* file, const DibStream* image, const DibSaveOptions* options,
                   DibFileResult* result, DibProgressCallback callback, void* user) {
    return formats::saveAs(image, options, result, callback, user, file);
}
bool DibSaveStream(const DibWriter& writer, const DibStream* image, const DibSaveOptions* options,
                   DibFileResult* result, DibProgressCallback callback, void* user) {
    return formats::saveAs(image, options, result, callback, user, &writer);
}

#include "tools/io/Files.h"

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "files/Program.h"
#include "files/ReplacedFile.h"
#include "tools/cli/Cancel.h"
#include "tools/cli/ExitCode.h"
#include "vexlibs/NativePath.h"

namespace tool {

namespace {

std::string systemError() { return std::strerror(errno); }

}  // namespace

void print(const std::string& text) {
    if (std::fwrite(text.data(), 1, text.size(), stdout) == text.size() && std::fflush(stdout) == 0) return;
    throw Failure(kExitOutputFailed,
                  "standard output: print: the stream cannot be written: " + systemError());
}

InputFile::InputFile(const std::string& name, Use use, const DibLoadOptions& options) : name_(name) {
    std::error_code none;
    isInMemory_ = use == kReadTwice && (name == "-" || std::filesystem::is_fifo(vexlibs::pathOf(name), none));
    if (isInMemory_) readAll(options);
}

// Whether probing finds a format in the bytes that are there.
bool InputFile::isOfFormat(const DibLoadOptions& options) const {
    DibFileInfo info;
    DibFileResult result;
    return probe(info, options, result) || result.format != nullptr;
}

void InputFile::readAll(const DibLoadOptions& options) {
    const FilePtr opened(name_ == "-" ? nullptr : std::fopen(name_.c_str(), "rb"));
    std::FILE* file = name_ == "-" ? stdin : opened.get();
    char block[1 << 16];
    for (std::size_t count = sizeof block; file != nullptr && count == sizeof block;) {
        count = std::fread(block, 1, sizeof block, file);
        const bool isFirst = bytes_.empty();
        bytes_.append(block, count);
        if (bytes_.size() > options.mostBytes) {
            throw Failure(kExitBadInput, title() + ": load: the stream is too long; the limit of bytes is " +
                                             std::to_string(options.mostBytes) + " (--limit=bytes)");
        }
        if (isFirst && !isOfFormat(options)) break;
    }
    stopIfCancelled();
    if (file == nullptr || std::ferror(file) != 0)
        throw Failure(kExitBadInput, title() + ": load: the file cannot be read: " + systemError());
}

bool InputFile::probe(DibFileInfo& info, const DibLoadOptions& options, DibFileResult& result) const {
    if (isInMemory_) return DibProbeMemory(bytes_.data(), bytes_.size(), &info, &options, &result);
    return DibProbeFile(name_.c_str(), &info, &options, &result);
}

bool InputFile::listLayers(DibLayers& layers, const DibLoadOptions& options, DibFileResult& result) const {
    if (isInMemory_) return DibProbeLayers(bytes_.data(), bytes_.size(), &layers, &options, &result);
    return DibProbeLayers(name_.c_str(), &layers, &options, &result);
}

bool InputFile::load(DibStream& image, const DibLoadOptions& options, DibFileResult& result,
                     DibProgressCallback callback, void* user) const {
    if (isInMemory_)
        return DibLoadMemory(bytes_.data(), bytes_.size(), &image, &options, &result, callback, user);
    if (name_ == "-") return DibLoadStream(stdin, &image, &options, &result, callback, user);
    return DibLoadFile(name_.c_str(), &image, &options, &result, callback, user);
}

void requireWritable(const std::string& name, bool keepsExisting) {
    if (name == "-") return;
    const std::filesystem::path path = vexlibs::pathOf(name);
    std::error_code none;
    const bool isThere = std::filesystem::exists(path, none);
    if (keepsExisting && std::filesystem::is_regular_file(path, none))
        throw Failure(kExitOutputFailed, name + ": save: the file exists already (--no-clobber)");
    const std::string folder = vexlibs::textOf(path.parent_path());
    errno = std::filesystem::is_directory(path, none) ? EISDIR : 0;
    if (errno == 0 &&
        (isThere ? files::isWritable(name) : files::acceptsFiles(folder.empty() ? "." : folder)))
        return;
    throw Failure(kExitOutputFailed, name + ": save: the file cannot be created: " + systemError());
}

void makeFolder(const std::string& folder) {
    const std::filesystem::path path = vexlibs::pathOf(folder);
    std::error_code error;
    std::filesystem::create_directories(path, error);
    std::error_code ignored;  // the first reason is the one to report
    if (!std::filesystem::is_directory(path, ignored)) {
        throw Failure(kExitOutputFailed, folder + ": save: the folder cannot be created: " + error.message());
    }
}

void writeText(const std::string& name, const std::string& text, bool keepsExisting) {
    errno = 0;
    files::ReplacedFile file(name.c_str(),
                             keepsExisting ? files::ReplacedFile::kKeep : files::ReplacedFile::kReplace);
    FilePtr stream(file.error() == 0 ? fdopen(file.descriptor().number(), "wb") : nullptr);
    if (stream != nullptr) file.descriptor().take();
    const bool isWritten =
        stream != nullptr && std::fwrite(text.data(), 1, text.size(), stream.get()) == text.size() &&
        std::fflush(stream.get()) == 0 && files::ReplacedFile::storeOnDisk(fileno(stream.get()));
    stream.reset();  // some systems rename no open file
    if (isWritten && file.commit()) return;
    if (file.error() != 0) errno = file.error();
    throw Failure(kExitOutputFailed, name + ": save: the file cannot be written: " + systemError());
}

}  // namespace tool

#include "tools/io/Files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "files/NamelessFile.h"
#include "tools/cli/Cancel.h"
#include "tools/cli/ExitCode.h"

namespace tool {

using files::Descriptor;

namespace {

[[noreturn]] void fail(ExitCode code, const std::string& title, const char* action, DibErrorCode error,
                       int reason) {
    throw Failure(code, title + ": " + action + ": " + DibStream::GetErrorString(error) + " (" +
                            std::strerror(reason) + ")");
}

bool writeAll(int to, const char* bytes, std::size_t count) {
    while (count > 0) {
        const ssize_t written = write(to, bytes, count);
        if (written < 0) {
            if (errno == EINTR && !isCancelled()) continue;
            return false;
        }
        bytes += written;
        count -= static_cast<std::size_t>(written);
    }
    return true;
}

enum class CopyResult { Done, ReadFailed, WriteFailed };

// Copies until the end; errno says why when it fails.
CopyResult copyBytes(int from, int to) {
    std::vector<char> block(1 << 16);
    for (;;) {
        const ssize_t count = read(from, block.data(), block.size());
        if (count == 0) return CopyResult::Done;
        if (count < 0) {
            if (errno == EINTR && !isCancelled()) continue;
            return CopyResult::ReadFailed;
        }
        if (!writeAll(to, block.data(), static_cast<std::size_t>(count))) return CopyResult::WriteFailed;
    }
}

}  // namespace

void guardStandardStreams() {
    // Opened the wrong way round, so that using a closed stream still fails.
    const int modes[] = {O_WRONLY, O_RDONLY, O_RDONLY};
    for (int stream = STDIN_FILENO; stream <= STDERR_FILENO; ++stream) {
        if (fcntl(stream, F_GETFD) < 0 && open("/dev/null", modes[stream]) < 0) std::abort();
    }
}

void print(const std::string& text) {
    if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size() || std::fflush(stdout) != 0) {
        throw Failure(kExitOutputFailed,
                      "standard output: write file (" + std::string(std::strerror(errno)) + ")");
    }
}

SilencedErrors::SilencedErrors() : kept_(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3)) {
    const Descriptor nowhere(open("/dev/null", O_WRONLY | O_CLOEXEC));
    if (kept_.isOpen() && nowhere.isOpen()) dup2(nowhere.number(), STDERR_FILENO);
}

SilencedErrors::~SilencedErrors() {
    if (kept_.isOpen()) dup2(kept_.number(), STDERR_FILENO);
}

InputFile::InputFile(const std::string& name)
    : name_(name), title_(name == "-" ? "standard input" : name), path_(name), firstBytes_(kFirstBytes) {
    Descriptor file(name == "-" ? dup(STDIN_FILENO) : open(name.c_str(), O_RDONLY | O_CLOEXEC));
    if (!file.isOpen()) {
        stopIfCancelled();
        fail(kExitBadInput, title_, "load", DIB_ERROR_OPEN, errno);
    }
    struct stat status {};
    fstat(file.number(), &status);
    if (S_ISDIR(status.st_mode)) fail(kExitBadInput, title_, "load", DIB_ERROR_READ, EISDIR);
    if (name == "-" || !S_ISREG(status.st_mode)) {
        spool_ = files::makeNamelessFile();
        if (!spool_.isOpen()) fail(kExitBadInput, title_, "spool", DIB_ERROR_OPEN, errno);
        const CopyResult copied = copyBytes(file.number(), spool_.number());
        stopIfCancelled();
        if (copied == CopyResult::ReadFailed) fail(kExitBadInput, title_, "load", DIB_ERROR_READ, errno);
        if (copied == CopyResult::WriteFailed) fail(kExitBadInput, title_, "spool", DIB_ERROR_WRITE, errno);
        path_ = files::pathOf(spool_);
    }
    const int readable = spool_.isOpen() ? spool_.number() : file.number();
    const ssize_t count = pread(readable, firstBytes_.data(), firstBytes_.size(), 0);
    firstBytes_.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
}

OutputFile::OutputFile(const std::string& name)
    : name_(name), title_(name == "-" ? "standard output" : name) {
    struct stat status {};
    const bool exists = name != "-" && stat(name.c_str(), &status) == 0;
    if (exists && S_ISDIR(status.st_mode)) fail(kExitOutputFailed, title_, "save", DIB_ERROR_OPEN, EISDIR);
    if (name == "-" || (exists && !S_ISREG(status.st_mode))) {
        spool_ = files::makeNamelessFile();
        if (!spool_.isOpen()) fail(kExitOutputFailed, title_, "spool", DIB_ERROR_OPEN, errno);
        path_ = files::pathOf(spool_);
        return;
    }
    replaced_ = std::make_unique<files::ReplacedFile>(name.c_str());
    if (replaced_->error() != 0) fail(kExitOutputFailed, title_, "save", DIB_ERROR_OPEN, replaced_->error());
    path_ = replaced_->path();
    setUnfinishedFile(path_.c_str());
}

OutputFile::~OutputFile() {
    replaced_.reset();
    setUnfinishedFile(nullptr);
}

void OutputFile::commit() {
    if (replaced_ == nullptr) return copyToTarget();
    if (!replaced_->commit()) fail(kExitOutputFailed, title_, "save", DIB_ERROR_WRITE, replaced_->error());
}

void OutputFile::copyToTarget() {
    Descriptor target(name_ == "-" ? dup(STDOUT_FILENO) : open(name_.c_str(), O_WRONLY | O_CLOEXEC));
    if (!target.isOpen()) fail(kExitOutputFailed, title_, "save", DIB_ERROR_OPEN, errno);
    lseek(spool_.number(), 0, SEEK_SET);
    const CopyResult copied = copyBytes(spool_.number(), target.number());
    stopIfCancelled();
    if (copied != CopyResult::Done || !target.close()) {
        fail(kExitOutputFailed, title_, "save", DIB_ERROR_WRITE, errno);
    }
}

void makeFolder(const std::string& folder) {
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    std::error_code ignored;  // the first reason is the one to report
    if (!std::filesystem::is_directory(folder, ignored)) {
        throw Failure(kExitOutputFailed, folder + ": cannot create folder (" + error.message() + ")");
    }
}

void writeText(const std::string& name, const std::string& text) {
    OutputFile output(name);
    std::FILE* file = std::fopen(output.path(), "wb");
    const bool written = file != nullptr && std::fwrite(text.data(), 1, text.size(), file) == text.size();
    const bool closed = file != nullptr && std::fclose(file) == 0;
    if (!written || !closed) {
        throw Failure(kExitOutputFailed, output.title() + ": " + DibStream::GetErrorString(DIB_ERROR_WRITE));
    }
    output.commit();
}

}  // namespace tool

#include "formats/linux/ReplacedFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdlib>

namespace formats {

namespace {

// Where links lead to; empty when there is nothing of that name.
std::string linkTarget(const char* path) {
    char resolved[PATH_MAX];
    return ::realpath(path, resolved) != nullptr ? resolved : "";
}

// Whether a file that stands in the place of another is found where that one was: not so with devices and pipes, nor with
// files that have no name any more but can be reached through their descriptor ("/dev/fd/3").
bool isReplaceable(const std::string& target, const struct stat& old) {
    struct stat named {};
    return S_ISREG(old.st_mode) && ::stat(target.c_str(), &named) == 0 && named.st_dev == old.st_dev &&
           named.st_ino == old.st_ino;
}

// A new file with the rights that any new file gets (mkstemp would make it private). -1 when there is none.
int createBeside(const std::string& target, std::string& name) {
    const std::string folder = target.substr(0, target.find_last_of('/') + 1);
    constexpr int kMostTries = 1000;
    static std::atomic<unsigned> serial{0};
    for (int i = 0; i < kMostTries; ++i) {
        char number[64];
        std::snprintf(number, sizeof number, ".dib-%ld-%u", static_cast<long>(::getpid()),
                      serial.fetch_add(1) + 1);
        name = folder + number;
        const int descriptor = ::open(name.c_str(), O_CREAT | O_EXCL | O_RDWR | O_CLOEXEC, 0666);
        if (descriptor >= 0 || errno != EEXIST) return descriptor;
    }
    return -1;
}

}  // namespace

ReplacedFile::ReplacedFile(const char* path) {
    struct stat old {};
    const bool exists = ::stat(path, &old) == 0;
    target_ = exists ? linkTarget(path) : path;
    if (exists && !isReplaceable(target_, old)) {
        file_ = dib::openForWriting(path);
        return;
    }
    // Replacing needs the right to write the folder only; a file that is protected is meant to stay.
    if (exists && ::access(target_.c_str(), W_OK) != 0) return;
    const int descriptor = createBeside(target_, temporary_);
    if (descriptor < 0) {
        temporary_.clear();
        return;
    }
    if (exists && ::fchmod(descriptor, old.st_mode & 07777) != 0) {
        ::close(descriptor);
        return;
    }
    file_.reset(::fdopen(descriptor, "wb+"));
    if (file_ == nullptr) ::close(descriptor);
}

ReplacedFile::~ReplacedFile() {
    file_.reset();
    if (!temporary_.empty()) ::unlink(temporary_.c_str());
}

bool ReplacedFile::commit() {
    if (file_ == nullptr || !dib::closeWritten(std::move(file_))) return false;
    if (temporary_.empty()) return true;
    if (std::rename(temporary_.c_str(), target_.c_str()) != 0) return false;
    temporary_.clear();
    return true;
}

}  // namespace formats

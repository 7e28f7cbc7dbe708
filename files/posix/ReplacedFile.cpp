#include "files/ReplacedFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>

#include "files/ExtendedAttributes.h"

namespace files {

namespace {

constexpr int kAnyNewFile = 0666;
constexpr int kPrivate = 0600;

bool isSameFile(const struct stat& a, const struct stat& b) {
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

// The name with all links resolved; empty when the file cannot be replaced by name. A descriptor can refer to
// a file without a name ("/dev/fd/3"). Devices and pipes must not be replaced.
std::string replaceableName(const char* path, const struct stat& old) {
    char resolved[PATH_MAX];
    struct stat named {};
    const bool isReplaceable = S_ISREG(old.st_mode) && ::realpath(path, resolved) != nullptr &&
                               ::stat(resolved, &named) == 0 && isSameFile(named, old);
    return isReplaceable ? resolved : "";
}

// The name that a chain of links leads to, whether or not a file has it. Empty, with errno, when the chain
// has no end.
std::string nameBehindLinks(std::string name) {
    constexpr int kMostLinks = 40;
    for (int i = 0; i <= kMostLinks; ++i) {
        char next[PATH_MAX];
        const ssize_t length = ::readlink(name.c_str(), next, sizeof next);
        if (length < 0) return name;
        // Links count from the folder that they are in.
        const std::size_t folder = next[0] == '/' ? 0 : name.find_last_of('/') + 1;
        name.replace(folder, std::string::npos, next, static_cast<std::size_t>(length));
    }
    errno = ELOOP;
    return {};
}

// Gives a new file the owner, attributes and mode of the one at `target`, as far as permitted. A change of
// owner clears set-ID bits, and attributes can hold access lists, so the mode comes last.
void copyRights(const std::string& target, int to) {
    struct stat wanted {};
    struct stat made {};
    if (::lstat(target.c_str(), &wanted) != 0 || !S_ISREG(wanted.st_mode)) return;
    // One can be permitted without the other.
    [[maybe_unused]] int ignored = ::fchown(to, wanted.st_uid, static_cast<gid_t>(-1));
    ignored = ::fchown(to, static_cast<uid_t>(-1), wanted.st_gid);
    const Descriptor from(::open(target.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    if (from.isOpen()) copyExtendedAttributes(from.number(), to);
    if (::fstat(to, &made) != 0) return;

    mode_t mode = wanted.st_mode & 07777;
    if (made.st_uid != wanted.st_uid) mode &= ~mode_t{S_ISUID | S_ISGID};
    if (made.st_gid != wanted.st_gid) {
        // Another group gets no more rights than everybody.
        mode &= ~mode_t{S_ISUID | S_ISGID | S_IRWXG} | (mode & S_IRWXO) << 3;
    }
    ::fchmod(to, mode);
}

}  // namespace

ReplacedFile::ReplacedFile(const char* path) {
    open(path);
    if (!descriptor_.isOpen()) error_ = errno;
}

void ReplacedFile::open(const char* path) {
    struct stat old {};
    if (::stat(path, &old) != 0) {
        target_ = nameBehindLinks(path);
        if (!target_.empty()) openTemporary(kAnyNewFile);
        return;
    }
    target_ = replaceableName(path, old);
    if (target_.empty()) {
        path_ = path;
        descriptor_ = Descriptor(::open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, kAnyNewFile));
        return;
    }
    replaces_ = true;
    // Replacing needs the right to write the folder only; a file that is protected is meant to stay.
    if (::faccessat(AT_FDCWD, target_.c_str(), W_OK, AT_EACCESS) == 0) openTemporary(kPrivate);
}

void ReplacedFile::openTemporary(int mode) {
    const std::string folder = target_.substr(0, target_.find_last_of('/') + 1);
    constexpr int kMostTries = 1000;
    static std::atomic<unsigned> serial{0};
    for (int i = 0; i < kMostTries; ++i) {
        char number[64];
        std::snprintf(number, sizeof number, ".dib-%ld-%u", static_cast<long>(::getpid()),
                      serial.fetch_add(1) + 1);
        path_ = folder + number;
        descriptor_ = Descriptor(::open(path_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode));
        isTemporary_ = descriptor_.isOpen();
        if (isTemporary_ || errno != EEXIST) return;
    }
}

ReplacedFile::~ReplacedFile() {
    if (isTemporary_) ::unlink(path_.c_str());
}

bool isFolder(const char* path) {
    struct stat found {};
    return ::stat(path, &found) == 0 && S_ISDIR(found.st_mode);
}

bool ReplacedFile::storeOnDisk(int descriptor) {
    // Devices and pipes have no disk.
    return fsync(descriptor) == 0 || errno == EINVAL || errno == ENOTSUP || errno == EROFS;
}

bool ReplacedFile::commit() {
    if (error_ != 0) return false;
    if (!isTemporary_) return true;
    if (replaces_) {
        // Opened again: whoever wrote it by name may have replaced the temporary file, too.
        const Descriptor written(::open(path_.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
        if (!written.isOpen()) {
            error_ = errno;
            return false;
        }
        copyRights(target_, written.number());
    }
    if (std::rename(path_.c_str(), target_.c_str()) != 0) {
        error_ = errno;
        return false;
    }
    isTemporary_ = false;
    return true;
}

}  // namespace files

#include "files/ReplacedFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>

#include "files/ExtendedAttributes.h"
#include "files/TemporaryName.h"

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

// Gives a new file the owner, attributes and mode of one in a folder, as far as permitted. A change of owner
// clears set-ID bits, and attributes can hold access lists, so the mode comes last.
void copyRights(int folder, const char* name, int to) {
    struct stat wanted {};
    struct stat made {};
    if (::fstatat(folder, name, &wanted, AT_SYMLINK_NOFOLLOW) != 0 || !S_ISREG(wanted.st_mode)) return;
    // One can be permitted without the other.
    [[maybe_unused]] int ignored = ::fchown(to, wanted.st_uid, static_cast<gid_t>(-1));
    ignored = ::fchown(to, static_cast<uid_t>(-1), wanted.st_gid);
    const Descriptor from(::openat(folder, name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
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

Descriptor openFolder(const char* path) {
#ifdef O_PATH
    // Needs no right to list it.
    return Descriptor(::open(path, O_PATH | O_DIRECTORY | O_CLOEXEC));
#else
    return Descriptor(::open(path, O_RDONLY | O_DIRECTORY | O_CLOEXEC));
#endif
}

// The name by which a file without one can get one.
std::string linkOf(const Descriptor& file) { return "/proc/self/fd/" + std::to_string(file.number()); }

// A file without a name, which only systems that can give it one later have.
Descriptor makeNameless([[maybe_unused]] int folder, [[maybe_unused]] int mode) {
#ifdef O_TMPFILE
    Descriptor file(::openat(folder, ".", O_TMPFILE | O_WRONLY | O_CLOEXEC, mode));
    if (file.isOpen() && ::faccessat(AT_FDCWD, linkOf(file).c_str(), F_OK, 0) == 0) return file;
#endif
    return Descriptor();
}

}  // namespace

ReplacedFile::ReplacedFile(const char* path, Existing existing) : existing_(existing) {
    open(path);
    if (made_.isOpen()) descriptor_ = Descriptor(::fcntl(made_.number(), F_DUPFD_CLOEXEC, 0));
    if (!descriptor_.isOpen()) error_ = errno;
}

void ReplacedFile::open(const char* path) {
    struct stat old {};
    if (::stat(path, &old) != 0) {
        const std::string target = nameBehindLinks(path);
        if (!target.empty()) makeFile(target, kAnyNewFile);
        return;
    }
    const std::string target = replaceableName(path, old);
    if (target.empty()) {
        made_ = Descriptor(::open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, kAnyNewFile));
    } else if (existing_ == kKeep) {
        errno = EEXIST;
    } else if (::faccessat(AT_FDCWD, target.c_str(), W_OK, AT_EACCESS) == 0) {
        // Replacing needs the right to write the folder only; a file that is protected is meant to stay.
        replaces_ = true;
        makeFile(target, kPrivate);
    }
}

void ReplacedFile::makeFile(const std::string& target, int mode) {
    const std::size_t name = target.find_last_of('/') + 1;
    name_ = target.substr(name);
    folder_ = openFolder(name > 0 ? target.substr(0, name).c_str() : ".");
    if (!folder_.isOpen()) return;
    made_ = makeNameless(folder_.number(), mode);
    if (made_.isOpen()) return;
    temporary_ = makeTemporary([&](const std::string& free) {
        constexpr int kNewFile = O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC;
        made_ = Descriptor(::openat(folder_.number(), free.c_str(), kNewFile, mode));
        return made_.isOpen();
    });
}

ReplacedFile::~ReplacedFile() {
    if (!temporary_.empty()) ::unlinkat(folder_.number(), temporary_.c_str(), 0);
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
    if (!folder_.isOpen()) return true;
    if (replaces_) copyRights(folder_.number(), name_.c_str(), made_.number());
    if (giveName()) return true;
    error_ = errno;
    return false;
}

// False, with errno, when the file cannot have the name of the target.
bool ReplacedFile::giveName() {
    const int folder = folder_.number();
    const bool isNameless = temporary_.empty();
    const auto linkTo = [&](const std::string& name) {
        if (!isNameless) return ::linkat(folder, temporary_.c_str(), folder, name.c_str(), 0) == 0;
        return ::linkat(AT_FDCWD, linkOf(made_).c_str(), folder, name.c_str(), AT_SYMLINK_FOLLOW) == 0;
    };
    // A link never replaces a file. What has a temporary name keeps that to the end, for the destructor.
    if ((isNameless && !replaces_) || existing_ == kKeep) {
        if (linkTo(name_)) return true;
        const bool hasLinks = isNameless || (errno != EPERM && errno != EOPNOTSUPP);
        if (!hasLinks) errno = ::faccessat(folder, name_.c_str(), F_OK, 0) == 0 ? EEXIST : 0;
        if (hasLinks ? existing_ == kKeep || errno != EEXIST : errno != 0) return false;
    }
    if (isNameless) temporary_ = makeTemporary(linkTo);
    if (temporary_.empty()) return false;
    if (::renameat(folder, temporary_.c_str(), folder, name_.c_str()) != 0) return false;
    temporary_.clear();
    return true;
}

}  // namespace files

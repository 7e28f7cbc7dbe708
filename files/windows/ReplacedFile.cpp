#include "files/ReplacedFile.h"

#include <fcntl.h>
#include <io.h>
#include <sys/stat.h>
#include <windows.h>

#include <cerrno>

#include "files/TemporaryName.h"
#include "files/windows/Errors.h"
#include "vexlibs/PathText.h"
#include "vexlibs/SystemPath.h"

namespace files {

namespace {

// A file, folder or device that is asked what it is.
class Asked {
public:
    explicit Asked(const char* path)
        : handle_(CreateFileW(vexlibs::systemPath(path).c_str(), 0,
                              FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                              FILE_FLAG_BACKUP_SEMANTICS, nullptr)) {}
    ~Asked() {
        if (exists()) CloseHandle(handle_);
    }
    Asked(const Asked&) = delete;
    Asked& operator=(const Asked&) = delete;

    bool exists() const { return handle_ != INVALID_HANDLE_VALUE; }
    bool isOnDisk() const { return GetFileType(handle_) == FILE_TYPE_DISK; }
    // FILE_ATTRIBUTE_..., 0 when unknown.
    DWORD attributes() const {
        BY_HANDLE_FILE_INFORMATION info = {};
        return GetFileInformationByHandle(handle_, &info) != 0 ? info.dwFileAttributes : 0;
    }
    // Its name behind all links; empty when the system does not say it.
    std::string finalName() const {
        std::wstring name(GetFinalPathNameByHandleW(handle_, nullptr, 0, FILE_NAME_NORMALIZED), L'\0');
        const auto room = static_cast<DWORD>(name.size());
        const DWORD length = GetFinalPathNameByHandleW(handle_, name.data(), room, FILE_NAME_NORMALIZED);
        return length > 0 && length < room ? vexlibs::utf8Of(name.c_str()) : std::string();
    }

private:
    HANDLE handle_;
};

constexpr int kNewFile = _O_WRONLY | _O_CREAT | _O_EXCL | _O_BINARY | _O_NOINHERIT;
constexpr int kDirect = _O_WRONLY | _O_CREAT | _O_TRUNC | _O_BINARY | _O_NOINHERIT;

std::wstring wide(const std::string& path) { return vexlibs::systemPath(path.c_str()); }

}  // namespace

ReplacedFile::ReplacedFile(const char* path, Existing existing) : existing_(existing) {
    errno = 0;
    open(path);
    if (!descriptor_.isOpen()) error_ = errno != 0 ? errno : EIO;
}

void ReplacedFile::open(const char* path) {
    const Asked old(path);
    if (!old.exists()) {
        storeErrno();
        if (errno == ENOENT) makeFile(path, 0);
    } else if (!old.isOnDisk()) {
        descriptor_ = Descriptor(_wopen(wide(path).c_str(), kDirect, _S_IREAD | _S_IWRITE));
    } else if ((old.attributes() & FILE_ATTRIBUTE_DIRECTORY) != 0) {
        errno = EISDIR;
    } else if (existing_ == kKeep) {
        errno = EEXIST;
    } else if ((old.attributes() & FILE_ATTRIBUTE_READONLY) != 0) {
        errno = EACCES;
    } else {
        const std::string target = old.finalName();
        replaces_ = true;
        makeFile(target.empty() ? path : target, 0);
    }
}

void ReplacedFile::makeFile(const std::string& target, int) {
    name_ = target;
    const std::string folder = target.substr(0, target.size() - vexlibs::nameIn(target).size());
    temporary_ = makeTemporary([&](const std::string& free) {
        descriptor_ = Descriptor(_wopen(wide(folder + free).c_str(), kNewFile, _S_IREAD | _S_IWRITE));
        return descriptor_.isOpen();
    });
    if (!temporary_.empty()) temporary_ = folder + temporary_;
}

ReplacedFile::~ReplacedFile() {
    if (temporary_.empty()) return;
    if (descriptor_.isOpen()) descriptor_.close();
    DeleteFileW(wide(temporary_).c_str());
}

bool isFolder(const char* path) {
    const Asked asked(path);
    return asked.exists() && (asked.attributes() & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

bool ReplacedFile::storeOnDisk(int descriptor) {
    // Devices and pipes have no disk.
    const auto handle = reinterpret_cast<HANDLE>(_get_osfhandle(descriptor));
    return GetFileType(handle) != FILE_TYPE_DISK || _commit(descriptor) == 0;
}

bool ReplacedFile::commit() {
    if (error_ != 0) return false;
    if (temporary_.empty()) return true;
    if ((!descriptor_.isOpen() || descriptor_.close()) && giveName()) return true;
    error_ = errno;
    return false;
}

// False, with errno, when the file cannot have the name of the target.
bool ReplacedFile::giveName() {
    const std::wstring from = wide(temporary_);
    const std::wstring to = wide(name_);
    const DWORD kept = REPLACEFILE_IGNORE_MERGE_ERRORS | REPLACEFILE_IGNORE_ACL_ERRORS;
    // Replacing keeps the access list, the streams and the time of creation of the old file; where a file
    // system has no such call, moving does what remains.
    const bool isReplaced =
        replaces_ && ReplaceFileW(to.c_str(), from.c_str(), nullptr, kept, nullptr, nullptr) != 0;
    const DWORD how = MOVEFILE_WRITE_THROUGH | (existing_ == kReplace ? MOVEFILE_REPLACE_EXISTING : 0);
    if (!isReplaced && MoveFileExW(from.c_str(), to.c_str(), how) == 0) {
        storeErrno();
        return false;
    }
    temporary_.clear();
    return true;
}

}  // namespace files

#include "files/NewFolder.h"

#include <windows.h>

#include <cerrno>
#include <filesystem>

#include "files/TemporaryName.h"
#include "files/windows/Errors.h"
#include "vexlibs/NativePath.h"
#include "vexlibs/SystemPath.h"

namespace files {

namespace fs = std::filesystem;

namespace {

std::wstring wide(const std::string& path) { return vexlibs::systemPath(path.c_str()); }

// Why a path cannot become a new folder; 0 where it can.
int obstacleAt(const fs::path& target) {
    std::error_code error;
    const fs::file_type type = fs::status(target, error).type();
    if (type == fs::file_type::not_found) return 0;
    if (type != fs::file_type::directory) return type == fs::file_type::none ? EACCES : ENOTDIR;
    const bool isEmpty = fs::is_empty(target, error);
    return error ? EACCES : isEmpty ? 0 : ENOTEMPTY;
}

}  // namespace

NewFolder::NewFolder(const std::string& path) {
    std::error_code error;
    fs::path target = fs::weakly_canonical(fs::absolute(vexlibs::pathOf(path), error), error);
    if (!target.has_filename()) target = target.parent_path();
    error_ = error ? ENOENT : obstacleAt(target);
    if (error_ == 0) fs::create_directories(target.parent_path(), error);
    if (error) error_ = error.default_error_condition().value();
    if (error_ != 0) return;
    const std::string above = vexlibs::textOf(target.parent_path()) + "\\";
    const std::string name = makeTemporary([&](const std::string& free) {
        const bool isMade = CreateDirectoryW(wide(above + free).c_str(), nullptr) != 0;
        if (!isMade) storeErrno();
        return isMade;
    });
    error_ = name.empty() ? errno : 0;
    target_ = vexlibs::textOf(target);
    if (!name.empty()) path_ = above + name;
}

NewFolder::~NewFolder() {
    std::error_code ignored;
    if (!path_.empty()) fs::remove_all(vexlibs::pathOf(path_), ignored);
}

bool NewFolder::commit() {
    if (error_ != 0) return false;
    // Only an empty folder is removed by this; what else has the name stops the renaming.
    RemoveDirectoryW(wide(target_).c_str());
    if (MoveFileExW(wide(path_).c_str(), wide(target_).c_str(), 0) == 0) {
        storeErrno();
        error_ = errno;
        return false;
    }
    path_.clear();
    return true;
}

}  // namespace files

#include "files/NewFolder.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>

#include "files/TemporaryName.h"

namespace files {

namespace fs = std::filesystem;

namespace {

// Where a path leads, whether or not there is anything.
fs::path targetOf(const std::string& path, std::error_code& error) {
    constexpr int kMostLinks = 40;
    fs::path target = fs::absolute(path, error);
    if (!target.has_filename()) target = target.parent_path();
    // A link to nothing is followed too.
    for (int i = 0; i < kMostLinks && fs::is_symlink(target, error); ++i)
        target = target.parent_path() / fs::read_symlink(target, error);
    return error && error != std::errc::no_such_file_or_directory ? target
                                                                  : fs::weakly_canonical(target, error);
}

// Why a path cannot become a new folder; no error where it can.
std::error_code obstacleAt(const fs::path& target) {
    std::error_code error;
    const fs::file_type type = fs::status(target, error).type();
    if (type == fs::file_type::not_found) return {};
    if (error) return error;
    if (type != fs::file_type::directory) return std::make_error_code(std::errc::not_a_directory);
    const bool isEmpty = fs::is_empty(target, error);
    return error || isEmpty ? error : std::make_error_code(std::errc::directory_not_empty);
}

}  // namespace

NewFolder::NewFolder(const std::string& path) {
    std::error_code error;
    const fs::path target = targetOf(path, error);
    if (!error) error = obstacleAt(target);
    if (!error) fs::create_directories(target.parent_path(), error);
    error_ = error.value();
    if (error_ != 0) return;
    const std::string above = target.parent_path() / "";
    const std::string name =
        makeTemporary([&](const std::string& free) { return ::mkdir((above + free).c_str(), 0777) == 0; });
    error_ = name.empty() ? errno : 0;
    target_ = target;
    if (!name.empty()) path_ = above + name;
}

NewFolder::~NewFolder() {
    std::error_code ignored;
    if (!path_.empty()) fs::remove_all(path_, ignored);
}

bool NewFolder::commit() {
    if (error_ != 0) return false;
    // Only an empty folder is replaced.
    if (std::rename(path_.c_str(), target_.c_str()) != 0) {
        error_ = errno;
        return false;
    }
    path_.clear();
    return true;
}

}  // namespace files

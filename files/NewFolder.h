// A folder that appears with all of its files or not at all.
#ifndef FILES_NEW_FOLDER_H
#define FILES_NEW_FOLDER_H

#include <string>

namespace files {

// The files are written to a folder of a temporary name (".dib-PID-N") beside the target, which is removed
// with the object unless commit() renamed it. Folders above the target are made as far as they are missing,
// and stay.
//
// The constructor and commit() may throw std::bad_alloc.
class NewFolder {
public:
    explicit NewFolder(const std::string& path);
    ~NewFolder();
    NewFolder(const NewFolder&) = delete;
    NewFolder& operator=(const NewFolder&) = delete;

    // The system's error number of the step that failed, or 0. A target that exists must be an empty folder:
    // others fail with ENOTEMPTY or ENOTDIR.
    int error() const { return error_; }
    // Where to write the files.
    const std::string& path() const { return path_; }
    // Gives the folder its name. False when it cannot have that: the target is unchanged.
    bool commit();

private:
    std::string target_;
    std::string path_;  // empty: there is none
    int error_ = 0;
};

}  // namespace files

#endif

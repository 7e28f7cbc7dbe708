// A file that replaces another one only when it is complete.
#ifndef FILES_REPLACED_FILE_H
#define FILES_REPLACED_FILE_H

#include <string>

#include "files/Descriptor.h"

namespace files {

// The new file is written under a temporary name in the folder of the target, and removed with the object
// unless commit() renamed it. Links are followed and stay, also those to a file that does not exist yet.
// Targets that cannot be replaced (devices, pipes, files without a name) are written directly.
//
// The new file gets the owner, group, mode and extended attributes of the file that it replaces, as far as
// the system permits, and is private until then. Set-user-ID and set-group-ID bits stay only with the same
// owner and group. Where there was no file, it gets the mode of any new file.
//
// The constructor and commit() may throw std::bad_alloc.
class ReplacedFile {
public:
    explicit ReplacedFile(const char* path);
    ~ReplacedFile();
    ReplacedFile(const ReplacedFile&) = delete;
    ReplacedFile& operator=(const ReplacedFile&) = delete;

    // The system's error number of the step that failed, or 0. A target that is protected from writing fails
    // with EACCES, although its folder would permit to replace it.
    int error() const { return error_; }
    // The file to write: an empty one that exists, to be written through the descriptor or opened by name.
    const std::string& path() const { return path_; }
    // Open for writing until it is taken.
    Descriptor& descriptor() { return descriptor_; }
    // Waits until the system has stored on the disk what was written. False when it could not.
    static bool storeOnDisk(int descriptor);
    // Puts the file in place, after it was written and closed. False when it could not be: the target is
    // unchanged.
    bool commit();

private:
    void open(const char* path);
    void openTemporary(int mode);

    std::string target_;
    std::string path_;
    Descriptor descriptor_;
    bool replaces_ = false;     // an older file
    bool isTemporary_ = false;  // the file at path_
    int error_ = 0;
};

// Whether a path leads to a folder.
bool isFolder(const char* path);

}  // namespace files

#endif

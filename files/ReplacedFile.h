// A file that replaces another one only when it is complete.
#ifndef FILES_REPLACED_FILE_H
#define FILES_REPLACED_FILE_H

#include <string>

#include "files/Descriptor.h"

namespace files {

// The new file has no name where the system has such files; elsewhere it has a temporary one in the folder
// of the target, ".dib-PID-N", which is removed with the object unless commit() renamed it. Links are
// followed and stay, also those to a file that does not exist yet. The folder stays the one that it was when
// the object was made, even if another one gets its name meanwhile. Targets that cannot be replaced (devices,
// pipes, files without a name) are written directly.
//
// The new file gets the owner, group, mode and extended attributes of the file that it replaces, as far as
// the system permits, and is private until then. Set-user-ID and set-group-ID bits stay only with the same
// owner and group. Where there was no file, it gets the mode of any new file.
//
// The constructor and commit() may throw std::bad_alloc.
class ReplacedFile {
public:
    enum Existing { kReplace, kKeep };

    // With `kKeep` a file that exists, also one that appears before commit(), fails with EEXIST.
    explicit ReplacedFile(const char* path, Existing existing = kReplace);
    ~ReplacedFile();
    ReplacedFile(const ReplacedFile&) = delete;
    ReplacedFile& operator=(const ReplacedFile&) = delete;

    // The system's error number of the step that failed, or 0. A target that is protected from writing fails
    // with EACCES, although its folder would permit to replace it.
    int error() const { return error_; }
    // The file to write, an empty one. Whoever takes it may close it.
    Descriptor& descriptor() { return descriptor_; }
    // Waits until the system has stored on the disk what was written. False when it could not.
    static bool storeOnDisk(int descriptor);
    // Puts the file in place after it was written. False when it could not be: the target is unchanged.
    bool commit();

private:
    void open(const char* path);
    void makeFile(const std::string& target, int mode);
    bool giveName();

    Existing existing_;
    Descriptor folder_;      // of the target; not open when that is written directly
    std::string name_;       // of the target in it
    Descriptor made_;        // the new file
    Descriptor descriptor_;  // the same, for the caller
    std::string temporary_;  // name of the new file; empty when it has none
    bool replaces_ = false;  // an older file
    int error_ = 0;
};

// Whether a path leads to a folder.
bool isFolder(const char* path);

}  // namespace files

#endif

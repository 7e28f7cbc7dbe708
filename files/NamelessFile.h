// A temporary file that only its owner knows, gone with it.
#ifndef FILES_NAMELESS_FILE_H
#define FILES_NAMELESS_FILE_H

#include <string>

#include "files/Descriptor.h"

namespace files {

// The folder for temporary files: what TMPDIR names, or the system's own. May throw std::bad_alloc.
std::string temporaryFolder();

// In that folder. It has no name where the system can open such a file by a path: then it is gone whatever
// becomes of the program. May throw std::bad_alloc.
class NamelessFile {
public:
    NamelessFile();
    ~NamelessFile();
    NamelessFile(const NamelessFile&) = delete;
    NamelessFile& operator=(const NamelessFile&) = delete;

    // False, with errno after the constructor, when it could not be made.
    bool exists() const { return !path_.empty(); }
    // Opens it anew; UTF-8.
    const std::string& path() const { return path_; }

private:
    Descriptor file_;
    std::string path_;
};

}  // namespace files

#endif

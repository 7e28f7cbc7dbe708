// A file that takes its place only when it is whole.
#ifndef FORMATS_LINUX_REPLACED_FILE_H
#define FORMATS_LINUX_REPLACED_FILE_H

#include <cstdio>
#include <string>

#include "dib/File.h"

namespace formats {

// Written under another name in the folder of the target. Without commit() it vanishes with the object. Targets that
// cannot be replaced (devices, pipes, files without a name) are written at once. Names may run out of memory by
// std::bad_alloc.
class ReplacedFile {
public:
    explicit ReplacedFile(const char* path);
    ~ReplacedFile();
    ReplacedFile(const ReplacedFile&) = delete;
    ReplacedFile& operator=(const ReplacedFile&) = delete;

    // Null when the file cannot be made.
    std::FILE* get() const { return file_.get(); }
    // Whether everything was written and the file is in its place.
    bool commit();

private:
    dib::FilePtr file_;
    std::string target_;
    std::string temporary_;  // empty when the target itself is written
};

}  // namespace formats

#endif

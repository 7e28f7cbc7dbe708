// A temporary file without a name, gone with its descriptor whatever becomes of the program.
#ifndef FILES_NAMELESS_FILE_H
#define FILES_NAMELESS_FILE_H

#include <string>

#include "files/Descriptor.h"

namespace files {

// In the folder for temporary files; not open, with errno, when it cannot be made. May throw std::bad_alloc.
Descriptor makeNamelessFile();

// A path that opens the same file anew.
std::string pathOf(const Descriptor& descriptor);

}  // namespace files

#endif

// The named values that a system keeps with a file beside its content: labels, access lists, download
// origins.
#ifndef FILES_EXTENDED_ATTRIBUTES_H
#define FILES_EXTENDED_ATTRIBUTES_H

namespace files {

// Copies between two open files what the system permits; the others are left out. May throw std::bad_alloc.
void copyExtendedAttributes(int from, int to);

}  // namespace files

#endif

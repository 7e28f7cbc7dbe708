// The system's errors as the numbers of the C library.
#ifndef FILES_WINDOWS_ERRORS_H
#define FILES_WINDOWS_ERRORS_H

namespace files {

int errnoOf(unsigned long error);
// Stores that of the last call that failed.
void storeErrno();

}  // namespace files

#endif

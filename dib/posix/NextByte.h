// The next byte of a stream without the lock that `getc` takes: packets of a few bytes are read through it.
#ifndef DIB_POSIX_NEXT_BYTE_H
#define DIB_POSIX_NEXT_BYTE_H

#include <cstdio>

namespace dib {

// Negative at the end.
inline int nextByte(std::FILE* file) { return getc_unlocked(file); }

}  // namespace dib

#endif

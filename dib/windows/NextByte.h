// The next byte of a stream.
#ifndef DIB_WINDOWS_NEXT_BYTE_H
#define DIB_WINDOWS_NEXT_BYTE_H

#include <cstdio>

namespace dib {

// Negative at the end.
inline int nextByte(std::FILE* file) { return std::getc(file); }

}  // namespace dib

#endif

// Changing every byte of a block alike.
#ifndef DIB_BYTE_TONE_H
#define DIB_BYTE_TONE_H

#include <cstddef>

namespace dib {

// Replaces every byte by its complement.
void invertBytes(unsigned char* bytes, std::size_t count);

}  // namespace dib

#endif

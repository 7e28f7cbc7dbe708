// Changing every byte of a block alike: by its complement, or through a table of 256 entries.
#ifndef DIB_BYTE_TONE_H
#define DIB_BYTE_TONE_H

#include <cstddef>

namespace dib {

// Replaces every byte by its complement.
void invertBytes(unsigned char* bytes, std::size_t count);
// Replaces every byte by its table entry.
void lookUpBytes(unsigned char* bytes, std::size_t count, const unsigned char* table);
// Replaces the first three bytes of every four.
void lookUpColors(unsigned char* pixels, std::size_t count, const unsigned char* table);

}  // namespace dib

#endif

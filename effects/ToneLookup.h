// Bytes through a table of 256 entries.
#ifndef EFFECTS_TONE_LOOKUP_H
#define EFFECTS_TONE_LOOKUP_H

#include <cstddef>

namespace dib {

// Replaces every byte by its table entry.
void lookUpBytes(unsigned char* bytes, std::size_t count, const unsigned char* table);
// Replaces the first three bytes of every four.
void lookUpColors(unsigned char* pixels, std::size_t count, const unsigned char* table);

}  // namespace dib

#endif

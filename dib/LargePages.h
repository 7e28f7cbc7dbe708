// Large pages under a fresh block of memory: fewer page faults while it is written for the first time.
#ifndef DIB_LARGE_PAGES_H
#define DIB_LARGE_PAGES_H

#include <cstddef>

namespace dib {

// Advice only, which the system may refuse.
void preferLargePages(unsigned char* block, std::size_t bytes);

}  // namespace dib

#endif

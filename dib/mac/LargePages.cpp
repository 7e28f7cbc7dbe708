#include "dib/LargePages.h"

namespace dib {

// This system chooses its pages by itself.
void preferLargePages(unsigned char*, std::size_t) {}

}  // namespace dib

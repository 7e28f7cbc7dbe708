#include "dib/LargePages.h"

namespace dib {

// Programs need a privilege for large pages here.
void preferLargePages(unsigned char*, std::size_t) {}

}  // namespace dib

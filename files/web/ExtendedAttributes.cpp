#include "files/ExtendedAttributes.h"

namespace files {

// Files in the memory of a page have none.
void copyExtendedAttributes(int /*from*/, int /*to*/) {}

}  // namespace files

#include "files/ExtendedAttributes.h"

#include <copyfile.h>

namespace files {

void copyExtendedAttributes(int from, int to) { fcopyfile(from, to, nullptr, COPYFILE_ACL | COPYFILE_XATTR); }

}  // namespace files

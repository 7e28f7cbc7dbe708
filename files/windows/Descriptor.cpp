#include "files/Descriptor.h"

#include <io.h>

namespace files {

Descriptor::~Descriptor() {
    if (isOpen()) _close(number_);
}

bool Descriptor::close() { return _close(take()) == 0; }

}  // namespace files

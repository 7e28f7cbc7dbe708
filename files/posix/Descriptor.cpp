#include "files/Descriptor.h"

#include <unistd.h>

namespace files {

Descriptor::~Descriptor() {
    if (isOpen()) ::close(number_);
}

bool Descriptor::close() { return ::close(take()) == 0; }

}  // namespace files

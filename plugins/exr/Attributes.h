// The attributes of an EXR file's headers, before OpenEXR sees them.
#ifndef PLUGINS_EXR_ATTRIBUTES_H
#define PLUGINS_EXR_ATTRIBUTES_H

#include <cstdint>
#include <cstdio>

namespace plugins::exr {

// Negative when it cannot be told. Leaves the file at its end.
std::int64_t lengthOf(std::FILE* file);

// Whether the values of all attributes lie within the file and are as long as they are said to be, which the
// C interface does not check of every one: OpenEXR's classes allocate what a value is said to take before
// they read it. Throws std::bad_alloc.
bool areAttributesWhole(std::FILE* file);

}  // namespace plugins::exr

#endif

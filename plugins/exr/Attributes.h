// Checks the attributes of an EXR file's headers before OpenEXR reads them.
#ifndef PLUGINS_EXR_ATTRIBUTES_H
#define PLUGINS_EXR_ATTRIBUTES_H

#include "plugins/Job.h"

namespace plugins::exr {

// Whether the values of all attributes lie within the file and have the announced length. OpenEXR's classes
// allocate the announced length before they read a value, and the C interface does not check every one.
// `isCut` becomes true when one of them ends beyond the file. Throws std::bad_alloc.
bool areAttributesWhole(Job& job, bool& isCut);

}  // namespace plugins::exr

#endif

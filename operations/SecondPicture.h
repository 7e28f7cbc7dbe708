// The second pictures that steps name.
#ifndef OPERATIONS_SECOND_PICTURE_H
#define OPERATIONS_SECOND_PICTURE_H

#include <string>

#include "operations/Operations.h"

namespace operations {

// Opens a picture, or a palette file (DibPalette.h), as the caller's options say, and adds its notes to the
// result. Throws Refusal.
void openPicture(const Job& job, const std::string& name, DibStream& picture);

}  // namespace operations

#endif

// Pictures that steps name beside the one that they change.
#ifndef OPERATIONS_SECOND_PICTURE_H
#define OPERATIONS_SECOND_PICTURE_H

#include <string>

#include "operations/Operations.h"

namespace operations {

// Opens a picture, or a palette file (DibPalette.h), as the caller's options say and hands its notes on.
// Throws Refusal.
void openPicture(const Job& job, const std::string& name, DibStream& picture);

}  // namespace operations

#endif

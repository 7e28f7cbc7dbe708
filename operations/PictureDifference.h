// What differs between two pictures.
#ifndef OPERATIONS_PICTURE_DIFFERENCE_H
#define OPERATIONS_PICTURE_DIFFERENCE_H

#include <DibOperation.h>

namespace operations {

// Compares two pictures of any depth. `shown` becomes the picture of the differences, unless it is null; it
// may be one of the two. False, with `shown` unchanged, when the caller cancels. Throws Refusal.
bool compare(const DibStream& first, const DibStream& second, int gain, DibDifference& difference,
             DibStream* shown, DibProgressCallback callback, void* user);

}  // namespace operations

#endif

// The rank filters as plain nested loops: every neighbourhood is visited pixel by pixel.
#ifndef TESTS_REFERENCE_RANK_REFERENCE_H
#define TESTS_REFERENCE_RANK_REFERENCE_H

#include <DibStream.h>

namespace reference {

void brightMax(DibStream& image, int radius, unsigned int flags);
void brightMin(DibStream& image, int radius, unsigned int flags);
void brightMiddle(DibStream& image, int radius, unsigned int flags);

}  // namespace reference

#endif

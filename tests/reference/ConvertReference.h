// Depth conversion pixel by pixel, written down as it is described and with nothing of the library but the
// container.
#ifndef TESTS_REFERENCE_CONVERT_REFERENCE_H
#define TESTS_REFERENCE_CONVERT_REFERENCE_H

#include <DibStream.h>

#include <vector>

namespace reference {

// The pixels of an image in buffer order.
std::vector<DibBGRA> pixelsOf(const DibStream& image);
std::vector<unsigned char> greysOf(const DibStream& image);

// Makes `result` what `source` must become; fill bytes of its rows are 0. Returns whether the conversion
// exists.
bool changeBpp(const DibStream& source, int bitCount, unsigned int flags, DibStream& result);

}  // namespace reference

#endif

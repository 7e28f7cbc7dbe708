// Turning pictures upright, by the orientation in their files.
#ifndef FORMATS_DOOR_ORIENTATION_H
#define FORMATS_DOOR_ORIENTATION_H

#include <DibFile.h>

namespace formats {

// Whether turning a picture exchanges its width and height.
constexpr bool exchangesSides(int orientation) { return orientation >= 5 && orientation <= 8; }

// Exchanges the resolutions of columns and rows where turning a picture exchanges its sides.
void exchangeResolution(int orientation, DibMetadata& metadata);

// Turns a picture that has pixels by `result.metadata.orientation`, which becomes 1, with its
// resolution. False with code 2 and a
// reason when memory is short.
bool turnUpright(DibStream& image, DibFileResult& result);

}  // namespace formats

#endif

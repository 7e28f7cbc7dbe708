// Turning and mirroring pictures.
#ifndef DIB_TURN_H
#define DIB_TURN_H

#include <DibStream.h>

#include "dib/Raster.h"

namespace dib {

// The pixel at (x, y) of the turned picture: the coordinates exchanged, then each mirrored in the picture as
// it is stored.
struct Turn {
    bool isExchanged;
    bool isMirroredX;
    bool isMirroredY;
};

// By orientation, 1 to 8 as in EXIF and TIFF, from index 0 on.
inline constexpr Turn kTurns[] = {{false, false, false}, {false, true, false}, {false, true, true},
                                  {false, false, true},  {true, false, false}, {true, false, true},
                                  {true, true, true},    {true, true, false}};

// Creates the turned picture, with the colour table of the stored one; `height` has the sign of its row
// order. False when the caller cancels, and with the code of `Create` when memory is short.
bool turnInto(const DibStream& stored, const Turn& turn, int heightSign, DibStream& turned,
              DibProgressCallback callback = nullptr, void* user = nullptr);

}  // namespace dib

#endif

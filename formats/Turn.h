// How pictures are turned for display.
#ifndef FORMATS_TURN_H
#define FORMATS_TURN_H

namespace formats {

// The pixel at (x, y) of the upright picture: the coordinates exchanged, then each mirrored in the picture as
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

}  // namespace formats

#endif

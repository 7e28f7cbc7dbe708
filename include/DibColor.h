/// @file
/// Colours at positions between pixels, one function for each depth.
///
/// Whole numbers are pixel positions: x = 3.5 lies halfway between columns 3 and 4. x counts columns from the
/// left, y rows from the top of the picture. The flags hold `DIB_WRAP_X` (1) and `DIB_WRAP_Y` (2): a set bit
/// wraps that coordinate around the image, a clear bit clamps it to the edge; other bits are ignored.
///
/// 1, 4, 8 and 16 bits take the nearest pixel to the upper left (coordinates are truncated); 24 and 32 bits
/// mix the four surrounding pixels with weights in 1/256. The result has the layout of a stored pixel, so
/// that its bytes can be written back from the low end.
///
/// Call the function of the image's depth. On an image of another depth the bytes are read with the wrong
/// layout; the result is 0 where a pixel that has a weight lies partly beyond the pixel block. It is 0, too,
/// without a header or without pixels. NaN reads position 0; an infinite coordinate reads the end of its axis
/// when clamped, position 0 when wrapped.
#ifndef DIBSTREAM_DIBCOLOR_H
#define DIBSTREAM_DIBCOLOR_H

#include <DibStream.h>

/// Flag bits of the functions that read pixels at positions, effects among them. A clear bit clamps that
/// axis to the edge.
enum DibEffectFlag : unsigned int {
    DIB_WRAP_X = 1,  ///< Horizontal coordinates wrap around the image.
    DIB_WRAP_Y = 2,  ///< Vertical coordinates wrap around the image.
};

/// The pixel's bit, 0 or 1, of a 1-bit image.
DIB_EXPORT std::uint32_t DibGetColor1(DibStream* image, float x, float y, unsigned int flags);
/// The palette index, 0 to 15, of a 4-bit image.
DIB_EXPORT std::uint32_t DibGetColor4(DibStream* image, float x, float y, unsigned int flags);
/// The palette index, 0 to 255, of an 8-bit image.
DIB_EXPORT std::uint32_t DibGetColor8(DibStream* image, float x, float y, unsigned int flags);
/// The 16-bit word as stored in a 16-bit image; its colour fields are not unpacked.
DIB_EXPORT std::uint32_t DibGetColor16(DibStream* image, float x, float y, unsigned int flags);
/// Blue in bits 0-7, green in 8-15, red in 16-23 of a 24-bit image; bits 24-31 are 0.
DIB_EXPORT std::uint32_t DibGetColor24(DibStream* image, float x, float y, unsigned int flags);
/// Blue in bits 0-7, green in 8-15, red in 16-23, alpha in 24-31 of a 32-bit image.
///
/// On the last column, with x clamped and two rows to mix (that is, a row below exists or y wraps), bits
/// 24-31 repeat red instead of holding alpha.
DIB_EXPORT std::uint32_t DibGetColor32(DibStream* image, float x, float y, unsigned int flags);

#endif

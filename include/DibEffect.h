/// @file
/// Image effects. Each changes one image in place and keeps its size, depth, header and colour table.
#ifndef DIBSTREAM_DIBEFFECT_H
#define DIBSTREAM_DIBEFFECT_H

#include <DibStream.h>

/// Flag bits shared by the effects that look at other pixels; a clear bit clamps that axis to the edge.
enum DibEffectFlag : unsigned int {
    DIB_WRAP_X = 1,  ///< Horizontal coordinates wrap around the image.
    DIB_WRAP_Y = 2,  ///< Vertical coordinates wrap around the image.
};

/// @name Reverse
/// @{
/// @}

/// @name Distortions
/// @{
/// @}

/// @name Blur and sharpen
/// @{
/// @}

/// @name Rank filters
/// @{
/// @}

/// @name Edge and relief
/// @{
/// @}

/// @name Noise
/// @{
/// @}

/// @name Compose
/// @{
/// @}

/// @name Tone curves
/// @{
/// @}

#endif

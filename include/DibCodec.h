/// @file
/// Image files other than BMP: one section per format.
///
/// Every loader replaces the image it is given; every path may be UTF-8 or wide. What a failure leaves, and
/// which code it stores in `DibStream::ErrorCode`, is said per function.
#ifndef DIBSTREAM_DIBCODEC_H
#define DIBSTREAM_DIBCODEC_H

#include <DibStream.h>

/// @name TGA
/// @{
/// @}

/// @name Radiance HDR
/// @{
/// @}

/// @name PSD
/// @{
/// @}

/// @name IFF ILBM
/// @{
/// @}

/// @name JPEG, TIFF and PNG
/// @{
/// @}

/// @name EXR and DDS plug-ins
/// @{
/// @}

/// @name TIM
/// @{
/// @}

/// @name PPM and PGM
/// @{
/// @}

#endif

// What browsers need beside dibstream.h; dibstream.mjs calls it.
#ifndef WEB_WEB_H
#define WEB_WEB_H

#include <dibstream.h>

#ifdef __cplusplus
extern "C" {
#endif

/// Where the members of the structures of dibstream.h lie, as JSON: for each structure its size in bytes, the
/// address of one with its default values, and its members with offset, kind and size.
DIB_C_EXPORT const char* dib_web_layout(void);
/// Copies the pixels of an image, from its top left, as red, green, blue and alpha, four bytes each. Alpha is
/// 255 below 32 bits.
/// @param pixels Gets 4 x width x height bytes.
DIB_C_EXPORT void dib_web_pixels(const dib_image* image, unsigned char* pixels);

#ifdef __cplusplus
}
#endif

#endif

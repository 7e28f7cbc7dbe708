/**
 * @file
 * Radiance RGBE files as floats: header and pixels, for C and C++.
 *
 * A pixel of a file is 4 bytes: mantissas of red, green and blue and their common exponent. Every `RGBE_`
 * routine works on an open file from its current position, reads no byte that it does not need, returns 0 on
 * success and -1 on failure, and prints the reason of a failure to standard error.
 */
#ifndef DIBSTREAM_DIBRGBE_H
#define DIBSTREAM_DIBRGBE_H

#include <DibExport.h>
#include <stdio.h>

#ifdef __cplusplus
extern "C" {
#endif

/** Bits of `rgbe_header_info::valid`. */
enum {
    RGBE_VALID_PROGRAMTYPE = 1, /**< `programtype` is set. */
    RGBE_VALID_GAMMA = 2,       /**< `gamma` is set. */
    RGBE_VALID_EXPOSURE = 4     /**< `exposure` is set. */
};

/** The fields of a header other than the size. */
typedef struct rgbe_header_info {
    int valid;            /**< Which of the fields are set: bits of 1, 2 and 4. */
    char programtype[16]; /**< The text after "#?" on the first line, at most 15 characters. */
    float gamma;          /**< 1 unless set. Not applied to pixels. */
    float exposure;       /**< 1 unless set. Not applied to pixels. */
} rgbe_header_info;

/** Writes the header of a picture. @param info May be null: the program type is then "RGBE". */
DIB_EXPORT int RGBE_WriteHeader(FILE* file, int width, int height, const rgbe_header_info* info);
/**
 * Reads a header up to the first pixel. A size that does not fit an int becomes the nearest one; negative
 * sizes are returned unchanged. @param info May be null.
 */
DIB_EXPORT int RGBE_ReadHeader(FILE* file, int* width, int* height, rgbe_header_info* info);

/** Writes `count` pixels of 3 floats each, flat: 4 bytes a pixel. */
DIB_EXPORT int RGBE_WritePixels(FILE* file, const float* data, int count);
/** Reads `count` flat pixels into 3 floats each. */
DIB_EXPORT int RGBE_ReadPixels(FILE* file, float* data, int count);

/** Writes `rows` rows in run-length packets; flat where the width is below 8 or above 32767. */
DIB_EXPORT int RGBE_WritePixels_RLE(FILE* file, const float* data, int width, int rows);
/**
 * Reads `rows` rows. Each may be in packets; the first row that is not, and all rows after it, are read flat.
 */
DIB_EXPORT int RGBE_ReadPixels_RLE(FILE* file, float* data, int width, int rows);

/**
 * Turns a colour into a pixel of 4 bytes. A colour whose largest part is below 1e-32 becomes four zeros;
 * negative parts and NaN become 0; parts of 2^127 and more become the largest that a pixel can hold.
 */
DIB_EXPORT void float2rgbe(unsigned char* rgbe, float red, float green, float blue);
/** Turns a pixel of 4 bytes into a colour. */
DIB_EXPORT void rgbe2float(float* red, float* green, float* blue, const unsigned char* rgbe);

#ifdef __cplusplus
}
#endif

#endif

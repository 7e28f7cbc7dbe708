/* The routines in a C program: each writes a row or reads it back. Returns 0 when every row is as written. */
#include <DibRgbe.h>
#include <string.h>

int rgbeFromC(FILE* file);

int rgbeFromC(FILE* file) {
    rgbe_header_info info = {RGBE_VALID_PROGRAMTYPE | RGBE_VALID_EXPOSURE, "C", 1.0F, 2.0F};
    rgbe_header_info read;
    float pixels[24];
    float again[24];
    unsigned char pixel[4];
    int width = 0;
    int height = 0;
    int i;

    for (i = 0; i < 24; ++i) pixels[i] = (float)(i % 8) / 8.0F;
    float2rgbe(pixel, 1.0F, 0.5F, 0.25F);
    rgbe2float(&again[0], &again[1], &again[2], pixel);
    if (again[0] != 1.0F || again[1] != 0.5F || again[2] != 0.25F) return 1;

    if (RGBE_WriteHeader(file, 8, 1, &info) != 0) return 2;
    if (RGBE_WritePixels_RLE(file, pixels, 8, 1) != 0) return 3;
    if (RGBE_WritePixels(file, pixels, 8) != 0) return 4;
    rewind(file);
    if (RGBE_ReadHeader(file, &width, &height, &read) != 0) return 5;
    if (width != 8 || height != 1 || read.valid != info.valid || strcmp(read.programtype, "C") != 0) return 6;
    if (RGBE_ReadPixels_RLE(file, again, 8, 1) != 0) return 7;
    if (memcmp(pixels, again, sizeof pixels) != 0) return 8;
    if (RGBE_ReadPixels(file, again, 8) != 0) return 9;
    if (memcmp(pixels, again, sizeof pixels) != 0) return 10;
    return 0;
}

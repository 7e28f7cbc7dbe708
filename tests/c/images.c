/* Images from C: making, wrapping, copying, rows and palettes. */
#include <string.h>

#include "tests/c/Checks.h"

static const int kDepths[] = {1, 4, 8, 16, 24, 32};

dib_image* countedImage(int bitCount, int rowOrder) {
    dib_image* image;
    unsigned char next = 1;
    int row;
    size_t i;
    if (dib_image_new(3, 2, bitCount, rowOrder, &image) != DIB_C_OK) return NULL;
    for (row = 0; row < 2; ++row) {
        for (i = 0; i < ((size_t)bitCount * 3 + 7) / 8; ++i) dib_image_row(image, row)[i] = next++;
    }
    return image;
}

int isSameImage(const dib_image* a, const dib_image* b) {
    uint32_t colorsOfA[256] = {0};
    uint32_t colorsOfB[256] = {0};
    int row;
    const int height = dib_image_height(a);
    const int bits = dib_image_width(a) * dib_image_bit_count(a);
    if (height != dib_image_height(b) || bits != dib_image_width(b) * dib_image_bit_count(b)) return 0;
    for (row = 0; row < height; ++row) {
        if (memcmp(dib_image_const_row(a, row), dib_image_const_row(b, row), (size_t)bits / 8) != 0) return 0;
    }
    dib_image_get_palette(a, colorsOfA, 256);
    dib_image_get_palette(b, colorsOfB, 256);
    return memcmp(colorsOfA, colorsOfB, sizeof colorsOfA) == 0;
}

void newImagesAreBlank(void) {
    static const size_t rowBytes[] = {4, 8, 12, 20, 28, 36};
    static const int entries[] = {2, 16, 256, 0, 0, 0};
    int i;
    for (i = 0; i < 6; ++i) {
        uint32_t colors[256] = {0};
        unsigned char zero[36] = {0};
        dib_image* image = NULL;
        CHECK(dib_image_new(9, 5, kDepths[i], DIB_C_TOP_DOWN, &image) == DIB_C_OK);
        CHECK(dib_image_width(image) == 9);
        CHECK(dib_image_height(image) == 5);
        CHECK(dib_image_bit_count(image) == kDepths[i]);
        CHECK(dib_image_row_order(image) == DIB_C_TOP_DOWN);
        CHECK(dib_image_row_bytes(image) == rowBytes[i]);
        CHECK(dib_row_bytes(9, kDepths[i]) == rowBytes[i]);
        CHECK(memcmp(dib_image_const_row(image, 4), zero, rowBytes[i]) == 0);
        CHECK(dib_image_get_palette(image, colors, 256) == entries[i]);
        if (entries[i] > 0) {
            CHECK(colors[0] == 0x000000);
            CHECK(colors[entries[i] - 1] == 0xFFFFFF);
        }
        if (kDepths[i] == 4) CHECK(colors[7] == 0x777777);
        dib_image_release(image);
    }
}

void imagesRefuse(void) {
    static const int wrong[][4] = {{0, 1, 8, 0}, {-1, 1, 8, 0}, {1, 0, 8, 0},  {1, -1, 8, 0}, {1, 1, 0, 0},
                                   {1, 1, 2, 0}, {1, 1, 48, 0}, {1, 1, -8, 0}, {1, 1, 8, -1}, {1, 1, 8, 2}};
    dib_image* image;
    size_t i;
    for (i = 0; i < sizeof wrong / sizeof wrong[0]; ++i) {
        uint32_t pixel = 0;
        const int* of = wrong[i];
        image = (dib_image*)&image;
        CHECK(dib_image_new(of[0], of[1], of[2], of[3], &image) == DIB_C_ERROR_INVALID);
        CHECK(image == NULL);
        image = (dib_image*)&image;
        CHECK(dib_image_wrap(&pixel, 4, of[0], of[1], of[2], of[3], &image) == DIB_C_ERROR_INVALID);
        CHECK(image == NULL);
    }
    /* 40 GB of pixels. */
    image = (dib_image*)&image;
    CHECK(dib_image_new(100000, 100000, 32, DIB_C_BOTTOM_UP, &image) == DIB_C_ERROR_MEMORY);
    CHECK(image == NULL);
    CHECK(dib_image_new(1, 1, 8, DIB_C_BOTTOM_UP, NULL) == DIB_C_ERROR_INVALID);
    CHECK(dib_row_bytes(0, 8) == 0);
    CHECK(dib_row_bytes(1, 3) == 0);
    CHECK(dib_row_bytes(2147483647, 32) == 0);
    CHECK(dib_row_bytes(1, 1) == 4);
}

void rowsCountFromTheTop(void) {
    dib_image* bottomUp = countedImage(24, DIB_C_BOTTOM_UP);
    dib_image* topDown = countedImage(24, DIB_C_TOP_DOWN);
    CHECK(dib_image_row_order(bottomUp) == DIB_C_BOTTOM_UP);
    CHECK(dib_image_row(bottomUp, 0) - dib_image_row(bottomUp, 1) == 12);
    CHECK(dib_image_row(topDown, 1) - dib_image_row(topDown, 0) == 12);
    CHECK(dib_image_row(bottomUp, 0)[0] == 1);
    CHECK(dib_image_row(bottomUp, 1)[8] == 18);
    CHECK(dib_image_const_row(topDown, 0)[0] == 1);
    CHECK(dib_image_const_row(topDown, 1)[8] == 18);
    CHECK(dib_image_row(topDown, -1) == NULL);
    CHECK(dib_image_row(topDown, 2) == NULL);
    CHECK(dib_image_const_row(bottomUp, 2) == NULL);
    CHECK(isSameImage(bottomUp, topDown));
    dib_image_release(bottomUp);
    dib_image_release(topDown);
}

void wrapsAreNeverFreed(void) {
    /* On the stack: freeing it would end the test program. */
    uint32_t pixels[2] = {0x00030201, 0x00060504};
    dib_image* image;
    int order;
    for (order = DIB_C_BOTTOM_UP; order <= DIB_C_TOP_DOWN; ++order) {
        const unsigned char* bytes = (const unsigned char*)pixels;
        CHECK(dib_image_wrap(pixels, 4, 3, 2, 8, order, &image) == DIB_C_OK);
        CHECK(dib_image_row_order(image) == (dib_row_order)order);
        CHECK(dib_image_row(image, 0) == (order == DIB_C_TOP_DOWN ? bytes : bytes + 4));
        CHECK(dib_image_get_palette(image, NULL, 0) == 256);
        dib_image_row(image, 0)[3] = 7;
        CHECK((order == DIB_C_TOP_DOWN ? bytes[3] : bytes[7]) == 7);
        dib_image_release(image);
        pixels[0] &= 0x00FFFFFF;
        pixels[1] &= 0x00FFFFFF;
    }
    CHECK(pixels[0] == 0x00030201);
    CHECK(pixels[1] == 0x00060504);
}

void wrapsRefuse(void) {
    uint32_t pixels[3] = {0};
    dib_image* image = (dib_image*)pixels;
    CHECK(dib_image_wrap(pixels, 3, 3, 2, 8, DIB_C_TOP_DOWN, &image) == DIB_C_ERROR_MISMATCH);
    CHECK(image == NULL);
    CHECK(dib_image_wrap(pixels, 8, 3, 2, 8, DIB_C_TOP_DOWN, &image) == DIB_C_ERROR_MISMATCH);
    CHECK(dib_image_wrap((char*)pixels + 1, 4, 3, 2, 8, DIB_C_TOP_DOWN, &image) == DIB_C_ERROR_MISMATCH);
    CHECK(dib_image_wrap(NULL, 4, 3, 2, 8, DIB_C_TOP_DOWN, &image) == DIB_C_ERROR_INVALID);
    CHECK(dib_image_wrap(pixels, 4, 3, 2, 8, DIB_C_TOP_DOWN, NULL) == DIB_C_ERROR_INVALID);
    CHECK(dib_image_wrap(pixels, 400000, 100000, 100000, 32, DIB_C_TOP_DOWN, &image) == DIB_C_ERROR_MEMORY);
    CHECK(image == NULL);
}

void clonesAreIndependent(void) {
    dib_image* image = countedImage(4, DIB_C_TOP_DOWN);
    dib_image* copy = NULL;
    CHECK(dib_image_clone(image, &copy) == DIB_C_OK);
    CHECK(isSameImage(image, copy));
    CHECK(dib_image_row_order(copy) == DIB_C_TOP_DOWN);
    dib_image_row(image, 0)[0] = 99;
    CHECK(dib_image_const_row(copy, 0)[0] == 1);
    dib_image_release(image);
    CHECK(dib_image_const_row(copy, 1)[1] == 4);
    dib_image_release(copy);
    copy = (dib_image*)&copy;
    CHECK(dib_image_clone(NULL, &copy) == DIB_C_ERROR_INVALID);
    CHECK(copy == NULL);
}

void palettes(void) {
    const uint32_t colors[] = {0x112233, 0xFF445566, 0x778899};
    uint32_t read[4] = {1, 2, 3, 4};
    dib_image* image = countedImage(4, DIB_C_BOTTOM_UP);
    CHECK(dib_image_set_palette(image, colors, 3) == DIB_C_OK);
    CHECK(dib_image_get_palette(image, read, 2) == 3);
    CHECK(read[0] == 0x112233);
    CHECK(read[1] == 0x445566);
    CHECK(read[2] == 3);
    CHECK(dib_image_get_palette(image, read, 4) == 3);
    CHECK(read[2] == 0x778899);
    CHECK(read[3] == 4);
    CHECK(dib_image_get_palette(image, read, -1) == 3);
    CHECK(dib_image_const_row(image, 0)[0] == 1);
    dib_image_release(image);

    image = countedImage(1, DIB_C_BOTTOM_UP);
    CHECK(dib_image_set_palette(image, colors, 1) == DIB_C_OK);
    CHECK(dib_image_get_palette(image, NULL, 256) == 1);
    /* The table grows again. */
    CHECK(dib_image_set_palette(image, colors, 2) == DIB_C_OK);
    CHECK(dib_image_get_palette(image, read, 2) == 2);
    CHECK(read[1] == 0x445566);
    dib_image_release(image);
}

void palettesRefuse(void) {
    const uint32_t colors[17] = {0};
    dib_image* image = countedImage(4, DIB_C_BOTTOM_UP);
    CHECK(dib_image_set_palette(image, colors, 0) == DIB_C_ERROR_INVALID);
    CHECK(dib_image_set_palette(image, colors, -1) == DIB_C_ERROR_INVALID);
    CHECK(dib_image_set_palette(image, colors, 17) == DIB_C_ERROR_INVALID);
    CHECK(dib_image_set_palette(image, NULL, 2) == DIB_C_ERROR_INVALID);
    CHECK(dib_image_get_palette(image, NULL, 0) == 16);
    dib_image_release(image);
    image = countedImage(16, DIB_C_BOTTOM_UP);
    CHECK(dib_image_set_palette(image, colors, 2) == DIB_C_ERROR_MISMATCH);
    CHECK(dib_image_get_palette(image, NULL, 0) == 0);
    dib_image_release(image);
}

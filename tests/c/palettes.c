/* Palette files from C. */
#include <string.h>

#include "tests/c/Checks.h"

static const uint32_t kColors[3] = {0xFF8000, 0x102030, 0xFFFFFF};

static dib_image* threeColors(void) {
    dib_image* image = countedImage(8, DIB_C_BOTTOM_UP);
    CHECK(dib_image_set_palette(image, kColors, 3) == DIB_C_OK);
    return image;
}

static void expectThreeColors(dib_image* image) {
    uint32_t colors[3] = {0, 0, 0};
    CHECK(dib_image_get_palette(image, colors, 3) == 3);
    CHECK(memcmp(colors, kColors, sizeof colors) == 0);
    CHECK(dib_image_bit_count(image) == 8);
    CHECK(dib_image_width(image) == 3 && dib_image_height(image) == 1);
    CHECK(memcmp(dib_image_const_row(image, 0), "\0\1\2", 3) == 0);
    dib_image_release(image);
}

void paletteFiles(void) {
    dib_image* image = threeColors();
    dib_image* opened = NULL;
    dib_result result = DIB_C_RESULT_INIT;
    Block block;
    const char* path = temporaryFile("three.gpl");
    CHECK(dib_save_palette(path, image, NULL, &result) == DIB_C_OK);
    CHECK(dib_load_palette(path, &opened, &result) == DIB_C_OK);
    expectThreeColors(opened);
    CHECK(dib_save_palette_memory(&block.bytes, &block.size, image, "pal", &result) == DIB_C_OK);
    CHECK(strncmp((const char*)block.bytes, "JASC-PAL", 8) == 0);
    CHECK(dib_load_palette_memory(block.bytes, block.size, &opened, &result) == DIB_C_OK);
    expectThreeColors(opened);
    dib_free(block.bytes);
    dib_image_release(image);
}

void paletteFilesRefuse(void) {
    dib_image* image = threeColors();
    dib_image* colored = countedImage(24, DIB_C_BOTTOM_UP);
    dib_image* opened = image;
    dib_result result = DIB_C_RESULT_INIT;
    void* bytes = image;
    size_t size = 7;
    CHECK(dib_load_palette(temporaryFile("missing.gpl"), &opened, &result) == DIB_C_ERROR_OPEN);
    CHECK(opened == NULL && result.reason[0] != '\0');
    CHECK(dib_load_palette(NULL, &opened, NULL) == DIB_C_ERROR_OPEN);
    CHECK(dib_load_palette(temporaryFile("missing.gpl"), NULL, NULL) == DIB_C_ERROR_INVALID);
    CHECK(dib_load_palette_memory("nothing", 7, &opened, &result) == DIB_C_ERROR_UNSUPPORTED);
    CHECK(dib_save_palette(temporaryFile("none.gpl"), colored, NULL, &result) == DIB_C_ERROR_MISMATCH);
    CHECK(dib_save_palette(temporaryFile("none.gpl"), NULL, NULL, &result) == DIB_C_ERROR_INVALID);
    CHECK(dib_save_palette_memory(&bytes, &size, image, "bmp", &result) == DIB_C_ERROR_UNSUPPORTED);
    CHECK(bytes == NULL && size == 0);
    CHECK(dib_save_palette_memory(NULL, &size, image, "gpl", &result) == DIB_C_ERROR_INVALID);
    dib_image_release(colored);
    dib_image_release(image);
}

/* What the library's own codecs for PNG and JPEG files keep. */
#include "tests/c/linux/Codecs.h"

#include <stddef.h>
#include <string.h>

#include "tests/c/Checks.h"

void probesOfPalettes(void) {
    dib_image* image = countedImage(8, DIB_C_TOP_DOWN);
    dib_file_info info = DIB_C_FILE_INFO_INIT;
    dib_format format = DIB_C_FORMAT_INIT;
    Block block = encoded(image, "png");
    CHECK(dib_probe_memory(block.bytes, block.size, &info, NULL, NULL) == DIB_C_OK);
    CHECK(info.bit_count == 8);
    CHECK(info.stored_bits == 8);
    CHECK(info.palette_size == 256);
    CHECK(info.channels == 1);
    CHECK(dib_find_format("png", &format) == DIB_C_OK);
    CHECK(format.has_palette_alpha == 1);
    dib_free(block.bytes);
    dib_image_release(image);
}

void metadataGoesAlong(void) {
    unsigned char profile[132] = {0, 0, 0, 132, [8] = 2};
    unsigned char exif[] = "II*\0\10\0\0\0\0\0\0\0\0";
    dib_image* image = countedImage(24, DIB_C_BOTTOM_UP);
    dib_image* loaded = NULL;
    dib_metadata metadata = DIB_C_METADATA_INIT;
    dib_metadata read = DIB_C_METADATA_INIT;
    dib_save_options options = DIB_C_SAVE_OPTIONS_INIT;
    dib_result result = DIB_C_RESULT_INIT;
    Block block = {NULL, 0};
    memcpy(profile + 12, "mntrRGB XYZ ", 12);
    memcpy(profile + 36, "acsp", 4);
    metadata.color_profile = profile;
    metadata.color_profile_size = sizeof profile;
    metadata.exif = exif;
    metadata.exif_size = sizeof exif;
    metadata.x_resolution = 300;
    metadata.y_resolution = 150;
    options.format = "jpeg";
    options.metadata = &metadata;
    CHECK(dib_save_memory(&block.bytes, &block.size, image, &options, &result, NULL, NULL) == DIB_C_OK);
    CHECK(metadata.color_profile == profile);

    result.metadata = &read;
    CHECK(dib_load_memory(block.bytes, block.size, &loaded, NULL, &result, NULL, NULL) == DIB_C_OK);
    CHECK(read.x_resolution == 300);
    CHECK(read.y_resolution == 150);
    CHECK(read.orientation == 1);
    CHECK(read.color_profile_size == sizeof profile);
    CHECK(read.color_profile != NULL && memcmp(read.color_profile, profile, sizeof profile) == 0);
    CHECK(read.exif != NULL && memcmp(read.exif, "II*", 3) == 0);
    dib_free(block.bytes);

    /* One result for a load and the save after it. */
    options.metadata = result.metadata;
    options.format = "png";
    CHECK(dib_save_memory(&block.bytes, &block.size, loaded, &options, &result, NULL, NULL) == DIB_C_OK);
    CHECK(read.x_resolution == 300);
    dib_image_release(loaded);
    /* The next load replaces them. */
    CHECK(dib_load_memory(block.bytes, block.size, &loaded, NULL, &result, NULL, NULL) == DIB_C_OK);
    CHECK(result.metadata == &read);
    CHECK(read.y_resolution > 149.9 && read.y_resolution < 150.1);
    dib_free(block.bytes);
    dib_metadata_clear(&read);
    CHECK(read.exif == NULL && read.color_profile == NULL && read.exif_size == 0);
    CHECK(read.orientation == 1 && read.x_resolution == 0 && read.size == sizeof read);
    dib_metadata_clear(&read);
    dib_metadata_clear(NULL);
    dib_image_release(loaded);
    dib_image_release(image);
}

/* JPEG files are decoded at a scale that is enough. */
void leastSizes(void) {
    dib_image* image = NULL;
    dib_image* loaded = NULL;
    dib_load_options options = DIB_C_LOAD_OPTIONS_INIT;
    dib_result result = DIB_C_RESULT_INIT;
    Block block;
    CHECK(dib_image_new(100, 60, 24, DIB_C_BOTTOM_UP, &image) == DIB_C_OK);
    block = encoded(image, "jpeg");
    options.at_least_width = 25;
    options.at_least_height = 14;
    CHECK(dib_load_memory(block.bytes, block.size, &loaded, &options, &result, NULL, NULL) == DIB_C_OK);
    CHECK(dib_image_width(loaded) == 25);
    CHECK(dib_image_height(loaded) == 15);
    CHECK(result.note_count == 1);
    dib_image_release(loaded);
    options.at_least_width = -1;
    CHECK(dib_load_memory(block.bytes, block.size, &loaded, &options, &result, NULL, NULL) ==
          DIB_C_ERROR_MISMATCH);
    /* Programs that were built with the first version of the structure. */
    options.size = offsetof(dib_load_options, at_least_width);
    CHECK(dib_load_memory(block.bytes, block.size, &loaded, &options, &result, NULL, NULL) == DIB_C_OK);
    CHECK(dib_image_width(loaded) == 100);
    dib_image_release(loaded);
    dib_image_release(image);
    dib_free(block.bytes);
}

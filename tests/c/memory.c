/* Calls from C that need memory. */
#include "tests/c/Checks.h"

static dib_code ended(dib_code code, dib_image* image) {
    CHECK((image != NULL) == (code == DIB_C_OK));
    dib_image_release(image);
    return code;
}

dib_code makeInC(void) {
    dib_image* image;
    const dib_code code = dib_image_new(3, 2, 4, DIB_C_TOP_DOWN, &image);
    return ended(code, image);
}

dib_code wrapInC(void) {
    uint32_t pixels[2] = {1, 2};
    dib_image* image;
    const dib_code code = dib_image_wrap(pixels, 4, 3, 2, 8, DIB_C_TOP_DOWN, &image);
    CHECK(pixels[0] == 1 && pixels[1] == 2);
    return ended(code, image);
}

dib_code cloneInC(const dib_image* image) {
    dib_image* copy;
    const dib_code code = dib_image_clone(image, &copy);
    return ended(code, copy);
}

dib_code setPaletteInC(dib_image* image) {
    const uint32_t color = 0x123456;
    return dib_image_set_palette(image, &color, 1);
}

dib_code loadInC(const Block* file) {
    dib_image* image;
    dib_result result = DIB_C_RESULT_INIT;
    const dib_code code = dib_load_memory(file->bytes, file->size, &image, NULL, &result, NULL, NULL);
    CHECK((result.reason[0] == '\0') == (code == DIB_C_OK));
    return ended(code, image);
}

dib_code probeInC(const Block* file) {
    dib_file_info info = DIB_C_FILE_INFO_INIT;
    const dib_code code = dib_probe_memory(file->bytes, file->size, &info, NULL, NULL);
    CHECK(info.width == (code == DIB_C_OK ? 3 : 0));
    return code;
}

dib_code saveInC(const dib_image* image) {
    void* bytes;
    size_t size;
    dib_code code;
    dib_save_options options = DIB_C_SAVE_OPTIONS_INIT;
    options.format = "bmp";
    code = dib_save_memory(&bytes, &size, image, &options, NULL, NULL, NULL);
    CHECK((bytes != NULL && size > 54) == (code == DIB_C_OK));
    dib_free(bytes);
    return code;
}

dib_code setFolderInC(void) { return dib_set_plugin_folder("/a/folder/of/plug-ins"); }

dib_code applyInC(dib_image* image) {
    const unsigned char before = dib_image_const_row(image, 0)[0];
    const dib_code code = dib_apply(image, "reverse reverse scroll:1,0", NULL, NULL, NULL, NULL);
    CHECK((dib_image_const_row(image, 0)[0] == before) == (code != DIB_C_OK));
    return code;
}

dib_code compareInC(const dib_image* image) {
    dib_difference difference = DIB_C_DIFFERENCE_INIT;
    dib_image* shown;
    const dib_code code = dib_compare(image, image, &difference, &shown, 1, NULL, NULL, NULL);
    CHECK(difference.pixels == (code == DIB_C_OK ? 6 : 0));
    return ended(code, shown);
}

dib_code probeLayersInC(const Block* file) {
    dib_layers* layers;
    const dib_code code = dib_probe_layers_memory(file->bytes, file->size, &layers, NULL, NULL);
    CHECK(dib_layer_count(layers) == (code == DIB_C_OK ? 2 : 0));
    dib_layers_release(layers);
    return code;
}

dib_code describeInC(void) {
    char* text;
    const dib_code code = dib_describe_operation("rotate", DIB_C_DESCRIBE_HELP, &text);
    CHECK((text != NULL) == (code == DIB_C_OK));
    dib_free(text);
    return code;
}

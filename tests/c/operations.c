/* Operations by name from C. */
#include <string.h>

#include "tests/c/Checks.h"

void operations(void) {
    const int count = dib_operation_count();
    int found = 0;
    int i;
    CHECK(count >= 30);
    for (i = 0; i < count; ++i) {
        char* text = NULL;
        const char* name = dib_operation_name(i);
        CHECK(dib_describe_operation(name, DIB_C_DESCRIBE_SYNOPSIS, &text) == DIB_C_OK);
        CHECK(strncmp(text, name, strlen(name)) == 0);
        dib_free(text);
        if (strcmp(name, "rotate") == 0) ++found;
    }
    CHECK(found == 1);
    CHECK(dib_operation_name(-1) == NULL);
    CHECK(dib_operation_name(count) == NULL);
}

void descriptions(void) {
    char* text = NULL;
    CHECK(dib_describe_operation("gaussian", DIB_C_DESCRIBE_SYNOPSIS, &text) == DIB_C_OK);
    CHECK(strcmp(text, "gaussian:RADIUS[,wrap=none|x|y][,classic]") == 0);
    dib_free(text);
    CHECK(dib_describe_operation("gaussian", DIB_C_DESCRIBE_HELP, &text) == DIB_C_OK);
    CHECK(strstr(text, "Example: gaussian:") != NULL);
    dib_free(text);
    CHECK(dib_describe_operation("gaussian", DIB_C_DESCRIBE_JSON, &text) == DIB_C_OK);
    CHECK(text[0] == '{');
    CHECK(strstr(text, "\"name\": \"gaussian\"") != NULL);
    dib_free(text);
    CHECK(dib_describe_operation(NULL, DIB_C_DESCRIBE_JSON, &text) == DIB_C_OK);
    CHECK(strstr(text, "\"schema\": 1") != NULL);
    CHECK(strstr(text, "\"name\": \"rotate\"") != NULL);
    dib_free(text);

    text = (char*)&text;
    CHECK(dib_describe_operation("nothing", DIB_C_DESCRIBE_JSON, &text) == DIB_C_ERROR_UNSUPPORTED);
    CHECK(text == NULL);
    CHECK(dib_describe_operation("gaussian", 3, &text) == DIB_C_ERROR_INVALID);
    CHECK(dib_describe_operation("gaussian", -1, &text) == DIB_C_ERROR_INVALID);
}

void chains(void) {
    dib_image* image = countedImage(24, DIB_C_BOTTOM_UP);
    dib_result result = DIB_C_RESULT_INIT;
    CHECK(dib_check_chain("reverse  resize:50%x4", &result) == DIB_C_OK);
    CHECK(dib_apply(image, "reverse", NULL, &result, NULL, NULL) == DIB_C_OK);
    CHECK(result.code == DIB_C_OK && result.step == -1 && result.reason[0] == '\0');
    CHECK(dib_image_const_row(image, 0)[0] == 254);
    CHECK(dib_image_const_row(image, 1)[8] == 237);
    CHECK(dib_apply(image, "", NULL, &result, NULL, NULL) == DIB_C_OK);
    CHECK(dib_apply(image, "resize:6x2 bpp:8", NULL, NULL, NULL, NULL) == DIB_C_OK);
    CHECK(dib_image_width(image) == 6);
    CHECK(dib_image_bit_count(image) == 8);
    CHECK(dib_image_get_palette(image, NULL, 0) == 256);
    dib_image_release(image);
}

void wrongChains(void) {
    dib_image* image = countedImage(24, DIB_C_BOTTOM_UP);
    dib_image* indexed = countedImage(8, DIB_C_BOTTOM_UP);
    dib_result result = DIB_C_RESULT_INIT;
    CHECK(dib_apply(image, "reverse rotato:30", NULL, &result, NULL, NULL) == DIB_C_ERROR_INVALID);
    CHECK(result.step == 1);
    CHECK(result.operation == NULL);
    CHECK(strcmp(result.suggestion, "rotate") == 0);
    CHECK(dib_apply(image, "gaussian:300", NULL, &result, NULL, NULL) == DIB_C_ERROR_INVALID);
    CHECK(strcmp(result.reason, "gaussian: radius: '300' is outside 0 to 255") == 0);
    CHECK(result.step == 0);
    CHECK(strcmp(result.operation, "gaussian") == 0);
    CHECK(strcmp(result.parameter, "radius") == 0);
    CHECK(result.suggestion == NULL);
    CHECK(dib_check_chain("gaussian:300", &result) == DIB_C_ERROR_INVALID);
    CHECK(strcmp(result.parameter, "radius") == 0);
    CHECK(dib_apply(indexed, "half:classic", NULL, &result, NULL, NULL) == DIB_C_ERROR_MISMATCH);
    CHECK(strcmp(result.reason, "half: does not accept pictures of 8 bits, only of 24 and 32 bits") == 0);
    CHECK(dib_apply(image, NULL, NULL, &result, NULL, NULL) == DIB_C_ERROR_INVALID);
    CHECK(dib_image_const_row(image, 0)[0] == 1);
    dib_image_release(indexed);
    dib_image_release(image);
}

void chainsOnWraps(void) {
    uint32_t pixels[2] = {0x04030201, 0x08070605};
    dib_image* image = NULL;
    dib_apply_options options = DIB_C_APPLY_OPTIONS_INIT;
    CHECK(dib_image_wrap(pixels, 8, 2, 1, 32, DIB_C_TOP_DOWN, &image) == DIB_C_OK);
    CHECK(dib_apply(image, "scroll:1,0", NULL, NULL, NULL, NULL) == DIB_C_OK);
    CHECK(pixels[0] == 0x04030201 && pixels[1] == 0x08070605);
    CHECK(dib_image_const_row(image, 0)[0] == 5);
    dib_image_release(image);

    CHECK(dib_image_wrap(pixels, 8, 2, 1, 32, DIB_C_TOP_DOWN, &image) == DIB_C_OK);
    options.in_place = 1;
    CHECK(dib_apply(image, "scroll:1,0", &options, NULL, NULL, NULL) == DIB_C_OK);
    CHECK(pixels[0] == 0x08070605 && pixels[1] == 0x04030201);
    CHECK(dib_image_const_row(image, 0) == (const unsigned char*)pixels);
    dib_image_release(image);
}

bool cancelSecond(float fraction, void* calls) {
    CHECK(fraction >= 0.0F && fraction <= 1.0F);
    return ++*(int*)calls != 2;
}

void cancelledChains(void) {
    dib_image* image = countedImage(24, DIB_C_BOTTOM_UP);
    dib_result result = DIB_C_RESULT_INIT;
    int calls = 0;
    CHECK(dib_apply(image, "reverse reverse", NULL, &result, cancelSecond, &calls) ==
          DIB_C_ERROR_INTERRUPTED);
    CHECK(calls == 2);
    CHECK(dib_image_const_row(image, 0)[0] == 1);
    dib_image_release(image);
}

/* Opens every name as one colour, "refused" not at all and "empty" as nothing. */
static dib_code openColor(void* context, const char* name, dib_image** image) {
    ++*(int*)context;
    if (strcmp(name, "refused") == 0) return DIB_C_ERROR_OPEN;
    if (strcmp(name, "odd") == 0) return (dib_code)15;
    if (strcmp(name, "empty") == 0) return DIB_C_OK;
    if (dib_image_new(3, 2, 24, DIB_C_TOP_DOWN, image) != DIB_C_OK) return DIB_C_ERROR_MEMORY;
    memset(dib_image_row(*image, 0), 200, 9);
    memset(dib_image_row(*image, 1), 200, 9);
    return DIB_C_OK;
}

void secondPictures(void) {
    dib_image* image = countedImage(24, DIB_C_BOTTOM_UP);
    dib_apply_options options = DIB_C_APPLY_OPTIONS_INIT;
    dib_load_options load = DIB_C_LOAD_OPTIONS_INIT;
    dib_result result = DIB_C_RESULT_INIT;
    const char* path = temporaryFile("second.bmp");
    char chain[1024];
    int calls = 0;
    options.open = openColor;
    options.context = &calls;
    CHECK(dib_apply(image, "compose:refused", &options, &result, NULL, NULL) == DIB_C_ERROR_OPEN);
    CHECK(strstr(result.reason, "the program did not open it") != NULL);
    CHECK(dib_apply(image, "compose:odd", &options, &result, NULL, NULL) == DIB_C_ERROR_GENERAL);
    CHECK(dib_apply(image, "compose:empty", &options, &result, NULL, NULL) == DIB_C_ERROR_INVALID);
    CHECK(calls == 3);
    CHECK(dib_image_const_row(image, 0)[0] == 1);
    CHECK(dib_apply(image, "compose:any", &options, &result, NULL, NULL) == DIB_C_OK);
    CHECK(calls == 4);
    CHECK(dib_image_const_row(image, 0)[0] > 1);

    CHECK(dib_save_file(path, image, NULL, NULL, NULL, NULL) == DIB_C_OK);
    snprintf(chain, sizeof chain, "compose:%s", path);
    options.open = NULL;
    CHECK(dib_apply(image, chain, &options, &result, NULL, NULL) == DIB_C_OK);
    load.most_pixels = 5;
    options.load = &load;
    CHECK(dib_apply(image, chain, &options, &result, NULL, NULL) == DIB_C_ERROR_MISMATCH);
    dib_image_release(image);
}

/* The classic function inverts alpha, too. */
void classicChains(void) {
    uint32_t pixel = 0x04030201;
    dib_image* image = NULL;
    dib_apply_options options = DIB_C_APPLY_OPTIONS_INIT;
    CHECK(dib_image_wrap(&pixel, 4, 1, 1, 32, DIB_C_TOP_DOWN, &image) == DIB_C_OK);
    options.in_place = 1;
    CHECK(dib_apply(image, "invert", &options, NULL, NULL, NULL) == DIB_C_OK);
    CHECK(pixel == 0x04FCFDFE);
    options.classic = 1;
    CHECK(dib_apply(image, "invert", &options, NULL, NULL, NULL) == DIB_C_OK);
    CHECK(pixel == 0xFB030201);
    dib_image_release(image);
}

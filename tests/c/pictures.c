/* Layers of documents, differences of two pictures, and what a chain says of its result, from C. */
#include <stddef.h>
#include <string.h>

#include "tests/c/Checks.h"

static void plainLayer(const dib_layers* layers) {
    dib_layer layer = DIB_C_LAYER_INIT;
    dib_layer_mask mask = DIB_C_LAYER_MASK_INIT;
    CHECK(dib_layer_at(layers, 0, &layer) == DIB_C_OK);
    CHECK(layer.size == sizeof layer);
    CHECK(strcmp(layer.name, "sky") == 0);
    CHECK(layer.kind == DIB_C_LAYER_PLAIN && layer.group == -1);
    CHECK(layer.left == 1 && layer.top == 0 && layer.width == 3 && layer.height == 2);
    CHECK(layer.opacity == 200 && layer.is_visible == 1 && layer.is_clipped == 0);
    CHECK(dib_layer_mask_at(layers, 0, DIB_C_LAYER_MASK, &mask) == DIB_C_OK);
    CHECK(mask.size == sizeof mask && mask.exists == 0 && mask.width == 0);
}

static void masksOfLayers(const dib_layers* layers) {
    dib_layer_mask mask = DIB_C_LAYER_MASK_INIT;
    CHECK(dib_layer_mask_at(layers, 1, DIB_C_LAYER_MASK, &mask) == DIB_C_OK);
    CHECK(mask.exists == 1 && mask.is_disabled == 1 && mask.left == 1 && mask.top == 1);
    CHECK(mask.width == 5 && mask.height == 2 && mask.outside == 255);
    CHECK(dib_layer_mask_at(layers, 1, DIB_C_LAYER_PIXELS, &mask) == DIB_C_ERROR_INVALID);
    CHECK(dib_layer_mask_at(layers, 1, 3, &mask) == DIB_C_ERROR_INVALID);
    CHECK(dib_layer_mask_at(layers, 2, DIB_C_LAYER_MASK, &mask) == DIB_C_ERROR_INVALID);
    CHECK(dib_layer_mask_at(layers, -1, DIB_C_LAYER_MASK, &mask) == DIB_C_ERROR_INVALID);
    CHECK(dib_layer_mask_at(layers, 1, DIB_C_LAYER_MASK, NULL) == DIB_C_ERROR_INVALID);
    CHECK(mask.exists == 1 && mask.width == 5);
    CHECK(dib_layer_mask_at(layers, 1, DIB_C_LAYER_SECOND_MASK, &mask) == DIB_C_OK);
    CHECK(mask.exists == 0 && mask.width == 0);
    mask.size = 8;
    CHECK(dib_layer_mask_at(layers, 1, DIB_C_LAYER_MASK, &mask) == DIB_C_ERROR_INVALID);
}

void layersOfDocuments(void) {
    Block psd = document();
    dib_layers* layers = NULL;
    dib_layer layer = DIB_C_LAYER_INIT;
    dib_result result = DIB_C_RESULT_INIT;
    CHECK(dib_probe_layers_memory(psd.bytes, psd.size, &layers, NULL, &result) == DIB_C_OK);
    CHECK(strcmp(result.format, "psd") == 0);
    CHECK(dib_layer_count(layers) == 2);
    plainLayer(layers);
    CHECK(dib_layer_at(layers, 1, &layer) == DIB_C_OK);
    CHECK(strcmp(layer.name, "roof") == 0);
    CHECK(layer.left == -3 && layer.top == -2 && layer.is_visible == 0 && layer.is_clipped == 1);
    masksOfLayers(layers);
    CHECK(dib_layer_at(layers, 2, &layer) == DIB_C_ERROR_INVALID);
    CHECK(dib_layer_at(layers, -1, &layer) == DIB_C_ERROR_INVALID);
    CHECK(strcmp(layer.name, "roof") == 0);
    layer.size = 8;
    CHECK(dib_layer_at(layers, 0, &layer) == DIB_C_ERROR_INVALID);
    CHECK(dib_layer_at(layers, 0, NULL) == DIB_C_ERROR_INVALID);
    dib_layers_release(layers);
    dib_free(psd.bytes);
}

void layersRefuse(void) {
    dib_image* image = countedImage(24, DIB_C_TOP_DOWN);
    Block bmp = encoded(image, "bmp");
    dib_layers* layers = NULL;
    dib_layer layer = DIB_C_LAYER_INIT;
    dib_result result = DIB_C_RESULT_INIT;
    /* Formats without layers have none. */
    CHECK(dib_probe_layers_memory(bmp.bytes, bmp.size, &layers, NULL, &result) == DIB_C_OK);
    CHECK(layers != NULL && dib_layer_count(layers) == 0);
    dib_layers_release(layers);
    layers = (dib_layers*)&layers;
    CHECK(dib_probe_layers(temporaryFile("absent.psd"), &layers, NULL, &result) == DIB_C_ERROR_OPEN);
    CHECK(layers == NULL);
    CHECK(dib_probe_layers("a.psd", NULL, NULL, &result) == DIB_C_ERROR_INVALID);
    CHECK(strcmp(result.reason, "there is no pointer for the layers") == 0);
    CHECK(dib_layer_count(NULL) == 0);
    CHECK(dib_layer_at(NULL, 0, &layer) == DIB_C_ERROR_INVALID);
    dib_layers_release(NULL);
    dib_free(bmp.bytes);
    dib_image_release(image);
}

static void expectOnePixel(const dib_difference* difference) {
    CHECK(difference->size == sizeof *difference);
    CHECK(difference->pixels == 6);
    CHECK(difference->different_pixels == 1);
    CHECK(difference->largest == 5);
    CHECK(difference->x == 1 && difference->y == 1);
    CHECK(difference->mean_square > 1.38 && difference->mean_square < 1.39); /* 25 / 18 */
    CHECK(difference->psnr > 46.70 && difference->psnr < 46.71);
    CHECK(difference->is_same_size == 1);
}

void differences(void) {
    dib_image* first = countedImage(24, DIB_C_BOTTOM_UP);
    dib_image* second = countedImage(24, DIB_C_TOP_DOWN);
    dib_image* shown = NULL;
    dib_difference difference = DIB_C_DIFFERENCE_INIT;
    dib_result result = DIB_C_RESULT_INIT;
    int calls = 0;
    memcpy(dib_image_row(second, 0), dib_image_const_row(first, 0), 9);
    memcpy(dib_image_row(second, 1), dib_image_const_row(first, 1), 9);
    dib_image_row(second, 1)[4] += 5;
    CHECK(dib_compare(first, second, &difference, &shown, 10, &result, NULL, NULL) == DIB_C_OK);
    expectOnePixel(&difference);
    CHECK(dib_image_width(shown) == 3 && dib_image_bit_count(shown) == 24);
    CHECK(dib_image_const_row(shown, 1)[4] == 50 && dib_image_const_row(shown, 1)[5] == 0);
    dib_image_release(shown);

    difference.largest = 77;
    CHECK(dib_compare(first, second, &difference, &shown, 256, &result, NULL, NULL) == DIB_C_ERROR_INVALID);
    CHECK(shown == NULL && difference.largest == 77);
    CHECK(dib_compare(first, NULL, &difference, NULL, 1, &result, NULL, NULL) == DIB_C_ERROR_INVALID);
    CHECK(strcmp(result.reason, "the image has no pixels") == 0);
    CHECK(dib_compare(first, second, NULL, NULL, 1, &result, NULL, NULL) == DIB_C_ERROR_INVALID);
    CHECK(dib_compare(first, second, &difference, NULL, 1, &result, cancelSecond, &calls) ==
          DIB_C_ERROR_INTERRUPTED);
    difference.size = 8;
    CHECK(dib_compare(first, second, &difference, NULL, 1, &result, NULL, NULL) == DIB_C_ERROR_INVALID);
    CHECK(strcmp(result.reason, "there is no structure of the right size to fill") == 0);
    dib_image_release(first);
    dib_image_release(second);
}

static dib_code openSecond(void* context, const char* name, dib_image** image) {
    CHECK(strcmp(name, "other") == 0);
    return dib_image_clone((const dib_image*)context, image);
}

/* What the step `compare` found. */
void differencesOfChains(void) {
    dib_image* image = countedImage(24, DIB_C_BOTTOM_UP);
    dib_image* other = countedImage(24, DIB_C_BOTTOM_UP);
    dib_difference difference = DIB_C_DIFFERENCE_INIT;
    dib_result result = DIB_C_RESULT_INIT;
    dib_apply_options options = DIB_C_APPLY_OPTIONS_INIT;
    options.open = openSecond;
    options.context = other;
    result.difference = &difference;
    dib_image_row(other, 1)[4] += 5;
    CHECK(dib_apply(image, "compare:other", &options, &result, NULL, NULL) == DIB_C_OK);
    expectOnePixel(&difference);
    CHECK(result.difference == &difference);
    CHECK(dib_apply(image, "reverse", &options, &result, NULL, NULL) == DIB_C_OK);
    CHECK(difference.pixels == 0);
    difference.size = 8;
    CHECK(dib_apply(image, "reverse", &options, &result, NULL, NULL) == DIB_C_ERROR_INVALID);
    dib_image_release(other);
    dib_image_release(image);
}

void turnsExchangeAxes(void) {
    dib_image* image = countedImage(24, DIB_C_BOTTOM_UP);
    dib_result result = DIB_C_RESULT_INIT;
    CHECK(dib_apply(image, "turn:90", NULL, &result, NULL, NULL) == DIB_C_OK);
    CHECK(result.exchanges_axes == 1);
    CHECK(dib_apply(image, "turn:180 flip", NULL, &result, NULL, NULL) == DIB_C_OK);
    CHECK(result.exchanges_axes == 0);
    CHECK(dib_apply(image, "turn:270 turn:90 turn:90", NULL, &result, NULL, NULL) == DIB_C_OK);
    CHECK(result.exchanges_axes == 1);
    CHECK(dib_apply(image, "turn:90 crop:0,0,9x9", NULL, &result, NULL, NULL) == DIB_C_ERROR_MISMATCH);
    CHECK(result.exchanges_axes == 0);
    dib_image_release(image);
}

/* Red on the left, transparent on the right: the entry for transparent pixels comes first. */
void transparentEntries(void) {
    dib_image* image = NULL;
    dib_result result = DIB_C_RESULT_INIT;
    unsigned char* row;
    CHECK(dib_image_new(2, 1, 32, DIB_C_TOP_DOWN, &image) == DIB_C_OK);
    row = dib_image_row(image, 0);
    row[2] = row[3] = 255;
    CHECK(dib_apply(image, "colors:4", NULL, &result, NULL, NULL) == DIB_C_OK);
    CHECK(dib_image_bit_count(image) == 1 && dib_image_row(image, 0)[0] == 0x80);
    CHECK(result.palette_alpha_size == 1 && result.palette_alpha[0] == 0);
    CHECK(dib_apply(image, "bpp:24", NULL, &result, NULL, NULL) == DIB_C_OK);
    CHECK(result.palette_alpha_size == 0);
    dib_image_release(image);
}

/* Two images of 3 x 2 pixels with a gap of 1, and labels below. */
void montages(void) {
    dib_image* image = countedImage(24, DIB_C_BOTTOM_UP);
    dib_image* sheet = NULL;
    dib_result result = DIB_C_RESULT_INIT;
    dib_montage_options options = DIB_C_MONTAGE_OPTIONS_INIT;
    const dib_image* images[2];
    const char* labels[] = {"-", NULL};
    images[0] = images[1] = image;
    CHECK(dib_montage(images, 2, &sheet, NULL, &result, NULL, NULL) == DIB_C_OK);
    CHECK(dib_image_width(sheet) == 6 && dib_image_height(sheet) == 2 && dib_image_bit_count(sheet) == 32);
    dib_image_release(sheet);
    options.columns = 1;
    options.gap = 1;
    options.background = 0x80112233;
    CHECK(dib_montage(images, 2, &sheet, &options, &result, NULL, NULL) == DIB_C_OK);
    CHECK(dib_image_width(sheet) == 5 && dib_image_height(sheet) == 7);
    CHECK(memcmp(dib_image_const_row(sheet, 3), "\x33\x22\x11\x80", 4) == 0);
    CHECK(memcmp(dib_image_const_row(sheet, 1) + 4, dib_image_const_row(image, 0), 3) == 0);
    CHECK(dib_image_const_row(sheet, 1)[7] == 255);
    dib_image_release(sheet);
    options.labels = labels;
    options.label_size = 10;
    CHECK(dib_montage(images, 2, &sheet, &options, &result, NULL, NULL) == DIB_C_OK);
    CHECK(dib_image_height(sheet) == 7 + 2 * 14);
    dib_image_release(sheet);
    dib_image_release(image);
}

void montagesRefuse(void) {
    dib_image* image = countedImage(24, DIB_C_BOTTOM_UP);
    dib_image* sheet = (dib_image*)&sheet;
    dib_result result = DIB_C_RESULT_INIT;
    dib_montage_options options = DIB_C_MONTAGE_OPTIONS_INIT;
    const dib_image* images[2] = {NULL, NULL};
    const char* labels[] = {"a", "b"};
    int calls = 0;
    images[0] = image;
    CHECK(dib_montage(images, 2, &sheet, NULL, &result, NULL, NULL) == DIB_C_ERROR_INVALID);
    CHECK(sheet == NULL);
    images[1] = image;
    CHECK(dib_montage(images, 0, &sheet, NULL, &result, NULL, NULL) == DIB_C_ERROR_INVALID);
    CHECK(dib_montage(NULL, 2, &sheet, NULL, &result, NULL, NULL) == DIB_C_ERROR_INVALID);
    CHECK(dib_montage(images, 2, NULL, NULL, &result, NULL, NULL) == DIB_C_ERROR_INVALID);
    CHECK(strcmp(result.reason, "there is no pointer for the sheet") == 0);
    CHECK(dib_montage(images, 2, &sheet, NULL, &result, cancelSecond, &calls) == DIB_C_ERROR_INTERRUPTED);
    options.labels = labels;
    options.label_font = temporaryFile("absent.ttf");
    CHECK(dib_montage(images, 2, &sheet, &options, &result, NULL, NULL) != DIB_C_OK);
    CHECK(sheet == NULL && strstr(result.reason, "font") != NULL);
    options.label_font = NULL;
    options.gap = -1;
    CHECK(dib_montage(images, 2, &sheet, &options, &result, NULL, NULL) == DIB_C_ERROR_INVALID);
    CHECK(strcmp(result.reason, "gap: must be at least 0") == 0);
    options.gap = 2000000000;
    CHECK(dib_montage(images, 2, &sheet, &options, &result, NULL, NULL) == DIB_C_ERROR_MEMORY);
    options.size = 8;
    CHECK(dib_montage(images, 2, &sheet, &options, &result, NULL, NULL) == DIB_C_ERROR_INVALID);
    CHECK(sheet == NULL);
    dib_image_release(image);
}

void colors(void) {
    uint32_t color = 7;
    dib_result result = DIB_C_RESULT_INIT;
    CHECK(dib_parse_color("#12abEF", &color, &result) == DIB_C_OK && color == 0xFF12ABEF);
    CHECK(dib_parse_color("#12abef80", &color, NULL) == DIB_C_OK && color == 0x8012ABEF);
    CHECK(dib_parse_color("red", &color, &result) == DIB_C_ERROR_INVALID && color == 0x8012ABEF);
    CHECK(strcmp(result.reason, "'red' must be a colour #rrggbb or #rrggbbaa") == 0);
    CHECK(dib_parse_color("#12ab", &color, NULL) == DIB_C_OK && color == 0xBB1122AA);
    CHECK(dib_parse_color("#12abe", &color, NULL) == DIB_C_ERROR_INVALID);
    CHECK(dib_parse_color("", &color, NULL) == DIB_C_ERROR_INVALID);
    CHECK(dib_parse_color(NULL, &color, NULL) == DIB_C_ERROR_INVALID);
    CHECK(dib_parse_color("#000000", NULL, NULL) == DIB_C_ERROR_INVALID);
}

dib_code montageInC(const dib_image* image) {
    dib_image* sheet = NULL;
    const dib_code code = dib_montage(&image, 1, &sheet, NULL, NULL, NULL, NULL);
    dib_image_release(sheet);
    return code;
}

/* A program of the first version has no room for what was added at the end. */
void resultsOfOlderPrograms(void) {
    dib_image* image = countedImage(24, DIB_C_BOTTOM_UP);
    dib_difference difference = DIB_C_DIFFERENCE_INIT;
    dib_result result = DIB_C_RESULT_INIT;
    difference.size = 8; /* which is wrong, but is not looked at */
    result.size = offsetof(dib_result, difference);
    result.difference = &difference;
    result.exchanges_axes = 77;
    CHECK(dib_apply(image, "turn:90", NULL, &result, NULL, NULL) == DIB_C_OK);
    CHECK(result.size == offsetof(dib_result, difference));
    CHECK(result.difference == &difference && result.exchanges_axes == 77);
    /* One before the alpha of palettes gets its difference. */
    difference.size = sizeof difference;
    difference.pixels = 7;
    result.size = offsetof(dib_result, palette_alpha);
    result.palette_alpha[0] = 77;
    CHECK(dib_apply(image, "turn:90", NULL, &result, NULL, NULL) == DIB_C_OK);
    CHECK(difference.pixels == 0 && result.exchanges_axes == 1 && result.palette_alpha[0] == 77);
    dib_image_release(image);
}

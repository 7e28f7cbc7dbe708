/* Wrong arguments from C: null pointers and structures of sizes that they cannot have. */
#include <string.h>

#include "tests/c/Checks.h"

/* A load that must fail. */
#define REFUSED_LOAD(code, bytes, size, options, result)                                                  \
    do {                                                                                                  \
        dib_image* refused = (dib_image*)&refused;                                                        \
        CHECK(dib_load_memory(bytes, size, &refused, options, result, NULL, NULL) == DIB_C_ERROR_##code); \
        CHECK(refused == NULL);                                                                           \
    } while (0)

void loadsRefuse(void) {
    dib_image* image = NULL;
    dib_result result = DIB_C_RESULT_INIT;
    dib_image* counted = countedImage(24, DIB_C_BOTTOM_UP);
    Block bmp = encoded(counted, "bmp");
    REFUSED_LOAD(OPEN, NULL, 0, NULL, &result);
    REFUSED_LOAD(READ, "", 0, NULL, &result);
    CHECK(strcmp(result.reason, "the file is empty") == 0);
    REFUSED_LOAD(UNSUPPORTED, "not a picture", 13, NULL, &result);
    CHECK(result.code == DIB_C_ERROR_UNSUPPORTED);
    REFUSED_LOAD(READ, bmp.bytes, bmp.size - 4, NULL, &result);
    CHECK(strcmp(result.format, "bmp") == 0);
    ((unsigned char*)bmp.bytes)[28] = 7;
    REFUSED_LOAD(UNSUPPORTED, bmp.bytes, bmp.size, NULL, &result);
    CHECK(strcmp(result.reason, "7 bits per pixel are not read") == 0);
    CHECK(dib_load_file(NULL, &image, NULL, &result, NULL, NULL) == DIB_C_ERROR_OPEN);
    CHECK(dib_load_file("", &image, NULL, &result, NULL, NULL) == DIB_C_ERROR_OPEN);
    CHECK(strcmp(result.reason, "the path is empty") == 0);
    CHECK(dib_load_file("/", &image, NULL, &result, NULL, NULL) == DIB_C_ERROR_READ);
    CHECK(dib_load_stream(NULL, &image, NULL, &result, NULL, NULL) == DIB_C_ERROR_OPEN);
    dib_free(bmp.bytes);
    dib_image_release(counted);
}

void savesRefuse(void) {
    dib_image* image = countedImage(24, DIB_C_BOTTOM_UP);
    dib_result result = DIB_C_RESULT_INIT;
    dib_save_options options = DIB_C_SAVE_OPTIONS_INIT;
    void* bytes = &bytes;
    size_t size = 1;
    CHECK(dib_save_file(NULL, image, NULL, &result, NULL, NULL) == DIB_C_ERROR_OPEN);
    CHECK(dib_save_file(temporaryFile("a.nothing"), image, NULL, &result, NULL, NULL) ==
          DIB_C_ERROR_UNSUPPORTED);
    CHECK(dib_save_file(temporaryFile("a.bmp"), NULL, NULL, &result, NULL, NULL) == DIB_C_ERROR_INVALID);
    CHECK(dib_save_memory(&bytes, &size, image, NULL, &result, NULL, NULL) == DIB_C_ERROR_UNSUPPORTED);
    CHECK(bytes == NULL && size == 0);
    options.format = "psd";
    CHECK(dib_save_memory(&bytes, &size, image, &options, &result, NULL, NULL) == DIB_C_ERROR_UNSUPPORTED);
    options.format = "bmp";
    CHECK(dib_save_memory(NULL, &size, image, &options, &result, NULL, NULL) == DIB_C_ERROR_INVALID);
    CHECK(strcmp(result.reason, "there is no pointer for the block or its size") == 0);
    CHECK(dib_save_memory(&bytes, NULL, image, &options, &result, NULL, NULL) == DIB_C_ERROR_INVALID);
    CHECK(dib_save_stream(NULL, image, &options, &result, NULL, NULL) == DIB_C_ERROR_OPEN);
    CHECK(dib_save_file("/dev/full", image, &options, &result, NULL, NULL) != DIB_C_OK);
    options.tiff_compression = 4;
    CHECK(dib_save_memory(&bytes, &size, image, &options, &result, NULL, NULL) == DIB_C_ERROR_INVALID);
    CHECK(strcmp(result.reason, "the option tiff_compression has no such value") == 0);
    dib_image_release(image);
}

/* None of these is a size that a structure can have. */
static const size_t kWrongSizes[] = {0, 1, 8, 32, 2625, 65544, (size_t)-8};
#define WRONG_SIZES (sizeof kWrongSizes / sizeof kWrongSizes[0])

static void wrongOptions(dib_image* image, const Block* bmp) {
    dib_result result = DIB_C_RESULT_INIT;
    void* bytes = NULL;
    size_t size = 0;
    size_t i;
    for (i = 0; i < WRONG_SIZES; ++i) {
        dib_load_options load = DIB_C_LOAD_OPTIONS_INIT;
        dib_save_options save = DIB_C_SAVE_OPTIONS_INIT;
        dib_metadata metadata = DIB_C_METADATA_INIT;
        dib_apply_options apply = DIB_C_APPLY_OPTIONS_INIT;
        load.size = save.size = metadata.size = kWrongSizes[i];
        REFUSED_LOAD(INVALID, bmp->bytes, bmp->size, &load, &result);
        CHECK(strcmp(result.reason, "the size of the options is wrong") == 0);
        CHECK(dib_save_memory(&bytes, &size, image, &save, &result, NULL, NULL) == DIB_C_ERROR_INVALID);
        save.size = sizeof save;
        save.format = "bmp";
        save.metadata = &metadata;
        CHECK(dib_save_memory(&bytes, &size, image, &save, &result, NULL, NULL) == DIB_C_ERROR_INVALID);
        apply.load = &load;
        CHECK(dib_apply(image, "reverse", &apply, &result, NULL, NULL) == DIB_C_ERROR_INVALID);
        apply.size = kWrongSizes[i];
        CHECK(dib_apply(image, "reverse", &apply, &result, NULL, NULL) == DIB_C_ERROR_INVALID);
        CHECK(strcmp(result.reason, "the size of the options is wrong") == 0);
        dib_metadata_clear(&metadata);
        CHECK(metadata.size == kWrongSizes[i]);
    }
}

static void wrongRecords(const Block* bmp) {
    size_t i;
    for (i = 0; i < WRONG_SIZES; ++i) {
        dib_result result = DIB_C_RESULT_INIT;
        dib_metadata metadata = DIB_C_METADATA_INIT;
        dib_file_info info = DIB_C_FILE_INFO_INIT;
        dib_format format = DIB_C_FORMAT_INIT;
        result.size = metadata.size = info.size = format.size = kWrongSizes[i];
        result.code = 77;
        REFUSED_LOAD(INVALID, bmp->bytes, bmp->size, NULL, &result);
        CHECK(result.code == 77);
        result.size = sizeof result;
        result.metadata = &metadata;
        REFUSED_LOAD(INVALID, bmp->bytes, bmp->size, NULL, &result);
        CHECK(result.code == 77);
        CHECK(dib_probe_memory(bmp->bytes, bmp->size, &info, NULL, NULL) == DIB_C_ERROR_INVALID);
        CHECK(info.width == 0);
        CHECK(dib_format_at(0, &format) == DIB_C_ERROR_INVALID);
        CHECK(dib_find_format("bmp", &format) == DIB_C_ERROR_INVALID);
        CHECK(format.name == NULL);
    }
}

/* A program of a later version: its structures have one more member. */
typedef struct LaterOptions {
    dib_load_options known;
    uint64_t added;
} LaterOptions;
typedef struct LaterResult {
    dib_result known;
    uint64_t added;
} LaterResult;

static void laterProgram(const Block* bmp) {
    LaterOptions options = {DIB_C_LOAD_OPTIONS_INIT, 0};
    LaterResult result = {DIB_C_RESULT_INIT, 77};
    dib_image* image = NULL;
    options.known.size = sizeof options;
    result.known.size = sizeof result;
    CHECK(dib_load_memory(bmp->bytes, bmp->size, &image, &options.known, &result.known, NULL, NULL) ==
          DIB_C_OK);
    CHECK(strcmp(result.known.format, "bmp") == 0);
    CHECK(result.known.size == sizeof result);
    CHECK(result.added == 77);
    dib_image_release(image);
    options.added = 1;
    REFUSED_LOAD(MISMATCH, bmp->bytes, bmp->size, &options.known, &result.known);
    CHECK(strcmp(result.known.reason, "the options have members that this library does not know") == 0);
}

void wrongSizes(void) {
    dib_image* image = countedImage(24, DIB_C_BOTTOM_UP);
    Block bmp = encoded(image, "bmp");
    wrongOptions(image, &bmp);
    wrongRecords(&bmp);
    laterProgram(&bmp);
    dib_free(bmp.bytes);
    dib_image_release(image);
}

void nullArguments(void) {
    dib_result result = DIB_C_RESULT_INIT;
    dib_format format = DIB_C_FORMAT_INIT;
    CHECK(dib_image_width(NULL) == 0);
    CHECK(dib_image_height(NULL) == 0);
    CHECK(dib_image_bit_count(NULL) == 0);
    CHECK(dib_image_row_order(NULL) == DIB_C_BOTTOM_UP);
    CHECK(dib_image_row_bytes(NULL) == 0);
    CHECK(dib_image_row(NULL, 0) == NULL);
    CHECK(dib_image_const_row(NULL, 0) == NULL);
    CHECK(dib_image_get_palette(NULL, NULL, 0) == 0);
    CHECK(dib_image_set_palette(NULL, NULL, 0) == DIB_C_ERROR_INVALID);
    CHECK(dib_image_clone(NULL, NULL) == DIB_C_ERROR_INVALID);
    CHECK(dib_format_at(0, NULL) == DIB_C_ERROR_INVALID);
    CHECK(dib_find_format("bmp", NULL) == DIB_C_ERROR_INVALID);
    CHECK(dib_find_format(NULL, &format) == DIB_C_ERROR_INVALID);
    CHECK(!dib_is_format_available(NULL));
    CHECK(dib_load_memory("BM", 2, NULL, NULL, &result, NULL, NULL) == DIB_C_ERROR_INVALID);
    CHECK(strcmp(result.reason, "there is no pointer for the image") == 0);
    CHECK(dib_load_file("a.bmp", NULL, NULL, NULL, NULL, NULL) == DIB_C_ERROR_INVALID);
    CHECK(dib_load_stream(stdin, NULL, NULL, NULL, NULL, NULL) == DIB_C_ERROR_INVALID);
    CHECK(dib_load_function(NULL, NULL, NULL, NULL, NULL, NULL, NULL) == DIB_C_ERROR_INVALID);
    CHECK(dib_probe_file(NULL, NULL, NULL, &result) == DIB_C_ERROR_INVALID);
    CHECK(strcmp(result.reason, "there is no structure of the right size to fill") == 0);
    CHECK(dib_probe_memory(NULL, 0, NULL, NULL, NULL) == DIB_C_ERROR_INVALID);
    CHECK(dib_save_losses(NULL, NULL, NULL, NULL, NULL) == DIB_C_ERROR_INVALID);
    CHECK(dib_save_file(NULL, NULL, NULL, NULL, NULL, NULL) == DIB_C_ERROR_OPEN);
    CHECK(dib_save_memory(NULL, NULL, NULL, NULL, NULL, NULL, NULL) == DIB_C_ERROR_INVALID);
    CHECK(dib_save_stream(NULL, NULL, NULL, NULL, NULL, NULL) == DIB_C_ERROR_OPEN);
    CHECK(dib_save_function(NULL, NULL, NULL, NULL, NULL, NULL, NULL) == DIB_C_ERROR_OPEN);
    CHECK(dib_describe_operation(NULL, DIB_C_DESCRIBE_JSON, NULL) == DIB_C_ERROR_INVALID);
    CHECK(dib_check_chain(NULL, &result) == DIB_C_ERROR_INVALID);
    CHECK(dib_apply(NULL, "reverse", NULL, &result, NULL, NULL) == DIB_C_ERROR_INVALID);
    CHECK(strcmp(result.reason, "the image has no pixels") == 0);
    CHECK(dib_apply(NULL, NULL, NULL, NULL, NULL, NULL) == DIB_C_ERROR_INVALID);
}

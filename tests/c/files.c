/* Opening and saving from C. */
#include <stddef.h>
#include <string.h>

#include "tests/c/Checks.h"

Block encoded(const dib_image* image, const char* format) {
    Block block = {NULL, 0};
    dib_save_options options = DIB_C_SAVE_OPTIONS_INIT;
    options.format = format;
    dib_save_memory(&block.bytes, &block.size, image, &options, NULL, NULL, NULL);
    return block;
}

void formats(void) {
    dib_format format = DIB_C_FORMAT_INIT;
    dib_format other = DIB_C_FORMAT_INIT;
    const int count = dib_format_count();
    int i;
    CHECK(count >= 9);
    for (i = 0; i < count; ++i) {
        CHECK(dib_format_at(i, &format) == DIB_C_OK);
        CHECK(format.size == sizeof format);
        CHECK(dib_find_format(format.name, &other) == DIB_C_OK);
        CHECK(other.name == format.name);
        CHECK(format.extensions[0] != NULL);
        if (format.plugin == NULL) CHECK(dib_is_format_available(format.name));
    }
    CHECK(dib_find_format("PNG", &format) == DIB_C_OK);
    CHECK(strcmp(format.name, "png") == 0);
    CHECK(strcmp(format.mime_types[0], "image/png") == 0);
    CHECK((format.write_depths & DIB_C_DEPTH_24) == DIB_C_DEPTH_24);
    CHECK(format.has_layers == 0);
    CHECK(dib_find_format("psd", &format) == DIB_C_OK);
    CHECK(format.has_layers == 1);
    CHECK(format.write_depths == 0 && format.has_palette_alpha == 0);
    CHECK(dib_find_format("exr", &format) == DIB_C_OK);
    CHECK(strcmp(format.plugin, "vexlibexr.bundle") == 0);

    CHECK(dib_find_format("nothing", &format) == DIB_C_ERROR_UNSUPPORTED);
    CHECK(strcmp(format.name, "exr") == 0);
    CHECK(dib_format_at(-1, &format) == DIB_C_ERROR_INVALID);
    CHECK(dib_format_at(count, &format) == DIB_C_ERROR_INVALID);
    CHECK(!dib_is_format_available("nothing"));
}

void versionsAndCodes(void) {
    CHECK(dib_version() == DIB_C_VERSION);
    CHECK(DIB_C_VERSION == 2000);
    CHECK(strcmp(dib_version_text(), "0.2.0") == 0);
    CHECK(strcmp(dib_code_text((dib_code)15), "(undefined)") == 0);
    CHECK(strcmp(dib_code_text(DIB_C_ERROR_OPEN), dib_code_text(DIB_C_ERROR_MEMORY)) != 0);
}

void pluginFolder(void) {
    char longPath[1025];
    memset(longPath, 'x', sizeof longPath - 1);
    longPath[1024] = '\0';
    CHECK(dib_set_plugin_folder(longPath) == DIB_C_ERROR_MISMATCH);
    longPath[1023] = '\0';
    CHECK(dib_set_plugin_folder(longPath) == DIB_C_OK);
    CHECK(!dib_is_format_available("exr"));
    CHECK(dib_set_plugin_folder(NULL) == DIB_C_OK);
}

void files(void) {
    const char* path = temporaryFile("from-c.tga");
    dib_image* image = countedImage(24, DIB_C_TOP_DOWN);
    dib_image* loaded = NULL;
    dib_result result = DIB_C_RESULT_INIT;
    CHECK(dib_save_file(path, image, NULL, &result, NULL, NULL) == DIB_C_OK);
    CHECK(strcmp(result.format, "tga") == 0);
    CHECK(dib_load_file(path, &loaded, NULL, &result, NULL, NULL) == DIB_C_OK);
    CHECK(result.code == DIB_C_OK);
    CHECK(result.reason[0] == '\0');
    CHECK(strcmp(result.format, "tga") == 0);
    CHECK(isSameImage(image, loaded));
    dib_image_release(loaded);

    CHECK(dib_load_file("/no/such/file.bmp", &loaded, NULL, &result, NULL, NULL) == DIB_C_ERROR_OPEN);
    CHECK(loaded == NULL);
    CHECK(result.code == DIB_C_ERROR_OPEN);
    CHECK(strcmp(result.reason, "the file cannot be opened: No such file or directory") == 0);
    CHECK(result.format == NULL);
    CHECK(dib_save_file("/no/such/file.bmp", image, NULL, &result, NULL, NULL) == DIB_C_ERROR_OPEN);
    dib_image_release(image);
}

void memoryBlocks(void) {
    dib_image* image = countedImage(8, DIB_C_BOTTOM_UP);
    dib_image* loaded = NULL;
    dib_save_options options = DIB_C_SAVE_OPTIONS_INIT;
    void* bytes = NULL;
    size_t size = 0;
    options.format = "bmp";
    options.run_lengths = 0;
    CHECK(dib_save_memory(&bytes, &size, image, &options, NULL, NULL, NULL) == DIB_C_OK);
    /* 14 + 40 bytes of headers, 256 colours, 2 rows of 4 bytes. */
    CHECK(size == 54 + 1024 + 8);
    CHECK(memcmp(bytes, "BM", 2) == 0);
    CHECK(dib_load_memory(bytes, size, &loaded, NULL, NULL, NULL, NULL) == DIB_C_OK);
    CHECK(isSameImage(image, loaded));
    dib_image_release(loaded);
    dib_free(bytes);
    dib_free(NULL);
    dib_image_release(NULL);
    dib_image_release(image);
}

void streams(void) {
    dib_image* image = countedImage(32, DIB_C_BOTTOM_UP);
    dib_image* loaded = NULL;
    dib_save_options options = DIB_C_SAVE_OPTIONS_INIT;
    FILE* file = tmpfile();
    options.format = "png";
    CHECK(file != NULL);
    CHECK(dib_save_stream(file, image, &options, NULL, NULL, NULL) == DIB_C_OK);
    rewind(file);
    CHECK(dib_load_stream(file, &loaded, NULL, NULL, NULL, NULL) == DIB_C_OK);
    CHECK(isSameImage(image, loaded));
    dib_image_release(loaded);
    dib_image_release(image);
    CHECK(fclose(file) == 0);
}

/* A file in memory that is read and written in parts. */
typedef struct Parts {
    unsigned char bytes[4096];
    size_t size;
    size_t position;
} Parts;

static size_t readSeven(void* context, void* out, size_t bytes) {
    Parts* parts = context;
    size_t part = parts->size - parts->position;
    if (part > 7) part = 7;
    if (part > bytes) part = bytes;
    memcpy(out, parts->bytes + parts->position, part);
    parts->position += part;
    return part;
}

static bool append(void* context, const void* from, size_t bytes) {
    Parts* parts = context;
    if (bytes > sizeof parts->bytes - parts->size) return false;
    memcpy(parts->bytes + parts->size, from, bytes);
    parts->size += bytes;
    return true;
}

static bool appendNothing(void* context, const void* from, size_t bytes) {
    return context == NULL && from == NULL && bytes == 0;
}

void functions(void) {
    static Parts parts;
    dib_image* image = countedImage(4, DIB_C_BOTTOM_UP);
    dib_image* loaded = NULL;
    dib_result result = DIB_C_RESULT_INIT;
    dib_save_options options = DIB_C_SAVE_OPTIONS_INIT;
    options.format = "bmp";
    parts.size = parts.position = 0;
    CHECK(dib_save_function(append, &parts, image, &options, NULL, NULL, NULL) == DIB_C_OK);
    CHECK(parts.size > 54);
    CHECK(dib_load_function(readSeven, &parts, &loaded, NULL, NULL, NULL, NULL) == DIB_C_OK);
    CHECK(parts.position == parts.size);
    CHECK(isSameImage(image, loaded));
    dib_image_release(loaded);

    CHECK(dib_save_function(appendNothing, NULL, image, &options, &result, NULL, NULL) == DIB_C_ERROR_WRITE);
    CHECK(strncmp(result.reason, "the stream cannot be written", 28) == 0);
    CHECK(dib_load_function(NULL, NULL, &loaded, NULL, NULL, NULL, NULL) == DIB_C_ERROR_OPEN);
    CHECK(dib_save_function(NULL, NULL, image, &options, NULL, NULL, NULL) == DIB_C_ERROR_OPEN);
    dib_image_release(image);
}

void probes(void) {
    dib_image* image = countedImage(8, DIB_C_TOP_DOWN);
    dib_file_info info = DIB_C_FILE_INFO_INIT;
    dib_result result = DIB_C_RESULT_INIT;
    const char* path = temporaryFile("probed.png");
    Block block = encoded(image, "bmp");
    CHECK(dib_probe_memory(block.bytes, block.size, &info, NULL, &result) == DIB_C_OK);
    CHECK(strcmp(info.format, "bmp") == 0);
    CHECK(info.row_order == DIB_C_BOTTOM_UP);
    dib_free(block.bytes);
    CHECK(dib_save_file(path, image, NULL, NULL, NULL, NULL) == DIB_C_OK);
    CHECK(dib_probe_file(path, &info, NULL, &result) == DIB_C_OK);
    CHECK(strcmp(info.format, "png") == 0);
    CHECK(info.width == 3);
    CHECK(info.height == 2);
    CHECK(info.pages == 1);
    CHECK(info.layers == 0);
    CHECK(info.levels == 1);
    CHECK(info.has_alpha == 0);
    CHECK(info.video_x == -1 && info.video_y == -1 && info.palette_x == -1 && info.palette_y == -1);
    CHECK(info.size == sizeof info);

    info.width = 77;
    CHECK(dib_probe_file("/no/such/file", &info, NULL, &result) == DIB_C_ERROR_OPEN);
    CHECK(dib_probe_memory("none of them", 12, &info, NULL, &result) == DIB_C_ERROR_UNSUPPORTED);
    CHECK(strcmp(result.reason, "the format of the file is not known") == 0);
    CHECK(info.width == 77);
    dib_image_release(image);
}

void losses(void) {
    dib_image* image = countedImage(32, DIB_C_BOTTOM_UP);
    dib_result result = DIB_C_RESULT_INIT;
    dib_save_options options = DIB_C_SAVE_OPTIONS_INIT;
    dib_metadata metadata = DIB_C_METADATA_INIT;
    int count = -1;
    CHECK(dib_save_losses(image, "png", NULL, &count, &result) == DIB_C_OK);
    CHECK(count == 0);
    CHECK(dib_save_losses(image, "ppm", NULL, &count, &result) == DIB_C_OK);
    CHECK(count == 2);
    CHECK(result.note_count == 2);
    CHECK(result.note_kinds[0] == DIB_C_NOTE_LOSS);
    CHECK(strcmp(result.notes[0], "transparency is not kept") == 0);
    CHECK(strcmp(result.notes[1], "32 bits a pixel become 24") == 0);
    metadata.x_resolution = 300;
    options.metadata = &metadata;
    CHECK(dib_save_losses(image, "ppm", &options, &count, &result) == DIB_C_OK);
    CHECK(count == 3);
    CHECK(dib_save_losses(image, "ppm", NULL, NULL, NULL) == DIB_C_OK);

    CHECK(dib_save_losses(image, "psd", NULL, &count, &result) == DIB_C_ERROR_UNSUPPORTED);
    CHECK(count == 0);
    CHECK(dib_save_losses(NULL, "ppm", NULL, &count, &result) == DIB_C_ERROR_INVALID);

    options.format = "ppm";
    options.refuses_losses = 1;
    CHECK(dib_save_file(temporaryFile("lossy.ppm"), image, &options, &result, NULL, NULL) ==
          DIB_C_ERROR_MISMATCH);
    dib_image_release(image);
}

/* A TIM file of one pixel, at (320, 8) of the video memory. */
void timFilesKeepTheirFrame(void) {
    static const unsigned char kTim[] = {16, 0,  0, 0, 2, 0, 0, 0, 14, 0,    0,
                                         0,  64, 1, 8, 0, 1, 0, 1, 0,  0x1F, 0};
    dib_image* image = NULL;
    dib_metadata metadata = DIB_C_METADATA_INIT;
    dib_save_options options = DIB_C_SAVE_OPTIONS_INIT;
    dib_result result = DIB_C_RESULT_INIT;
    Block block = {NULL, 0};
    result.metadata = &metadata;
    CHECK(dib_load_memory(kTim, sizeof kTim, &image, NULL, &result, NULL, NULL) == DIB_C_OK);
    CHECK(metadata.tim_frame != NULL && metadata.tim_frame_size > 0);
    options.format = "tim";
    options.metadata = &metadata;
    CHECK(dib_save_memory(&block.bytes, &block.size, image, &options, NULL, NULL, NULL) == DIB_C_OK);
    CHECK(block.size == sizeof kTim && memcmp(block.bytes, kTim, sizeof kTim) == 0);
    dib_free(block.bytes);
    dib_image_release(image);
    dib_metadata_clear(&metadata);
    CHECK(metadata.tim_frame == NULL && metadata.tim_frame_size == 0);

    /* A program of the first version gets none, and nothing is lost of it. */
    metadata.size = offsetof(dib_metadata, palette_alpha);
    metadata.tim_frame = (unsigned char*)kTim;
    CHECK(dib_load_memory(kTim, sizeof kTim, &image, NULL, &result, NULL, NULL) == DIB_C_OK);
    CHECK(metadata.tim_frame == kTim);
    dib_metadata_clear(&metadata);
    CHECK(metadata.tim_frame == kTim);
    dib_image_release(image);
}

void namesOfPartsAreRefused(void) {
    static const unsigned char kTim[] = {16, 0,  0, 0, 2, 0, 0, 0, 14, 0,    0,
                                         0,  64, 1, 8, 0, 1, 0, 1, 0,  0x1F, 0};
    dib_load_options options = DIB_C_LOAD_OPTIONS_INIT;
    dib_result result = DIB_C_RESULT_INIT;
    dib_image* image = NULL;
    options.page_name = "left";
    CHECK(dib_load_memory(kTim, sizeof kTim, &image, &options, &result, NULL, NULL) == DIB_C_ERROR_MISMATCH);
    CHECK(strcmp(result.reason, "there is no page \"left\": pages of tim files have no names") == 0);
    options.page_name = NULL;
    options.layer_name = "sky";
    CHECK(dib_load_memory(kTim, sizeof kTim, &image, &options, &result, NULL, NULL) == DIB_C_ERROR_MISMATCH);
    CHECK(strcmp(result.reason, "the file has no layer \"sky\"") == 0);
    options.layer_name = NULL;
    options.part = 3;
    CHECK(dib_load_memory(kTim, sizeof kTim, &image, &options, &result, NULL, NULL) == DIB_C_ERROR_INVALID);
    CHECK(dib_format_library("png") == NULL && dib_format_library(NULL) == NULL);
}

void notes(void) {
    dib_image* image = NULL;
    dib_image* loaded = NULL;
    dib_result result = DIB_C_RESULT_INIT;
    dib_load_options options = DIB_C_LOAD_OPTIONS_INIT;
    Block block;
    CHECK(dib_image_new(3, 2, 32, DIB_C_BOTTOM_UP, &image) == DIB_C_OK);
    block = encoded(image, "png");
    CHECK(dib_load_memory(block.bytes, block.size, &loaded, NULL, &result, NULL, NULL) == DIB_C_OK);
    CHECK(result.note_count == 1);
    CHECK(result.note_kinds[0] == DIB_C_NOTE_ASSUMPTION);
    CHECK(strstr(result.notes[0], "alpha is 0 everywhere") != NULL);
    CHECK(dib_image_const_row(loaded, 0)[3] == 255);
    dib_image_release(loaded);
    options.alpha = DIB_C_ALPHA_STORED;
    CHECK(dib_load_memory(block.bytes, block.size, &loaded, &options, &result, NULL, NULL) == DIB_C_OK);
    CHECK(result.note_count == 0);
    CHECK(dib_image_const_row(loaded, 0)[3] == 0);
    dib_image_release(loaded);
    dib_free(block.bytes);
    dib_image_release(image);
}

/* Records fractions; false at call number `cancelAt`. */
typedef struct Log {
    int calls;
    int cancelAt;
    float first;
    float last;
    int wentBack;
} Log;

static bool record(float fraction, void* user) {
    Log* log = user;
    if (log->calls == 0) log->first = fraction;
    if (fraction < log->last) log->wentBack = 1;
    log->last = fraction;
    return log->calls++ != log->cancelAt;
}

void progressAndCancel(void) {
    const Log unused = {0, -1, 0, 0, 0};
    Log log = unused;
    dib_image* image = countedImage(24, DIB_C_BOTTOM_UP);
    dib_image* loaded = NULL;
    dib_result result = DIB_C_RESULT_INIT;
    Block block = encoded(image, "bmp");
    int calls;
    int i;
    CHECK(dib_load_memory(block.bytes, block.size, &loaded, NULL, &result, record, &log) == DIB_C_OK);
    CHECK(log.calls >= 2 && log.first == 0.0F && log.last == 1.0F && !log.wentBack);
    dib_image_release(loaded);
    calls = log.calls;
    for (i = 0; i < calls; ++i) {
        log = unused;
        log.cancelAt = i;
        CHECK(dib_load_memory(block.bytes, block.size, &loaded, NULL, &result, record, &log) ==
              DIB_C_ERROR_INTERRUPTED);
        CHECK(loaded == NULL);
        CHECK(strcmp(result.reason, "cancelled") == 0);
    }
    dib_free(block.bytes);

    log = unused;
    log.cancelAt = 1;
    remove(temporaryFile("cancelled.bmp"));
    CHECK(dib_save_file(temporaryFile("cancelled.bmp"), image, NULL, &result, record, &log) ==
          DIB_C_ERROR_INTERRUPTED);
    CHECK(remove(temporaryFile("cancelled.bmp")) != 0);
    dib_image_release(image);
}

static dib_code loadWith(const Block* block, const dib_load_options* options, dib_result* result) {
    dib_image* image;
    const dib_code code = dib_load_memory(block->bytes, block->size, &image, options, result, NULL, NULL);
    CHECK((image != NULL) == (code == DIB_C_OK));
    dib_image_release(image);
    return code;
}

void loadOptions(void) {
    const dib_load_options standard = DIB_C_LOAD_OPTIONS_INIT;
    static const char* const accepted[] = {"png", "tga", NULL};
    dib_load_options options = standard;
    dib_result result = DIB_C_RESULT_INIT;
    dib_image* image = countedImage(24, DIB_C_BOTTOM_UP);
    Block bmp = encoded(image, "bmp");
    options.formats = accepted;
    CHECK(loadWith(&bmp, &options, &result) == DIB_C_ERROR_MISMATCH);
    CHECK(strcmp(result.reason, "bmp files are not among the accepted formats") == 0);
    options = standard;
    options.most_pixels = 5;
    CHECK(loadWith(&bmp, &options, &result) == DIB_C_ERROR_MISMATCH);
    options = standard;
    options.most_bytes = 23;
    CHECK(loadWith(&bmp, &options, &result) == DIB_C_ERROR_MISMATCH);
    options.most_bytes = 24;
    CHECK(loadWith(&bmp, &options, &result) == DIB_C_OK);
    options = standard;
    options.page = 1;
    CHECK(loadWith(&bmp, &options, &result) == DIB_C_ERROR_MISMATCH);
    options = standard;
    options.level = 1;
    CHECK(loadWith(&bmp, &options, &result) == DIB_C_ERROR_MISMATCH);
    options = standard;
    options.layer = 0;
    CHECK(loadWith(&bmp, &options, &result) == DIB_C_ERROR_MISMATCH);
    options = standard;
    options.format = "png";
    CHECK(loadWith(&bmp, &options, &result) != DIB_C_OK);
    options.format = "bmp";
    CHECK(loadWith(&bmp, &options, &result) == DIB_C_OK);
    options = standard;
    options.damage = 2;
    CHECK(loadWith(&bmp, &options, &result) == DIB_C_ERROR_INVALID);
    CHECK(strcmp(result.reason, "the option damage has no such value") == 0);
    options = standard;
    options.alpha = -1;
    CHECK(loadWith(&bmp, &options, &result) == DIB_C_ERROR_INVALID);
    options = standard;
    options.at_least_width = -1;
    CHECK(loadWith(&bmp, &options, &result) == DIB_C_ERROR_MISMATCH);
    CHECK(strcmp(result.reason, "least width is -1, but must be 0 or more") == 0);
    dib_free(bmp.bytes);
    dib_image_release(image);
}

void damagedFiles(void) {
    dib_image* image = countedImage(24, DIB_C_BOTTOM_UP);
    dib_image* loaded = NULL;
    dib_load_options options = DIB_C_LOAD_OPTIONS_INIT;
    dib_result result = DIB_C_RESULT_INIT;
    Block block = encoded(image, "ppm");
    /* The last row is cut off. */
    block.size -= 9;
    CHECK(loadWith(&block, &options, &result) == DIB_C_ERROR_READ);
    CHECK(result.reason[0] != '\0');
    options.damage = DIB_C_DAMAGE_KEEP;
    CHECK(dib_load_memory(block.bytes, block.size, &loaded, &options, &result, NULL, NULL) == DIB_C_OK);
    CHECK(result.note_count == 1);
    CHECK(result.note_kinds[0] == DIB_C_NOTE_WARNING);
    CHECK(memcmp(dib_image_const_row(loaded, 0), dib_image_const_row(image, 0), 9) == 0);
    CHECK(dib_image_const_row(loaded, 1)[0] == 0);
    dib_image_release(loaded);
    dib_free(block.bytes);
    dib_image_release(image);
}

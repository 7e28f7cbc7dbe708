/* Turns any picture into its negative, or takes it through a chain of operations. Ctrl-C cancels. */
#include <dibstream.h>
#include <signal.h>
#include <stdio.h>

static volatile sig_atomic_t isCancelled = 0;

static void cancel(int number) {
    (void)number;
    isCancelled = 1;
}

static bool showProgress(float fraction, void* step) {
    fprintf(stderr, "\r%s: %3.0f %%", (const char*)step, 100.0 * (double)fraction);
    return isCancelled == 0;
}

/* Up to 8 bits the colours are in the palette, above in the rows: bytes or words, alpha last. */
static dib_code negate(dib_image* image) {
    uint32_t colors[256];
    const int depth = dib_image_bit_count(image);
    const int count = dib_image_get_palette(image, colors, 256);
    if (count > 0) {
        for (int i = 0; i < count; ++i) colors[i] ^= 0xFFFFFF;
        return dib_image_set_palette(image, colors, count);
    }
    for (int y = 0; y < dib_image_height(image); ++y) {
        unsigned char* row = dib_image_row(image, y);
        for (int i = 0; i < dib_image_width(image) * depth / 8; ++i) {
            if (depth != 32 || i % 4 != 3) row[i] = (unsigned char)~row[i];
        }
    }
    return DIB_C_OK;
}

int main(int argc, char** argv) {
    char opening[] = "open", applying[] = "apply", saving[] = "save";
    dib_image* image = NULL;
    dib_metadata metadata = DIB_C_METADATA_INIT;
    dib_result result = DIB_C_RESULT_INIT;
    dib_save_options options = DIB_C_SAVE_OPTIONS_INIT;
    if (argc != 3 && argc != 4) {
        fprintf(stderr, "usage: c_program IN OUT [CHAIN]\n");
        return 2;
    }
    signal(SIGINT, cancel);
    result.metadata = &metadata; /* resolution, colour profile and EXIF are wanted */
    dib_code code = dib_load_file(argv[1], &image, NULL, &result, showProgress, opening);
    if (code == DIB_C_OK) {
        printf("%s, %d x %d pixels of %d bits\n", result.format, dib_image_width(image),
               dib_image_height(image), dib_image_bit_count(image));
        for (int i = 0; i < result.note_count; ++i) printf("%s\n", result.notes[i]);
        code = argc == 4 ? dib_apply(image, argv[3], NULL, &result, showProgress, applying) : negate(image);
    }
    if (code == DIB_C_OK) {
        if (result.exchanges_axes) {
            const double across = metadata.x_resolution;
            metadata.x_resolution = metadata.y_resolution;
            metadata.y_resolution = across;
        }
        options.metadata = &metadata; /* and go along */
        code = dib_save_file(argv[2], image, &options, &result, showProgress, saving);
    }
    fprintf(stderr, "\n%s\n",
            code == DIB_C_OK   ? "done"
            : result.reason[0] ? result.reason
                               : dib_code_text(code));
    dib_metadata_clear(&metadata);
    dib_image_release(image);
    return code == DIB_C_OK ? 0 : 1;
}

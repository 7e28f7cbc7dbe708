/* A C program that works by the table of operations alone (tests/system/pretend.sh).
   usage: program OPERATION CHAIN     a text about the operation; a byte of a black picture after the chain */
#include <dibstream.h>
#include <stdio.h>

int main(int argc, char** argv) {
    if (argc != 3) return 2;
    char* text = NULL;
    if (dib_describe_operation(argv[1], DIB_C_DESCRIBE_HELP, &text) != DIB_C_OK) {
        fprintf(stderr, "no operation %s\n", argv[1]);
        return 1;
    }
    fputs(text, stdout);
    dib_free(text);
    for (int i = 0; i < dib_operation_count(); ++i) printf("%s\n", dib_operation_name(i));
    dib_image* image = NULL;
    dib_result result = DIB_C_RESULT_INIT;
    if (dib_image_new(2, 2, 24, DIB_C_TOP_DOWN, &image) != DIB_C_OK) return 1;
    if (dib_apply(image, argv[2], NULL, &result, NULL, NULL) != DIB_C_OK) {
        fprintf(stderr, "%s\n", result.reason);
        dib_image_release(image);
        return 1;
    }
    printf("first byte %d\n", dib_image_const_row(image, 0)[0]);
    dib_image_release(image);
    return 0;
}

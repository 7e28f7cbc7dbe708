// Reduces any picture to a palette of its own, of at most 256 colours.
#include <DibFile.h>

#include <cstdio>

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: first_program IN OUT\n");
        return 2;
    }
    DibStream picture;
    DibFileResult result;
    if (!DibLoadFile(argv[1], &picture, nullptr, &result)) {
        std::fprintf(stderr, "%s: %s\n", argv[1], result.reason);
        return 1;
    }
    if (!picture.ChangeBpp(8, DIB_MEDIAN_CUT)) {
        std::fprintf(stderr, "%s\n", DibStream::GetErrorString(picture.ErrorCode));
        return 1;
    }
    if (!DibSaveFile(argv[2], &picture, nullptr, &result)) {
        std::fprintf(stderr, "%s: %s\n", argv[2], result.reason);
        return 1;
    }
    return 0;
}

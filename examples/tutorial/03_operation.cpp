// Applies a chain of operations, written as on the command line of dib.
#include <DibOperation.h>

#include <cstdio>

int main(int argc, char** argv) {
    if (argc < 3) return 2;
    DibStream picture;
    DibFileResult file;
    if (!DibLoadFile(argv[1], &picture, nullptr, &file)) {
        std::fprintf(stderr, "%s\n", file.reason);
        return 1;
    }
    DibOperationResult result;
    if (!DibApply(&picture, "fit:640x480 unsharp:1.5 border:4,color=#fff", nullptr, &result)) {
        std::fprintf(stderr, "%s\n", result.reason);
        return 1;
    }
    if (!DibSaveFile(argv[2], &picture, nullptr, &file)) {
        std::fprintf(stderr, "%s\n", file.reason);
        return 1;
    }
    return 0;
}

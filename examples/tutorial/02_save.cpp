// Saves a picture only where the file can hold all of it; otherwise it says what would be lost.
#include <DibFile.h>

#include <cstdio>

int main(int argc, char** argv) {
    if (argc < 3) return 2;
    DibStream picture;
    DibFileResult result;
    bool isDone = DibLoadFile(argv[1], &picture, nullptr, &result);
    if (isDone) {
        DibSaveOptions options;
        options.metadata = &result.metadata;  // resolution, colour profile and EXIF go along
        options.refusesLosses = true;
        isDone = DibSaveFile(argv[2], &picture, &options, &result);
    }
    if (isDone) return 0;
    std::fprintf(stderr, "%s\n", result.reason);
    // The notes of a refused save are all that the file cannot hold.
    for (int i = 0; i < result.noteCount; ++i) std::fprintf(stderr, "lost: %s\n", result.notes[i].text);
    return 1;
}

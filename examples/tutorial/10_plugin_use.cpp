// Opens a picture through the plug-in of this step, from the folder that is named third.
#include <DibFile.h>

#include <cstdio>
#include <cstring>

int main(int argc, char** argv) {
    if (argc < 4) return 2;
    DibStream::SetDllFilePath(argv[3]);
    const char drawing[] =
        "ART 6 4\n"
        ".####.\n"
        "#.##.#\n"
        "######\n"
        ".#..#.\n";
    DibStream picture;
    DibFileResult result;
    if (!DibLoadMemory(drawing, std::strlen(drawing), &picture, nullptr, &result)) {
        std::fprintf(stderr, "%s\n", result.reason);
        return 1;
    }
    std::printf("%s, opened by %s\n", result.format->title, DibGetFormatLibrary(result.format));
    return DibSaveFile(argv[2], &picture) ? 0 : 1;
}

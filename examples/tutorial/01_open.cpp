// Opens a picture of any format, and says what it is or why it cannot be opened.
#include <DibFile.h>

#include <cstdio>

int main(int argc, char** argv) {
    if (argc < 2) return 2;
    DibStream picture;
    DibFileResult result;
    if (!DibLoadFile(argv[1], &picture, nullptr, &result)) {
        std::fprintf(stderr, "%s: %s\n", argv[1], result.reason);
        return 1;
    }
    const BITMAPINFOHEADER& header = *picture.Header;
    const int rows = header.biHeight < 0 ? -header.biHeight : header.biHeight;
    std::printf("%s, %d x %d pixels of %d bits\n", result.format->title, header.biWidth, rows,
                header.biBitCount);
    for (int i = 0; i < result.noteCount; ++i) std::printf("note: %s\n", result.notes[i].text);
    return 0;
}

// Visits every pixel: halves the brightness of every second row.
#include <DibFile.h>

#include <cstdio>

int main(int argc, char** argv) {
    if (argc < 3) return 2;
    DibStream picture;
    DibFileResult result;
    if (!DibLoadFile(argv[1], &picture, nullptr, &result)) {
        std::fprintf(stderr, "%s\n", result.reason);
        return 1;
    }
    // Three bytes a pixel: blue, green, red.
    if (!picture.ChangeBpp(24, 0)) {
        std::fprintf(stderr, "%s\n", DibStream::GetErrorString(picture.ErrorCode));
        return 1;
    }
    const int columns = picture.Header->biWidth;
    // Positive heights store the bottom row first. ScanLine counts the rows as they are stored.
    const int height = picture.Header->biHeight;
    const int rows = height < 0 ? -height : height;
    for (int y = 0; y < rows; y += 2) {
        unsigned char* row = picture.ScanLine(y);
        for (int i = 0; i < 3 * columns; ++i) row[i] /= 2;
    }
    return DibSaveFile(argv[2], &picture) ? 0 : 1;
}

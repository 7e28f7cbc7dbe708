// Saves a picture as PNG into memory and opens it again from there, as a program that sends it elsewhere.
#include <DibFile.h>
#include <DibPictures.h>

#include <cstdio>

int main(int argc, char** argv) {
    if (argc < 3) return 2;
    DibStream picture;
    DibFileResult result;
    if (!DibLoadFile(argv[1], &picture, nullptr, &result)) {
        std::fprintf(stderr, "%s\n", result.reason);
        return 1;
    }
    DibBytes png;  // frees its block
    DibSaveOptions options;
    options.format = "png";
    DibStream copy;
    if (!DibSaveMemory(&png, &picture, &options, &result) ||
        !DibLoadMemory(png.data, png.size, &copy, nullptr, &result)) {
        std::fprintf(stderr, "%s\n", result.reason);
        return 1;
    }
    std::printf("%zu bytes of PNG\n", png.size);
    DibDifference difference;
    if (!DibCompare(&picture, &copy, &difference)) return 1;
    std::printf("%llu pixels differ\n", static_cast<unsigned long long>(difference.differentPixels));
    return difference.differentPixels == 0 && DibSaveFile(argv[2], &copy) ? 0 : 1;
}

// Reduces a picture to sixteen colours of its own, and lists them.
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
    if (!DibApply(&picture, "colors:16,dither=floyd-steinberg", nullptr, &result)) {
        std::fprintf(stderr, "%s\n", result.reason);
        return 1;
    }
    // The colour table follows the header. Pixels are indices into it.
    const auto* colors = reinterpret_cast<const DibBGRA*>(picture.Header + 1);
    for (unsigned int i = 0; i < picture.Header->biClrUsed; ++i)
        std::printf("%u: #%02x%02x%02x\n", i, colors[i].red, colors[i].green, colors[i].blue);
    return DibSaveFile(argv[2], &picture) ? 0 : 1;
}

// Puts the layers of a document on a sheet of sprites.
// Run: sprites coin.psd
#include <DibFile.h>
#include <DibPictures.h>

#include <cstdio>
#include <vector>

int main(int argc, char** argv) {
    if (argc < 2) return 2;
    DibLayers layers;
    DibFileResult result;
    if (!DibProbeLayers(argv[1], &layers, nullptr, &result)) {
        std::fprintf(stderr, "%s: %s\n", argv[1], result.reason);
        return 1;
    }
    std::vector<DibStream> sprites(layers.count);
    std::vector<const DibStream*> pictures;
    for (std::size_t i = 0; i < layers.count; ++i) {
        if (layers.items[i].width == 0) continue;  // a group, or an empty layer
        DibLoadOptions options;
        options.layer = static_cast<int>(i);
        if (!DibLoadFile(argv[1], &sprites[i], &options, &result)) {
            std::fprintf(stderr, "%s: %s: %s\n", argv[1], layers.items[i].name, result.reason);
            return 1;
        }
        pictures.push_back(&sprites[i]);
    }
    DibMontageOptions options;
    options.columns = 8;
    options.gap = 2;
    options.background = {0, 0, 0, 0};
    DibStream sheet;
    const bool isDone = DibMontage(pictures.data(), static_cast<int>(pictures.size()), &sheet, &options);
    return isDone && DibSaveFile("sprites.png", &sheet) ? 0 : 1;
}

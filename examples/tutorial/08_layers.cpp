// Lists the layers of a document and opens the lowest one that has pixels. Other files have no layers.
#include <DibFile.h>

#include <cstdio>

int main(int argc, char** argv) {
    if (argc < 3) return 2;
    DibLayers layers;
    DibFileResult result;
    if (!DibProbeLayers(argv[1], &layers, nullptr, &result)) {
        std::fprintf(stderr, "%s\n", result.reason);
        return 1;
    }
    DibLoadOptions options;
    for (std::size_t i = 0; i < layers.count; ++i) {
        const DibLayer& layer = layers.items[i];
        std::printf("%zu: %s, %d x %d at %d, %d\n", i, layer.name, layer.width, layer.height, layer.left,
                    layer.top);
        if (options.layer < 0 && layer.width > 0) options.layer = static_cast<int>(i);
    }
    if (layers.count == 0) std::printf("no layers\n");
    DibStream picture;
    if (!DibLoadFile(argv[1], &picture, &options, &result)) {
        std::fprintf(stderr, "%s\n", result.reason);
        return 1;
    }
    return DibSaveFile(argv[2], &picture) ? 0 : 1;
}

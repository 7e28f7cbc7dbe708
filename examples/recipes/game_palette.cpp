// Finds the 16 colours that show all tiles best, and gives each tile that palette.
// Run: game_palette art/*.png
#include <DibOperation.h>
#include <DibPalette.h>
#include <DibPictures.h>

#include <cstdio>
#include <filesystem>
#include <vector>

int main(int argc, char** argv) {
    const int count = argc - 1;
    std::vector<DibStream> tiles(static_cast<std::size_t>(count));
    std::vector<const DibStream*> pictures;
    for (DibStream& tile : tiles) {
        if (!DibLoadFile(argv[pictures.size() + 1], &tile)) return 1;
        pictures.push_back(&tile);
    }
    DibStream all;
    if (!DibMontage(pictures.data(), count, &all) || !DibApply(&all, "colors:16") ||
        !DibSavePalette("game.gpl", &all))
        return 1;

    std::filesystem::create_directory("tiles");
    int index = 0;
    for (DibStream& tile : tiles) {
        const auto target = "tiles" / std::filesystem::path(argv[++index]).filename();
        DibOperationResult result;
        if (!DibApply(&tile, "remap:game.gpl,dither=ordered", nullptr, &result) ||
            !DibSaveFile(target.c_str(), &tile)) {
            std::fprintf(stderr, "%s: %s\n", argv[index], result.reason);
            return 1;
        }
    }
    return 0;
}

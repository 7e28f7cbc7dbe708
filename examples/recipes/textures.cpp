// Makes a TIM texture of 64 x 64 pixels and 16 colours of each picture, and a PNG file of each texture.
// Run: textures art/*.png
#include <DibOperation.h>

#include <cstdio>
#include <filesystem>

namespace {

bool convert(const std::filesystem::path& from, const char* chain, const std::filesystem::path& to) {
    DibStream picture;
    DibFileResult file;
    DibOperationResult operation;
    std::filesystem::create_directories(to.parent_path());
    if (DibLoadFile(from.c_str(), &picture, nullptr, &file) &&
        DibApply(&picture, chain, nullptr, &operation) && DibSaveFile(to.c_str(), &picture, nullptr, &file))
        return true;
    std::fprintf(stderr, "%s: %s%s\n", from.string().c_str(), file.reason, operation.reason);
    return false;
}

}  // namespace

int main(int argc, char** argv) {
    for (int i = 1; i < argc; ++i) {
        const std::string name = std::filesystem::path(argv[i]).stem().string();
        const std::string texture = "textures/" + name + ".tim";
        if (!convert(argv[i], "fill:64x64 colors:16", texture) ||
            !convert(texture, "", "pictures/" + name + ".png"))
            return 1;
    }
    return 0;
}

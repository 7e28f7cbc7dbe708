// Puts photos on a sheet, with their names.
// Run: contact_sheet photos/*.jpg
#include <DibFile.h>
#include <DibOperation.h>
#include <DibPictures.h>

#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

int main(int argc, char** argv) {
    const int count = argc - 1;
    std::vector<DibStream> photos(static_cast<std::size_t>(count));
    std::vector<std::string> names;
    DibFileResult file;
    for (DibStream& photo : photos) {
        names.push_back(argv[names.size() + 1]);
        if (!DibLoadFile(names.back().c_str(), &photo, nullptr, &file)) {
            std::fprintf(stderr, "%s: %s\n", names.back().c_str(), file.reason);
            return 1;
        }
        names.back() = std::filesystem::path(names.back()).filename().string();
    }
    std::vector<const DibStream*> pictures;
    std::vector<const char*> labels;
    for (const DibStream& photo : photos) pictures.push_back(&photo);
    for (const std::string& name : names) labels.push_back(name.c_str());

    DibMontageOptions options;
    options.columns = 4;
    options.mostWidth = options.mostHeight = 150;
    options.gap = 12;
    options.labels = labels.data();
    options.background = {0x2c, 0x24, 0x20, 0xff};  // blue, green, red, alpha
    DibStream sheet;
    DibOperationResult result;
    if (!DibMontage(pictures.data(), count, &sheet, &options, &result) ||
        !DibSaveFile("sheet.png", &sheet, nullptr, &file)) {
        std::fprintf(stderr, "sheet.png: %s%s\n", result.reason, file.reason);
        return 1;
    }
    return 0;
}

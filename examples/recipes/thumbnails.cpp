// Reduces photos to at most 200 x 200 pixels. JPEG files are decoded at a fraction of their size.
// Run: thumbnails photos/*.jpg
#include <DibOperation.h>

#include <cstdio>
#include <filesystem>

int main(int argc, char** argv) {
    std::filesystem::create_directory("thumbs");
    DibLoadOptions options;
    options.atLeastWidth = options.atLeastHeight = 200;
    int failed = 0;
    for (int i = 1; i < argc; ++i) {
        const auto target = "thumbs" / std::filesystem::path(argv[i]).filename();
        DibStream photo;
        DibFileResult file;
        DibOperationResult operation;
        if (DibLoadFile(argv[i], &photo, &options, &file) &&
            DibApply(&photo, "fit:200x200", nullptr, &operation) &&
            DibSaveFile(target.c_str(), &photo, nullptr, &file))
            continue;
        std::fprintf(stderr, "%s: %s%s\n", argv[i], file.reason, operation.reason);
        ++failed;
    }
    return failed == 0 ? 0 : 1;
}

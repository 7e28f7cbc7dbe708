// One of several tasks, numbered from 0, which share the photos.
// Run: cluster $TASK $TASKS photos/*.jpg
#include <DibOperation.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>

int main(int argc, char** argv) {
    const int task = argc > 2 ? std::atoi(argv[1]) : 0;
    const int tasks = argc > 2 ? std::atoi(argv[2]) : 0;
    if (tasks < 1) return 2;
    std::filesystem::create_directory("small");
    int failed = 0;
    for (int i = 0; i < argc - 3; ++i) {
        const char* source = argv[i + 3];
        const auto target = "small" / std::filesystem::path(source).filename();
        // Each result is whole or absent, so a task that is started again goes on where it stopped.
        if ((i + 1) % tasks != task || std::filesystem::exists(target)) continue;
        DibStream photo;
        DibFileResult file;
        if (DibLoadFile(source, &photo, nullptr, &file) && DibApply(&photo, "fit:320x320") &&
            DibSaveFile(target.c_str(), &photo, nullptr, &file))
            continue;
        std::fprintf(stderr, "%s: %s\n", source, file.reason);
        ++failed;
    }
    return failed == 0 ? 0 : 1;
}

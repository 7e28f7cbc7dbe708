// Makes each allocation fail in turn, also those inside libpng, libjpeg, libtiff and OpenEXR, which the
// wrapped malloc of the other tests does not reach: this program brings its own malloc, which every library
// uses. Each try is a process of its own, so that one that crashes is seen.
//
// usage: library_allocations [FOLDER-OF-PLUGINS EXR-FILE]
#include <DibFile.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

extern "C" {
void* __libc_malloc(std::size_t bytes);
void* __libc_calloc(std::size_t count, std::size_t bytes);
void* __libc_realloc(void* block, std::size_t bytes);
}

namespace {

enum Mode { kOnce, kFromThenOn };

bool isArmed = false;
Mode mode = kOnce;
long countdown = 0;
bool isMet = false;

bool failsNow() {
    if (!isArmed) return false;
    if (countdown > 0) {
        --countdown;
        return false;
    }
    if (isMet && mode == kOnce) return false;
    isMet = true;
    return true;
}

}  // namespace

extern "C" {
void* malloc(std::size_t bytes) { return failsNow() ? nullptr : __libc_malloc(bytes); }
void* calloc(std::size_t count, std::size_t bytes) {
    return failsNow() ? nullptr : __libc_calloc(count, bytes);
}
void* realloc(void* block, std::size_t bytes) { return failsNow() ? nullptr : __libc_realloc(block, bytes); }
}

namespace {

// What a process ends with.
enum End : int { kDone = 0, kNotMet = 1, kShort = 2, kOtherCode = 3 };

using Job = std::function<int()>;  // returns the code of the call

End tryOnce(const Job& job) {
    isArmed = true;
    const int code = job();
    isArmed = false;
    if (!isMet) return code == DIB_OK ? kNotMet : kOtherCode;
    if (code == DIB_OK) return kDone;
    return code == DIB_ERROR_MEMORY ? kShort : kOtherCode;
}

struct Counts {
    int failed = 0;
    int crashed = 0;
    int otherCodes = 0;
};

Counts tryAll(const Job& job, Mode chosen) {
    constexpr long kMost = 5000;
    Counts counts;
    mode = chosen;
    for (countdown = 0; countdown < kMost; ++countdown) {
        const pid_t child = fork();
        if (child == 0) _exit(tryOnce(job));
        int status = 0;
        if (child < 0 || waitpid(child, &status, 0) != child) std::exit(2);
        if (WIFEXITED(status) && WEXITSTATUS(status) == kNotMet) break;
        ++counts.failed;
        if (!WIFEXITED(status)) {
            ++counts.crashed;
        } else if (WEXITSTATUS(status) == kOtherCode) {
            ++counts.otherCodes;
        }
    }
    return counts;
}

// Libtiff does not check all its allocations, and reports some that failed as damage: nobody else can tell.
enum class Care { kFull, kMostly };

bool check(const std::string& name, const Job& job, Care care) {
    bool isRight = true;
    for (const Mode chosen : {kOnce, kFromThenOn}) {
        const Counts counts = tryAll(job, chosen);
        std::printf("%s, %s: %d failing allocations, %d crashes, %d codes but 2\n", name.c_str(),
                    chosen == kOnce ? "one" : "all from one on", counts.failed, counts.crashed,
                    counts.otherCodes);
        const int wrong = counts.otherCodes + counts.crashed;
        isRight =
            isRight && counts.failed > 0 && (care == Care::kFull ? wrong == 0 : 5 * wrong < counts.failed);
    }
    return isRight;
}

bool checkLoads(const std::string& name, const unsigned char* bytes, std::size_t size, Care care) {
    const Job load = [=] {
        DibStream image;
        DibFileResult result;
        DibLoadMemory(bytes, size, &image, nullptr, &result);
        return result.code;
    };
    const Job probe = [=] {
        DibFileInfo info;
        DibFileResult result;
        DibProbeMemory(bytes, size, &info, nullptr, &result);
        return result.code;
    };
    const bool isLoadRight = check(name + " load", load, care);
    return check(name + " probe", probe, care) && isLoadRight;
}

bool checkFormat(const char* format, Care care) {
    DibStream image;
    if (!image.Create(40, 30, 24)) return false;
    DibMetadata metadata;
    metadata.xResolution = 300;
    const char texts[] = "Comment\0noon";
    metadata.texts.data = static_cast<unsigned char*>(std::malloc(sizeof texts));
    metadata.texts.size = sizeof texts;
    std::memcpy(metadata.texts.data, texts, sizeof texts);
    DibSaveOptions options;
    options.format = format;
    options.metadata = &metadata;
    const Job save = [&] {
        DibBytes bytes;
        DibFileResult result;
        DibSaveMemory(&bytes, &image, &options, &result);
        return result.code;
    };
    DibBytes bytes;
    if (!DibSaveMemory(&bytes, &image, &options)) return false;
    const bool isLoadRight = checkLoads(format, bytes.data, bytes.size, care);
    return check(std::string(format) + " save", save, care) && isLoadRight;
}

std::vector<unsigned char> readAll(const char* path) {
    std::vector<unsigned char> bytes;
    if (std::FILE* file = std::fopen(path, "rb")) {
        for (int byte = std::fgetc(file); byte != EOF; byte = std::fgetc(file))
            bytes.push_back(static_cast<unsigned char>(byte));
        std::fclose(file);
    }
    return bytes;
}

}  // namespace

int main(int argc, char** argv) {
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    bool isRight = checkFormat("png", Care::kFull);
    isRight = checkFormat("jpeg", Care::kFull) && isRight;
    isRight = checkFormat("tiff", Care::kMostly) && isRight;
    if (argc > 2) {
        DibStream::SetDllFilePath(argv[1]);
        const std::vector<unsigned char> exr = readAll(argv[2]);
        // Its bundle is loaded beforehand: the dynamic loader ends a process that has no memory for one.
        DibStream image;
        if (!DibLoadMemory(exr.data(), exr.size(), &image)) return 2;
        isRight = checkLoads("exr", exr.data(), exr.size(), Care::kFull) && isRight;
    }
    return isRight ? 0 : 1;
}

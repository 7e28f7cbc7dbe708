// What may happen in several threads at once: calls with images of their own, and reading and saving one
// image that nobody changes. Results are those of a single thread.
#include <DibFile.h>
#include <DibOperation.h>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <thread>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;

constexpr const char* kFormats[] = {"bmp", "tga", "ppm", "iff", "png", "jpeg", "tiff"};
constexpr std::size_t kThreads = 4;
constexpr int kRounds = 8;

void fill(DibStream& image, unsigned seed) {
    for (int y = 0; y < image.Header->biHeight; ++y) {
        unsigned char* row = image.ScanLine(y);
        for (int x = 0; x < 3 * image.Header->biWidth; ++x)
            row[x] = static_cast<unsigned char>((static_cast<unsigned>(x * 7 + y * 13) + seed) % 251);
    }
}

Bytes saved(const DibStream& image, const char* format) {
    DibSaveOptions options;
    options.format = format;
    DibBytes bytes;
    if (!DibSaveMemory(&bytes, &image, &options)) return {};
    return {bytes.data, bytes.data + bytes.size};
}

// The files that loading, changing and saving a picture gives; empty ones where a call fails.
std::vector<Bytes> work(unsigned seed) {
    std::vector<Bytes> files;
    DibStream image;
    if (!image.Create(61, 40, 24)) return files;
    fill(image, seed);
    for (const char* format : kFormats) {
        const Bytes first = saved(image, format);
        DibLoadOptions options;
        options.format = format;
        DibStream loaded;
        DibFileInfo info;
        const bool isDone = !first.empty() && DibProbeMemory(first.data(), first.size(), &info, &options) &&
                            DibLoadMemory(first.data(), first.size(), &loaded, &options) &&
                            DibApply(&loaded, "gaussian:3 rotate:30 bpp:8 turn:90");
        files.push_back(isDone ? saved(loaded, format) : Bytes());
    }
    return files;
}

bool areWhole(const std::vector<Bytes>& files) {
    return files.size() == std::size(kFormats) &&
           std::none_of(files.begin(), files.end(), [](const Bytes& file) { return file.empty(); });
}

template <class Job>
void inThreads(const Job& job) {
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < kThreads; ++i) threads.emplace_back(job, i);
    for (std::thread& thread : threads) thread.join();
}

// Every thread has images of its own. The first calls, which set tables up, are in threads, too.
bool checkOwnImages() {
    std::vector<std::vector<Bytes>> results[kRounds];
    for (auto& round : results) {
        round.resize(kThreads);
        inThreads([&](std::size_t i) { round[i] = work(static_cast<unsigned>(i)); });
    }
    for (std::size_t i = 0; i < kThreads; ++i) {
        const std::vector<Bytes> expected = work(static_cast<unsigned>(i));
        if (!areWhole(expected)) return false;
        for (const auto& round : results) {
            if (round[i] != expected) return false;
        }
    }
    return true;
}

// All threads read and save one image.
bool checkSharedImage() {
    DibStream image;
    if (!image.Create(61, 40, 24)) return false;
    fill(image, 5);
    std::vector<Bytes> files[kThreads];
    unsigned sums[kThreads] = {};
    inThreads([&](std::size_t i) {
        for (int y = 0; y < image.Header->biHeight; ++y) sums[i] += image.ScanLine(y)[i];
        for (const char* format : kFormats) files[i].push_back(saved(image, format));
    });
    unsigned sum = 0;
    for (int y = 0; y < image.Header->biHeight; ++y) sum += image.ScanLine(y)[2];
    return areWhole(files[0]) && sums[2] == sum &&
           std::all_of(std::begin(files), std::end(files), [&](const auto& own) { return own == files[0]; });
}

}  // namespace

int main() {
    const bool areOwnRight = checkOwnImages();
    const bool isSharedRight = checkSharedImage();
    std::printf("images of each thread: %s\none image of all threads: %s\n", areOwnRight ? "right" : "WRONG",
                isSharedRight ? "right" : "WRONG");
    return areOwnRight && isSharedRight ? 0 : 1;
}

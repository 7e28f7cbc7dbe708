// The C++ side of `jobs.py overhead`: processor time of a copy of a picture, an effect on it and its release.
#include <DibEffect.h>
#include <DibStream.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <limits>

namespace {

constexpr int kSide = 64;
constexpr int kBatches = 40;
constexpr int kCalls = 5000;

double processorSeconds() {
    std::timespec time{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

// Microseconds of a call in the quickest batch.
template <typename Effect>
double fastest(DibStream& image, const Effect& effect) {
    double best = std::numeric_limits<double>::infinity();
    for (int batch = 0; batch < kBatches; ++batch) {
        const double start = processorSeconds();
        for (int call = 0; call < kCalls; ++call) {
            DibStream* copy = image.Clone();
            if (copy == nullptr || !effect(copy)) return -1;
            copy->Release();
        }
        best = std::min(best, (processorSeconds() - start) * 1e6 / kCalls);
    }
    return best;
}

}  // namespace

int main() {
    DibStream image;
    if (!image.Create(kSide, kSide, 24)) return 1;
    std::memset(image.Buffer, 90, std::size_t{kSide} * kSide * 3);
    const double reverse =
        fastest(image, [](DibStream* copy) { return DibEffectReverse(nullptr, nullptr, copy); });
    const double mosaic =
        fastest(image, [](DibStream* copy) { return DibEffectMozaic(nullptr, nullptr, copy, 4); });
    if (reverse < 0 || mosaic < 0) return 1;
    std::printf("{\"reverse\": %.4f, \"mosaic\": %.4f}\n", reverse, mosaic);
    return 0;
}

// How much memory a case holds at its peak, beside what was there before.
#ifndef BENCH_PEAK_MEMORY_H
#define BENCH_PEAK_MEMORY_H

#include <benchmark/benchmark.h>
#include <malloc.h>

#include <algorithm>
#include <cstdio>

namespace bench {

// Asks the kernel, which sees every allocation, whoever makes it: the highest resident size since it was told to
// forget (Linux only; elsewhere 0).
class PeakMemory : public benchmark::MemoryManager {
public:
    void Start() override {
        // Pages that earlier cases freed but the allocator kept would hide what this one takes.
        malloc_trim(0);
        if (std::FILE* file = std::fopen("/proc/self/clear_refs", "w")) {
            std::fputs("5", file);
            std::fclose(file);
        }
        before_ = kilobytes("VmRSS: %lld");
    }

    void Stop(Result& result) override {
        result.max_bytes_used = std::max(0LL, kilobytes("VmHWM: %lld") - before_) * 1024;
    }
    void Stop(Result* result) override { Stop(*result); }

private:
    static long long kilobytes(const char* pattern) {
        long long found = 0;
        if (std::FILE* file = std::fopen("/proc/self/status", "r")) {
            char line[256];
            while (std::fgets(line, sizeof line, file) != nullptr &&
                   std::sscanf(line, pattern, &found) != 1) {
            }
            std::fclose(file);
        }
        return found;
    }

    long long before_ = 0;
};

}  // namespace bench

#endif

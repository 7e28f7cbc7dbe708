// Peak memory of a case above what the process held before.
#ifndef BENCH_PEAK_MEMORY_H
#define BENCH_PEAK_MEMORY_H

#include <benchmark/benchmark.h>
#include <malloc.h>

#include <algorithm>
#include <cstdio>

namespace bench {

// Reads the highest resident size since the last reset from the kernel, which sees every allocation (Linux
// only; elsewhere 0).
class PeakMemory : public benchmark::MemoryManager {
public:
    void Start() override {
        // Pages that earlier cases freed and the allocator kept would hide what this case takes.
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

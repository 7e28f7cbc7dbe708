#include <DibKernels.h>

#include <cstdio>
#include <cstdlib>

#include "bench/Bench.h"
#include "bench/PeakMemory.h"

int main(int argc, char** argv) {
    const char* const level = std::getenv("DIB_KERNELS");
    if (level != nullptr && !DibLimitKernels(level)) {
        std::fputs("DIB_KERNELS: must be baseline, avx2 or avx512\n", stderr);
        return 2;
    }
    // Measured in runs of its own, which take as long again.
    static bench::PeakMemory memory;
    if (std::getenv("DIB_BENCH_MEMORY") != nullptr) benchmark::RegisterMemoryManager(&memory);
    return pb::benchMain(argc, argv);
}

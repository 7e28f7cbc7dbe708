#include <cstdlib>

#include "bench/Bench.h"
#include "bench/PeakMemory.h"

int main(int argc, char** argv) {
    // Measured in runs of its own, which take as long again.
    static bench::PeakMemory memory;
    if (std::getenv("DIB_BENCH_MEMORY") != nullptr) benchmark::RegisterMemoryManager(&memory);
    return pb::benchMain(argc, argv);
}

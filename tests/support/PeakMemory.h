// How much resident memory something takes at its peak.
#ifndef TESTS_SUPPORT_PEAK_MEMORY_H
#define TESTS_SUPPORT_PEAK_MEMORY_H

#ifdef __linux__
#include <malloc.h>
#endif

#include <cstddef>
#include <fstream>
#include <string>

#include "tests/support/Sanitizer.h"

namespace testing_support {

// The sanitizer writes to memory of its own for every block, an emulator for all code that runs. Other
// systems have no /proc.
#if defined(__linux__) && !defined(DIB_EMULATED)
constexpr bool kMeasuresMemory = !kAddressSanitizer;
#else
constexpr bool kMeasuresMemory = false;
#endif

// A line of /proc/self/status, in bytes.
inline std::size_t memoryStatus(const std::string& name) {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.rfind(name + ":", 0) == 0) return std::stoul(line.substr(name.size() + 1)) * 1024;
    }
    return 0;
}

// The highest resident size during `act`, less the size before.
template <class Act>
std::size_t peakGrowth(const Act& act) {
#ifdef __linux__
    malloc_trim(0);  // free memory that is still resident would hide what is taken
#endif
    std::ofstream("/proc/self/clear_refs") << "5";
    const std::size_t before = memoryStatus("VmRSS");
    act();
    const std::size_t peak = memoryStatus("VmHWM");
    return peak > before ? peak - before : 0;
}

}  // namespace testing_support

#endif

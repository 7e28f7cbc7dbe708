#include "dib/Kernels.h"

#include <DibKernels.h>

#include <algorithm>
#include <atomic>
#include <iterator>
#include <string_view>

namespace dib {

namespace {

KernelLevel surveyMachine() {
#if defined(__x86_64__)
    if (!__builtin_cpu_supports("avx2")) return KernelLevel::kBaseline;
    const bool widest = __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
                        __builtin_cpu_supports("avx512dq") && __builtin_cpu_supports("avx512vl") &&
                        __builtin_cpu_supports("avx512vnni");
    return widest ? KernelLevel::kAvx512 : KernelLevel::kAvx2;
#else
    return KernelLevel::kBaseline;
#endif
}

constexpr const char* kNames[] = {"baseline", "avx2", "avx512"};  // of kKernelLevels
static_assert(std::size(kNames) == std::size(kKernelLevels));

std::atomic<KernelLevel>& currentLevel() {
    static std::atomic<KernelLevel> level{bestKernelLevel()};
    return level;
}

}  // namespace

KernelLevel bestKernelLevel() {
    static const KernelLevel best = surveyMachine();
    return best;
}

KernelLevel kernelLevel() { return currentLevel().load(std::memory_order_relaxed); }

void limitKernelLevel(KernelLevel level) {
    currentLevel().store(std::min(level, bestKernelLevel()), std::memory_order_relaxed);
}

}  // namespace dib

bool DibLimitKernels(const char* level) {
    if (level == nullptr) return false;
    const auto* const name =
        std::find(std::begin(dib::kNames), std::end(dib::kNames), std::string_view(level));
    if (name == std::end(dib::kNames)) return false;
    dib::limitKernelLevel(dib::kKernelLevels[name - dib::kNames]);
    return true;
}

const char* DibKernelsInUse() { return dib::kNames[static_cast<int>(dib::kernelLevel())]; }

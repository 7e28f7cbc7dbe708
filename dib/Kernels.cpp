#include "dib/Kernels.h"

#include <algorithm>
#include <atomic>

namespace dib {

KernelLevel bestKernelLevel() {
#if defined(__x86_64__)
    static const KernelLevel best =
        __builtin_cpu_supports("avx2") ? KernelLevel::kAvx2 : KernelLevel::kBaseline;
    return best;
#else
    return KernelLevel::kBaseline;
#endif
}

namespace {
std::atomic<KernelLevel>& currentLevel() {
    static std::atomic<KernelLevel> level{bestKernelLevel()};
    return level;
}
}  // namespace

KernelLevel kernelLevel() { return currentLevel().load(std::memory_order_relaxed); }

void limitKernelLevel(KernelLevel level) {
    currentLevel().store(std::min(level, bestKernelLevel()), std::memory_order_relaxed);
}

}  // namespace dib

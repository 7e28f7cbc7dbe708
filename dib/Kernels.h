// Kernel dispatch: one source per kernel, compiled for the baseline and again for wider vectors, chosen at
// run time. Two builds do for nearly all of them; the few that gain much by the widest vectors have a third.
//
//     DIB_ALWAYS_INLINE void invertRow(std::uint8_t* row, std::size_t count) { ... plain loop ... }
//     dib::runKernel<invertRow>(row, count);
//
// The body is the definition. All builds do the same arithmetic, so results never depend on the machine.
// Where compilers do not find the vectors they are written by hand (PixelShuffles, ToneLookup, RowVectors, a
// few of the effects and operations); tests compare them with the plain loop byte for byte. BilinearMix,
// BinWindow, RankedTile and MedianHugeRadius branch on __SSE2__ themselves: every x86-64 processor has their
// instructions, so nothing is chosen at run time.
#ifndef DIB_KERNELS_H
#define DIB_KERNELS_H

#include <cstddef>

#define DIB_ALWAYS_INLINE inline __attribute__((always_inline))
#define DIB_NO_INLINE __attribute__((noinline))

#if defined(__x86_64__)
#define DIB_HAS_AVX2 1
#define DIB_TARGET_AVX2 __attribute__((target("avx2")))
#define DIB_TARGET_AVX512 __attribute__((target("avx2,avx512f,avx512bw,avx512dq,avx512vl,avx512vnni")))
#else
#define DIB_HAS_AVX2 0
#define DIB_TARGET_AVX2
#define DIB_TARGET_AVX512
#endif

namespace dib {

// Each level includes those before it.
enum class KernelLevel { kBaseline, kAvx2, kAvx512 };
constexpr KernelLevel kKernelLevels[] = {KernelLevel::kBaseline, KernelLevel::kAvx2, KernelLevel::kAvx512};

// The level in use: the best of the machine, unless limited.
KernelLevel kernelLevel();
// Best level of this machine.
KernelLevel bestKernelLevel();
// Lowers the level in use (tests compare all of them); levels above the machine's best are cut to it.
void limitKernelLevel(KernelLevel level);

template <auto Body, class... Args>
DIB_TARGET_AVX2 DIB_NO_INLINE auto runKernelAvx2(Args... args) {
    return Body(args...);
}

template <auto Body, class... Args>
DIB_NO_INLINE auto runKernelBaseline(Args... args) {
    return Body(args...);
}

// `Narrow` is the same body where it has to be written for the vectors of 16 bytes that every processor has:
// compilers take wider ones apart into single numbers where these are compared or converted.
template <auto Body, auto Narrow = Body, class... Args>
inline auto runKernel(Args... args) {
    return kernelLevel() >= KernelLevel::kAvx2 ? runKernelAvx2<Body>(args...)
                                               : runKernelBaseline<Narrow>(args...);
}

template <auto Body, class... Args>
DIB_TARGET_AVX512 DIB_NO_INLINE auto runKernelAvx512(Args... args) {
    return Body(args...);
}

// With the third build. `Wide` is the same body where it has to be written for vectors of 64 bytes.
template <auto Body, auto Wide = Body, auto Narrow = Body, class... Args>
inline auto runWidestKernel(Args... args) {
    return kernelLevel() == KernelLevel::kAvx512 ? runKernelAvx512<Wide>(args...)
                                                 : runKernel<Body, Narrow>(args...);
}

// A part of a loop in vectors that are written by hand, because compilers do not find them. From the front it
// does as many elements as whole vectors take, and returns how many those are: none below AVX2. A plain loop
// does the rest. Where the processor never has AVX2, `Vectors` need not be defined.
template <auto Vectors, class... Args>
inline auto runVectors(Args... args) {
    using Count = decltype(Vectors(args...));
    if constexpr (DIB_HAS_AVX2 != 0) {
        if (kernelLevel() >= KernelLevel::kAvx2) return Vectors(args...);
    }
    return Count{0};
}

// The build for the level in use, of a body whose wider builds are written by hand because compilers do not
// find them.
template <auto Body, auto Avx2, auto Avx512, class... Args>
inline auto runHandWritten(Args... args) {
    switch (kernelLevel()) {
        case KernelLevel::kAvx512: return Avx512(args...);
        case KernelLevel::kAvx2: return Avx2(args...);
        default: return runKernelBaseline<Body>(args...);
    }
}

}  // namespace dib

#endif

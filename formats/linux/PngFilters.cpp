#include "formats/linux/PngFilters.h"

#include <cstdint>
#include <cstring>

#include "dib/Bytes.h"
#include "dib/Kernels.h"

namespace formats {

namespace {

using Byte = std::uint8_t;

// The predictions, by the neighbours at the left, above, and above at the left.
constexpr int none(int, int, int) { return 0; }
constexpr int left(int a, int, int) { return a; }
constexpr int up(int, int b, int) { return b; }
constexpr int mean(int a, int b, int) { return (a + b) >> 1; }
// The neighbour that is nearest to left + above - above left; the order breaks ties.
constexpr int nearest(int a, int b, int c) {
    const auto distance = [](int d) { return static_cast<std::int16_t>(d < 0 ? -d : d); };
    const std::int16_t toA = distance(b - c);
    const std::int16_t toB = distance(a - c);
    const std::int16_t toC = distance(a + b - c - c);
    const int other = toB <= toC ? b : c;
    return toA <= toB && toA <= toC ? a : other;
}

// Filters a row and returns the sum of its numbers, taken as -128 to 127.
template <int (*guess)(int, int, int)>
DIB_ALWAYS_INLINE std::uint64_t apply(const Byte* __restrict row, const Byte* __restrict above,
                                      Byte* __restrict to, std::size_t bytes, std::size_t pixelBytes) {
    const Byte* const before = row - pixelBytes;
    const Byte* const aboveLeft = above - pixelBytes;
    std::uint64_t sum = 0;
    constexpr std::size_t kStrip = 4096;  // of which the sum fits in 32 bits
    for (std::size_t start = 0; start < bytes; start += kStrip) {
        const std::size_t end = bytes - start < kStrip ? bytes : start + kStrip;
        std::uint32_t strip = 0;
        for (std::size_t i = start; i < end; ++i) {
            const auto value = dib::byteOf(row[i] - guess(before[i], above[i], aboveLeft[i]));
            const auto negative = dib::byteOf(-value);
            to[i] = value;
            strip += value < negative ? value : negative;
        }
        sum += strip;
    }
    return sum;
}

using Filter = std::uint64_t (*)(const Byte*, const Byte*, Byte*, std::size_t, std::size_t);
template <int (*guess)(int, int, int)>
std::uint64_t run(const Byte* row, const Byte* above, Byte* to, std::size_t bytes, std::size_t pixelBytes) {
    return dib::runKernel<apply<guess>>(row, above, to, bytes, pixelBytes);
}
// By their numbers in files.
constexpr Filter kFilters[] = {run<none>, run<left>, run<up>, run<mean>, run<nearest>};

}  // namespace

bool PngFilters::start(std::size_t rowBytes, std::size_t pixelBytes) {
    rowBytes_ = rowBytes;
    pixelBytes_ = pixelBytes;
    above_ = dib::allocateZeroed<Byte>(pixelBytes + rowBytes);
    row_ = dib::allocateZeroed<Byte>(pixelBytes + rowBytes);
    trial_ = dib::allocateArray<Byte>(rowBytes);
    return above_ != nullptr && row_ != nullptr && trial_ != nullptr;
}

void PngFilters::filter(const unsigned char* row, unsigned char* to) {
    std::memcpy(row_.get() + pixelBytes_, row, rowBytes_);
    std::uint64_t least = UINT64_MAX;
    for (Byte number = 0; number < 5; ++number) {
        const std::uint64_t sum = kFilters[number](row_.get() + pixelBytes_, above_.get() + pixelBytes_,
                                                   trial_.get(), rowBytes_, pixelBytes_);
        if (sum >= least) continue;
        least = sum;
        to[0] = number;
        std::memcpy(to + 1, trial_.get(), rowBytes_);
    }
    row_.swap(above_);
}

}  // namespace formats

// Area averaging of rows of 24 or 32 bits: weighted means of a few neighbours, across a row and down the
// rows.
#ifndef GEOMETRY_AREA_ROWS_H
#define GEOMETRY_AREA_ROWS_H

#include <cstddef>
#include <cstdint>

#include "dib/Kernels.h"
#include "dib/Memory.h"

namespace dib {

// Weights below this total are divided by multiplication in float.
//
// sum / total, truncated, is (sum + 0.5) x (1 / total), truncated, in float: the exact quotient lies at least
// 0.5 / total away from the integers around it, above 2^-15, while three roundings of 2^-24 on a value below
// 256 stay under that. A test tries every total with every sum next to an integer quotient.
constexpr std::uint32_t kExactTotal = 1U << 14;

DIB_ALWAYS_INLINE std::int32_t divideExactly(std::int32_t sum, float inverseTotal) {
    return static_cast<std::int32_t>((static_cast<float>(sum) + 0.5F) * inverseTotal);
}

// The source pixels of each output pixel on one axis: the first one, and a weight in 1/256 for each of
// `taps` neighbours from there on (those that do not belong to it weigh 0). Weights never exceed 256.
class AreaSpans {
public:
    // Taps that the kernels process at once; `taps` is a multiple.
    static constexpr int kGroup = 4;

    AreaSpans(int sourceCount, int count);

    // False when memory was short.
    bool ready() const { return firsts_ && weights_ && totals_ && inverses_; }
    int count() const { return count_; }
    int taps() const { return taps_; }
    // Whether every total is below kExactTotal.
    bool isExact() const { return isExact_; }

    int first(int i) const { return firsts_[i]; }
    const std::uint16_t* weights(int i) const { return weights_.get() + std::ptrdiff_t{i} * taps_; }
    std::uint32_t total(int i) const { return totals_[i]; }
    const int* firsts() const { return firsts_.get(); }
    const float* inverses() const { return inverses_.get(); }

private:
    void fillSpan(int i, int sourceCount);

    int count_;
    int taps_;
    bool isExact_ = true;
    MallocPtr<int> firsts_;
    MallocPtr<std::uint16_t> weights_;
    MallocPtr<std::uint32_t> totals_;
    MallocPtr<float> inverses_;
};

// Bytes of a row that averageAcross may read after its end, and bytes that it may write after its result.
inline std::ptrdiff_t areaReadBytes(const AreaSpans& spans) { return std::ptrdiff_t{spans.taps()} * 4 + 16; }
constexpr int kAreaWriteSlack = 4;

// The means of one row, 3 or 4 bytes per span.
template <int Channels>
void averageAcross(const unsigned char* row, const AreaSpans& spans, unsigned char* out);

// sums[i] += row[i] x weight, or = when `isFirst`. Sum is int32_t for exact spans, int64_t otherwise.
template <class Sum>
void addRow(Sum* sums, const unsigned char* row, Sum weight, bool isFirst, std::ptrdiff_t count);
// out[i] = sums[i] / total, truncated.
void divideRow(const std::int32_t* sums, std::uint32_t total, std::ptrdiff_t count, unsigned char* out);
void divideRow(const std::int64_t* sums, std::uint32_t total, std::ptrdiff_t count, unsigned char* out);

}  // namespace dib

#endif

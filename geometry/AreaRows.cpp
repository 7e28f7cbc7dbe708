#include "geometry/AreaRows.h"

#include <algorithm>

#include "dib/Bytes.h"
#include "dib/Numbers.h"
#include "geometry/RowVectors.h"

namespace dib {

namespace {

// Where output pixel i begins, in source pixels and 1/256 of one.
struct Boundary {
    int index;
    int fraction;
};

Boundary boundary(int i, int sourceCount, int count) {
    const std::int64_t position = std::int64_t{i} * sourceCount;
    return {asInt(position / count), asInt(position % count * 256 / count)};
}

}  // namespace

AreaSpans::AreaSpans(int sourceCount, int count)
    : count_(count),
      // A span starts and ends inside pixels that it shares with its neighbours.
      taps_((sourceCount / count + 2 + kGroup - 1) / kGroup * kGroup),
      firsts_(allocateArray<int>(count)),
      weights_(allocateZeroed<std::uint16_t>(std::int64_t{count} * taps_)),
      totals_(allocateArray<std::uint32_t>(count)),
      inverses_(allocateArray<float>(count)) {
    if (!ready()) return;
    for (int i = 0; i < count; ++i) fillSpan(i, sourceCount);
}

void AreaSpans::fillSpan(int i, int sourceCount) {
    const Boundary begin = boundary(i, sourceCount, count_);
    const Boundary end = boundary(i + 1, sourceCount, count_);
    std::uint16_t* weight = weights_.get() + std::ptrdiff_t{i} * taps_;
    std::uint32_t total = 0;
    const auto addTap = [&](int w) {
        *weight = wordOf(w);
        total += *weight++;
    };
    if (begin.index == end.index) {
        addTap(1);  // inside one pixel: its copy
    } else {
        addTap(256 - begin.fraction);
        for (int k = begin.index + 1; k < end.index; ++k) addTap(256);
        if (end.fraction != 0) addTap(end.fraction);
    }
    firsts_[i] = begin.index;
    totals_[i] = total;
    inverses_[i] = 1.0F / static_cast<float>(total);
    isExact_ = isExact_ && total < kExactTotal;
}

namespace {

// Spans of many pixels: sums and division need more room.
template <int Channels>
void averageLongSpans(const unsigned char* row, const AreaSpans& spans, unsigned char* out) {
    for (int i = 0; i < spans.count(); ++i) {
        for (int c = 0; c < Channels; ++c) {
            const unsigned char* value = row + std::ptrdiff_t{spans.first(i)} * Channels + c;
            std::uint64_t sum = 0;
            for (int k = 0; k < spans.taps(); ++k, value += Channels) {
                sum += std::uint64_t{*value} * spans.weights(i)[k];
            }
            *out++ = byteOf(sum / spans.total(i));
        }
    }
}

template <class Sum>
DIB_ALWAYS_INLINE void addRowBody(Sum* __restrict sums, const unsigned char* __restrict row, Sum weight,
                                  bool isFirst, std::ptrdiff_t count) {
    if (isFirst) {
        for (std::ptrdiff_t i = 0; i < count; ++i) sums[i] = row[i] * weight;
    } else {
        for (std::ptrdiff_t i = 0; i < count; ++i) sums[i] += row[i] * weight;
    }
}

DIB_ALWAYS_INLINE void divideRowBody(const std::int32_t* __restrict sums, float inverseTotal,
                                     std::ptrdiff_t count, unsigned char* __restrict out) {
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        out[i] = byteOf(divideExactly(sums[i], inverseTotal));
    }
}

}  // namespace

template <int Channels>
void averageAcross(const unsigned char* __restrict row, const AreaSpans& spans,
                   unsigned char* __restrict out) {
    if (!spans.isExact()) return averageLongSpans<Channels>(row, spans, out);
    int i = runVectors<averageVectors<Channels>>(row, &spans, out);
    out += std::ptrdiff_t{i} * Channels;
    for (; i < spans.count(); ++i) {
        const unsigned char* pixel = row + std::ptrdiff_t{spans.first(i)} * Channels;
        const std::uint16_t* weights = spans.weights(i);
        std::int32_t sums[Channels] = {};
        for (int k = 0; k < spans.taps(); ++k, pixel += Channels) {
            for (int c = 0; c < Channels; ++c) sums[c] += pixel[c] * weights[k];
        }
        for (const std::int32_t sum : sums) {
            *out++ = byteOf(divideExactly(sum, spans.inverses()[i]));
        }
    }
}
template void averageAcross<3>(const unsigned char*, const AreaSpans&, unsigned char*);
template void averageAcross<4>(const unsigned char*, const AreaSpans&, unsigned char*);

template <class Sum>
void addRow(Sum* sums, const unsigned char* row, Sum weight, bool isFirst, std::ptrdiff_t count) {
    runKernel<addRowBody<Sum>>(sums, row, weight, isFirst, count);
}
template void addRow(std::int32_t*, const unsigned char*, std::int32_t, bool, std::ptrdiff_t);
template void addRow(std::int64_t*, const unsigned char*, std::int64_t, bool, std::ptrdiff_t);

void divideRow(const std::int32_t* sums, std::uint32_t total, std::ptrdiff_t count, unsigned char* out) {
    runKernel<divideRowBody>(sums, 1.0F / static_cast<float>(total), count, out);
}

void divideRow(const std::int64_t* sums, std::uint32_t total, std::ptrdiff_t count, unsigned char* out) {
    for (std::ptrdiff_t i = 0; i < count; ++i) out[i] = byteOf(sums[i] / total);
}

}  // namespace dib

#include "geometry/AreaRows.h"

#include <algorithm>

#include "geometry/RowVectors.h"

namespace dib {

namespace {

// Where output pixel i begins, in source pixels and 1/256 of one.
struct Boundary {
    std::size_t index;
    std::uint32_t fraction;
};

Boundary boundary(std::size_t i, std::size_t sourceCount, std::size_t count) {
    const std::uint64_t position = std::uint64_t{i} * sourceCount;
    return {position / count, static_cast<std::uint32_t>(position % count * 256 / count)};
}

}  // namespace

AreaSpans::AreaSpans(std::size_t sourceCount, std::size_t count)
    : count_(count),
      // A span starts and ends inside pixels that it shares with its neighbours.
      taps_((sourceCount / count + 2 + kGroup - 1) / kGroup * kGroup),
      firsts_(allocateArray<std::uint32_t>(count)),
      weights_(allocateZeroed<std::uint16_t>(count * taps_)),
      totals_(allocateArray<std::uint32_t>(count)),
      inverses_(allocateArray<float>(count)) {
    if (!ready()) return;
    for (std::size_t i = 0; i < count; ++i) fillSpan(i, sourceCount);
}

void AreaSpans::fillSpan(std::size_t i, std::size_t sourceCount) {
    const Boundary begin = boundary(i, sourceCount, count_);
    const Boundary end = boundary(i + 1, sourceCount, count_);
    std::uint16_t* weight = weights_.get() + i * taps_;
    std::uint32_t total = 0;
    const auto addTap = [&](std::uint32_t w) {
        *weight++ = static_cast<std::uint16_t>(w);
        total += w;
    };
    if (begin.index == end.index) {
        addTap(1);  // inside one pixel: its copy
    } else {
        addTap(256 - begin.fraction);
        for (std::size_t k = begin.index + 1; k < end.index; ++k) addTap(256);
        if (end.fraction != 0) addTap(end.fraction);
    }
    firsts_[i] = static_cast<std::uint32_t>(begin.index);
    totals_[i] = total;
    inverses_[i] = 1.0F / static_cast<float>(total);
    isExact_ = isExact_ && total < kExactTotal;
}

namespace {

template <int Channels>
DIB_ALWAYS_INLINE void averageAcrossBody(const unsigned char* __restrict row, const AreaSpans& spans,
                                         std::size_t firstSpan, unsigned char* __restrict out) {
    const std::size_t taps = spans.taps();
    out += firstSpan * Channels;
    for (std::size_t i = firstSpan; i < spans.count(); ++i) {
        const unsigned char* pixel = row + spans.first(i) * Channels;
        const std::uint16_t* weights = spans.weights(i);
        std::int32_t sums[Channels] = {};
        for (std::size_t k = 0; k < taps; ++k, pixel += Channels) {
            for (int c = 0; c < Channels; ++c) sums[c] += pixel[c] * weights[k];
        }
        for (int c = 0; c < Channels; ++c) {
            *out++ = static_cast<unsigned char>(divideExactly(sums[c], spans.inverses()[i]));
        }
    }
}

// Spans of many pixels: sums and division need more room.
void averageLongSpans(const unsigned char* row, const AreaSpans& spans, std::size_t channels,
                      unsigned char* out) {
    for (std::size_t i = 0; i < spans.count(); ++i) {
        for (std::size_t c = 0; c < channels; ++c) {
            const unsigned char* value = row + spans.first(i) * channels + c;
            std::uint64_t sum = 0;
            for (std::size_t k = 0; k < spans.taps(); ++k) {
                sum += std::uint64_t{value[k * channels]} * spans.weights(i)[k];
            }
            *out++ = static_cast<unsigned char>(sum / spans.total(i));
        }
    }
}

template <class Sum>
DIB_ALWAYS_INLINE void addRowBody(Sum* __restrict sums, const unsigned char* __restrict row, Sum weight,
                                  bool isFirst, std::size_t count) {
    if (isFirst) {
        for (std::size_t i = 0; i < count; ++i) sums[i] = row[i] * weight;
    } else {
        for (std::size_t i = 0; i < count; ++i) sums[i] += row[i] * weight;
    }
}

DIB_ALWAYS_INLINE void divideRowBody(const std::int32_t* __restrict sums, float inverseTotal,
                                     std::size_t count, unsigned char* __restrict out) {
    for (std::size_t i = 0; i < count; ++i) {
        out[i] = static_cast<unsigned char>(divideExactly(sums[i], inverseTotal));
    }
}

}  // namespace

void averageAcross(const unsigned char* row, const AreaSpans& spans, int channels, unsigned char* out) {
    if (!spans.isExact()) return averageLongSpans(row, spans, static_cast<std::size_t>(channels), out);
    const std::size_t done = averageAcrossVectors(row, spans, channels, out);
    if (channels == 3) {
        averageAcrossBody<3>(row, spans, done, out);
    } else {
        averageAcrossBody<4>(row, spans, done, out);
    }
}

template <class Sum>
void addRow(Sum* sums, const unsigned char* row, std::uint32_t weight, bool isFirst, std::size_t count) {
    runKernel<addRowBody<Sum>>(sums, row, static_cast<Sum>(weight), isFirst, count);
}
template void addRow(std::int32_t*, const unsigned char*, std::uint32_t, bool, std::size_t);
template void addRow(std::int64_t*, const unsigned char*, std::uint32_t, bool, std::size_t);

void divideRow(const std::int32_t* sums, std::uint32_t total, std::size_t count, unsigned char* out) {
    runKernel<divideRowBody>(sums, 1.0F / static_cast<float>(total), count, out);
}

void divideRow(const std::int64_t* sums, std::uint32_t total, std::size_t count, unsigned char* out) {
    for (std::size_t i = 0; i < count; ++i) out[i] = static_cast<unsigned char>(sums[i] / total);
}

}  // namespace dib

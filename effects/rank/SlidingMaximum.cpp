#include "effects/rank/SlidingMaximum.h"

#include <algorithm>
#include <utility>

#include "dib/Kernels.h"

namespace dib {

namespace {

// out = the earlier candidate unless the later scores strictly higher. Reading all four numbers before the
// choice lets compilers find vectors for it.
DIB_ALWAYS_INLINE void laterIfHigher(const std::int32_t* earlierScore, const std::uint32_t* earlierValue,
                                     const std::int32_t* laterScore, const std::uint32_t* laterValue,
                                     std::int32_t* __restrict outScore, std::uint32_t* __restrict outValue,
                                     std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        const std::int32_t scores[] = {earlierScore[i], laterScore[i]};
        const std::uint32_t values[] = {earlierValue[i], laterValue[i]};
        const bool later = scores[1] > scores[0];
        outScore[i] = later ? scores[1] : scores[0];
        outValue[i] = later ? values[1] : values[0];
    }
}

// The same with the earlier candidate as the result.
DIB_ALWAYS_INLINE void replaceIfHigher(std::int32_t* __restrict score, std::uint32_t* __restrict value,
                                       const std::int32_t* __restrict laterScore,
                                       const std::uint32_t* __restrict laterValue, std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        const std::int32_t scores[] = {score[i], laterScore[i]};
        const std::uint32_t values[] = {value[i], laterValue[i]};
        const bool later = scores[1] > scores[0];
        score[i] = later ? scores[1] : scores[0];
        value[i] = later ? values[1] : values[0];
    }
}

// The first of the highest of three candidates.
DIB_ALWAYS_INLINE void highestOfThree(Candidates first, Candidates second, Candidates third,
                                      std::int32_t* __restrict outScore, std::uint32_t* __restrict outValue,
                                      std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        const std::int32_t scores[] = {first.score[i], second.score[i], third.score[i]};
        const std::uint32_t values[] = {first.value[i], second.value[i], third.value[i]};
        const bool takesSecond = scores[1] > scores[0];
        const std::int32_t score = takesSecond ? scores[1] : scores[0];
        const std::uint32_t value = takesSecond ? values[1] : values[0];
        const bool takesThird = scores[2] > score;
        outScore[i] = takesThird ? scores[2] : score;
        outValue[i] = takesThird ? values[2] : value;
    }
}

DIB_ALWAYS_INLINE void higherBytes(const std::uint8_t* a, const std::uint8_t* b, std::uint8_t* __restrict out,
                                   std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        const std::uint8_t bytes[] = {a[i], b[i]};
        out[i] = bytes[0] > bytes[1] ? bytes[0] : bytes[1];
    }
}

DIB_ALWAYS_INLINE void highestBytesOfThree(const std::uint8_t* a, const std::uint8_t* b,
                                           const std::uint8_t* c, std::uint8_t* __restrict out,
                                           std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        const std::uint8_t bytes[] = {a[i], b[i], c[i]};
        const std::uint8_t higher = bytes[0] > bytes[1] ? bytes[0] : bytes[1];
        out[i] = higher > bytes[2] ? higher : bytes[2];
    }
}

DIB_ALWAYS_INLINE void raiseBytes(std::uint8_t* __restrict bytes, const std::uint8_t* __restrict others,
                                  std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        const std::uint8_t both[] = {bytes[i], others[i]};
        bytes[i] = both[0] > both[1] ? both[0] : both[1];
    }
}

void combine(Candidates earlier, Candidates later, Candidates out, std::ptrdiff_t count) {
    runKernel<laterIfHigher>(earlier.score, earlier.value, later.score, later.value, out.score, out.value,
                             count);
}
void combine(ByteCandidates earlier, ByteCandidates later, ByteCandidates out, std::ptrdiff_t count) {
    runKernel<higherBytes>(earlier.byte, later.byte, out.byte, count);
}

void combine(Candidates first, Candidates second, Candidates third, Candidates out, std::ptrdiff_t count) {
    runKernel<highestOfThree>(first, second, third, out.score, out.value, count);
}
void combine(ByteCandidates first, ByteCandidates second, ByteCandidates third, ByteCandidates out,
             std::ptrdiff_t count) {
    runKernel<highestBytesOfThree>(first.byte, second.byte, third.byte, out.byte, count);
}

void replace(Candidates earlier, Candidates later, std::ptrdiff_t count) {
    runKernel<replaceIfHigher>(earlier.score, earlier.value, later.score, later.value, count);
}
void replace(ByteCandidates earlier, ByteCandidates later, std::ptrdiff_t count) {
    runKernel<raiseBytes>(earlier.byte, later.byte, count);
}

void copy(Candidates from, Candidates to, std::ptrdiff_t count) {
    std::copy_n(from.score, count, to.score);
    std::copy_n(from.value, count, to.value);
}
void copy(ByteCandidates from, ByteCandidates to, std::ptrdiff_t count) {
    std::copy_n(from.byte, count, to.byte);
}

}  // namespace

template <class Row>
void maximumAlongRow(Row in, std::ptrdiff_t width, std::ptrdiff_t window, Row scratch, Row out) {
    if (window == 3) return combine(in, in.from(1), in.from(2), out, width - 2);
    std::ptrdiff_t part = 1;  // in[i] is the maximum of this many candidates from i on
    for (; 2 * part <= window; part *= 2) {
        combine(in, in.from(part), scratch, width - 2 * part + 1);
        std::swap(in, scratch);
    }
    combine(in, in.from(window - part), out, width - window + 1);
}
template void maximumAlongRow(Candidates, std::ptrdiff_t, std::ptrdiff_t, Candidates, Candidates);
template void maximumAlongRow(ByteCandidates, std::ptrdiff_t, std::ptrdiff_t, ByteCandidates, ByteCandidates);

template <class Row>
bool SlidingMaximum<Row>::prepare(std::ptrdiff_t width, std::ptrdiff_t capacity) {
    width_ = width;
    capacity_ = capacity;
    return rows_.allocate(capacity + 1, width);
}

template <class Row>
void SlidingMaximum<Row>::push() {
    if (!comparesAll()) {
        if (middle_ == end_) {
            copy(rowOf(end_), newest(), width_);
        } else {
            replace(newest(), rowOf(end_), width_);
        }
    }
    ++end_;
}

// Gives the rows as they were pushed the maxima of themselves and all later ones.
template <class Row>
void SlidingMaximum<Row>::accumulate() {
    for (std::ptrdiff_t i = end_; i-- > middle_ + 1;) replace(rowOf(i - 1), rowOf(i), width_);
    middle_ = end_;
}

template <class Row>
void SlidingMaximum<Row>::pop() {
    if (begin_ == middle_ && !comparesAll()) accumulate();
    ++begin_;
}

template <class Row>
void SlidingMaximum<Row>::maximum(Row out) {
    if (comparesAll()) return maximumOfAll(out);
    if (begin_ == middle_) accumulate();
    if (middle_ == end_) {
        copy(rowOf(begin_), out, width_);
    } else {
        combine(rowOf(begin_), newest(), out, width_);
    }
}

template <class Row>
void SlidingMaximum<Row>::maximumOfAll(Row out) {
    const Row first = rowOf(begin_);
    switch (end_ - begin_) {
        case 1: return copy(first, out, width_);
        case 2: return combine(first, rowOf(begin_ + 1), out, width_);
        default: return combine(first, rowOf(begin_ + 1), rowOf(begin_ + 2), out, width_);
    }
}

template class SlidingMaximum<Candidates>;
template class SlidingMaximum<ByteCandidates>;

}  // namespace dib

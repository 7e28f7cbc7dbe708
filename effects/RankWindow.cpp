#include "effects/RankWindow.h"

#include <algorithm>

#include "dib/Kernels.h"

namespace dib {

namespace {

// out = the earlier candidate unless the later scores strictly higher.
DIB_ALWAYS_INLINE void firstOfBest(const std::int32_t* earlierScore, const std::uint32_t* earlierValue,
                                   const std::int32_t* laterScore, const std::uint32_t* laterValue,
                                   std::int32_t* __restrict outScore, std::uint32_t* __restrict outValue,
                                   std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        const bool later = laterScore[i] > earlierScore[i];
        outScore[i] = later ? laterScore[i] : earlierScore[i];
        outValue[i] = later ? laterValue[i] : earlierValue[i];
    }
}

// The same with the result in place of the earlier.
DIB_ALWAYS_INLINE void keepFirst(std::int32_t* __restrict score, std::uint32_t* __restrict value,
                                 const std::int32_t* __restrict laterScore,
                                 const std::uint32_t* __restrict laterValue, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        const bool later = laterScore[i] > score[i];
        score[i] = later ? laterScore[i] : score[i];
        value[i] = later ? laterValue[i] : value[i];
    }
}

void combine(const RankRow& earlier, std::size_t earlierAt, const RankRow& later, std::size_t laterAt,
             RankRow& out, std::size_t count) {
    runKernel<firstOfBest>(earlier.score.data() + earlierAt, earlier.value.data() + earlierAt,
                           later.score.data() + laterAt, later.value.data() + laterAt, out.score.data(),
                           out.value.data(), count);
}

}  // namespace

void bestAlongRow(RankRow& in, std::size_t window, RankRow& scratch, RankRow& out) {
    const std::size_t results = in.width() - window + 1;
    RankRow* from = &in;
    RankRow* to = &scratch;
    std::size_t width = 1;  // from[i] is the best of this many candidates from i on
    while (2 * width <= window) {
        combine(*from, 0, *from, width, *to, in.width() - 2 * width + 1);
        std::swap(from, to);
        width *= 2;
    }
    combine(*from, 0, *from, window - width, out, results);
}

BestOfRows::BestOfRows(std::size_t width, std::size_t capacity)
    : slots_(capacity, RankRow(width)), newest_(width) {
    arrived_.reserve(capacity);
    leaving_.reserve(capacity);
    free_.reserve(capacity);
    for (std::size_t i = 0; i < capacity; ++i) free_.push_back(i);
}

void BestOfRows::push() {
    const std::size_t slot = free_.back();
    free_.pop_back();
    const RankRow& row = slots_[slot];
    if (arrived_.empty()) {
        newest_ = row;
    } else {
        runKernel<keepFirst>(newest_.score.data(), newest_.value.data(), row.score.data(), row.value.data(),
                             row.width());
    }
    arrived_.push_back(slot);
}

// Moves all arrived rows over, each replaced by the winners from itself to the last.
void BestOfRows::turn() {
    while (!arrived_.empty()) {
        const std::size_t slot = arrived_.back();
        arrived_.pop_back();
        if (!leaving_.empty()) {
            const RankRow& later = slots_[leaving_.back()];
            RankRow& row = slots_[slot];
            runKernel<keepFirst>(row.score.data(), row.value.data(), later.score.data(), later.value.data(),
                                 row.width());
        }
        leaving_.push_back(slot);
    }
}

void BestOfRows::pop() {
    if (leaving_.empty()) turn();
    free_.push_back(leaving_.back());
    leaving_.pop_back();
}

void BestOfRows::best(RankRow& out) {
    if (leaving_.empty()) turn();
    const RankRow& older = slots_[leaving_.back()];
    if (arrived_.empty()) {
        out = older;
    } else {
        combine(older, 0, newest_, 0, out, older.width());
    }
}

}  // namespace dib

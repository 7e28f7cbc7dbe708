// The candidate with the highest score in a sliding window; of equal scores the first in visiting order wins:
// the topmost row, in it the leftmost column.
//
// Taking the later of two candidates only when it scores strictly higher is associative, so the maximum of a
// window is that of overlapping parts in visiting order: along a row of parts whose width doubles, down the
// rows by a queue of running maxima. The cost per pixel hardly depends on the size of the window.
#ifndef EFFECTS_RANK_SLIDING_MAXIMUM_H
#define EFFECTS_RANK_SLIDING_MAXIMUM_H

#include <cstddef>
#include <cstdint>

#include "dib/Memory.h"

namespace dib {

// A row of candidates: the score that ranks each, and the value that the winner returns.
struct Candidates {
    std::int32_t* score;
    std::uint32_t* value;

    Candidates from(std::ptrdiff_t x) const { return {score + x, value + x}; }

    class Memory;
};

class Candidates::Memory {
public:
    // False when memory is short.
    bool allocate(std::int64_t rows, std::int64_t width) {
        width_ = static_cast<std::ptrdiff_t>(width);
        scores_ = allocateArray<std::int32_t>(rows * width);
        values_ = allocateArray<std::uint32_t>(rows * width);
        return scores_ != nullptr && values_ != nullptr;
    }
    Candidates row(std::ptrdiff_t i) const {
        return {scores_.get() + i * width_, values_.get() + i * width_};
    }

private:
    std::ptrdiff_t width_ = 0;
    MallocPtr<std::int32_t> scores_;
    MallocPtr<std::uint32_t> values_;
};

// A row of bytes that are their own scores. Of equal ones it does not matter which wins.
struct ByteCandidates {
    std::uint8_t* byte;

    ByteCandidates from(std::ptrdiff_t x) const { return {byte + x}; }

    class Memory;
};

class ByteCandidates::Memory {
public:
    bool allocate(std::int64_t rows, std::int64_t width) {
        width_ = static_cast<std::ptrdiff_t>(width);
        bytes_ = allocateArray<std::uint8_t>(rows * width);
        return bytes_ != nullptr;
    }
    ByteCandidates row(std::ptrdiff_t i) const { return {bytes_.get() + i * width_}; }

private:
    std::ptrdiff_t width_ = 0;
    MallocPtr<std::uint8_t> bytes_;
};

// `Row` is one of these two.

// out[i] = the maximum of in[i] to in[i + window - 1], for every window that fits into `width` candidates.
// Overwrites `in` and `scratch`, which are of that width.
template <class Row>
void maximumAlongRow(Row in, std::ptrdiff_t width, std::ptrdiff_t window, Row scratch, Row out);

// A queue of rows with the maximum of each column over all its rows; rows pushed earlier come
// first in visiting order.
template <class Row>
class SlidingMaximum {
public:
    // For up to `capacity` rows at a time. False when memory is short.
    bool prepare(std::ptrdiff_t width, std::ptrdiff_t capacity);
    // Where to write the next row before `push`; there must be room for one.
    Row next() const { return rowOf(end_); }
    // Appends that row.
    void push();
    // Removes the row that was pushed first.
    void pop();
    // The maxima over all rows held, of which there must be one.
    void maximum(Row out);

private:
    Row rowOf(std::ptrdiff_t number) const { return rows_.row(number % capacity_); }
    Row newest() const { return rows_.row(capacity_); }
    // Up to three rows are all compared each time.
    bool comparesAll() const { return capacity_ <= 3; }
    void maximumOfAll(Row out);
    void accumulate();

    typename Row::Memory rows_;  // a ring of `capacity_` rows, and `newest`
    std::ptrdiff_t width_ = 0;
    std::ptrdiff_t capacity_ = 0;
    // Rows are numbered as they are pushed. Those from `begin_` to before `middle_` hold the maxima of
    // themselves and all rows up to `middle_`. Those from `middle_` to before `end_` are as they were pushed;
    // their maxima are in `newest`.
    std::ptrdiff_t begin_ = 0;
    std::ptrdiff_t middle_ = 0;
    std::ptrdiff_t end_ = 0;
};

}  // namespace dib

#endif

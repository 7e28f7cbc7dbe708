// The winner of a sliding window, where the first of the highest scores wins.
//
// "First" means scan order: the topmost row that holds the highest score, in it the leftmost column. Taking
// the later of two candidates only when it scores strictly higher is associative, so a window may be put
// together from overlapping parts in their order: along a row from parts of doubling width, down the rows
// from a queue of running winners. The cost per pixel hardly depends on the window's size.
#ifndef EFFECTS_RANK_WINDOW_H
#define EFFECTS_RANK_WINDOW_H

#include <cstddef>
#include <cstdint>
#include <vector>

namespace dib {

// Candidates of one row: the score that ranks them and the value that the winner hands on.
struct RankRow {
    std::vector<std::int32_t> score;
    std::vector<std::uint32_t> value;

    RankRow() = default;
    explicit RankRow(std::size_t width) : score(width), value(width) {}
    std::size_t width() const { return score.size(); }
};

// out[i] = the first of the best among in[i] ... in[i + window - 1], for every i that fits. `in` is used up.
void bestAlongRow(RankRow& in, std::size_t window, RankRow& scratch, RankRow& out);

// A first-in, first-out queue of rows that knows the winner of each column over all rows it holds, earlier
// rows first.
class BestOfRows {
public:
    // Up to `capacity` rows at a time. Throws std::bad_alloc.
    BestOfRows(std::size_t width, std::size_t capacity);
    // Where the next row is to be written before it is pushed; at most `capacity` may be held.
    RankRow& next() { return slots_[free_.back()]; }
    // Appends that row.
    void push();
    // Drops the row that was pushed first.
    void pop();
    // The winners of all rows held, at least one.
    void best(RankRow& out);

private:
    void turn();

    std::vector<RankRow> slots_;
    std::vector<std::size_t> arrived_;  // rows as they were pushed, oldest first
    // Rows that hold the winners from themselves to the last of them; the next to go stands last.
    std::vector<std::size_t> leaving_;
    std::vector<std::size_t> free_;
    RankRow newest_;  // winners over `arrived_`
};

}  // namespace dib

#endif

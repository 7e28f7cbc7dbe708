// How far a call is, for its caller: fractions never go back, and a cancelled call stays cancelled.
#ifndef FORMATS_DOOR_PROGRESS_H
#define FORMATS_DOOR_PROGRESS_H

#include <DibTypes.h>

#include <algorithm>
#include <concepts>
#include <cstddef>

#include "dib/Numbers.h"

namespace formats {

class Progress {
public:
    Progress(DibProgressCallback callback, void* user) : callback_(callback), user_(user) {}
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    // False when the callback cancels or has cancelled.
    bool report(double fraction) {
        if (callback_ == nullptr || isCancelled_) return !isCancelled_;
        last_ = std::max(last_, static_cast<float>(std::min(fraction, 1.0)));
        isCancelled_ = !callback_(last_, user_);
        return !isCancelled_;
    }
    // The same when `done` of `total` rows are done, which it remembers. Decoding ends below 1: the frame
    // reports that the call is done.
    bool rows(std::integral auto done, std::integral auto total) {
        countRows(dib::asSize(done));
        if (callback_ == nullptr) return true;
        return report(0.99 * static_cast<double>(done) / std::max(static_cast<double>(total), 1.0));
    }
    // Counts rows without a report, for pictures that are one of several steps.
    void countRows(std::size_t done) { rowsDone_ = std::max(rowsDone_, done); }
    // Rows among those that were counted are not whole.
    void loseRows(std::size_t lost) { rowsDone_ -= std::min(lost, rowsDone_); }
    bool isWatched() const { return callback_ != nullptr; }
    bool isCancelled() const { return isCancelled_; }
    std::size_t rowsDone() const { return rowsDone_; }

    // For codecs that take a callback: `forward` with the address of this object.
    static bool forward(float fraction, void* progress) {
        return static_cast<Progress*>(progress)->report(0.99 * double{fraction});
    }

private:
    DibProgressCallback callback_;
    void* user_;
    float last_ = 0;
    bool isCancelled_ = false;
    std::size_t rowsDone_ = 0;
};

}  // namespace formats

#endif

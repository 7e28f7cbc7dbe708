// The progress of work row by row.
#ifndef DIB_PROGRESS_H
#define DIB_PROGRESS_H

#include <DibStream.h>

#include <cstdint>

namespace dib {

// The progress callback of the caller.
struct Progress {
    DibProgressCallback callback = nullptr;
    void* user = nullptr;

    // Reports `done` of `total` rows. False when the caller cancels.
    bool report(std::int64_t done, int total) const {
        return callback == nullptr || callback(static_cast<float>(done) / static_cast<float>(total), user);
    }
};

// Of functions that promise no reports.
inline constexpr Progress kSilent;

// The progress of a part of the work, which lies between two shares of the whole.
struct PartProgress {
    Progress whole;
    float begin = 0;
    float end = 1;

    // Reports `done` of `total` steps of the part. False when the caller cancels.
    bool report(std::int64_t done, std::int64_t total) const {
        const float share = static_cast<float>(done) / static_cast<float>(total);
        return whole.callback == nullptr || whole.callback(begin + (end - begin) * share, whole.user);
    }
    // One of `count` equal parts of this part, from 0.
    PartProgress part(int number, int count) const {
        const float width = (end - begin) / static_cast<float>(count);
        const float first = begin + width * static_cast<float>(number);
        return {whole, first, first + width};
    }
};

// Runs `rowRule(y)` for every row and reports after each. False when cancelled; true without rows.
template <class RowRule>
bool forEachRow(const Progress& progress, int height, const RowRule& rowRule) {
    for (int y = 0; y < height; ++y) {
        rowRule(y);
        if (!progress.report(std::int64_t{y} + 1, height)) return false;
    }
    return true;
}

}  // namespace dib

#endif

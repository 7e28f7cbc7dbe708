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

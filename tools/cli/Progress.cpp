#include "tools/cli/Progress.h"

#include <algorithm>
#include <cstdio>

#include "tools/cli/Cancel.h"

namespace tool {

void Progress::hide() {
    if (isShown_ && drawnPercent_ >= 0) std::fputs("\r\033[K", stderr);
    drawnPercent_ = -1;
}

void Progress::beginStep(const std::string& title) {
    stopIfCancelled();
    title_ = title;
    drawnPercent_ = -1;
    draw(0);
}

void Progress::endStep(const std::string& title) {
    if (!title.empty()) title_ = title;
    draw(1);
    ++stepsDone_;
}

bool Progress::report(float fractionOfStep, void* user) {
    static_cast<Progress*>(user)->draw(fractionOfStep);
    return !isCancelled();
}

void Progress::draw(double fractionOfStep) {
    if (!isShown_) return;
    // NaN counts as 0.
    const double share = fractionOfStep > 0 ? std::min(fractionOfStep, 1.0) : 0.0;
    const double whole = (static_cast<double>(stepsDone_) + share) / static_cast<double>(stepCount_);
    const int percent = static_cast<int>(whole * 100);
    if (percent == drawnPercent_) return;
    drawnPercent_ = percent;
    constexpr int kBarCells = 30;
    const std::string full(static_cast<std::size_t>(percent * kBarCells / 100), '#');
    std::fprintf(stderr, "\r\033[K[%-*s] %3d%% %s", kBarCells, full.c_str(), percent, title_.c_str());
    std::fflush(stderr);
}

}  // namespace tool

// The progress of a chain of steps, each with an equal share, drawn on standard error.
#ifndef TOOLS_CLI_PROGRESS_H
#define TOOLS_CLI_PROGRESS_H

#include <cstddef>
#include <string>

namespace tool {

class Progress {
public:
    // Draws only if `isShown`; cancelling always works.
    Progress(std::size_t stepCount, bool isShown) : stepCount_(stepCount), isShown_(isShown) {}
    ~Progress() { hide(); }
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    // Throws Failure (cancelled) when a signal has arrived.
    void beginStep(const std::string& title);
    // `title`: what has ended, where that differs from what began.
    void endStep(const std::string& title = {});
    // Removes the bar from the terminal until the next step.
    void hide();

    // The callback of the library; `user` is the Progress.
    static bool report(float fractionOfStep, void* user);

private:
    void draw(double fractionOfStep);

    std::size_t stepCount_;
    bool isShown_;
    std::size_t stepsDone_ = 0;
    int drawnPercent_ = -1;
    std::string title_;
};

}  // namespace tool

#endif

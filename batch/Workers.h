// Tasks in processes of their own, several at once: a crash of one leaves the others alone.
#ifndef BATCH_WORKERS_H
#define BATCH_WORKERS_H

#include <cstddef>
#include <functional>
#include <string>

namespace batch {

// How a task ended.
struct Outcome {
    int exitCode = 0;      // 128 + the signal when one ended the process; 127 when none could be started
    double seconds = 0;    // by the clock
    std::string messages;  // what it wrote to standard error
};

struct Tasks {
    std::size_t count = 0;
    // Runs in a new process, whose exit code it returns. It throws nothing.
    std::function<int(std::size_t)> run;
    // Called for each finished task, in the calling process.
    std::function<void(std::size_t, const Outcome&)> ended;
    // Once it returns true, no more tasks are started, and those that run get SIGTERM.
    std::function<bool()> isCancelled;
};

// Returns when all that was started has ended. The calling process may have one thread only.
void runInProcesses(const Tasks& tasks, std::size_t atOnce);

}  // namespace batch

#endif

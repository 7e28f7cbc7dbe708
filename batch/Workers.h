// Tasks in processes of their own, several at once: a crash of one leaves the others alone.
#ifndef BATCH_WORKERS_H
#define BATCH_WORKERS_H

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace batch {

// How a task ended.
struct Outcome {
    int exitCode = 0;           // 127 when no process could be started; above 128 when it crashed
    double seconds = 0;         // by the clock
    std::string messages = {};  // what it wrote to standard error
    std::string crash = {};     // "signal 11", when something of the kind ended it
};

struct Tasks {
    std::size_t count = 0;
    // Runs in a new process, whose exit code it returns, where a process can go on as two. It throws nothing.
    std::function<int(std::size_t)> run;
    // The same task as arguments of this program, for systems that start every process anew.
    std::function<std::vector<std::string>(std::size_t)> arguments;
    // Called for each finished task, in the calling process.
    std::function<void(std::size_t, const Outcome&)> ended;
    // Once it returns true, no more tasks are started, and those that run are
    // asked to end.
    std::function<bool()> isCancelled;
};

// Returns when all that was started has ended. The calling process may have one thread only. May throw
// std::bad_alloc.
void runInProcesses(const Tasks& tasks, std::size_t atOnce);

}  // namespace batch

#endif

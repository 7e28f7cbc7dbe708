#include "batch/Workers.h"

#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <vector>

namespace batch {

namespace {

using Clock = std::chrono::steady_clock;

struct Worker {
    std::size_t task;
    pid_t process;
    int errors;  // its standard error, to read
    Clock::time_point start;
    Outcome outcome;
};

Outcome failure(const char* what, int error) {
    return {.exitCode = 127, .messages = std::string(what) + ": " + std::strerror(error) + "\n"};
}

// Starts a task, or reports why that is not possible.
void start(std::size_t task, const Tasks& tasks, std::vector<Worker>& workers) {
    int ends[2];
    if (pipe(ends) != 0) {
        tasks.ended(task, failure("no pipe can be made", errno));
        return;
    }
    const pid_t process = fork();
    if (process == 0) {
        dup2(ends[1], STDERR_FILENO);
        _exit(tasks.run(task));
    }
    const int why = errno;
    close(ends[1]);
    if (process > 0) {
        workers.push_back({task, process, ends[0], Clock::now(), {}});
        return;
    }
    close(ends[0]);
    tasks.ended(task, failure("no process can be started", why));
}

// Reads what a worker writes. False at the end, when its process has ended.
bool readSome(Worker& worker) {
    char block[4096];
    const ssize_t count = read(worker.errors, block, sizeof block);
    if (count > 0) worker.outcome.messages.append(block, static_cast<std::size_t>(count));
    return count > 0 || (count < 0 && errno == EINTR);
}

void finish(Worker& worker, const Tasks& tasks) {
    close(worker.errors);
    int status = 0;
    while (waitpid(worker.process, &status, 0) < 0 && errno == EINTR) continue;
    worker.outcome.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    if (WIFSIGNALED(status)) worker.outcome.crash = "signal " + std::to_string(WTERMSIG(status));
    worker.outcome.seconds = std::chrono::duration<double>(Clock::now() - worker.start).count();
    tasks.ended(worker.task, worker.outcome);
}

// Waits until some worker writes or ends, or a signal arrives, and removes those that ended.
void wait(std::vector<Worker>& workers, const Tasks& tasks) {
    // A signal that arrives just before poll() is noticed at its end.
    constexpr int kMilliseconds = 200;
    std::vector<pollfd> streams;
    for (const Worker& worker : workers) streams.push_back({worker.errors, POLLIN, 0});
    if (poll(streams.data(), streams.size(), kMilliseconds) <= 0) return;
    for (std::size_t i = streams.size(); i-- > 0;) {
        if (streams[i].revents == 0 || readSome(workers[i])) continue;
        finish(workers[i], tasks);
        workers.erase(workers.begin() + static_cast<std::ptrdiff_t>(i));
    }
}

}  // namespace

void runInProcesses(const Tasks& tasks, std::size_t atOnce) {
    std::vector<Worker> workers;
    bool isStopped = false;
    std::size_t next = 0;
    while (!workers.empty() || (next < tasks.count && !isStopped)) {
        if (!isStopped && tasks.isCancelled()) {
            isStopped = true;
            for (const Worker& worker : workers) kill(worker.process, SIGTERM);
        }
        while (!isStopped && next < tasks.count && workers.size() < atOnce) start(next++, tasks, workers);
        if (!workers.empty()) wait(workers, tasks);
    }
}

}  // namespace batch

// Works in a thread of its own, shows progress, and cancels what takes too long.
#include <DibOperation.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <thread>

// What the two threads share. The callback runs in the thread of the work.
struct Job {
    std::atomic<float> done{0};
    std::atomic<bool> isCancelled{false};
    std::atomic<bool> isOver{false};

    static bool report(float fraction, void* user) {
        auto& job = *static_cast<Job*>(user);
        job.done = fraction;
        return !job.isCancelled;  // false ends the call soon, with the picture as it was
    }
};

int main(int argc, char** argv) {
    if (argc < 3) return 2;
    DibStream picture;
    if (!DibLoadFile(argv[1], &picture)) return 1;

    Job job;
    DibOperationResult result;
    bool isDone = false;
    std::thread worker([&] {
        isDone = DibApply(&picture, "gaussian:20 rotate:12", nullptr, &result, Job::report, &job);
        job.isOver = true;
    });
    const auto start = std::chrono::steady_clock::now();
    while (!job.isOver) {
        std::printf("\r%3.0f %%", 100.0 * job.done);
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        if (std::chrono::steady_clock::now() - start > std::chrono::minutes(1)) job.isCancelled = true;
    }
    worker.join();
    std::printf("\r%s\n", isDone ? "done " : result.reason);
    return isDone && DibSaveFile(argv[2], &picture) ? 0 : 1;
}

#include "batch/Workers.h"

#include <windows.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <deque>
#include <filesystem>
#include <map>
#include <mutex>
#include <thread>
#include <utility>

#include "files/Program.h"
#include "vexlibs/Utf8.h"

namespace batch {

namespace {

using Clock = std::chrono::steady_clock;

// A handle that is closed with its owner.
class Handle {
public:
    explicit Handle(HANDLE handle = nullptr) : handle_(handle) {}
    Handle(Handle&& other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}
    Handle& operator=(Handle&& other) noexcept {
        std::swap(handle_, other.handle_);
        return *this;
    }
    ~Handle() {
        if (handle_ != nullptr) CloseHandle(handle_);
    }
    HANDLE get() const { return handle_; }
    HANDLE* out() { return &handle_; }

private:
    HANDLE handle_;
};

// An argument as the system's own functions read it from a command line.
std::wstring quoted(const std::wstring& argument) {
    std::wstring text = L"\"";
    std::size_t backslashes = 0;
    for (const wchar_t character : argument) {
        // Backslashes are doubled in front of a quote alone.
        if (character == L'"') text.append(backslashes + 1, L'\\');
        backslashes = character == L'\\' ? backslashes + 1 : 0;
        text += character;
    }
    return text.append(backslashes, L'\\') + L'"';
}

std::wstring commandLine(const std::filesystem::path& program, const std::vector<std::string>& arguments) {
    std::wstring line = quoted(program.native());
    for (const std::string& argument : arguments) line += L' ' + quoted(vexlibs::wideOf<wchar_t>(argument));
    return line;
}

// Starts this program, with `errors` as its standard error. Null when that is not possible.
Handle start(const std::vector<std::string>& arguments, HANDLE errors) {
    const std::filesystem::path program = files::programPath();
    std::wstring line = commandLine(program, arguments);
    STARTUPINFOW how = {};
    how.cb = sizeof how;
    how.dwFlags = STARTF_USESTDHANDLES;
    how.hStdInput = GetStdHandle(STD_INPUT_HANDLE);
    how.hStdOutput = GetStdHandle(STD_OUTPUT_HANDLE);
    how.hStdError = errors;
    PROCESS_INFORMATION made = {};
    if (CreateProcessW(program.c_str(), line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &how,
                       &made) == 0)
        return Handle();
    CloseHandle(made.hThread);
    return Handle(made.hProcess);
}

std::string readAll(HANDLE pipe) {
    std::string text;
    char block[4096];
    DWORD count = 0;
    while (ReadFile(pipe, block, sizeof block, &count, nullptr) != 0 && count > 0) text.append(block, count);
    return text;
}

// Tasks that ended and whose outcome is still to be told.
class Ended {
public:
    void add(std::size_t task, Outcome outcome) {
        const std::lock_guard lock(mutex_);
        tasks_.emplace_back(task, std::move(outcome));
        isMore_.notify_one();
    }
    // Waits a little while there are none.
    std::deque<std::pair<std::size_t, Outcome>> take() {
        std::unique_lock lock(mutex_);
        isMore_.wait_for(lock, std::chrono::milliseconds(200), [this] { return !tasks_.empty(); });
        return std::exchange(tasks_, {});
    }

private:
    std::mutex mutex_;
    std::condition_variable isMore_;
    std::deque<std::pair<std::size_t, Outcome>> tasks_;
};

constexpr int kNotStarted = 127;

// Runs a task to its end. A handle is inherited by every process that starts while it exists, so only one
// starts at a time.
Outcome runToEnd(const std::vector<std::string>& arguments) {
    static std::mutex starting;
    const Clock::time_point begin = Clock::now();
    Handle process;
    Handle reading;
    {
        const std::lock_guard lock(starting);
        Handle writing;
        SECURITY_ATTRIBUTES inherited = {sizeof inherited, nullptr, TRUE};
        if (CreatePipe(reading.out(), writing.out(), &inherited, 0) == 0)
            return {.exitCode = kNotStarted, .messages = "no pipe can be made\n"};
        SetHandleInformation(reading.get(), HANDLE_FLAG_INHERIT, 0);
        process = start(arguments, writing.get());
    }
    if (process.get() == nullptr) return {.exitCode = kNotStarted, .messages = "no process can be started\n"};
    Outcome outcome;
    outcome.messages = readAll(reading.get());
    WaitForSingleObject(process.get(), INFINITE);
    DWORD code = 0;
    GetExitCodeProcess(process.get(), &code);
    // Exceptions end a process with their number, which is large.
    constexpr DWORD kMostCode = 255;
    outcome.exitCode = static_cast<int>(std::min(code, kMostCode));
    if (code > kMostCode) {
        char text[32];
        std::snprintf(text, sizeof text, "exception 0x%08lX", code);
        outcome.crash = text;
    }
    outcome.seconds = std::chrono::duration<double>(Clock::now() - begin).count();
    return outcome;
}

}  // namespace

// Ctrl-C reaches the processes that run, too: they have the same console.
void runInProcesses(const Tasks& tasks, std::size_t atOnce) {
    Ended ended;
    std::map<std::size_t, std::thread> running;
    for (std::size_t next = 0; !running.empty() || (next < tasks.count && !tasks.isCancelled());) {
        while (next < tasks.count && running.size() < atOnce && !tasks.isCancelled()) {
            const std::size_t task = next++;
            running.emplace(task, [task, &ended, arguments = tasks.arguments(task)] {
                ended.add(task, runToEnd(arguments));
            });
        }
        for (const auto& [task, outcome] : ended.take()) {
            running.extract(task).mapped().join();
            tasks.ended(task, outcome);
        }
    }
}

}  // namespace batch

#include "tools/cli/Cancel.h"

#include <unistd.h>

#include <atomic>
#include <csignal>

#include "tools/cli/ExitCode.h"

namespace tool {

namespace {

volatile std::sig_atomic_t signalled = 0;
std::atomic<const char*> unfinishedFile = nullptr;
static_assert(std::atomic<const char*>::is_always_lock_free, "signal handlers may use it");

extern "C" void handleSignal(int) {
    if (signalled != 0) {
        if (const char* path = unfinishedFile) unlink(path);
        _exit(kExitCancelled);
    }
    signalled = 1;
}

}  // namespace

void installSignalHandlers() {
    struct sigaction action {};
    action.sa_handler = handleSignal;
    sigemptyset(&action.sa_mask);
    // Without SA_RESTART a signal also ends a wait for standard input.
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) sigaction(signal, &action, nullptr);
    for (const int signal : {SIGPIPE, SIGXFSZ}) std::signal(signal, SIG_IGN);
}

bool isCancelled() { return signalled != 0; }

void stopIfCancelled() {
    if (isCancelled()) throw Failure(kExitCancelled, "cancelled");
}

void setUnfinishedFile(const char* path) { unfinishedFile = path; }

}  // namespace tool

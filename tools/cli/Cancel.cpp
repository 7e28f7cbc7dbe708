#include "tools/cli/Cancel.h"

#include <unistd.h>

#include <csignal>

#include "tools/cli/ExitCode.h"

namespace tool {

namespace {

volatile std::sig_atomic_t signalled = 0;
volatile std::sig_atomic_t isWriting = 0;  // files

extern "C" void handleSignal(int) {
    if (signalled != 0 && isWriting == 0) _exit(kExitCancelled);
    signalled = 1;
}

}  // namespace

void installSignalHandlers() {
    struct sigaction action {};
    action.sa_handler = handleSignal;
    sigemptyset(&action.sa_mask);
    // No SA_RESTART: a signal must also end a blocked read of standard input.
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) sigaction(signal, &action, nullptr);
    for (const int signal : {SIGPIPE, SIGXFSZ}) std::signal(signal, SIG_IGN);
}

bool isCancelled() { return signalled != 0; }

void stopIfCancelled() {
    if (isCancelled()) throw Failure(kExitCancelled, "cancelled");
}

FileUnderWay::FileUnderWay() { isWriting = isWriting + 1; }
FileUnderWay::~FileUnderWay() { isWriting = isWriting - 1; }

}  // namespace tool

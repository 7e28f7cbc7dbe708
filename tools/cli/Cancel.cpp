#include "tools/cli/Cancel.h"

#include <atomic>

#include "files/Program.h"
#include "tools/cli/ExitCode.h"

namespace tool {

namespace {

// Signal handlers may use what has no lock.
static_assert(std::atomic<int>::is_always_lock_free);
std::atomic<int> signalled{0};
std::atomic<int> filesUnderWay{0};

void handleSignal(int) {
    if (signalled.exchange(1) != 0 && filesUnderWay == 0) files::endAtOnce(kExitCancelled);
}

}  // namespace

void installSignalHandlers() { files::handleEndRequests(handleSignal); }

bool isCancelled() { return signalled != 0; }

void stopIfCancelled() {
    if (isCancelled()) throw Failure(kExitCancelled, "cancelled");
}

FileUnderWay::FileUnderWay() { ++filesUnderWay; }
FileUnderWay::~FileUnderWay() { --filesUnderWay; }

}  // namespace tool

/// Ctrl-C and its kin: a first signal asks the running operation to stop, a second one ends the program at
/// once.
#ifndef TOOLS_CLI_CANCEL_H
#define TOOLS_CLI_CANCEL_H

namespace tool {

/// Takes over SIGINT, SIGTERM and SIGHUP; ignores SIGPIPE and SIGXFSZ, so that a write that hits them fails.
void installSignalHandlers();

/// Whether a signal asked for the end.
bool isCancelled();
/// @throws Failure (cancelled) when a signal asked for the end.
void stopIfCancelled();

/// The file that a second signal removes before the program dies; null for none. The text must live on.
void setUnfinishedFile(const char* path);

}  // namespace tool

#endif

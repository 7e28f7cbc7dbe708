/// Signals that end the program, such as Ctrl-C: the first one asks the running operation to stop, a second
/// one ends the program at once.
#ifndef TOOLS_CLI_CANCEL_H
#define TOOLS_CLI_CANCEL_H

namespace tool {

/// Takes over SIGINT, SIGTERM and SIGHUP; ignores SIGPIPE and SIGXFSZ, so that a write that hits them fails.
void installSignalHandlers();

/// Whether a signal asked for the end.
bool isCancelled();
/// @throws Failure (cancelled) when a signal asked for the end.
void stopIfCancelled();

/// While one lives, a second signal does not end the program either: a file is being written, and saving
/// stops soon and removes what it began.
class FileUnderWay {
public:
    FileUnderWay();
    ~FileUnderWay();
    FileUnderWay(const FileUnderWay&) = delete;
    FileUnderWay& operator=(const FileUnderWay&) = delete;
};

}  // namespace tool

#endif

// Signals that end the program, such as Ctrl-C: the first one asks the running operation to stop, a second
// one ends the program at once.
#ifndef TOOLS_CLI_CANCEL_H
#define TOOLS_CLI_CANCEL_H

namespace tool {

// Handles what asks a program to end; a write to a closed pipe or beyond a limit fails instead.
void installSignalHandlers();

// Whether a signal has arrived.
bool isCancelled();
// Throws Failure (cancelled) when a signal has arrived.
void stopIfCancelled();

// While an object exists, a second signal does not end the program at once: the save that is running stops by
// itself and removes its temporary file.
class FileUnderWay {
public:
    FileUnderWay();
    ~FileUnderWay();
    FileUnderWay(const FileUnderWay&) = delete;
    FileUnderWay& operator=(const FileUnderWay&) = delete;
};

}  // namespace tool

#endif

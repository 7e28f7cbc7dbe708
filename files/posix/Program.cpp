#include "files/Program.h"

#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>

namespace files {

char** utf8Arguments(int&, char** arguments) { return arguments; }

void prepareStandardStreams() {
    // In the wrong direction, so that using a closed stream still fails.
    const int modes[] = {O_WRONLY, O_RDONLY, O_RDONLY};
    for (int stream = STDIN_FILENO; stream <= STDERR_FILENO; ++stream) {
        if (::fcntl(stream, F_GETFD) < 0 && ::open("/dev/null", modes[stream]) < 0) std::abort();
    }
}

bool isTerminal(std::FILE* stream) { return ::isatty(::fileno(stream)) != 0; }

void handleEndRequests(void (*handler)(int)) {
    struct sigaction action {};
    action.sa_handler = handler;
    sigemptyset(&action.sa_mask);
    // No SA_RESTART: a signal must also end a blocked read of standard input.
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) sigaction(signal, &action, nullptr);
    for (const int signal : {SIGPIPE, SIGXFSZ}) std::signal(signal, SIG_IGN);
}

void endAtOnce(int exitCode) { ::_exit(exitCode); }

bool isReadable(const std::string& path) { return ::access(path.c_str(), R_OK) == 0; }

bool isWritable(const std::string& path) {
    return ::faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) == 0;
}

bool acceptsFiles(const std::string& folder) {
    return ::faccessat(AT_FDCWD, (folder + "/").c_str(), W_OK | X_OK, AT_EACCESS) == 0;
}

}  // namespace files

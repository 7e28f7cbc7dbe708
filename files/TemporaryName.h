// Names of files and folders that are not finished yet.
#ifndef FILES_TEMPORARY_NAME_H
#define FILES_TEMPORARY_NAME_H

#include <atomic>
#include <cerrno>
#include <string>

#if defined(_WIN32)
#include <process.h>
#else
#include <unistd.h>
#endif

namespace files {

inline int processNumber() {
#if defined(_WIN32)
    return _getpid();
#else
    return ::getpid();
#endif
}

// Makes something in a folder by the first free one of the names ".dib-PID-N", which it returns. Empty, with
// errno, when `make(name)` returns false for another reason than EEXIST. May throw std::bad_alloc.
template <class Make>
std::string makeTemporary(const Make& make) {
    constexpr int kMostTries = 1000;
    static std::atomic<unsigned> serial{0};
    for (int i = 0; i < kMostTries; ++i) {
        std::string name = ".dib-" + std::to_string(processNumber()) + "-" + std::to_string(++serial);
        if (make(name)) return name;
        if (errno != EEXIST) break;
    }
    return {};
}

}  // namespace files

#endif

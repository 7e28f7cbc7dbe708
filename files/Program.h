// What a program of the command line asks of its system.
#ifndef FILES_PROGRAM_H
#define FILES_PROGRAM_H

#include <cstdio>
#include <filesystem>
#include <string>

namespace files {

// Its arguments as UTF-8, the program's name first; they stay valid. May throw std::bad_alloc.
char** utf8Arguments(int& count, char** arguments);

// Opens the standard streams that the caller closed, so that no other file gets their numbers: using them
// still fails. They pass bytes on as they are, and terminals take UTF-8.
void prepareStandardStreams();
bool isTerminal(std::FILE* stream);

// The path of this program; empty when the system does not know it. May throw std::bad_alloc.
std::filesystem::path programPath();

// Calls `handler` when the user or the system asks the program to end, at any moment and perhaps on another
// thread. Writing to a closed pipe or beyond a limit fails instead of ending the program.
void handleEndRequests(void (*handler)(int));
// Ends the program where it is. A handler may call it.
[[noreturn]] void endAtOnce(int exitCode);

// Whether a file may be read or written, and whether a folder may get new files; false with errno.
bool isReadable(const std::string& path);
bool isWritable(const std::string& path);
bool acceptsFiles(const std::string& folder);

}  // namespace files

#endif

// What tests ask of the system.
#ifndef TESTS_SUPPORT_SYSTEM_H
#define TESTS_SUPPORT_SYSTEM_H

#include <cstddef>
#include <cstdio>
#include <functional>
#include <string>

namespace testing_support {

int processNumber();

// Whether folders can be opened as files, which then cannot be read.
bool foldersOpen();
// Whether the name of a file can be any bytes, not UTF-8 alone.
bool namesHoldAnyBytes();

// The bytes of a block as a file open for reading; the block outlives it.
std::FILE* openBlock(const void* block, std::size_t bytes);

// A file for a text of less than 1 MB, one at a time. Closing it returns what was written.
std::FILE* openText();
std::string closeText(std::FILE* file);

// A pipe: reads from the first number what is written to the second.
bool makePipe(int (&ends)[2]);
bool writeAll(int descriptor, const void* bytes, std::size_t count);
void closeDescriptor(int descriptor);
std::FILE* openDescriptor(int descriptor, const char* mode);

// A stream whose bytes come from calls: `read` returns their number, 0 at the end, -1 with errno.
bool hasCallStreams();  // otherwise openCalls returns null
std::FILE* openCalls(void* context, std::ptrdiff_t (*read)(void* context, char* out, std::size_t bytes));

// A variable of the environment, for the bundles that this process loads too.
void setVariable(const char* name, const std::string& value);

// A copy that nobody can change: a write ends the program. Null when there is no memory.
void* makeReadOnly(const void* bytes, std::size_t count);
void freeReadOnly(void* block, std::size_t count);

// False where there are none with a path in a folder.
bool makeNamedPipe(const std::string& path);

// Saves where nothing can be written, as far as the system has such places: a full device and a pipe that
// nobody reads. `judge` gets what `savePath` returned each time.
void forEveryDeadFile(const std::function<bool(const char* path)>& savePath,
                      const std::function<void(bool saved, const char* path)>& judge);

}  // namespace testing_support

#endif

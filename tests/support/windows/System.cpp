#include "tests/support/System.h"

#include <fcntl.h>
#include <io.h>
#include <process.h>
#include <windows.h>

#include <cstring>

#include "tests/support/Paths.h"

namespace testing_support {

namespace {

// Of files that are gone when they are closed, and stay in memory where they can: "T" and "D".
std::string nextPath() {
    static int serial = 0;
    return temporaryPath("block-" + std::to_string(++serial));
}

}  // namespace

int processNumber() { return _getpid(); }

bool foldersOpen() { return false; }
bool namesHoldAnyBytes() { return false; }

std::FILE* openBlock(const void* block, std::size_t bytes) {
    const std::string path = nextPath();
    std::FILE* written = std::fopen(path.c_str(), "wb");
    if (written == nullptr) return nullptr;
    std::fwrite(block, 1, bytes, written);
    std::fclose(written);
    return std::fopen(path.c_str(), "rbTD");
}

std::FILE* openText() { return std::fopen(nextPath().c_str(), "w+bTD"); }

std::string closeText(std::FILE* file) {
    std::string text(static_cast<std::size_t>(std::ftell(file)), '\0');
    std::rewind(file);
    text.resize(std::fread(text.data(), 1, text.size(), file));
    std::fclose(file);
    return text;
}

bool makePipe(int (&ends)[2]) { return _pipe(ends, 1 << 16, _O_BINARY) == 0; }

bool writeAll(int descriptor, const void* bytes, std::size_t count) {
    return _write(descriptor, bytes, static_cast<unsigned>(count)) == static_cast<int>(count);
}

void closeDescriptor(int descriptor) { _close(descriptor); }

std::FILE* openDescriptor(int descriptor, const char* mode) { return _fdopen(descriptor, mode); }

bool hasCallStreams() { return false; }

std::FILE* openCalls(void*, std::ptrdiff_t (*)(void* context, char* out, std::size_t bytes)) {
    return nullptr;
}

void setVariable(const char* name, const std::string& value) { _putenv_s(name, value.c_str()); }

void* makeReadOnly(const void* bytes, std::size_t count) {
    void* block = VirtualAlloc(nullptr, count, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE);
    if (block == nullptr) return nullptr;
    std::memcpy(block, bytes, count);
    DWORD before = 0;
    VirtualProtect(block, count, PAGE_READONLY, &before);
    return block;
}

void freeReadOnly(void* block, std::size_t) { VirtualFree(block, 0, MEM_RELEASE); }

bool makeNamedPipe(const std::string&) { return false; }

void forEveryDeadFile(const std::function<bool(const char* path)>&,
                      const std::function<void(bool saved, const char* path)>&) {}

}  // namespace testing_support

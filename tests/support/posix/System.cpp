#include "tests/support/System.h"

#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <cstring>

namespace testing_support {

namespace {

// A block of its own, not the C library's growing one, which would upset the count of live blocks.
char text[1 << 20];

}  // namespace

int processNumber() { return getpid(); }

bool foldersOpen() { return true; }
bool namesHoldAnyBytes() { return true; }

std::FILE* openBlock(const void* block, std::size_t bytes) {
    static unsigned char nothing = 0;
    if (bytes > 0) return fmemopen(const_cast<void*>(block), bytes, "rb");
    std::FILE* file = fmemopen(&nothing, 1, "rb");
    if (file != nullptr) std::fgetc(file);  // an empty file stands at its end
    return file;
}

std::FILE* openText() { return fmemopen(text, sizeof text, "wb"); }

std::string closeText(std::FILE* file) {
    const long length = std::ftell(file);
    std::fclose(file);
    return {text, static_cast<std::size_t>(length)};
}

bool makePipe(int (&ends)[2]) { return pipe(ends) == 0; }

bool writeAll(int descriptor, const void* bytes, std::size_t count) {
    return write(descriptor, bytes, count) == static_cast<ssize_t>(count);
}

void closeDescriptor(int descriptor) { close(descriptor); }

std::FILE* openDescriptor(int descriptor, const char* mode) { return fdopen(descriptor, mode); }

bool hasCallStreams() { return true; }

std::FILE* openCalls(void* context, std::ptrdiff_t (*read)(void* context, char* out, std::size_t bytes)) {
    return fopencookie(context, "rb", {read, nullptr, nullptr, nullptr});
}

void setVariable(const char* name, const std::string& value) { setenv(name, value.c_str(), 1); }

void* makeReadOnly(const void* bytes, std::size_t count) {
    void* block = mmap(nullptr, count, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (block == MAP_FAILED) return nullptr;
    std::memcpy(block, bytes, count);
    mprotect(block, count, PROT_READ);
    return block;
}

void freeReadOnly(void* block, std::size_t count) { munmap(block, count); }

bool makeNamedPipe(const std::string& path) { return mkfifo(path.c_str(), 0600) == 0; }

void forEveryDeadFile(const std::function<bool(const char* path)>& savePath,
                      const std::function<void(bool saved, const char* path)>& judge) {
    if (access("/dev/full", W_OK) == 0) judge(savePath("/dev/full"), "/dev/full");
    int ends[2];
    if (pipe(ends) != 0) return judge(true, "no pipe");
    close(ends[0]);
    const auto before = std::signal(SIGPIPE, SIG_IGN);
    const std::string path = "/dev/fd/" + std::to_string(ends[1]);
    judge(savePath(path.c_str()), "a closed pipe");
    std::signal(SIGPIPE, before);
    close(ends[1]);
}

}  // namespace testing_support

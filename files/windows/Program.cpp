#include "files/Program.h"

#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include <shellapi.h>

#include <cstdlib>
#include <vector>

#include "vexlibs/SystemPath.h"

namespace files {

namespace {

void (*endHandler)(int) = nullptr;
UINT codePage = 0;  // of the console before the program

// On a thread of the system's own.
BOOL WINAPI handleConsole(DWORD event) {
    constexpr DWORD kPatience = 10000;  // longer than the system's
    endHandler(static_cast<int>(event));
    // The system ends a program whose console closes when this returns.
    if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT) Sleep(kPatience);
    return TRUE;
}

HANDLE handleOf(std::FILE* stream) { return reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(stream))); }

// Escape sequences and UTF-8, as far as the console knows them.
void prepareConsole() {
    for (std::FILE* stream : {stdout, stderr}) {
        DWORD mode = 0;
        if (GetConsoleMode(handleOf(stream), &mode) != 0)
            SetConsoleMode(handleOf(stream), mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING);
    }
    codePage = GetConsoleOutputCP();
    if (codePage == 0 || SetConsoleOutputCP(CP_UTF8) == 0) return;
    std::atexit([] { SetConsoleOutputCP(codePage); });
}

bool isPermitted(const std::string& path, int use) {
    return _waccess(vexlibs::systemPath(path.c_str()).c_str(), use) == 0;
}
constexpr int kWriting = 2;
constexpr int kReading = 4;

}  // namespace

char** utf8Arguments(int& count, char** arguments) {
    int found = 0;
    wchar_t** wide = CommandLineToArgvW(GetCommandLineW(), &found);
    if (wide == nullptr) return arguments;
    static std::vector<std::string> texts;
    static std::vector<char*> pointers;
    for (int i = 0; i < found; ++i) texts.push_back(vexlibs::utf8Of(wide[i]));
    LocalFree(wide);
    for (std::string& text : texts) pointers.push_back(text.data());
    pointers.push_back(nullptr);
    count = found;
    return pointers.data();
}

void prepareStandardStreams() {
    const int modes[] = {_O_WRONLY, _O_RDONLY, _O_RDONLY};
    for (int stream = 0; stream <= 2; ++stream) {
        // In the wrong direction, so that using a closed stream still fails.
        if (_get_osfhandle(stream) < 0 && _wopen(L"NUL", modes[stream]) < 0) std::abort();
        _setmode(stream, _O_BINARY);
    }
    prepareConsole();
}

bool isTerminal(std::FILE* stream) {
    DWORD mode = 0;
    return GetConsoleMode(handleOf(stream), &mode) != 0;
}

std::filesystem::path programPath() {
    constexpr std::size_t kLongestPath = 32768;
    std::wstring path(kLongestPath, L'\0');
    path.resize(GetModuleFileNameW(nullptr, path.data(), kLongestPath));
    return path;
}

void handleEndRequests(void (*handler)(int)) {
    endHandler = handler;
    SetConsoleCtrlHandler(handleConsole, TRUE);
}

void endAtOnce(int exitCode) {
    TerminateProcess(GetCurrentProcess(), static_cast<UINT>(exitCode));
    std::abort();  // not reached
}

bool isReadable(const std::string& path) { return isPermitted(path, kReading); }
bool isWritable(const std::string& path) { return isPermitted(path, kWriting); }
bool acceptsFiles(const std::string& folder) { return isPermitted(folder, kWriting); }

}  // namespace files

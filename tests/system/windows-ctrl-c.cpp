// Runs a command on a console and presses Ctrl-C there, or Ctrl-Break, once the command draws its progress.
// Prints what the command wrote to its error stream, and returns its exit code; 99 when it could not be run.
// usage: windows-ctrl-c c|break COMMAND     COMMAND is one text
#include <windows.h>

#include <cstdio>
#include <cstring>
#include <string>

namespace {

constexpr int kNotRun = 99;
constexpr DWORD kPatience = 120000;

HANDLE start(char* command, HANDLE errors, DWORD& id) {
    STARTUPINFOA startup = {};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = GetStdHandle(STD_INPUT_HANDLE);
    startup.hStdOutput = GetStdHandle(STD_OUTPUT_HANDLE);
    startup.hStdError = errors;
    PROCESS_INFORMATION process = {};
    if (CreateProcessA(nullptr, command, nullptr, nullptr, TRUE, 0, nullptr, nullptr, &startup, &process) ==
        0)
        return nullptr;
    CloseHandle(process.hThread);
    id = process.dwProcessId;
    return process.hProcess;
}

}  // namespace

int main(int count, char** arguments) {
    if (count != 3) return kNotRun;
    const DWORD event = std::strcmp(arguments[1], "c") == 0 ? CTRL_C_EVENT : CTRL_BREAK_EVENT;
    // The console that a program without a screen starts with passes no keys on.
    FreeConsole();
    AllocConsole();
    SetConsoleCtrlHandler([](DWORD) -> BOOL { return TRUE; }, TRUE);
    SECURITY_ATTRIBUTES inherited = {sizeof inherited, nullptr, TRUE};
    HANDLE reading = nullptr;
    HANDLE writing = nullptr;
    DWORD id = 0;
    if (CreatePipe(&reading, &writing, &inherited, 0) == 0) return kNotRun;
    SetHandleInformation(reading, HANDLE_FLAG_INHERIT, 0);
    HANDLE process = start(arguments[2], writing, id);
    CloseHandle(writing);
    if (process == nullptr) return kNotRun;

    std::string errors;
    char part[4096];
    DWORD got = 0;
    bool isPressed = false;
    while (ReadFile(reading, part, sizeof part, &got, nullptr) != 0 && got > 0) {
        errors.append(part, got);
        if (!isPressed && GenerateConsoleCtrlEvent(event, 0) == 0) return kNotRun;
        isPressed = true;
    }
    std::fputs(errors.c_str(), stderr);
    DWORD code = kNotRun;
    if (WaitForSingleObject(process, kPatience) == WAIT_OBJECT_0) GetExitCodeProcess(process, &code);
    return static_cast<int>(code);
}

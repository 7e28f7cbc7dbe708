// The folder of the plug-ins, one for the process.
#include <DibStream.h>
#include <VexLibs.h>

#include <cstring>
#include <cwchar>
#include <new>

wchar_t DibStream::DllPath[1024] = {};

void DibStream::SetDllFilePath(const char* path) {
    try {
        std::wcscpy(DllPath, VexString::fromUtf8String(path).c_str());
    } catch (const std::bad_alloc&) {
        // The folder stays as it was.
    }
}

void DibStream::SetDllFilePath(const wchar_t* path) { std::wcscpy(DllPath, path != nullptr ? path : L""); }

void DibStream::GetDllFilePath(char* out) {
    if (out == nullptr) return;
    *out = '\0';
    try {
        std::strcpy(out, VexString(DllPath).toUtf8String().c_str());
    } catch (const std::bad_alloc&) {
        // An empty path finds the plug-ins relative to the working directory.
    }
}

wchar_t* DibStream::GetDllFilePath(wchar_t* out) {
    return out != nullptr ? std::wcscpy(out, DllPath) : nullptr;
}

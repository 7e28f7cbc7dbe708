// Files by 8-bit and wide paths, where the C library has no such functions.
#include <VexLibs.h>

#include <cerrno>
#include <new>

int fopen_s(std::FILE** file, const char* path, const char* mode) {
    if (file == nullptr) return EINVAL;
    *file = nullptr;
    if (path == nullptr || mode == nullptr) return EINVAL;
    *file = std::fopen(path, mode);
    if (*file != nullptr) return 0;
    return errno != 0 ? errno : EIO;
}

int _wfopen_s(std::FILE** file, const wchar_t* path, const wchar_t* mode) {
    if (file == nullptr) return EINVAL;
    *file = nullptr;
    if (path == nullptr || mode == nullptr) return EINVAL;
    try {
        const VexString widePath(path);
        const VexString wideMode(mode);
        if (!widePath.isValid() || !wideMode.isValid()) return EILSEQ;
        return fopen_s(file, widePath.toUtf8String().c_str(), wideMode.toUtf8String().c_str());
    } catch (const std::bad_alloc&) {
        return ENOMEM;
    }
}

#include <VexLibs.h>

#include <cerrno>
#include <cstring>
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

void GetFileExtension(char* out, const char* path) {
    if (out == nullptr) return;
    if (path == nullptr) path = "";
    const char* slash = std::strrchr(path, '/');
    const char* name = slash != nullptr ? slash + 1 : path;
    const char* dot = std::strrchr(name, '.');
    const char* extension = dot != nullptr && dot != name ? dot + 1 : "";
    // `out` may be the path itself.
    std::memmove(out, extension, std::strlen(extension) + 1);
}

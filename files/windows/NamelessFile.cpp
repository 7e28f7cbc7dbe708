#include "files/NamelessFile.h"

#include <windows.h>

#include "files/windows/Errors.h"
#include "vexlibs/SystemPath.h"

namespace files {

std::string temporaryFolder() {
    wchar_t folder[MAX_PATH + 1];
    const DWORD length = GetTempPathW(MAX_PATH + 1, folder);
    return length == 0 || length > MAX_PATH ? std::string(".") : vexlibs::utf8Of(folder);
}

NamelessFile::NamelessFile() {
    wchar_t name[MAX_PATH + 1];
    const std::wstring folder = vexlibs::systemPath(temporaryFolder().c_str());
    if (GetTempFileNameW(folder.c_str(), L"dib", 0, name) == 0) {
        storeErrno();
        return;
    }
    path_ = vexlibs::utf8Of(name);
}

NamelessFile::~NamelessFile() {
    if (exists()) DeleteFileW(vexlibs::systemPath(path_.c_str()).c_str());
}

}  // namespace files

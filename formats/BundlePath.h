// Where a plug-in bundle lies: in the plug-in folder, or in the working directory when there is none.
#ifndef FORMATS_BUNDLE_PATH_H
#define FORMATS_BUNDLE_PATH_H

#include <DibStream.h>

#include <cstddef>
#include <cstdio>
#include <cstring>

#include "vexlibs/PathText.h"

namespace formats {

class BundlePath {
public:
    explicit BundlePath(const char* bundle) {
        char folder[kFolderBytes];
        DibStream::GetDllFilePath(folder);
        // A folder without a UTF-8 form must not turn into the working directory.
        isKnown_ = folder[0] != '\0' || DibStream::DllPath[0] == L'\0';
        const std::size_t length = std::strlen(folder);
        const bool needsSlash = length > 0 && !vexlibs::isSeparator(folder[length - 1]);
        std::snprintf(text_, sizeof text_, "%s%s%s", folder, needsSlash ? "/" : "", bundle);
    }
    bool isKnown() const { return isKnown_; }
    const char* text() const { return text_; }

private:
    // Four bytes for each character of the folder, its terminator included.
    static constexpr std::size_t kFolderBytes = sizeof(DibStream::DllPath) / sizeof(wchar_t) * 4;

    bool isKnown_;
    char text_[kFolderBytes + 32];
};

}  // namespace formats

#endif

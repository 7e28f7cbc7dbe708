// Paths as Windows takes them: wide, and long ones in the form that has no limit.
#ifndef VEXLIBS_SYSTEM_PATH_H
#define VEXLIBS_SYSTEM_PATH_H

#include <windows.h>

#include <string>
#include <string_view>

#include "vexlibs/Utf8.h"

namespace vexlibs {

// Short paths stay as they are, so that devices keep their names. May throw std::bad_alloc.
inline std::wstring systemPath(std::wstring_view path) {
    constexpr std::size_t kLongestFolder = 247;
    constexpr std::wstring_view kUnlimited = L"\\\\?\\";
    std::wstring text(path);
    if (text.size() <= kLongestFolder || text.starts_with(kUnlimited)) return text;
    std::wstring whole(GetFullPathNameW(text.c_str(), 0, nullptr, nullptr), L'\0');
    const DWORD length =
        GetFullPathNameW(text.c_str(), static_cast<DWORD>(whole.size()), whole.data(), nullptr);
    if (length == 0 || length >= whole.size()) return text;
    whole.resize(length);
    if (whole.starts_with(L"\\\\")) return L"\\\\?\\UNC" + whole.substr(1);
    return std::wstring(kUnlimited) + whole;
}
inline std::wstring systemPath(const char* utf8) { return systemPath(wideOf<wchar_t>(utf8)); }

}  // namespace vexlibs

#endif

#include <VexLibs.h>

#include <string_view>

#include "Utf8.h"

VexAnsiString::VexAnsiString() = default;
VexAnsiString::VexAnsiString(const char* text) : text_(text != nullptr ? text : "") {}
const char* VexAnsiString::c_str() const { return text_.c_str(); }
std::size_t VexAnsiString::size() const { return text_.size(); }
bool VexAnsiString::empty() const { return text_.empty(); }

VexString::VexString() = default;
VexString::VexString(const wchar_t* text) : text_(text != nullptr ? text : L"") {}
const wchar_t* VexString::c_str() const { return text_.c_str(); }
std::size_t VexString::size() const { return text_.size(); }
bool VexString::empty() const { return text_.empty(); }

VexString VexString::fromUtf8String(const char* text) {
    VexString result;
    if (text != nullptr) result.text_ = vexlibs::wideOf<wchar_t>(text);
    return result;
}

VexString VexString::fromAnsiString(const char* text) { return fromUtf8String(text); }

bool VexString::isValid() const { return vexlibs::hasUtf8Form(std::wstring_view(text_)); }

VexAnsiString VexString::toUtf8String() const {
    return VexAnsiString(vexlibs::utf8Of(text_.c_str()).c_str());
}

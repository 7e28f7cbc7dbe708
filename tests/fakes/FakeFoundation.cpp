#include "tests/fakes/FakeFoundation.h"

#include <CoreFoundation/CoreFoundation.h>

struct __CFURL {};
struct __CFString {};
struct __CFBundle {};

namespace {

__CFURL url;
__CFString name;
__CFBundle bundle;

// Whether the call succeeds.
bool record(const std::string& function, const std::string& arguments) {
    FakeFoundation& fake = FakeFoundation::instance();
    fake.calls.push_back(function + "(" + arguments + ")");
    return fake.failing != function;
}

template <class Object>
Object* created(Object& object, bool succeeds) {
    if (!succeeds) return nullptr;
    ++FakeFoundation::instance().objects;
    return &object;
}

std::string nameOf(const void* object) {
    if (object == &url) return "url";
    if (object == &name) return "name";
    return object == &bundle ? "bundle" : "?";
}

}  // namespace

FakeFoundation& FakeFoundation::instance() {
    static FakeFoundation fake;
    return fake;
}

CFURLRef CFURLCreateFromFileSystemRepresentation(CFAllocatorRef allocator, const UInt8* buffer,
                                                 CFIndex length, Boolean isDirectory) {
    const std::string path(reinterpret_cast<const char*>(buffer), static_cast<std::size_t>(length));
    return created(url, record("CFURLCreateFromFileSystemRepresentation",
                               std::string(allocator == kCFAllocatorDefault ? "default" : "?") + ", " + path +
                                   ", " + (isDirectory != 0 ? "folder" : "file")));
}

CFBundleRef CFBundleCreate(CFAllocatorRef allocator, CFURLRef from) {
    return created(bundle,
                   record("CFBundleCreate", std::string(allocator == kCFAllocatorDefault ? "default" : "?") +
                                                ", " + nameOf(from)));
}

Boolean CFBundleLoadExecutable(CFBundleRef of) {
    return record("CFBundleLoadExecutable", nameOf(of)) ? 1 : 0;
}

CFStringRef CFStringCreateWithCString(CFAllocatorRef allocator, const char* text, CFStringEncoding encoding) {
    return created(name, record("CFStringCreateWithCString",
                                std::string(allocator == kCFAllocatorDefault ? "default" : "?") + ", " +
                                    text + ", " + (encoding == kCFStringEncodingUTF8 ? "UTF-8" : "?")));
}

void* CFBundleGetFunctionPointerForName(CFBundleRef of, CFStringRef text) {
    const bool succeeds = record("CFBundleGetFunctionPointerForName", nameOf(of) + ", " + nameOf(text));
    return succeeds ? FakeFoundation::instance().function : nullptr;
}

void CFRelease(CFTypeRef object) {
    record("CFRelease", nameOf(object));
    --FakeFoundation::instance().objects;
}

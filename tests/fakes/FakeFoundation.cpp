#include "tests/fakes/FakeFoundation.h"

#include <CoreFoundation/CoreFoundation.h>
#include <copyfile.h>

struct __CFURL : FakeObject {};
struct __CFString : FakeObject {};
struct __CFBundle : FakeObject {};

namespace {

__CFURL url{{"url"}};
__CFString name{{"name"}};
__CFBundle bundle{{"bundle"}};

template <class Object>
Object* created(Object& object, bool succeeds) {
    return static_cast<Object*>(retained(object, succeeds));
}

bool record(const std::string& call, const std::string& arguments) {
    return FakeFoundation::instance().record(call, arguments);
}

}  // namespace

FakeFoundation& FakeFoundation::instance() {
    static FakeFoundation fake;
    return fake;
}

bool FakeFoundation::record(const std::string& call, const std::string& arguments) {
    calls.push_back(call + "(" + arguments + ")");
    return failing != call;
}

std::string nameOf(const void* object) {
    if (object == nullptr) return "none";
    const auto* known = static_cast<const FakeObject*>(object);
    return (known->references > 0 ? "" : "gone ") + std::string(known->name);
}

FakeObject* retained(FakeObject& object, bool succeeds) {
    if (!succeeds) return nullptr;
    ++FakeFoundation::instance().objects;
    ++object.references;
    return &object;
}

void released(const void* object) {
    auto* known = static_cast<FakeObject*>(const_cast<void*>(object));
    --FakeFoundation::instance().objects;
    if (--known->references == 0 && known->ended != nullptr) known->ended();
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
    released(object);
}

int fcopyfile(int from, int to, copyfile_state_t state, copyfile_flags_t flags) {
    const std::string what = std::string((flags & COPYFILE_ACL) != 0 ? "access list " : "") +
                             ((flags & COPYFILE_XATTR) != 0 ? "attributes" : "");
    const bool succeeds = record("fcopyfile", std::to_string(from) + ", " + std::to_string(to) + ", " +
                                                  (state == nullptr ? "stateless" : "?") + ", " + what);
    return succeeds ? 0 : -1;
}

// Plug-in bundles on macOS.
#include "formats/PluginLoader.h"

#include <CoreFoundation/CoreFoundation.h>

#include <cstring>

namespace formats {

namespace {

class MacLoader final : public PluginLoader {
public:
    Bundle open(const char* path) override {
        const CFURLRef url =
            CFURLCreateFromFileSystemRepresentation(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(path),
                                                    static_cast<CFIndex>(std::strlen(path)), false);
        if (url == nullptr) return nullptr;
        const CFBundleRef bundle = CFBundleCreate(kCFAllocatorDefault, url);
        CFRelease(url);
        return bundle;
    }

    bool loadCode(Bundle bundle) override {
        return CFBundleLoadExecutable(static_cast<CFBundleRef>(bundle)) != 0;
    }

    void* findExport(Bundle bundle, const char* name) override {
        const CFStringRef text = CFStringCreateWithCString(kCFAllocatorDefault, name, kCFStringEncodingUTF8);
        if (text == nullptr) return nullptr;
        void* found = CFBundleGetFunctionPointerForName(static_cast<CFBundleRef>(bundle), text);
        CFRelease(text);
        return found;
    }

    void release(Bundle bundle) override { CFRelease(bundle); }
};

}  // namespace

PluginLoader& platformPluginLoader() {
    static MacLoader loader;
    return loader;
}

}  // namespace formats

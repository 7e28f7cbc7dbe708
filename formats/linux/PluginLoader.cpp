// Plug-in bundles on Linux: shared objects, or folders that hold one.
#include "formats/PluginLoader.h"

#include <dlfcn.h>

#include <filesystem>
#include <memory>
#include <new>
#include <string>
#include <system_error>

namespace formats {

namespace {

namespace fs = std::filesystem;

struct SharedObject {
    std::string path;  // absolute; empty when the bundle holds no code
    void* code = nullptr;
};

// The executable of a bundle folder has the folder's name without its extension. It is also searched where
// the other platform keeps it, so one folder can serve both. Skips non-regular files: opening a FIFO would
// block.
fs::path executableOf(const fs::path& bundle) {
    std::error_code error;
    if (fs::is_regular_file(bundle, error)) return bundle;
    for (const char* folder : {"Linux", "MacOS"}) {
        fs::path executable = bundle / "Contents" / folder / bundle.stem();
        if (fs::is_regular_file(executable, error)) return executable;
    }
    return {};
}

class LinuxLoader final : public PluginLoader {
public:
    Bundle open(const char* path) override {
        try {
            std::error_code error;
            if (!fs::exists(path, error)) return nullptr;
            auto bundle = std::make_unique<SharedObject>();
            const fs::path executable = executableOf(path);
            // Absolute: a bare name would be searched for in the system's folders, and a relative one would
            // still mean the code that it meant before the working directory changed.
            if (!executable.empty()) bundle->path = fs::absolute(executable, error).string();
            return bundle.release();
        } catch (const std::bad_alloc&) {
            return nullptr;
        }
    }

    // The code is never closed, so loading it again only finds it. Its names are visible to lookups
    // in it alone.
    bool loadCode(Bundle bundle) override {
        auto* object = static_cast<SharedObject*>(bundle);
        if (object->path.empty()) return false;  // which would name the program itself
        object->code = dlopen(object->path.c_str(), RTLD_NOW | RTLD_LOCAL);
        return object->code != nullptr;
    }

    void* findExport(Bundle bundle, const char* name) override {
        return dlsym(static_cast<SharedObject*>(bundle)->code, name);
    }

    void release(Bundle bundle) override { delete static_cast<SharedObject*>(bundle); }
};

}  // namespace

PluginLoader& platformPluginLoader() {
    static LinuxLoader loader;
    return loader;
}

}  // namespace formats

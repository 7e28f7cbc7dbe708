// Plug-in bundles on Windows: libraries, or folders that hold one.
#include "formats/PluginLoader.h"

#include <windows.h>

#include <filesystem>
#include <memory>
#include <new>
#include <system_error>

#include "vexlibs/NativePath.h"
#include "vexlibs/SystemPath.h"

namespace formats {

namespace {

namespace fs = std::filesystem;

struct Library {
    std::wstring path;  // absolute; empty when the bundle holds no code
    HMODULE code = nullptr;
};

// The library of a bundle folder has the folder's name without its extension.
fs::path libraryOf(const fs::path& bundle) {
    std::error_code error;
    if (fs::is_regular_file(bundle, error)) return bundle;
    fs::path library = bundle / L"Contents" / L"Windows" / bundle.stem();
    library += L".dll";
    return fs::is_regular_file(library, error) ? library : fs::path();
}

class WindowsLoader final : public PluginLoader {
public:
    Bundle open(const char* path) override {
        try {
            std::error_code error;
            const fs::path whole = fs::absolute(vexlibs::pathOf(path), error);
            if (error || !fs::exists(whole, error)) return nullptr;
            auto bundle = std::make_unique<Library>();
            bundle->path = libraryOf(whole).native();
            return bundle.release();
        } catch (const std::bad_alloc&) {
            return nullptr;
        }
    }

    // The code is never released, so loading it again only finds it. What it needs is searched for beside it,
    // and then where the program's own libraries are.
    bool loadCode(Bundle bundle) override {
        auto* library = static_cast<Library*>(bundle);
        if (library->path.empty()) return false;
        library->code = LoadLibraryExW(library->path.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
        return library->code != nullptr;
    }

    void* findExport(Bundle bundle, const char* name) override {
        return reinterpret_cast<void*>(GetProcAddress(static_cast<Library*>(bundle)->code, name));
    }

    void release(Bundle bundle) override { delete static_cast<Library*>(bundle); }
};

}  // namespace

PluginLoader& platformPluginLoader() {
    static WindowsLoader loader;
    return loader;
}

}  // namespace formats

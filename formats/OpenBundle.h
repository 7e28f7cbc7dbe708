// A plug-in bundle while it is open, and what is wrong with one that cannot be used.
#ifndef FORMATS_OPEN_BUNDLE_H
#define FORMATS_OPEN_BUNDLE_H

#include <string>

#include "formats/PluginLoader.h"

namespace formats {

class OpenBundle {
public:
    OpenBundle(PluginLoader& loader, const char* path) : loader_(loader), bundle_(loader.open(path)) {}
    ~OpenBundle() {
        if (exists()) loader_.release(bundle_);
    }
    OpenBundle(const OpenBundle&) = delete;
    OpenBundle& operator=(const OpenBundle&) = delete;

    bool exists() const { return bundle_ != nullptr; }
    bool loadCode() { return loader_.loadCode(bundle_); }
    // The export of that name, or null. The code must have been loaded.
    void* find(const char* name) { return loader_.findExport(bundle_, name); }

private:
    PluginLoader& loader_;
    PluginLoader::Bundle bundle_;
};

// Why the bundle at a path cannot be used, as the end of a sentence about it; empty when it has the export.
// Loads its code.
inline std::string bundleProblem(PluginLoader& loader, const std::string& path, const char* name) {
    OpenBundle bundle(loader, path.c_str());
    if (!bundle.exists()) return "is missing";
    if (!bundle.loadCode()) return "holds no code that can be loaded here";
    return bundle.find(name) != nullptr ? "" : "has no function " + std::string(name);
}

}  // namespace formats

#endif

// The seam to the platform's loader of plug-in bundles. What a load does, and in which order, is written once
// against it in Plugin.cpp; linux/ and mac/ hold the platforms' sides.
#ifndef FORMATS_PLUGIN_LOADER_H
#define FORMATS_PLUGIN_LOADER_H

namespace formats {

class PluginLoader {
public:
    // An open bundle, known to its loader alone.
    using Bundle = void*;

    // Null when there is no bundle at the path, which is relative to the working directory unless it is
    // absolute.
    virtual Bundle open(const char* path) = 0;
    // Whether the bundle's code is in the process.
    virtual bool loadCode(Bundle bundle) = 0;
    // The export of that name, or null.
    virtual void* findExport(Bundle bundle, const char* name) = 0;
    // Releases the bundle. Its code stays in the process, because callers may keep what it gave them.
    virtual void release(Bundle bundle) = 0;

protected:
    ~PluginLoader() = default;
};

PluginLoader& platformPluginLoader();

}  // namespace formats

#endif

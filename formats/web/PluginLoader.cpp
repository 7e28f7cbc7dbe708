// Plug-in bundles in browsers, which load no code: those that are linked with the library are found by name.
#include "formats/PluginLoader.h"

#include <DibPlugin.h>

#include <cstring>
#include <iterator>
#include <string_view>

// The descriptions of the plug-ins; web/CMakeLists.txt gives each its name.
extern "C" {
const DibPluginDescription* DibPluginDescribe_dds();
const DibPluginDescription* DibPluginDescribe_gif();
const DibPluginDescription* DibPluginDescribe_webp();
}

namespace formats {

namespace {

struct LinkedBundle {
    std::string_view name;
    DibPluginDescriber describe;
};

constexpr LinkedBundle kBundles[] = {
    {"vexlibdds.bundle", DibPluginDescribe_dds},
    {"vexlibgif.bundle", DibPluginDescribe_gif},
    {"vexlibwebp.bundle", DibPluginDescribe_webp},
};

class WebLoader final : public PluginLoader {
public:
    Bundle open(const char* path) override {
        const char* const slash = std::strrchr(path, '/');
        const std::string_view name = slash != nullptr ? slash + 1 : path;
        for (const LinkedBundle& bundle : kBundles) {
            if (bundle.name == name) return const_cast<LinkedBundle*>(&bundle);
        }
        return nullptr;
    }

    bool loadCode(Bundle /*bundle*/) override { return true; }

    void* findExport(Bundle bundle, const char* name) override {
        if (std::strcmp(name, "DibPluginDescribe") != 0) return nullptr;
        return reinterpret_cast<void*>(static_cast<LinkedBundle*>(bundle)->describe);
    }

    void release(Bundle /*bundle*/) override {}
};

}  // namespace

PluginLoader& platformPluginLoader() {
    static WebLoader loader;
    return loader;
}

}  // namespace formats

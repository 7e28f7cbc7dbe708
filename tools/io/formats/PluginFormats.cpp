// EXR and DDS, which plug-ins read.
#include <DibCodec.h>
#include <VexLibs.h>

#include "tools/io/PluginFolder.h"
#include "tools/io/formats/CodecRow.h"

namespace tool {

namespace {

bool loadExr(const char* path, DibStream& image, DibProgressCallback callback, void* user) {
    requirePlugin({"vexlibexr.bundle", "LoadEXR", "EXR"});
    return LoadEXR(path, &image, callback, user);
}

bool loadDds(const char* path, DibStream& image, DibProgressCallback callback, void* user) {
    requirePlugin({"vexlibdds.bundle", "LoadDDS", "DDS"});
    return LoadDDS(VexString::fromUtf8String(path).c_str(), &image, callback, user);
}

bool isExr(FirstBytes bytes) { return startsWith(bytes, "\x76\x2F\x31\x01"); }
bool isDds(FirstBytes bytes) { return startsWith(bytes, "DDS "); }

// An attribute that may stand anywhere, and a word behind the first bytes.
std::string_view anyCompression(FirstBytes) { return "unknown"; }

constexpr std::string_view kExr[] = {"exr"};
constexpr std::string_view kDds[] = {"dds"};

constexpr Format kFormats[] = {
    {"exr", "OpenEXR, its first part, by a plug-in", kExr, "8, 32", "", loadExr, nullptr,
     formats::diagnoseExr, isExr, anyCompression},
    {"dds", "DirectDraw surface, its largest level, by a plug-in", kDds, "8, 32", "", loadDds, nullptr,
     formats::diagnoseDds, isDds, anyCompression},
};

}  // namespace

std::span<const Format> pluginFormats() { return kFormats; }

}  // namespace tool

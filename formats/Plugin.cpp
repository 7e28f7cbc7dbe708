// EXR and DDS files are decoded by plug-ins: bundles in a folder that the application names, each with one
// export. A load opens the bundle, loads its code, looks the export up, calls it and adopts the picture that
// it returns.
#include "formats/Plugin.h"

#include <DibPlugin.h>
#include <VexLibs.h>

#include <cstdint>
#include <new>

#include "dib/ColorTable.h"
#include "dib/ImageSize.h"
#include "dib/Memory.h"
#include "formats/BundlePath.h"
#include "formats/OpenBundle.h"

namespace formats {

namespace {

// Whether blocks that fit such a header can exist: all of the library's offsets into them are then exact.
bool isPossible(const BITMAPINFOHEADER& header) {
    const std::uint32_t mostEntries = header.biBitCount <= 8 ? 1U << header.biBitCount : 256;
    return dib::admitSize(header).admitted && header.biSize <= dib::kLongestHeaderBytes &&
           header.biClrUsed <= mostEntries;
}

}  // namespace

bool adopt(DibStream* image, BITMAPINFOHEADER* header, unsigned char* buffer) {
    dib::MallocPtr<BITMAPINFOHEADER> ownedHeader(header);
    dib::MallocPtr<unsigned char> ownedBuffer(buffer);
    if (header == nullptr || buffer == nullptr || !isPossible(*header)) return false;
    return image->SetDib(ownedHeader.release(), dib::kOwned, ownedBuffer.release(), dib::kOwned);
}

namespace {

// The steps of a load; `function` is what the export points to.
template <class Function, class Char>
bool loadThroughPlugin(PluginLoader& loader, const Plugin& plugin, const Char* path, DibStream* image,
                       DibProgressCallback progress, void* user) {
    if (path == nullptr || image == nullptr) return false;
    const BundlePath bundlePath(plugin.bundle);
    if (!bundlePath.isKnown()) return false;
    OpenBundle bundle(loader, bundlePath.text());
    if (!bundle.exists() || !bundle.loadCode()) return false;
    const auto function = reinterpret_cast<Function>(bundle.find(plugin.name));
    if (function == nullptr) return false;
    BITMAPINFOHEADER* header = nullptr;
    unsigned char* buffer = nullptr;
    if (!function(path, &header, &buffer, progress, user)) return false;
    return adopt(image, header, buffer);
}

}  // namespace

bool loadExr(PluginLoader& loader, const char* path, DibStream* image, DibProgressCallback callback,
             void* user) {
    return loadThroughPlugin<DibPluginLoadEXR>(loader, kExrPlugin, path, image, callback, user);
}

bool loadDds(PluginLoader& loader, const wchar_t* path, DibStream* image, DibProgressCallback callback,
             void* user) {
    DdsContext context = {callback, user};
    return loadThroughPlugin<DibPluginLoadDDS>(loader, kDdsPlugin, path, image, DdsCallback, &context);
}

}  // namespace formats

bool DdsCallback(float progress, void* context) {
    const auto& caller = *static_cast<const formats::DdsContext*>(context);
    return caller.callback == nullptr || caller.callback(progress, caller.user);
}

bool LoadEXR(const char* path, DibStream* image, DibProgressCallback /*callback*/, void* /*user*/) {
    return formats::loadExr(formats::platformPluginLoader(), path, image);
}

bool LoadEXR(const wchar_t* path, DibStream* image, DibProgressCallback callback, void* user) {
    if (path == nullptr) return false;
    try {
        const VexString wide(path);
        // Text without an 8-bit form would turn into the empty path.
        return wide.isValid() && LoadEXR(wide.toUtf8String().c_str(), image, callback, user);
    } catch (const std::bad_alloc&) {
        return false;
    }
}

bool LoadDDS(const wchar_t* path, DibStream* image, DibProgressCallback callback, void* user) {
    return formats::loadDds(formats::platformPluginLoader(), path, image, callback, user);
}

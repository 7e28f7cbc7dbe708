// The path overloads of the formats that the platform reads and writes.
#include <DibCodec.h>

#include <new>

#include "formats/PlatformImages.h"

namespace {

using Type = DibCocoaUtil::DibCocoaFileType;

bool load(const char* path, DibStream* image) {
    return path != nullptr && formats::loadImageFile(formats::imagePlatform(), path, image);
}
bool save(const char* path, DibStream* image, Type type) {
    return path != nullptr && formats::saveImageFile(formats::imagePlatform(), path, image, type);
}

// Only the text of the path is allocated here.
template <class Work>
bool withUtf8(const wchar_t* path, const Work& work) {
    try {
        return work(VexString(path).toUtf8String().c_str());
    } catch (const std::bad_alloc&) {
        return false;
    }
}
bool load(const wchar_t* path, DibStream* image) {
    return withUtf8(path, [&](const char* utf8) { return load(utf8, image); });
}
bool save(const wchar_t* path, DibStream* image, Type type) {
    return withUtf8(path, [&](const char* utf8) { return save(utf8, image, type); });
}

}  // namespace

bool LoadJPEG(const char* path, DibStream* image, DibProgressCallback, void*) { return load(path, image); }
bool LoadJPEG(const wchar_t* path, DibStream* image, DibProgressCallback, void*) { return load(path, image); }
bool LoadTIFF(const char* path, DibStream* image, DibProgressCallback, void*) { return load(path, image); }
bool LoadTIFF(const wchar_t* path, DibStream* image, DibProgressCallback, void*) { return load(path, image); }
bool LoadPNG(const char* path, DibStream* image, DibProgressCallback, void*) { return load(path, image); }
bool LoadPNG(const wchar_t* path, DibStream* image, DibProgressCallback, void*) { return load(path, image); }

bool SaveJPEG(const char* path, DibStream* image, DibProgressCallback, void*) {
    return save(path, image, DibCocoaUtil::DIB_COCOA_JPEG);
}
bool SaveJPEG(const wchar_t* path, DibStream* image, DibProgressCallback, void*) {
    return save(path, image, DibCocoaUtil::DIB_COCOA_JPEG);
}
bool SaveTIFF(const char* path, DibStream* image, DibProgressCallback, void*) {
    return save(path, image, DibCocoaUtil::DIB_COCOA_TIFF);
}
bool SaveTIFF(const wchar_t* path, DibStream* image, DibProgressCallback, void*) {
    return save(path, image, DibCocoaUtil::DIB_COCOA_TIFF);
}
bool SavePNG(const char* path, DibStream* image, DibProgressCallback, void*) {
    return save(path, image, DibCocoaUtil::DIB_COCOA_PNG);
}
bool SavePNG(const wchar_t* path, DibStream* image, DibProgressCallback, void*) {
    return save(path, image, DibCocoaUtil::DIB_COCOA_PNG);
}

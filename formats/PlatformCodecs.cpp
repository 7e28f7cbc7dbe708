// The path overloads of the formats that the platform reads and writes.
#include <DibCocoaUtil.h>
#include <DibCodec.h>

#include <new>

namespace {

VexString pathText(const char* path) { return VexString::fromAnsiString(path); }
VexString pathText(const wchar_t* path) { return VexString(path); }

// The text of a path is all that can run out of memory here.
template <class Char>
bool load(const Char* path, DibStream* image) {
    try {
        return DibCocoaUtil::LoadImageFile(pathText(path), image);
    } catch (const std::bad_alloc&) {
        return false;
    }
}

template <class Char>
bool save(const Char* path, DibStream* image, DibCocoaUtil::DibCocoaFileType type) {
    try {
        return DibCocoaUtil::SaveImageFile(pathText(path), image, type);
    } catch (const std::bad_alloc&) {
        return false;
    }
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

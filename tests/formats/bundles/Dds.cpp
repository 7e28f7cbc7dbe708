// A bundle for tests: reports three thirds of progress and gives up when the callback cancels.
#include <DibExport.h>
#include <DibPlugin.h>

#include <cstdlib>
#include <cwchar>
#include <initializer_list>

// One pixel: the length of the path, its last character, 0 and 0.
extern "C" DIB_EXPORT bool LoadDDS(const wchar_t* path, BITMAPINFOHEADER** header, unsigned char** buffer,
                                   DibProgressCallback progress, void* user) {
    for (const float fraction : {0.25F, 0.5F, 1.0F}) {
        if (!progress(fraction, user)) return false;
    }
    auto* made = static_cast<BITMAPINFOHEADER*>(std::calloc(1, sizeof(BITMAPINFOHEADER)));
    auto* pixel = static_cast<unsigned char*>(std::calloc(1, 4));
    if (made == nullptr || pixel == nullptr) std::abort();
    made->biSize = 40;
    made->biWidth = 1;
    made->biHeight = -1;
    made->biPlanes = 1;
    made->biBitCount = 32;
    const std::size_t length = std::wcslen(path);
    pixel[0] = static_cast<unsigned char>(length);
    pixel[1] = static_cast<unsigned char>(path[length - 1]);
    *header = made;
    *buffer = pixel;
    return true;
}

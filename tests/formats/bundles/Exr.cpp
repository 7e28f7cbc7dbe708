// A bundle for tests: its picture shows what it was called with.
#include <DibExport.h>
#include <DibPlugin.h>

#include <cstdlib>
#include <cstring>

// One pixel: the length of the path, its last byte, whether there is a progress function, and how often this
// code has been called, which starts again only when it is loaded again.
extern "C" DIB_EXPORT bool LoadEXR(const char* path, BITMAPINFOHEADER** header, unsigned char** buffer,
                                   DibProgressCallback progress, void* user) {
    static unsigned char calls = 0;
    const std::size_t length = std::strlen(path);
    if (length == 0) return false;
    auto* made = static_cast<BITMAPINFOHEADER*>(std::calloc(1, sizeof(BITMAPINFOHEADER)));
    auto* pixel = static_cast<unsigned char*>(std::malloc(4));
    if (made == nullptr || pixel == nullptr) {
        std::free(made);
        std::free(pixel);
        return false;
    }
    made->biSize = 40;
    made->biWidth = 1;
    made->biHeight = 1;
    made->biPlanes = 1;
    made->biBitCount = 32;
    pixel[0] = static_cast<unsigned char>(length);
    pixel[1] = static_cast<unsigned char>(path[length - 1]);
    pixel[2] = static_cast<unsigned char>((progress != nullptr ? 1 : 0) + (user != nullptr ? 2 : 0));
    pixel[3] = ++calls;
    *header = made;
    *buffer = pixel;
    return true;
}

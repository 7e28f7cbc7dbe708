#include <cstring>

#include "fuzz/FuzzSupport.h"

// What loads is saved and loaded again, and shows the same picture.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::withFile(data, size, [](std::FILE* file) {
        DibStream image;
        const bool loaded = image.LoadFileInner(file, DibStream::DIB_ACCEPT_ALL);
        fuzz::require(loaded == (image.Header != nullptr), "a failed load leaves nothing");
        // Run lengths may announce a background of gigabytes; going over it would only slow the search down.
        if (!loaded || image.Header->biSizeImage > 1U << 16) return;
        fuzz::checkImage(image);
        image.Header->biCompression = 0;  // a picture with channel masks is written without them

        char* bytes = nullptr;
        std::size_t length = 0;
        std::FILE* out = open_memstream(&bytes, &length);
        fuzz::require(image.SaveFileInner(out), "what was loaded can be saved");
        std::fclose(out);
        fuzz::withFile(reinterpret_cast<std::uint8_t*>(bytes), length, [&image](std::FILE* saved) {
            DibStream twin;
            fuzz::require(twin.LoadFileInner(saved, DibStream::DIB_ACCEPT_ALL),
                          "what was saved can be loaded");
            for (int y = 0; y < twin.Header->biHeight; ++y) {
                fuzz::require(std::memcmp(twin.ScanLine(y), image.ScanLine(y), image.GetPitch()) == 0,
                              "rows");
            }
            fuzz::require(std::memcmp(twin.Header + 1, image.Header + 1, 4U * twin.Header->biClrUsed) == 0,
                          "colours");
        });
        std::free(bytes);
    });
    return 0;
}

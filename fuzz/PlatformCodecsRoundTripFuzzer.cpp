#include <DibCodec.h>

#include "fuzz/CodecFuzz.h"

// JPEG keeps the size only, the two others every bit of the picture at 32 bits.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr fuzz::PathCodec kSavers[] = {SavePNG, SaveTIFF, SaveJPEG};
    fuzz::Input input(data, size);
    const int format = input.below(3);
    DibStream saved;
    fuzz::randomImage(input, saved, 40);
    fuzz::withPath(nullptr, 0, [&](const char* path) {
        fuzz::require(kSavers[format](path, &saved, nullptr, nullptr), "an image can be saved");
        DibStream loaded;
        fuzz::require(LoadPNG(path, &loaded, nullptr, nullptr), "what was saved can be loaded");
        fuzz::checkImage(loaded);
        const int width = saved.Header->biWidth;
        const int height = std::abs(saved.Header->biHeight);
        fuzz::require(loaded.Header->biWidth == width && loaded.Header->biHeight == height,
                      "the size is kept");
        fuzz::require(saved.ChangeBpp(32, 0), "a small image can be converted");
        for (int y = 0; format < 2 && y < height; ++y) {
            fuzz::require(
                std::memcmp(saved.ScanLine(y), loaded.ScanLine(y), 4U * static_cast<unsigned>(width)) == 0,
                "every bit is kept");
        }
    });
    return 0;
}

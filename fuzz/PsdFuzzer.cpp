#include <DibPSDLoader.h>

#include "fuzz/FuzzSupport.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::withFile(data, size, [](std::FILE* file) {
        DibStream image;
        DibPSDLoader loader(&image);
        loader.EnableLayer(true);
        loader.EnableMask(true);
        const bool loaded = loader.Load(file);
        fuzz::require(!loaded || image.Header != nullptr, "a loaded image exists");
        // A short file may announce megabytes, which tell nothing new.
        if (image.Header == nullptr || image.Header->biSizeImage <= (1U << 22)) fuzz::checkImage(image);
        for (int i = 0; i < loader.GetLayerNum(); ++i) {
            int left = 0;
            int top = 0;
            DibStream* layer = loader.GetLayerImage(i, left, top);
            if (layer == nullptr) continue;
            fuzz::checkImage(*layer);
            layer->Release();
        }
    });
    return 0;
}

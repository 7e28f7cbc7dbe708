#include <DibCodec.h>
#include <DibPSDLoader.h>

#include <cstring>

#include "dib/ImageSize.h"
#include "fuzz/CodecFuzz.h"

namespace {

bool load(std::FILE* file, DibPSDLoader& loader, DibProgressCallback callback) {
    std::rewind(file);
    loader.EnableLayer(true);
    loader.EnableMask(true);
    loader.SetCallback(callback, nullptr);
    return loader.Load(file);
}

// A short file may announce megabytes, which test nothing new.
bool tellsSomething(const DibStream& image) {
    return image.Header == nullptr || dib::admitSize(*image.Header).imageBytes <= (1U << 22);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::withFile(data, size, [](std::FILE* file) {
        DibStream image;
        DibPSDLoader loader(&image);
        const bool loaded = load(file, loader, nullptr);
        fuzz::require(!loaded || image.Header != nullptr, "a loaded image exists");
        if (!tellsSomething(image)) return;
        fuzz::checkImage(image);
        for (int i = 0; i < loader.GetLayerNum(); ++i) {
            int left = 0;
            int top = 0;
            DibStream* layer = loader.GetLayerImage(i, left, top);
            if (layer == nullptr) continue;
            fuzz::checkImage(*layer);
            fuzz::require(loader.GetLayerVisible(i) == 0 || loader.GetLayerVisible(i) == 1, "visible or not");
            fuzz::require(loader.GetLayerBlendMode(i) >= -1, "modes that are not known are -1");
            layer->Release();
        }

        // A callback leads another way through packed pictures, and so does a log.
        DibStream reported;
        DibPSDLoader reporting(&reported);
        static std::FILE* const log = std::fopen("/dev/null", "w");
        reporting.SetLog(log);
        const bool same = load(file, reporting, [](float, void*) { return true; }) == loaded &&
                          reported.ErrorCode == image.ErrorCode &&
                          (image.Buffer == nullptr) == (reported.Buffer == nullptr);
        fuzz::require(same, "a callback changes no result");
        fuzz::require(image.Buffer == nullptr || std::memcmp(image.Buffer, reported.Buffer,
                                                             dib::admitSize(*image.Header).imageBytes) == 0,
                      "a callback changes no pixel");
    });
    return fuzz::readPath(LoadPSD, data, size);
}

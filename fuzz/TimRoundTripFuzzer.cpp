#include <DibCodec.h>

#include "formats/Tim.h"
#include "fuzz/CodecFuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // Rows come back filled up to whole words.
    const auto judge = [](DibStream& saved, DibStream& loaded) {
        fuzz::require(loaded.Header->biWidth >= saved.Header->biWidth, "no pixel is lost");
        fuzz::require(loaded.Header->biHeight == std::abs(saved.Header->biHeight), "no row is lost");
    };
    return fuzz::roundTrip(
        [](std::FILE* file, DibStream& image) {
            SaveTIM(file, &image, fuzz::reportOf(image), nullptr);
            return image.ErrorCode == DIB_OK;
        },
        LoadTIM, judge, data, size, SaveTIM, SaveTIM);
}

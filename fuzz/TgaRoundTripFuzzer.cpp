#include <DibCodec.h>

#include "formats/Tga.h"
#include "fuzz/CodecFuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    return fuzz::roundTrip(
        [](std::FILE* file, DibStream& image) {
            return SaveTGA(file, &image, fuzz::reportOf(image), nullptr);
        },
        LoadTGA, fuzz::requireSameColors, data, size, SaveTGA, SaveTGA);
}

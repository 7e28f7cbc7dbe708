#include <DibCodec.h>

#include "formats/Ppm.h"
#include "fuzz/CodecFuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    return fuzz::roundTrip(
        [](std::FILE* file, DibStream& image) {
            return SavePPM(file, &image, fuzz::reportOf(image), nullptr);
        },
        LoadPPM, fuzz::requireSameColors, data, size, SavePPM, SavePPM);
}

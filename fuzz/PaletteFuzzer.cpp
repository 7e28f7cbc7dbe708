// Palette files of any bytes: what can be read is kept by each format that is written.
#include <DibPalette.h>

#include "fuzz/CodecFuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    DibStream image;
    DibFileResult result;
    const bool isLoaded = DibLoadPaletteMemory(data, size, &image, &result);
    fuzz::require(isLoaded == (result.code == DIB_OK), "a failure has a code");
    fuzz::require(isLoaded == (result.reason[0] == '\0'), "a failure has a reason");
    if (!isLoaded) return 0;
    fuzz::checkImage(image);
    for (const char* format : {"gpl", "pal", "act"}) {
        DibBytes bytes;
        fuzz::require(DibSavePaletteMemory(&bytes, &image, format), "a palette can be saved");
        DibStream again;
        fuzz::require(DibLoadPaletteMemory(bytes.data, bytes.size, &again), "what was saved can be opened");
        fuzz::requireSameIndices(image, again);
    }
    return 0;
}

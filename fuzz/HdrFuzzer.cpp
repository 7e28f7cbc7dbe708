#include "formats/Hdr.h"
#include "fuzz/CodecFuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    return fuzz::readFile(LoadHDR, data, size);
}

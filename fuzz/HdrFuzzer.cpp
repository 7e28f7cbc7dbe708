#include <DibCodec.h>

#include "formats/Hdr.h"
#include "fuzz/CodecFuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    return fuzz::readEveryWay(LoadHDR, LoadHDR, LoadHDR, data, size);
}

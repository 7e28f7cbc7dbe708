#include <DibCodec.h>

#include "formats/Ilbm.h"
#include "fuzz/CodecFuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    return fuzz::readEveryWay(LoadIFF, LoadIFF, LoadIFF, data, size);
}

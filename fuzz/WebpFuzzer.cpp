#include "fuzz/PluginFuzz.h"
#include "plugins/webp/Reader.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::readByDescription(plugins::webp::description(), data, size);
    return 0;
}

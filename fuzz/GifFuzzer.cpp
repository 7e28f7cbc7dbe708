#include "fuzz/PluginFuzz.h"
#include "plugins/gif/Reader.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::readByDescription(plugins::gif::description(), data, size);
    return 0;
}

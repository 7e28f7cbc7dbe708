#include "fuzz/PluginFuzz.h"
#include "plugins/exr/Reader.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::readByPlugin(plugins::exr::read, data, size);
    fuzz::readByDescription(plugins::exr::description(), data, size);
    return 0;
}

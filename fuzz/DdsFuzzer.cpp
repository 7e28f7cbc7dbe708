#include "fuzz/PluginFuzz.h"
#include "plugins/dds/Reader.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::readByPlugin(plugins::dds::read, data, size);
    fuzz::readByDescription(plugins::dds::description(), data, size);
    return 0;
}

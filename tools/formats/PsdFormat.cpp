#include <DibCodec.h>

#include <cstring>

#include "tools/Formats.h"

namespace tool {

namespace {

constexpr std::string_view kExtensions[] = {"psd"};

bool loadPsd(const char* path, DibStream& image, DibProgressCallback callback, void* user) {
    return LoadPSD(path, &image, callback, user);
}

bool isPsd(FirstBytes bytes) { return bytes.size() >= 4 && std::memcmp(bytes.data(), "8BPS", 4) == 0; }

constexpr Format kFormats[] = {
    {"psd", "Layered document, its merged picture", kExtensions, "8, 24, 32", "", loadPsd, nullptr, isPsd,
     nullptr, true},
};

}  // namespace

std::span<const Format> psdFormats() { return kFormats; }

}  // namespace tool

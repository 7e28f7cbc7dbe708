#include <DibCodec.h>

#include "tools/io/formats/CodecRow.h"

namespace tool {

namespace {

constexpr std::string_view kExtensions[] = {"psd"};

bool isPsd(FirstBytes bytes) { return startsWith(bytes, "8BPS"); }

constexpr Format kFormats[] = {
    {"psd", "Layered document, its merged picture", kExtensions, "8, 24, 32", "", runCodec<LoadPSD>, nullptr,
     formats::diagnosePsd, isPsd, nullptr, true},
};

}  // namespace

std::span<const Format> psdFormats() { return kFormats; }

}  // namespace tool

#include <DibEffect.h>
#include <DibFile.h>

#include "tools/cli/ExitCode.h"
#include "tools/operations/Operations.h"

namespace tool {

namespace {

constexpr Choice kModes[] = {{"stretch", 0, "brought to the size of the first"},
                             {"tile", 1, "repeated from the upper left corner"}};

constexpr Parameter kCompose[] = {
    path("file", "the second picture"), fraction("opacity", "share of the second picture", "0.5"),
    choice("mode", "how the second picture covers the first", kModes, "stretch")};

bool runCompose(DibStream& image, const Arguments& arguments, DibProgressCallback callback, void* user) {
    const std::string path = arguments.path("file");
    DibStream second;
    DibFileResult result;
    if (!DibLoadFile(path.c_str(), &second, nullptr, &result))
        throw Failure(kExitBadInput, path + ": compose: " + result.reason);
    return DibEffectCompose(callback, user, &image, &second, arguments.number("opacity"),
                            arguments.word("mode"));
}

constexpr Operation kOperations[] = {
    {"compose",
     "Blends a second picture in, of any format that can be read.",
     "compose:other.bmp,0.5",
     {"compose:other.bmp", "compose:other.bmp,30%,mode=tile", "compose:other.bmp,0.8"},
     kCompose,
     "DibEffectCompose(nullptr, nullptr, &image, {file}, {opacity}, {mode})",
     runCompose},
};

}  // namespace

std::span<const Operation> composeOps() { return kOperations; }

}  // namespace tool

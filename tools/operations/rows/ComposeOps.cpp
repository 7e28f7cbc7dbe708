#include <DibEffect.h>

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "tools/cli/ExitCode.h"
#include "tools/io/Formats.h"
#include "tools/operations/Operations.h"

namespace tool {

namespace {

constexpr Choice kModes[] = {{"stretch", 0, "brought to the size of the first"},
                             {"tile", 1, "repeated from the upper left corner"}};

constexpr Parameter kCompose[] = {
    path("file", "the second picture"), fraction("opacity", "share of the second picture", "0.5"),
    choice("mode", "how the second picture covers the first", kModes, "stretch")};

constexpr std::string_view kExtensions[] = {"bmp", "ppm", "pgm", "tga", "png", "jpg", "iff"};

// The library does not say which of the two pictures it refuses: throws when it is the second one.
void checkSecond(const std::string& path) {
    const auto fail = [&path](const std::string& why) {
        throw Failure(kExitBadInput, path + ": compose: " + why);
    };
    const Format* format = formatOfExtension(path);
    if (format == nullptr ||
        std::ranges::find(kExtensions, loweredExtensionOf(path)) == std::end(kExtensions)) {
        fail("cannot read files with this extension; `dib help compose` lists those that can be");
    }
    // What has been read from a pipe is gone.
    std::error_code ignored;
    const auto kind = std::filesystem::status(path, ignored).type();
    if (kind == std::filesystem::file_type::fifo || kind == std::filesystem::file_type::character) return;
    DibStream second;
    if (format->load(path.c_str(), second, nullptr, nullptr)) return;
    fail(formats::whyRefused(path.c_str(), format->diagnose, second.ErrorCode));
}

bool runCompose(DibStream& image, const Arguments& arguments, DibProgressCallback callback, void* user) {
    const char* path = arguments.path("file");
    const bool done =
        DibEffectCompose(callback, user, &image, path, arguments.number("opacity"), arguments.word("mode"));
    if (!done) checkSecond(path);
    return done;
}

constexpr Operation kOperations[] = {
    {"compose",
     "Blends a second picture in. Its extension must be bmp, ppm, pgm, tga, png, jpg or iff.",
     "compose:other.bmp,0.5",
     {"compose:other.bmp", "compose:other.bmp,30%,mode=tile", "compose:other.bmp,0.8"},
     kCompose,
     "DibEffectCompose(nullptr, nullptr, &image, {file}, {opacity}, {mode})",
     runCompose},
};

}  // namespace

std::span<const Operation> composeOps() { return kOperations; }

}  // namespace tool

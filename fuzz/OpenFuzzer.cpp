// Any bytes through the door: probe and open by content, also by the plug-ins. The last two bytes choose
// among the options, so that plain files are seeds.
#include <DibFile.h>

#include <cstring>
#include <string>

#include "fuzz/FuzzSupport.h"

namespace {

// Formats without a signature are found by a name.
const char* const kNames[] = {nullptr, "x.tga", "x.pgm", "x.bmp"};

struct Progress {
    float last = -1;
    int calls = 0;
    int mostCalls = 0;

    static bool report(float fraction, void* user) {
        auto& progress = *static_cast<Progress*>(user);
        fuzz::require(fraction >= progress.last && fraction >= 0 && fraction <= 1,
                      "progress never goes back");
        progress.last = fraction;
        return ++progress.calls != progress.mostCalls;
    }
};

void checkResult(bool isDone, const DibFileResult& result) {
    fuzz::require(isDone == (result.code == DIB_OK), "a failure has a code");
    fuzz::require(isDone == (result.reason[0] == '\0'), "a failure has a reason");
    fuzz::require(std::memchr(result.reason, 0, sizeof result.reason) != nullptr, "reasons end");
    fuzz::require(result.noteCount >= 0 && result.noteCount <= DibFileResult::kMostNotes,
                  "notes are counted");
}

bool usePlugins() {
#ifdef DIB_FUZZ_PLUGINS
    DibStream::SetDllFilePath(DIB_FUZZ_PLUGINS);
#endif
    return true;
}

// A TIM file that is saved with the metadata of its load is the same again, but for what lies between rows
// of 24 bits, and where alpha has replaced a lookup table.
void checkTim(const std::uint8_t* data, std::size_t size, const DibStream& image, const DibFileInfo& info,
              const DibMetadata& metadata) {
    DibSaveOptions options;
    options.format = "tim";
    options.metadata = &metadata;
    DibBytes bytes;
    const bool isSaved = DibSaveMemory(&bytes, &image, &options);
    fuzz::require(isSaved, "a TIM file can be saved again");
    const bool isKept = info.storedBits == 16 || info.storedBits == image.Header->biBitCount;
    if (info.storedBits == 24 || !isKept) return;
    fuzz::require(bytes.size == size && std::memcmp(bytes.data, data, size) == 0,
                  "an unchanged TIM file is the same again");
}

// What the byte before the last one chooses.
void choosePlace(unsigned choice, DibLoadOptions& options) {
    options.keepsPalette = (choice & 64U) != 0;
    options.atLeastWidth = (choice & 64U) != 0 ? 9 : 0;
    if ((choice & 128U) == 0) return;  // most files have a single page
    options.page = static_cast<int>(choice & 3U);
    options.level = static_cast<int>(choice >> 2 & 3U);
}

// Loads by the names that a probe found, if it found any, instead of the numbers.
void chooseNames(unsigned choice, const DibFileInfo& info, const DibLayers& layers, DibLoadOptions& options) {
    if ((choice & 16U) != 0 && info.pageName[0] != '\0') options.pageName = info.pageName;
    if ((choice & 32U) != 0 && layers.count > 0)
        options.layerName = layers.items[(choice & 15U) % layers.count].name;
}

// Saves a small picture in its own format, under each of its names, with all that its file says beside the
// pixels.
void saveAgain(const DibStream& image, const DibFormat& format, const DibMetadata& metadata) {
    if (image.Header->biSizeImage > 1U << 12) return;
    DibSaveOptions options;
    options.metadata = &metadata;
    for (const char* const* name = format.extensions; *name != nullptr; ++name) {
        options.format = *name;
        DibBytes bytes;
        DibFileResult result;
        checkResult(DibSaveMemory(&bytes, &image, &options, &result), result);
    }
}

void checkLayers(const DibLayers& layers) {
    for (std::size_t i = 0; i < layers.count; ++i) {
        const DibLayer& layer = layers.items[i];
        fuzz::require(std::memchr(layer.name, 0, sizeof layer.name) != nullptr, "names end");
        fuzz::require(layer.width >= 0 && layer.height >= 0, "sizes are not negative");
        fuzz::require(layer.group == -1 || (layer.group > static_cast<int>(i) &&
                                            static_cast<std::size_t>(layer.group) < layers.count),
                      "groups are layers above");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const bool hasPlugins = usePlugins();
    if (size == 0 || !hasPlugins) return 0;
    const unsigned choice = data[size - 1];
    DibLoadOptions options;
    options.damage = (choice & 1U) != 0 ? DIB_DAMAGE_KEEP : DIB_DAMAGE_REFUSE;
    options.alpha = (choice & 2U) != 0 ? DIB_ALPHA_STORED : DIB_ALPHA_GUESS;
    options.name = kNames[choice >> 2 & 3U];
    options.layer = (choice & 16U) != 0 ? 0 : -1;
    options.part = static_cast<DibLayerPart>((choice >> 6) % 3);
    options.mostBytes = 1U << 24;
    const unsigned place = size > 1 ? data[size - 2] : 0;
    choosePlace(place, options);

    DibFileInfo info;
    DibFileResult result;
    const bool isProbed = DibProbeMemory(data, size, &info, &options, &result);
    checkResult(isProbed, result);
    fuzz::require(info.width >= 0 && info.height >= 0, "sizes are not negative");

    DibLayers layers;
    const bool isListed = DibProbeLayers(data, size, &layers, &options, &result);
    checkResult(isListed, result);
    checkLayers(layers);

    const DibFileInfo numbered = info;
    if (isProbed) chooseNames(place, numbered, layers, options);
    fuzz::require(options.pageName == nullptr || DibProbeMemory(data, size, &info, &options),
                  "a page is found by its name");

    DibStream image;
    Progress progress;
    progress.mostCalls = (choice & 32U) != 0 ? static_cast<int>(choice >> 6) + 1 : 0;
    const bool isLoaded = DibLoadMemory(data, size, &image, &options, &result, Progress::report, &progress);
    checkResult(isLoaded, result);
    fuzz::require(!isLoaded || progress.last == 1.0F, "progress ends at 1");
    fuzz::require(isLoaded == (image.Header != nullptr && image.Buffer != nullptr),
                  "a loaded image has pixels");
    if (!isLoaded || image.Header == nullptr) return 0;
    fuzz::checkImage(image);
    saveAgain(image, *result.format, result.metadata);
    if (!isProbed || options.layer >= 0 || options.layerName != nullptr) return 0;
    const bool isWhole = options.damage == DIB_DAMAGE_REFUSE;
    if (isWhole && std::strcmp(info.format->name, "tim") == 0)
        checkTim(data, size, image, info, result.metadata);
    const int rows = std::abs(image.Header->biHeight);
    const bool isSame = info.width == image.Header->biWidth && info.height == rows;
    const bool isTurned = info.width == rows && info.height == image.Header->biWidth;
    fuzz::require(isSame || isTurned, "a probe gives the size that a load gives");
    return 0;
}

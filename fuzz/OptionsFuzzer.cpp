// Any options of the door, in and out of their ranges, on a small picture: it is saved with them, and the
// file is probed and opened with them.
#include <DibFile.h>

#include <cstring>
#include <iterator>
#include <string>
#include <vector>

#include "fuzz/FuzzSupport.h"

namespace {

// Mostly a number near the ranges of options, sometimes any.
int number(fuzz::Input& input) {
    const int choice = input.byte();
    return choice < 240 ? choice % 16 - 2 : static_cast<int>(input.word());
}

template <class Value>
Value choiceOf(fuzz::Input& input) {
    return static_cast<Value>(number(input));
}

std::string text(fuzz::Input& input) {
    std::string result(input.byte() % 16U, '\0');
    for (char& c : result) c = static_cast<char>(input.byte());
    return result;
}

DibBytes block(fuzz::Input& input) {
    DibBytes bytes;
    const std::size_t size = input.byte() % 64U;
    if (size == 0) return bytes;
    bytes.data = dib::allocateArray<unsigned char>(size).release();
    fuzz::require(bytes.data != nullptr, "there is memory for a few bytes");
    bytes.size = size;
    input.fill(bytes.data, size);
    return bytes;
}

void checkResult(bool isDone, const DibFileResult& result) {
    fuzz::require(isDone == (result.code == DIB_OK), "a failure has a code");
    fuzz::require(isDone == (result.reason[0] == '\0'), "a failure has a reason");
    fuzz::require(std::memchr(result.reason, 0, sizeof result.reason) != nullptr, "reasons end");
    for (int i = 0; i < result.noteCount; ++i)
        fuzz::require(std::memchr(result.notes[i].text, 0, sizeof result.notes[i].text) != nullptr,
                      "notes end");
}

// The texts that the options point to.
struct Names {
    std::string format, name, page, layer;
    const char* formats[3] = {};
};

void fill(fuzz::Input& input, Names& names, DibLoadOptions& options) {
    const unsigned given = input.byte();
    names.format = text(input);
    names.name = text(input);
    names.page = names.layer = text(input);
    names.formats[0] = (given & 1U) != 0 ? "bmp" : names.name.c_str();
    names.formats[1] = (given & 2U) != 0 ? "png" : nullptr;
    if ((given & 4U) != 0) options.formats = names.formats;
    if ((given & 8U) != 0) options.format = names.format.c_str();
    if ((given & 16U) != 0) options.name = names.name.c_str();
    if ((given & 32U) != 0) options.pageName = names.page.c_str();
    if ((given & 64U) != 0) options.layerName = names.layer.c_str();
    if ((given & 128U) != 0) options.size = input.byte() % 32U * 8;  // ends between members
    options.mostPixels = input.below(2) == 0 ? input.word() : 1U << 20;
    options.mostBytes = input.below(2) == 0 ? input.word() % (1U << 24) : 1U << 20;
    options.mostLayers = number(input);
    options.damage = choiceOf<DibDamagePolicy>(input);
    options.alpha = choiceOf<DibAlphaPolicy>(input);
    options.page = number(input);
    options.layer = number(input);
    options.level = number(input);
    options.part = choiceOf<DibLayerPart>(input);
    options.atLeastWidth = number(input);
    options.atLeastHeight = number(input);
    options.appliesOrientation = input.below(2) == 0;
    options.keepsPalette = input.below(2) == 0;
}

void fill(fuzz::Input& input, DibMetadata& metadata) {
    metadata.xResolution = static_cast<double>(input.anyFloat());
    metadata.yResolution = input.below(2) == 0 ? static_cast<double>(input.anyFloat()) : 72;
    metadata.orientation = number(input);
    metadata.colorProfile = block(input);
    metadata.exif = block(input);
    metadata.paletteAlpha = block(input);
    metadata.timFrame = block(input);
    metadata.texts = block(input);
    metadata.xmp = block(input);
}

void fill(fuzz::Input& input, DibSaveOptions& options) {
    if (input.below(8) == 0) options.size = input.byte() % 16U * 8;
    options.quality = input.below(8) == 0 ? number(input) : input.below(104);
    options.compressionLevel = number(input);
    options.tiffCompression = choiceOf<DibTiffCompression>(input);
    options.runLengths = input.below(2) == 0;
    options.refusesLosses = input.below(4) == 0;
    options.isLossy = input.below(2) == 0;
}

std::vector<unsigned char> pixelsOf(const DibStream& image) {
    return {image.Buffer, image.Buffer + image.GetImageSize()};
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const char* const kFormats[] = {"bmp", "png", "jpeg", "tiff", "tga", "tim", "ppm", "ilbm"};
    fuzz::Input input(data, size);
    DibStream image;
    fuzz::randomImage(input, image, 12);
    DibMetadata metadata;
    DibSaveOptions saving;
    saving.format = kFormats[input.below(static_cast<int>(std::size(kFormats)))];
    DibBytes file;
    fuzz::require(DibSaveMemory(&file, &image, &saving), "a small picture can be saved");

    DibLoadOptions loading;
    Names names;
    fill(input, names, loading);
    DibFileResult result;
    DibFileInfo info;
    checkResult(DibProbeMemory(file.data, file.size, &info, &loading, &result), result);
    const std::vector<unsigned char> before = pixelsOf(image);
    const bool isLoaded = DibLoadMemory(file.data, file.size, &image, &loading, &result);
    checkResult(isLoaded, result);
    fuzz::require(isLoaded || pixelsOf(image) == before, "a refused load leaves the image");
    fuzz::checkImage(image);

    fill(input, metadata);
    fill(input, saving);
    if (input.below(4) != 0) saving.metadata = &metadata;
    const int losses = DibSaveLosses(&image, saving.format, &saving, &result);
    fuzz::require(losses >= 0, "losses are counted");
    DibBytes saved;
    const bool isSaved = DibSaveMemory(&saved, &image, &saving, &result);
    checkResult(isSaved, result);
    fuzz::require(isSaved == (saved.data != nullptr), "a refused save makes no file");
    if (isSaved) {
        DibStream again;
        loading = DibLoadOptions();
        loading.format = saving.format;
        fuzz::require(DibLoadMemory(saved.data, saved.size, &again, &loading),
                      "what was saved can be opened");
    }
    return 0;
}

// Any image through the door: saved in a format, opened again, compared where nothing was lost.
#include <DibFile.h>

#include <cstring>
#include <string>

#include "fuzz/CodecFuzz.h"

namespace {

bool usePlugins() {
#ifdef DIB_FUZZ_PLUGINS
    DibStream::SetDllFilePath(DIB_FUZZ_PLUGINS);
#endif
    return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const bool hasPlugins = usePlugins();
    if (!hasPlugins) return 0;
    fuzz::Input input(data, size);
    DibSaveOptions options;
    std::size_t count = 0;
    const DibFormat* const* formats = DibGetFormats(&count);
    const DibFormat& format = *formats[input.below(static_cast<int>(count))];
    if (format.writeDepths == 0 || !DibIsFormatAvailable(&format)) return 0;
    options.format = format.name;
    options.runLengths = input.below(2) == 0;
    options.quality = 1 + input.below(100);
    options.compressionLevel = input.below(11) - 1;
    options.tiffCompression = static_cast<DibTiffCompression>(input.below(4));
    DibMetadata metadata;
    metadata.xResolution = metadata.yResolution = input.below(1000);
    options.metadata = &metadata;

    DibStream image;
    fuzz::randomImage(input, image, 40);
    DibFileResult result;
    DibBytes bytes;
    fuzz::require(DibSaveMemory(&bytes, &image, &options, &result), "a small image can be saved");
    bool isExact = true;
    for (int i = 0; i < result.noteCount; ++i) isExact = isExact && result.notes[i].kind != DIB_NOTE_LOSS;

    DibLoadOptions loading;
    const std::string name = std::string("x.") + format.extensions[0];
    loading.name = name.c_str();
    // Stored alpha turns pixels of fewer bits, whose special bits mean transparency, into 32 bits.
    loading.alpha = image.Header->biBitCount == 32 ? DIB_ALPHA_STORED : DIB_ALPHA_GUESS;
    DibStream loaded;
    fuzz::require(DibLoadMemory(bytes.data, bytes.size, &loaded, &loading, &result),
                  "what was saved can be opened");
    fuzz::require(result.format == &format, "the format is found again");
    fuzz::checkImage(loaded);
    // JPEG changes pixels by design.
    if (!isExact || std::strcmp(format.name, "jpeg") == 0) return 0;
    // From 16 bits on colours are compared: the highest of 16 bits is none of a colour, and a file may keep
    // opaque pixels of 32 bits in 24.
    if (image.Header->biBitCount >= 16) {
        fuzz::requireSameColors(image, loaded);
    } else {
        fuzz::requireSameIndices(image, loaded);
    }
    return 0;
}

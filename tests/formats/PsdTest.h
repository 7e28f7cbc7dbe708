// What the tests of PSD documents share: loading bytes, and the log as text.
#ifndef TESTS_FORMATS_PSD_TEST_H
#define TESTS_FORMATS_PSD_TEST_H

#include <DibCodec.h>
#include <DibPSDLoader.h>

#include <cstring>
#include <string>

#include "formats/Inflater.h"
#include "tests/formats/CodecTest.h"
#include "tests/reference/PsdReference.h"
#include "tests/support/PsdBuilder.h"
#include "tests/support/System.h"

namespace psd_test {

using codec_test::Bytes;
using codec_test::kUntouched;
using codec_test::pixelsOf;
using testing_support::ByteWriter;
using testing_support::DibPtr;
using testing_support::ProgressLog;
using testing_support::PsdCompression;
using testing_support::PsdDocument;
using testing_support::PsdLayer;
using testing_support::PsdRectangle;

// Why tests of ZIP-compressed pixels are skipped.
constexpr const char* kForeignPng =
    "the expected pictures are PNG files that the imaging component may refuse";
constexpr const char* kNoZip = "this system has no library that unpacks ZIP";

// One load: everything that can be seen of it.
struct Load {
    bool layers = false;
    bool masks = false;
    ProgressLog* progress = nullptr;

    DibPtr image{new DibStream};
    DibPSDLoader loader{image.get()};
    bool result = false;
    int code = 0;
    std::string log;

    Load() = default;
    explicit Load(const Bytes& bytes, bool withLayers = false, bool withMasks = false)
        : layers(withLayers), masks(withMasks) {
        run(bytes);
    }

    bool run(const Bytes& bytes) {
        const dib::FilePtr file = testing_support::openBytes(bytes);
        image->ErrorCode = kUntouched;
        loader.EnableLayer(layers);
        loader.EnableMask(masks);
        if (progress != nullptr) loader.SetCallback(ProgressLog::callback, progress);
        std::FILE* out = testing_support::openText();
        loader.SetLog(out);
        result = loader.Load(file.get());
        loader.SetLog(nullptr);
        log = testing_support::closeText(out);
        code = image->ErrorCode;
        return result;
    }
};

// A document without layers.
inline PsdDocument document(int mode, int depth, int channels, int width, int height,
                            const Bytes& imageData) {
    PsdDocument made;
    made.mode = mode;
    made.depth = depth;
    made.channels = channels;
    made.width = width;
    made.height = height;
    made.imageData = imageData;
    return made;
}

// The lines of a log after the five of the header.
inline std::string afterHeader(const std::string& log) {
    std::size_t at = 0;
    for (int line = 0; line < 5; ++line) at = log.find('\n', at) + 1;
    return log.substr(at);
}

// The channels of a merged picture.
inline std::vector<int> mergedIds(int channels) {
    std::vector<int> ids(static_cast<std::size_t>(channels), -32768);
    if (channels >= 1) ids[0] = 0;
    if (channels >= 3) {
        ids[1] = 1;
        ids[2] = 2;
    }
    if (channels >= 4) ids[3] = -1;
    return ids;
}

// An image of 0xFF bytes with the planes stored.
inline DibPtr expectedImage(int mode, int depth, int width, int height, int bitCount,
                            const std::vector<int>& ids, const std::vector<Bytes>& planes) {
    DibPtr image(new DibStream);
    image->Create(width, height, bitCount);
    std::memset(image->Buffer, 0xFF, static_cast<std::size_t>(image->GetImageSize()));
    reference::storePsdPlanes(*image, mode, depth, ids, planes);
    return image;
}

inline DibPtr expectedMerged(const PsdDocument& document) {
    const int bitCount = document.channels == 3 ? 24 : document.channels == 1 ? 8 : 32;
    return expectedImage(document.mode, document.depth, document.width, document.height, bitCount,
                         mergedIds(document.channels), document.allPlanes());
}

}  // namespace psd_test

#endif

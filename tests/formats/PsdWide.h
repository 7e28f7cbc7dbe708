// What the tests of wide PSD documents share: documents, layers and pixels of one colour.
#ifndef TESTS_FORMATS_PSD_WIDE_H
#define TESTS_FORMATS_PSD_WIDE_H

#include <utility>
#include <vector>

#include "tests/formats/DoorCodecTest.h"
#include "tests/formats/PsdTest.h"

namespace door_test {

using psd_test::kNoZip;
using testing_support::PsdCompression;
using testing_support::PsdDocument;
using testing_support::PsdLayer;
using testing_support::PsdRectangle;

inline constexpr PsdCompression kPackings[] = {PsdCompression::kRaw, PsdCompression::kPackBits,
                                               PsdCompression::kZip, PsdCompression::kZipPredicted};

// The bytes of one sample, for every pixel of a plane.
inline Bytes planeOf(const Bytes& sample, int pixels) {
    Bytes plane;
    for (int i = 0; i < pixels; ++i) plane.insert(plane.end(), sample.begin(), sample.end());
    return plane;
}

// A document whose planes have one sample each.
inline PsdDocument documentOf(int mode, int depth, const std::vector<Bytes>& samples) {
    PsdDocument document;
    document.mode = mode;
    document.depth = depth;
    document.channels = static_cast<int>(samples.size());
    for (const Bytes& sample : samples)
        document.planes.push_back(planeOf(sample, document.width * document.height));
    return document;
}

// A layer of that size whose channels have one sample each.
inline PsdLayer layerOf(const PsdRectangle& rectangle, const std::vector<std::pair<int, Bytes>>& channels) {
    PsdLayer layer;
    layer.rectangle = rectangle;
    for (const auto& [id, sample] : channels)
        layer.channels.push_back({id, planeOf(sample, rectangle.width() * rectangle.height())});
    return layer;
}

inline Bytes firstPixel(DibStream& image) {
    const Bytes row = codec_test::rowBytes(image, 0);
    return {row.begin(), row.begin() + image.Header->biBitCount / 8};
}

inline Bytes pixelOf(const PsdDocument& document, const DibLoadOptions& options = {}) {
    const Opened load = opened(document.bytes(), options);
    EXPECT_TRUE(load.isLoaded) << load.reason();
    return load.isLoaded ? firstPixel(*load.image) : Bytes();
}

inline DibLoadOptions layerNumber(int layer, DibLayerPart part = DIB_LAYER_PIXELS) {
    DibLoadOptions options;
    options.layer = layer;
    options.part = part;
    return options;
}

}  // namespace door_test

#endif

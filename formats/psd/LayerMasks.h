// The masks of the layers of a PSD document: a rectangle in the layer's record and a plane among its
// channels.
#ifndef FORMATS_PSD_LAYER_MASKS_H
#define FORMATS_PSD_LAYER_MASKS_H

#include "formats/psd/Document.h"

namespace formats::psd {

// Distance of two edges of a rectangle, which may be more than an int holds.
constexpr std::int64_t extent(std::int32_t low, std::int32_t high) { return std::int64_t{high} - low; }

// Reads the mask data of a layer's record, if it has any.
void readLayerMask(Reader& file, PSDLayerInfo& layer);
bool hasMaskPixels(const PSDLayerInfo& layer);
// Decodes the plane of a mask to see that it is whole; the picture is not kept.
bool checkMaskPixels(Document& document, const PSDLayerInfo& layer, int index);

}  // namespace formats::psd

#endif

// Which channels of a part make its picture.
#ifndef PLUGINS_EXR_CHANNELS_H
#define PLUGINS_EXR_CHANNELS_H

#include <OpenEXR/openexr.h>

#include <cstdint>
#include <string>
#include <vector>

#include "plugins/exr/Part.h"

namespace plugins::exr {

// The prefixes of the channels' names, with their points, in the order of the file.
std::vector<std::string> layersOf(const exr_attr_chlist_t& channels);

// Chooses the channels of a layer, or of the merged picture when its number is negative. False when none can
// be shown. Throws std::bad_alloc.
bool chooseChannels(const exr_attr_chlist_t& channels, const Dialect& dialect, int layer, Part& part);

// The bytes of a pixel over all channels.
std::int64_t pixelBytes(const exr_attr_chlist_t& channels);
// The same over those that are shown, where they have a sample for every pixel.
std::int64_t shownBytes(const exr_attr_chlist_t& channels, const Part& part);

}  // namespace plugins::exr

#endif

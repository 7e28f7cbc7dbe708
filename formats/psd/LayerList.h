// The layers of a document as the interface has them.
#ifndef FORMATS_PSD_LAYER_LIST_H
#define FORMATS_PSD_LAYER_LIST_H

#include "formats/door/Request.h"

namespace formats::psd {

// See `FileFormat::listLayers`.
bool listLayers(LayersRequest& request);

}  // namespace formats::psd

#endif

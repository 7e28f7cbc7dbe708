// The layers that a PSD document announces, also those that cannot be read.
#ifndef FORMATS_DIAGNOSIS_PSD_LAYERS_H
#define FORMATS_DIAGNOSIS_PSD_LAYERS_H

#include <string>

#include "formats/diagnosis/RefusedFile.h"

namespace formats {

struct PsdLayers {
    int count = 0;
    std::string problem;  // why they cannot be read; empty when nothing speaks against it
};
PsdLayers inspectPsdLayers(const RefusedFile& file);

// The same number without a look at the layers themselves. It is negative when the first channel behind the
// colours is the transparency of the merged picture.
int countPsdLayers(const RefusedFile& file);
// Where the merged picture begins.
std::int64_t mergedPsdPicture(const RefusedFile& file);

// The problem alone.
std::string diagnosePsdLayers(const RefusedFile& file);

}  // namespace formats

#endif

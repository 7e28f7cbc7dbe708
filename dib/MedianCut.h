// The quantizer of DibMedian.h with progress.
#ifndef DIB_MEDIAN_CUT_H
#define DIB_MEDIAN_CUT_H

#include <DibMedian.h>

#include <cstddef>
#include <cstdint>

#include "dib/Progress.h"

namespace dibmedian {

// `mediancut::execute` for packed pixels. False as well when the caller cancels.
bool divideColors(mediancut& quantizer, const std::uint8_t* bgr, std::size_t pixels, int maxColours,
                  const dib::PartProgress& progress);

}  // namespace dibmedian

#endif

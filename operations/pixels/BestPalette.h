// The palette that shows a picture best.
#ifndef OPERATIONS_PIXELS_BEST_PALETTE_H
#define OPERATIONS_PIXELS_BEST_PALETTE_H

#include <DibStream.h>

#include <cstddef>
#include <optional>
#include <vector>

#include "dib/Progress.h"
#include "operations/pixels/ColorCells.h"

namespace operations {

// At most `most` colours (up to 256) with small squared distances to those of the cells, dark ones first: the
// space is cut in two where that helps most until there are enough boxes, then their means move to the middle
// of the colours that are nearest to them. The order of the cells decides between equals, so every machine
// finds the same colours. `cells` are reordered. Nothing when the caller cancels.
std::optional<std::vector<DibBGRA>> bestPalette(std::vector<CountedCell>& cells, std::size_t most,
                                                const dib::PartProgress& progress);

}  // namespace operations

#endif

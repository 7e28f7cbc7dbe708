// Pictures with few colours.
#ifndef OPERATIONS_PIXELS_COLORS_H
#define OPERATIONS_PIXELS_COLORS_H

#include <optional>
#include <vector>

#include "dib/Progress.h"
#include "operations/Operations.h"

namespace operations {

// The alpha from which pixels usually count as opaque.
inline constexpr int kUsuallyVisible = 128;

// How colours between those of the palette are shown.
enum class Dither : std::uint32_t { kNone, kFloydSteinberg, kOrdered };

// Gives a picture at most `most` colours (2 to 256), those that show it best; all of them where it has no
// more, which Dither then does not touch. The result has as many bits as they need: 1, 4 or 8. Where pixels
// have an alpha below `visible` the first entry is theirs, and transparent in the result of the job.
bool reduceColors(const Job& job, int most, Dither dither, int visible);

// The colour table of a picture, or the visible colours of one without: all of them up to 256, else those
// that show it best. None where nothing is visible, nothing when the caller cancels.
std::optional<std::vector<DibBGRA>> paletteOf(const dib::PartProgress& progress, DibStream& image);

// Gives a picture the colours of a palette (1 to 256), whose order stays. Pixels with an alpha below
// `visible` get an entry after them, where there is room for it. Reports the part of the work from `begin`
// on.
bool remapColors(const Job& job, std::vector<DibBGRA> palette, Dither dither, int visible, float begin);

}  // namespace operations

#endif

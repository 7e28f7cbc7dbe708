// The alpha of all pixels of an image of 32 bits.
#ifndef EFFECTS_WEIGHTED_ALPHA_PLANE_H
#define EFFECTS_WEIGHTED_ALPHA_PLANE_H

#include <DibStream.h>

#include <cstdint>
#include <optional>

namespace dib {

// The alpha of every pixel; nothing when pixels differ or there are none.
std::optional<std::uint8_t> commonAlpha(const DibStream& image);

void fillAlpha(DibStream& image, std::uint8_t alpha);

}  // namespace dib

#endif

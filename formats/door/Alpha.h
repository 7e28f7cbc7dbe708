// What the alpha of a loaded picture means.
#ifndef FORMATS_DOOR_ALPHA_H
#define FORMATS_DOOR_ALPHA_H

#include <DibFile.h>

namespace formats {

// Many programs write 32-bit pixels without setting their fourth byte: a picture whose alpha is 0
// everywhere would be invisible, so it becomes opaque, unless the policy keeps what is stored.
void judgeAlpha(DibStream& image, DibAlphaPolicy policy, DibFileResult& result);

}  // namespace formats

#endif

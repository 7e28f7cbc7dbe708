// Compose as plain loops, by the rules of EffectReference.h.
#ifndef TESTS_REFERENCE_COMPOSE_REFERENCE_H
#define TESTS_REFERENCE_COMPOSE_REFERENCE_H

#include <DibStream.h>

namespace reference {

// The second image is converted and resized by the library itself, whose own tests check the result.
bool compose(DibStream& image, DibStream& second, float opacity, unsigned int mode);

}  // namespace reference

#endif

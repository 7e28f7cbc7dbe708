// Motion blur, emboss and edge detection as plain loops, by the rules of EffectReference.h.
#ifndef TESTS_REFERENCE_LINE_REFERENCE_H
#define TESTS_REFERENCE_LINE_REFERENCE_H

#include <DibStream.h>

namespace reference {

bool motionBlur(DibStream& image, int length, float angle, unsigned int flags);
bool emboss(DibStream& image, float strength, int distance, float angle, unsigned int flags);
bool pickEdge(DibStream& image, unsigned int flags);

}  // namespace reference

#endif

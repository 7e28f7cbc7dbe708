// What the doubles of the two image frameworks share.
#ifndef TESTS_FAKES_FAKE_GRAPHICS_H
#define TESTS_FAKES_FAKE_GRAPHICS_H

#include <CoreGraphics/CoreGraphics.h>

#include "tests/fakes/FakeFoundation.h"

// The bitmap of the picture that is in every file.
CGImageRef fakeFileBitmap();
// Keeps the pixels of the bitmap that was made last as what a file would get.
void fakeEncode();

#endif

// What the tests of Radiance files and of their routines share.
#ifndef TESTS_FORMATS_RGBE_TEST_H
#define TESTS_FORMATS_RGBE_TEST_H

#include <string>

#include "tests/formats/CodecTest.h"

namespace codec_test {

inline Bytes packetStart(unsigned width) {
    return {2, 2, static_cast<unsigned char>(width >> 8), static_cast<unsigned char>(width)};
}

// A row whose four components are one run each.
inline Bytes uniformRow(unsigned width, unsigned red, unsigned green, unsigned blue, unsigned exponent) {
    ByteWriter row;
    row.raw(packetStart(width));
    for (const unsigned value : {red, green, blue, exponent}) row.u8(128 + width).u8(value);
    return row.bytes;
}

// What a function prints to standard error.
template <class Act>
std::string printedBy(Act act) {
    ::testing::internal::CaptureStderr();
    act();
    return ::testing::internal::GetCapturedStderr();
}

}  // namespace codec_test

#endif

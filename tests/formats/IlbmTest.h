// What the tests of reading and writing ILBM files share.
#ifndef TESTS_FORMATS_ILBM_TEST_H
#define TESTS_FORMATS_ILBM_TEST_H

#include "formats/Ilbm.h"
#include "tests/formats/CodecTest.h"

namespace ilbm_test {

inline codec_test::Bytes chunk(const char* name, const codec_test::Bytes& data) {
    return codec_test::ByteWriter().text(name).be32(static_cast<unsigned>(data.size())).raw(data).bytes;
}

}  // namespace ilbm_test

#endif

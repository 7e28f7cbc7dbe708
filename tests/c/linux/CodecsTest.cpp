#include "tests/c/linux/Codecs.h"

#include <gtest/gtest.h>

namespace {

TEST(InC, ProbesOfPalettes) { probesOfPalettes(); }
TEST(InC, MetadataGoesAlong) { metadataGoesAlong(); }
TEST(InC, LeastSizes) { leastSizes(); }

}  // namespace

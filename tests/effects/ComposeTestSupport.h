// Shared by the tests of compose.
#ifndef TESTS_EFFECTS_COMPOSE_TEST_SUPPORT_H
#define TESTS_EFFECTS_COMPOSE_TEST_SUPPORT_H

#include <vector>

namespace compose_test {

constexpr unsigned int kStretch = 0;
constexpr unsigned int kTile = 1;
constexpr unsigned int kModes[] = {kStretch, kTile};
inline const std::vector<int> kAccepted{8, 24, 32};

}  // namespace compose_test

#endif

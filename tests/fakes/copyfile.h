// The declaration of the system's copyfile.h that files/mac/ uses. FakeFoundation.cpp defines it.
#ifndef TESTS_FAKES_COPYFILE_H
#define TESTS_FAKES_COPYFILE_H

#include <cstdint>

using copyfile_state_t = struct _copyfile_state*;
using copyfile_flags_t = std::uint32_t;

constexpr copyfile_flags_t COPYFILE_ACL = 1 << 0;
constexpr copyfile_flags_t COPYFILE_XATTR = 1 << 2;

extern "C" int fcopyfile(int from, int to, copyfile_state_t state, copyfile_flags_t flags);

#endif

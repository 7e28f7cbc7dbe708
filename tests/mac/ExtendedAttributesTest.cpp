// The attributes of files on macOS, by a double of the system's call.
#include "files/ExtendedAttributes.h"

#include <gtest/gtest.h>

#include "tests/fakes/FakeFoundation.h"

namespace {

TEST(MacExtendedAttributes, AreCopiedWithTheAccessList) {
    FakeFoundation& system = FakeFoundation::instance();
    system = {};
    files::copyExtendedAttributes(3, 4);
    EXPECT_EQ(system.calls, std::vector<std::string>{"fcopyfile(3, 4, stateless, access list attributes)"});
}

}  // namespace

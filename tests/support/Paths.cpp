#include "tests/support/Paths.h"

namespace testing_support {

std::string sourceFolder() { return DIB_SOURCE_DIR; }

std::string temporaryPath(const std::string& name) {
    return name.empty() ? DIB_TEST_TMP : DIB_TEST_TMP "/" + name;
}

std::string testBundles() { return DIB_TEST_BUNDLES; }

std::string builtPlugins() { return DIB_TEST_PLUGINS; }

}  // namespace testing_support

// Folders that the tests read and write, wherever the tree was built.
#ifndef TESTS_SUPPORT_PATHS_H
#define TESTS_SUPPORT_PATHS_H

#include <string>

namespace testing_support {

/// The root of the source tree.
std::string sourceFolder();

/// A path in a folder for temporary files that this process alone uses; the folder itself without a name.
std::string temporaryPath(const std::string& name = "");

/// The folder with the bundles that the tests of the plug-in loader load.
std::string testBundles();

/// The folder with the plug-ins of this tree; empty when they were not built.
std::string builtPlugins();

}  // namespace testing_support

#endif

// Folders that the tests read and write, wherever the tree was built, and the bytes of files.
#ifndef TESTS_SUPPORT_PATHS_H
#define TESTS_SUPPORT_PATHS_H

#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

namespace testing_support {

/// The root of the source tree.
std::string sourceFolder();

/// The folder for temporary files of all processes.
std::string commonTemporaryFolder();
/// A path in a folder for temporary files that this process alone uses; the folder itself without a name.
std::string temporaryPath(const std::string& name = "");

/// The folder with the bundles that the tests of the plug-in loader load.
std::string testBundles();

/// The folder with the plug-ins of this tree; empty when they were not built.
std::string builtPlugins();

/// The bytes between the position of a file and its end.
std::vector<unsigned char> remainingBytes(std::FILE* file);
/// The bytes of a file; empty when it cannot be read.
std::vector<unsigned char> readFileBytes(const std::filesystem::path& path);

}  // namespace testing_support

#endif

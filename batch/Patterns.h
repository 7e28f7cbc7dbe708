// Files named by patterns, as shells have them.
#ifndef BATCH_PATTERNS_H
#define BATCH_PATTERNS_H

#include <filesystem>
#include <string>
#include <vector>

namespace batch {

struct FoundFiles {
    std::filesystem::path folder;              // part of the pattern before its first wildcard
    std::vector<std::filesystem::path> files;  // sorted
};

// The files that a pattern matches: `*`, `?` and `[a-z]` match within a name, `**` any number of folders. A
// backslash keeps the character after it from being a wildcard. Names that begin with a dot must be asked for
// by a dot, and `**` follows no links. The name of an existing file matches that file alone, whatever its
// characters.
//
// Throws std::filesystem::filesystem_error when a folder cannot be read.
FoundFiles findFiles(const std::string& pattern);

}  // namespace batch

#endif

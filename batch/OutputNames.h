// Names for the results of many files.
#ifndef BATCH_OUTPUT_NAMES_H
#define BATCH_OUTPUT_NAMES_H

#include <filesystem>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

namespace batch {

// Files to read, each once, in the order in which they were added.
class Inputs {
public:
    // Adds what a pattern matches (batch/Patterns.h) and returns the number of matches.
    std::size_t add(const std::string& pattern);

    const std::vector<std::filesystem::path>& files() const { return files_; }
    // The folder that all patterns have in common.
    const std::filesystem::path& folder() const { return folder_; }

private:
    std::vector<std::filesystem::path> files_;
    std::set<std::filesystem::path> known_;
    std::filesystem::path folder_;
    bool hasFolder_ = false;
};

// Names that cannot be used, with a reason in words.
class BadNames : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// A name for the result of each input: the pattern with values for `{name}` (without folder and extension),
// `{extension}` (without its dot), `{folder}` (below the one that all inputs have in common) and `{number}`
// (from 1, all of the same length).
//
// Throws BadNames when there is no such value, when two results would have the same name, or when a result
// would replace the input of another one.
std::vector<std::string> outputNames(const Inputs& inputs, const std::string& pattern);

}  // namespace batch

#endif

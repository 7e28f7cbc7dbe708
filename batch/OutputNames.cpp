#include "batch/OutputNames.h"

#include <algorithm>
#include <map>

#include "batch/Patterns.h"
#include "vexlibs/NativePath.h"
#include "vexlibs/PathText.h"

namespace batch {

namespace {

namespace fs = std::filesystem;

fs::path commonFolder(const fs::path& a, const fs::path& b) {
    const auto end = std::ranges::mismatch(a, b).in1;
    fs::path common;
    for (auto part = a.begin(); part != end; ++part) common /= *part;
    return common;
}

std::string inQuotes(const fs::path& path) { return "'" + vexlibs::textOf(path) + "'"; }

// What placeholders stand for.
using Values = std::map<std::string, std::string>;

std::string filled(const std::string& pattern, const Values& values) {
    std::string name;
    for (std::size_t i = 0; i < pattern.size(); ++i) {
        const std::size_t end = pattern[i] == '{' ? pattern.find('}', i) : std::string::npos;
        if (end == std::string::npos) {
            name += pattern[i];
            continue;
        }
        const std::string key = pattern.substr(i + 1, end - i - 1);
        const auto value = values.find(key);
        if (value == values.end())
            throw BadNames(inQuotes(pattern) + ": there is no {" + key +
                           "}; use {name}, {folder}, {extension} or {number}");
        name += value->second;
        i = end;
        // No folder is the current one, not that of the system.
        if (name.empty() && i + 1 < pattern.size() && vexlibs::isSeparator(pattern[i + 1])) ++i;
    }
    // A folder in the middle may be empty.
    return vexlibs::textOf(vexlibs::pathOf(name).lexically_normal());
}

std::string folderBelow(const fs::path& common, const fs::path& input) {
    const fs::path folder =
        input.parent_path().lexically_normal().lexically_relative(common.empty() ? fs::path(".") : common);
    const fs::path inside = folder.empty() ? input.parent_path().relative_path() : folder;
    if (*inside.begin() == "..") throw BadNames(inQuotes(input) + ": {folder} would lead out of the output");
    return inside == "." ? "" : vexlibs::textOf(inside);
}

// Files are compared by where they really are.
fs::path placeOf(const fs::path& path) {
    std::error_code error;
    const fs::path place = fs::weakly_canonical(path, error);
    return error ? path : place;
}

void refuseClashes(const std::vector<fs::path>& inputs, const std::vector<std::string>& outputs) {
    std::map<fs::path, std::size_t> readAt;
    std::map<fs::path, std::size_t> writtenAt;
    for (std::size_t i = 0; i < inputs.size(); ++i) readAt.emplace(placeOf(inputs[i]), i);
    for (std::size_t i = 0; i < outputs.size(); ++i) {
        const fs::path place = placeOf(vexlibs::pathOf(outputs[i]));
        const auto [other, isFirst] = writtenAt.emplace(place, i);
        if (!isFirst)
            throw BadNames(inQuotes(inputs[other->second]) + " and " + inQuotes(inputs[i]) +
                           " would both be written to " + inQuotes(vexlibs::pathOf(outputs[i])));
        const auto read = readAt.find(place);
        if (read != readAt.end() && read->second != i)
            throw BadNames("the result of " + inQuotes(inputs[i]) + " would replace " +
                           inQuotes(inputs[read->second]) + ", which is read as well");
    }
}

}  // namespace

std::size_t Inputs::add(const std::string& pattern) {
    FoundFiles found = findFiles(pattern);
    const fs::path folder = found.folder.lexically_normal();
    folder_ = hasFolder_ ? commonFolder(folder_, folder) : folder;
    hasFolder_ = true;
    for (const fs::path& file : found.files) {
        if (known_.insert(file.lexically_normal()).second) files_.push_back(file);
    }
    return found.files.size();
}

std::vector<std::string> outputNames(const Inputs& inputs, const std::string& pattern) {
    const bool usesFolder = pattern.find("{folder}") != std::string::npos;
    const std::size_t digits = std::to_string(inputs.files().size()).size();
    std::vector<std::string> names;
    for (const fs::path& file : inputs.files()) {
        std::string number = std::to_string(names.size() + 1);
        number.insert(0, digits - number.size(), '0');
        const std::string extension = vexlibs::textOf(file.extension());
        names.push_back(filled(pattern, {{"name", vexlibs::textOf(file.stem())},
                                         {"extension", extension.empty() ? "" : extension.substr(1)},
                                         {"folder", usesFolder ? folderBelow(inputs.folder(), file) : ""},
                                         {"number", number}}));
    }
    refuseClashes(inputs.files(), names);
    return names;
}

}  // namespace batch

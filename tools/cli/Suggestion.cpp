#include "tools/cli/Suggestion.h"

#include <DibOperation.h>

namespace tool {

std::string suggestion(const std::string& typed, const std::vector<std::string>& words,
                       std::string_view otherwise) {
    std::vector<const char*> names;
    for (const std::string& word : words) names.push_back(word.c_str());
    names.push_back(nullptr);
    const char* nearest = DibNearestName(typed.c_str(), names.data());
    if (nearest == nullptr) return std::string(otherwise);
    return "; did you mean '" + std::string(nearest) + "'?";
}

}  // namespace tool

#include "tools/cli/Suggestion.h"

#include <algorithm>

namespace tool {

namespace {

// The least number of letters to add, remove, change or exchange with the next one.
std::size_t editDistance(std::string_view a, std::string_view b) {
    std::vector<std::vector<std::size_t>> least(a.size() + 1, std::vector<std::size_t>(b.size() + 1));
    for (std::size_t i = 0; i <= a.size(); ++i) {
        for (std::size_t k = 0; k <= b.size(); ++k) {
            if (i == 0 || k == 0) {
                least[i][k] = i + k;
                continue;
            }
            const bool isSame = a[i - 1] == b[k - 1];
            least[i][k] =
                std::min({least[i - 1][k] + 1, least[i][k - 1] + 1, least[i - 1][k - 1] + (isSame ? 0 : 1)});
            if (i > 1 && k > 1 && a[i - 1] == b[k - 2] && a[i - 2] == b[k - 1])
                least[i][k] = std::min(least[i][k], least[i - 2][k - 2] + 1);
        }
    }
    return least[a.size()][b.size()];
}

}  // namespace

std::string suggestion(std::string_view typed, const std::vector<std::string>& words,
                       std::string_view otherwise) {
    constexpr std::size_t kLongest = 64;
    std::size_t least = std::max<std::size_t>(1, typed.size() / 3) + 1;
    const std::string* nearest = nullptr;
    for (const std::string& word : words) {
        const bool isBegun = typed.size() >= 3 && word.starts_with(typed);
        const std::size_t distance = isBegun ? 1 : editDistance(typed.substr(0, kLongest), word);
        if (distance >= least || distance >= word.size()) continue;
        least = distance;
        nearest = &word;
    }
    if (nearest == nullptr) return std::string(otherwise);
    return "; did you mean '" + *nearest + "'?";
}

}  // namespace tool

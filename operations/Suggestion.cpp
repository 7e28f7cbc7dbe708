#include "operations/Suggestion.h"

#include <algorithm>
#include <array>

namespace operations {

namespace {

constexpr std::size_t kLongest = 64;
using Row = std::array<std::size_t, kLongest + 1>;

// The least number of letters to add, remove, change or exchange with the next one.
std::size_t editDistance(std::string_view a, std::string_view b) {
    std::array<Row, 3> rows;  // by the length of the beginning of `a`, the last three
    for (std::size_t i = 0; i <= a.size(); ++i) {
        Row& least = rows[i % 3];
        const Row& before = rows[(i + 2) % 3];
        for (std::size_t k = 0; k <= b.size(); ++k) {
            if (i == 0 || k == 0) {
                least[k] = i + k;
                continue;
            }
            const bool isSame = a[i - 1] == b[k - 1];
            least[k] = std::min({before[k] + 1, least[k - 1] + 1, before[k - 1] + (isSame ? 0 : 1)});
            if (i > 1 && k > 1 && a[i - 1] == b[k - 2] && a[i - 2] == b[k - 1])
                least[k] = std::min(least[k], rows[(i + 1) % 3][k - 2] + 1);
        }
    }
    return rows[a.size() % 3][b.size()];
}

}  // namespace

// Distances are twice the letters to change, and 1 less where the same letters are in another order, which
// is the likelier slip.
std::size_t farDistance(std::string_view typed) { return 2 * std::max<std::size_t>(1, typed.size() / 3) + 1; }

bool isNearer(std::string_view typed, std::string_view name, std::size_t& least) {
    const bool isBegun = typed.size() >= 3 && name.starts_with(typed);
    const std::size_t letters =
        isBegun ? 1 : editDistance(typed.substr(0, kLongest), name.substr(0, kLongest));
    const bool isShuffled = std::is_permutation(typed.begin(), typed.end(), name.begin(), name.end());
    const std::size_t distance = 2 * letters - (isShuffled && letters > 0 ? 1 : 0);
    if (distance >= least || letters >= name.size()) return false;
    least = distance;
    return true;
}

}  // namespace operations

const char* DibNearestName(const char* typed, const char* const* names) {
    if (typed == nullptr || names == nullptr) return nullptr;
    std::size_t least = operations::farDistance(typed);
    const char* nearest = nullptr;
    for (; *names != nullptr; ++names) {
        if (operations::isNearer(typed, *names, least)) nearest = *names;
    }
    return nearest;
}

// "Did you mean": the known word nearest to an unknown one.
#ifndef TOOLS_CLI_SUGGESTION_H
#define TOOLS_CLI_SUGGESTION_H

#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace tool {

// The end of a message about an unknown word: "; did you mean 'blur'?", or `otherwise` where no word is near.
std::string suggestion(const std::string& typed, const std::vector<std::string>& words,
                       std::string_view otherwise = "");

// The names of the rows of a table, or of those that a list points to.
template <class Rows>
std::vector<std::string> namesOf(const Rows& rows) {
    std::vector<std::string> names;
    for (const auto& row : rows) {
        if constexpr (std::is_pointer_v<std::remove_cvref_t<decltype(row)>>) {
            names.emplace_back(row->name);
        } else {
            names.emplace_back(row.name);
        }
    }
    return names;
}

}  // namespace tool

#endif

/// Text that others chose, for a terminal.
#pragma once

#include <cctype>
#include <string>
#include <string_view>

namespace tool {

/// The text with '?' for every control character: a name of a file or a layer must not steer the terminal.
/// Bytes above 127 stay, in whatever language they are.
inline std::string printable(std::string_view text) {
    std::string safe;
    for (const char c : text) safe += std::iscntrl(static_cast<unsigned char>(c)) != 0 ? '?' : c;
    return safe;
}

}  // namespace tool

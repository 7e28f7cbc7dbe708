/// The manual page.
#pragma once

#include <string>

namespace CLI {
class App;
}

namespace tool {

/// As roff.
std::string manPage(const CLI::App& app);

}  // namespace tool

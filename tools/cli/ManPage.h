// The manual page.
#ifndef TOOLS_CLI_MAN_PAGE_H
#define TOOLS_CLI_MAN_PAGE_H

#include <string>

namespace CLI {
class App;
}

namespace tool {

// In roff.
std::string manPage(const CLI::App& app);

}  // namespace tool

#endif

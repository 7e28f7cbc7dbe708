// JSON as files and standard output have it.
#ifndef TOOLS_IO_JSON_TEXT_H
#define TOOLS_IO_JSON_TEXT_H

#include <nlohmann/json.hpp>
#include <string>

#include "tools/cli/Printable.h"

namespace tool {

using Json = nlohmann::ordered_json;

// Invalid UTF-8, which names of files and layers may hold, is replaced.
inline std::string jsonText(const Json& json) {
    return printableJson(json.dump(2, ' ', false, Json::error_handler_t::replace)) + "\n";
}

}  // namespace tool

#endif

/// JSON as files and standard output have it.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "tools/Printable.h"

namespace tool {

/// Names of files and layers need not be UTF-8; JSON text must be.
inline std::string jsonText(const nlohmann::ordered_json& json) {
    return printableJson(json.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace)) + "\n";
}

}  // namespace tool

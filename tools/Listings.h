/// What `dib info`, `dib ops`, `dib formats` and `dib help` print.
#pragma once

#include <string>
#include <vector>

#include "tools/Formats.h"
#include "tools/Operations.h"

namespace tool {

/// What `dib info` found out.
struct InfoReport {
    std::string text;                     ///< About the files that could be read.
    std::vector<std::string> complaints;  ///< About the others, a line each.
};
/// @throws Failure (cancelled).
InfoReport infoReport(const std::vector<std::string>& files, const Format* chosen, bool asJson);
std::string operationsText(bool asJson);
std::string formatsText(bool asJson);
/// The help of one operation.
std::string operationHelp(const Operation& operation);
/// Every operation's synopsis, one a line.
std::string operationSummary();

}  // namespace tool

// Operations in words: for help, lists and the manual.
#ifndef TOOLS_OPERATIONS_OPERATION_TEXT_H
#define TOOLS_OPERATIONS_OPERATION_TEXT_H

#include <string>

#include "tools/operations/Operations.h"

namespace tool {

// What may stand for a parameter: its choices, or its kind in capitals.
std::string placeholder(const Parameter& parameter);
// Unit, range and default of a parameter: "px or %, 1 to 100, default 3"; may be empty.
std::string constraints(const Parameter& parameter);
// The help of one operation, several lines.
std::string operationHelp(const Operation& operation);
// The text filled up with blanks.
std::string padded(std::string_view text, std::size_t width);

}  // namespace tool

#endif

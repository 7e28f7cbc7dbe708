// Operations as the command line names them.
#ifndef TOOLS_IO_OPERATIONS_H
#define TOOLS_IO_OPERATIONS_H

#include <DibOperation.h>

#include <string>

namespace tool {

// Throws Failure (usage) with a suggestion.
const DibOperation& operationNamed(const std::string& name);

// Read a step, and a chain. Throw Failure (usage).
DibChain parseStep(const std::string& text);
DibChain parseChain(const std::string& text);

}  // namespace tool

#endif

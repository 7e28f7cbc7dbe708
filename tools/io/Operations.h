// The library's table of operations as the program shows it.
#ifndef TOOLS_IO_OPERATIONS_H
#define TOOLS_IO_OPERATIONS_H

#include <DibOperation.h>

#include <string>

namespace tool {

// Every operation, in the order in which help lists them.
inline DibList<DibOperation> operations() { return DibList(DibGetOperations()); }

// Throws Failure (usage) with a suggestion.
const DibOperation& operationNamed(const std::string& name);

// Texts of the library. They throw std::bad_alloc.
std::string description(const DibOperation& operation, DibDescription form);
std::string descriptions(DibDescription form);
// Unit, range and default of a parameter; may be empty.
std::string constraints(const DibParameter& parameter);
// The step in C++, for a picture.
std::string callText(const DibStep& step, const DibStream& image);

// Read a step, and a chain. Throw Failure (usage).
DibChain parseStep(const std::string& text);
DibChain parseChain(const std::string& text);

}  // namespace tool

#endif

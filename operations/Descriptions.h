// Texts about operations, given to callers.
#ifndef OPERATIONS_DESCRIPTIONS_H
#define OPERATIONS_DESCRIPTIONS_H

#include <DibOperation.h>

#include <string>
#include <string_view>

namespace operations {

// What may stand for a parameter: its choices, or its kind in capitals.
std::string placeholder(const DibParameter& parameter);
// How the operation is written, optional parameters in brackets: "bpp:DEPTH[,method=plain|grey]".
std::string synopsis(const DibOperation& operation);
// Unit, range and default of a parameter: "px or %, 1 to 100, default 3"; may be empty.
std::string constraints(const DibParameter& parameter);
// A set of `DibStream::DIB_ACCEPT_1` and so on in words: "8, 24 and 32 bits".
std::string depthsText(unsigned int depths);
// "1 bit", "8 bits".
std::string bitsText(int bitCount);
// The row of an operation as a JSON object, after `indent` blanks.
std::string jsonText(const DibOperation& operation, int indent);

// Gives a caller a text, with a zero byte after it. Returns true. Throws std::bad_alloc.
bool giveText(DibBytes* bytes, std::string_view text);

}  // namespace operations

#endif

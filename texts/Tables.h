// The library's tables of operations and file formats, and what it says about their rows.
#ifndef TEXTS_TABLES_H
#define TEXTS_TABLES_H

#include <DibFile.h>
#include <DibOperation.h>

#include <string>

namespace texts {

// Every operation and every format, in the order in which help lists them.
inline DibList<DibOperation> operations() { return DibList(DibGetOperations()); }
inline DibList<DibFormat> formats() { return DibList(DibGetFormats()); }

// Texts of the library. They throw std::bad_alloc.
std::string description(const DibOperation& operation, DibDescription form);
std::string descriptions(DibDescription form);
// Unit, range and default of a parameter; may be empty.
std::string constraints(const DibParameter& parameter);
// The step in C++, for a picture.
std::string callText(const DibStep& step, const DibStream& image);

// A set of `DibStream::DIB_ACCEPT_1` and so on in words: "8, 24 bits", or "no" for none.
std::string depthsText(unsigned int depths);
// "1 page", "2 pages".
std::string countText(int count, const std::string& thing);

}  // namespace texts

#endif

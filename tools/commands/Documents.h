// What a document with layers says about itself.
#ifndef TOOLS_COMMANDS_DOCUMENTS_H
#define TOOLS_COMMANDS_DOCUMENTS_H

#include <DibFile.h>

#include <string>

#include "tools/io/Files.h"
#include "tools/io/JsonText.h"

namespace tool {

struct DocumentInfo {
    DibFileInfo header;
    DibLayers layers;  // those whose records can be read
};

// What the headers of a file and the records of its layers say. Throws Failure (bad input) when they cannot
// be read.
DocumentInfo readDocument(const InputFile& file, const DibFileInfo& header, const DibLoadOptions& options);

Json jsonOf(const DibLayer& layer);
Json jsonOf(const DocumentInfo& document);
// Lines about the document and its layers, indented.
std::string textOf(const DocumentInfo& document);

}  // namespace tool

#endif

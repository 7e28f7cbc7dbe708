// What a document with layers says about itself.
#ifndef TOOLS_COMMANDS_DOCUMENTS_H
#define TOOLS_COMMANDS_DOCUMENTS_H

#include <DibFile.h>

#include <string>

#include "tools/io/Files.h"
#include "tools/io/JsonText.h"

namespace tool {

// Whether a file is a document. Of formats that plug-ins decode, only files with layers are.
bool isDocument(const DibFileInfo& header);
// The layers whose records can be read. Throws Failure (bad input).
DibLayers readLayers(const InputFile& file, const DibLoadOptions& options);

Json jsonOf(const DibLayer& layer);
Json documentJson(const DibFileInfo& header, const DibLayers& layers);
// Lines about the document and its layers, indented.
std::string documentText(const DibFileInfo& header, const DibLayers& layers);

}  // namespace tool

#endif

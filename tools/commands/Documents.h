// What a document with layers says about itself.
#ifndef TOOLS_COMMANDS_DOCUMENTS_H
#define TOOLS_COMMANDS_DOCUMENTS_H

#include <DibPSDLoader.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tools/io/Files.h"
#include "tools/io/JsonText.h"

namespace tool {

struct Rectangle {
    std::int64_t left, top, right, bottom;
};

struct LayerInfo {
    std::string name;
    Rectangle rectangle;
    std::string blendMode;
    int opacity;
    bool isVisible;
    std::optional<Rectangle> mask;
};

struct DocumentInfo {
    std::string colorMode;
    int bitsPerChannel;
    int channels;
    int layerCount;                 // as the document announces it
    std::vector<LayerInfo> layers;  // those whose records can be read
};

// What the loader knows after a load of a document that announces so many layers, successful or not.
DocumentInfo documentInfo(DibPSDLoader& loader, int layerCount);
// The same of a file, from its headers and the records of its layers.
DocumentInfo readDocument(const InputFile& file, int layerCount);

Json jsonOf(const DocumentInfo& document);
// Lines about the document and its layers, indented.
std::string textOf(const DocumentInfo& document);

}  // namespace tool

#endif

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
    std::vector<LayerInfo> layers;  // Those whose records can be read.
    int layerCount;                 // Of all that the document announces.
    bool layersReadable = false;    // Whether the pixels of every layer can be read.
};

// What the loader knows after it has read `file`, successfully or not.
DocumentInfo documentInfo(DibPSDLoader& loader, const InputFile& file);
DocumentInfo readDocument(const InputFile& file);

Json jsonOf(const DocumentInfo& document);
// Lines about the document and its layers, indented.
std::string textOf(const DocumentInfo& document);

// Why layers cannot be read.
std::string layersProblem(const InputFile& file);

// How the merged picture is packed.
std::string mergedCompression(const InputFile& file);

}  // namespace tool

#endif

/// Documents with layers: what `dib info` tells of them, and `dib layers`.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>

#include "tools/Files.h"
#include "tools/Formats.h"

namespace tool {

struct LayerExport {
    std::string input;
    std::string folder;                   ///< Made when it is not there.
    const Format* inputFormat = nullptr;  ///< Null: told by the content, else by the name.
    const Format* format = nullptr;       ///< Of the pictures; null: PNG.
    bool showsProgress = false;
};

/// Writes a picture for each layer and "manifest.json" with their places.
/// @throws Failure.
void exportLayers(const LayerExport& job);

/// Adds colour mode, depth, channels and layers to what `dib info` tells of a document.
/// @throws Failure (cancelled).
void describeDocument(const InputFile& file, nlohmann::ordered_json& info);

/// The lines about them, indented; empty for a picture without such.
std::string documentLines(const nlohmann::ordered_json& info);

}  // namespace tool

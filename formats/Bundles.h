// The plug-in bundles that describe themselves (DibPlugin.h), each looked at once in the life of the program.
//
// Formats that the library has a row for name their bundle. Other bundles of the plug-in folder add formats
// of their own: their rows live as long as the program, because applications keep the records of formats.
// Without a plug-in folder none is searched for: others may write to the working directory.
#ifndef FORMATS_BUNDLES_H
#define FORMATS_BUNDLES_H

#include <DibPlugin.h>

#include <span>
#include <string>
#include <vector>

#include "formats/Formats.h"

namespace formats {

struct Bundle {
    std::string path;          // absolute
    bool isDescribed = false;  // has the function that describes it
    std::string problem;       // why it cannot be used, as the end of a sentence about it; empty when it can
    DibPluginDescription description = {};  // fields that the bundle's version lacks are 0
    FileFormat format = {};                 // of a bundle that adds one

    bool isUsable() const { return problem.empty(); }
};

// The bundle of a row, in the current plug-in folder; null when there is no such file. May throw
// std::bad_alloc.
const Bundle* bundleOf(const FileFormat& format);
// The same when it describes itself and can be used; else null.
const Bundle* describedBundleOf(const FileFormat& format);

// The bundles of the current plug-in folder that add formats, in the order of their names. New ones are
// loaded when the folder has changed. May throw std::bad_alloc.
std::vector<const Bundle*> addedBundles();

// The row of a record that a bundle has added at any time; null when there is none.
const FileFormat* addedFormatOf(const DibFormat* record);

// The records, followed by those of added formats and null; they live as long as the program. May throw
// std::bad_alloc.
std::span<const DibFormat* const> withAddedFormats(std::span<const DibFormat* const> records);

// What rows of described bundles do; formats/PluginDoor.cpp.
bool probeByBundle(const Bundle& bundle, ProbeRequest& request);
bool readByBundle(const Bundle& bundle, ReadRequest& request);
bool listLayersByBundle(const Bundle& bundle, LayersRequest& request);
bool findPageByBundle(const Bundle& bundle, PageRequest& request);
// Stores the reason of a bundle.
void refuseByPlugin(DibFileResult& result, int code, const char* reason);
// The same for the bundle of the format in the result, and saving (formats/PluginSave.cpp).
bool probeByBundle(ProbeRequest& request);
bool readByBundle(ReadRequest& request);
bool listLayersByBundle(LayersRequest& request);
bool findPageByBundle(PageRequest& request);
bool lossesByBundle(LossRequest& request);
bool writeByBundle(WriteRequest& request);

}  // namespace formats

#endif

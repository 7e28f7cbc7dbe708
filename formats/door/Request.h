// What the functions of DibFile.h need from a codec. A row of the table of formats (formats/Formats.h) names
// the functions that do it.
#ifndef FORMATS_DOOR_REQUEST_H
#define FORMATS_DOOR_REQUEST_H

#include <DibFile.h>

#include <string_view>

#include "formats/ByteReader.h"
#include "formats/ByteWriter.h"
#include "formats/PrintfFormat.h"
#include "formats/door/Progress.h"

namespace formats {

// Adds a note to a result; the text is as by printf.
[[gnu::format(DIB_PRINTF, 3, 4)]] void note(DibFileResult& result, DibNoteKind kind, const char* text, ...);
// Stores why a call fails; the first reason stays. Returns false.
[[gnu::format(DIB_PRINTF, 3, 4)]] bool refuse(DibFileResult& result, DibErrorCode code, const char* reason,
                                              ...);
// The same when memory is short; `purpose` is what it is for, such as "for the picture".
bool refuseForMemory(DibFileResult& result, const char* purpose = "");

// Decode a file into an image, which is empty at first. A codec that fails returns false with a code in
// `result`; where it has no reason of its own, the diagnosis of the format finds one. It leaves in the image
// what it could read, with the rows that it could not read 0, and reports to `progress` how many those are
// (NewImage does both). The caller decides whether they are kept.
struct ReadRequest {
    ByteReader& file;  // at its start
    const char* path;  // UTF-8; null when the file is in memory. For decoders that open files themselves.
    const DibLoadOptions& options;
    DibStream* image;
    DibFileResult& result;
    Progress& progress;

    bool keepsDamaged() const { return options.damage == DIB_DAMAGE_KEEP; }
    // The result of a decoder that stores its codes in the image.
    bool end(bool isRead) {
        if (!isRead) result.code = image->ErrorCode;
        return isRead;
    }
};

// Read the headers of a file. `info` has its defaults at first. Resolution, orientation and so on go to
// `result.metadata`; blocks that may be long (profiles, EXIF) are left to the load. False without a reason
// when they cannot be read.
struct ProbeRequest {
    ByteReader& file;
    const char* path;
    const DibLoadOptions& options;
    DibFileInfo& info;
    DibFileResult& result;
};

// Read the records of a document's layers. False with a code and a reason when that cannot be read, or
// memory is short.
struct LayersRequest {
    ByteReader& file;
    const DibLoadOptions& options;
    DibLayers& layers;
    DibFileResult& result;
};

// Find a page by its name. False when there is none.
struct PageRequest {
    ByteReader& file;
    const DibLoadOptions& options;
    const char* name;
    int& page;
    DibFileResult& result;
};

// Stores the name of a packing in `info.compression`.
void nameCompression(DibFileInfo& info, std::string_view name);

// Stores pixels per inch; numbers that are no resolution become 0, which means that it is unknown.
void setResolution(double x, double y, DibMetadata& metadata);

// Encode an image that has pixels and a depth of the six. False with a code in `result` when it cannot;
// the caller checks `file.isWhole()` for errors of writing.
struct WriteRequest {
    ByteWriter& file;
    const DibStream& image;
    const DibSaveOptions& options;
    DibFileResult& result;
    Progress& progress;
};

// Note what a file cannot hold, by note(result, DIB_NOTE_LOSS, ...). False with a code and a reason when no
// file can be made of the image at all.
struct LossRequest {
    const DibStream& image;
    const DibSaveOptions& options;
    DibFileResult& result;
};

// Noted where a file has titles, comments and the like that a load does not keep.
constexpr char kLostTexts[] = "the texts of the file are not kept";

// Note what a file of that depth loses of the image: depth and transparency.
void noteDepth(LossRequest& request, int fileBits);
// Whether the metadata make colours of the image's table transparent.
bool hasPaletteAlpha(const DibStream& image, const DibMetadata* metadata);
// Note that a file does not hold that.
void notePaletteAlpha(LossRequest& request);
// Which of the options' metadata a file holds.
struct HeldMetadata {
    bool resolution = false;
    bool orientation = false;
    bool colorProfile = false;
    bool exif = false;
    bool timFrame = false;
    bool paletteAlpha = false;
    bool texts = false;
    bool xmp = false;
};
// Note what it does not hold.
void noteMetadata(LossRequest& request, const HeldMetadata& held = {});

}  // namespace formats

#endif

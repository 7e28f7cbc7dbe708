// ILBM for the functions of DibFile.h; the chunks are read in IlbmForm.cpp. `LoadIFF` (Ilbm.cpp) is a
// reader of its own, which never changes. This one differs from it in that it
// - shows held (HAM) and half-bright colours, where `LoadIFF` gives plain indices;
// - keeps the indices of 2 to 4 planes, where `LoadIFF` gives 0 and 15 only;
// - leaves the pixels of 1 plane where they are, where `LoadIFF` rotates groups of eight;
// - reads PBM files, and 32 planes with alpha;
// - shows a mask plane as alpha, and on request the transparent colour;
// - finds the chunk after one of odd length by its name, where `LoadIFF` takes none for padded;
// - shows greys where there are no colours, and colours that come before the header;
// - opens the first picture of a file, where `LoadIFF` ends with the last one;
// - refuses real colours of other than eight planes each.
#include <algorithm>

#include "dib/ColorTable.h"
#include "dib/Numbers.h"
#include "formats/Formats.h"
#include "formats/Ilbm.h"
#include "formats/IlbmForm.h"
#include "formats/IlbmRows.h"
#include "formats/NewImage.h"

namespace formats {

namespace {

bool recognizes(FirstBytes bytes) {
    return startsWith(bytes, "FORM") && bytes.size() >= 12 &&
           (startsWith(bytes.subspan(8), "ILBM") || startsWith(bytes.subspan(8), "PBM "));
}

bool probe(ProbeRequest& request) {
    IlbmForm form;
    if (!readIlbmForm(request.file, request.options, form, request.result)) return false;
    request.info.width = form.header.width;
    request.info.height = form.header.height;
    request.info.bitCount = form.imageBits();
    request.info.storedBits = form.header.planes;
    request.info.paletteSize = dib::asInt(dib::addressableEntries(request.info.bitCount));
    request.info.hasAlpha = form.hasAlpha();
    request.result.metadata.xResolution = form.xResolution;
    request.result.metadata.yResolution = form.yResolution;
    nameCompression(request.info, form.header.compression == 1 ? "packbits" : "none");
    return true;
}

void noteAlpha(const IlbmForm& form, DibFileResult& result) {
    if (form.alpha == IlbmAlpha::kMask && areIndices(form.pixels)) {
        note(result, DIB_NOTE_ASSUMPTION, "the mask became alpha, so colours replace the indices");
    } else if (form.alpha == IlbmAlpha::kNone && form.header.transparent >= 0) {
        note(result, DIB_NOTE_ASSUMPTION, "the transparent colour %d was ignored", form.header.transparent);
    }
}

bool read(ReadRequest& request) {
    IlbmForm form;
    if (!readIlbmForm(request.file, request.options, form, request.result)) return false;
    request.result.metadata.xResolution = form.xResolution;
    request.result.metadata.yResolution = form.yResolution;
    const BitmapHeader& header = form.header;
    noteAlpha(form, request.result);
    if (form.hasTexts) note(request.result, DIB_NOTE_LOSS, "%s", kLostTexts);
    const int bitCount = form.imageBits();
    NewImage picture(request.image, &request.progress);
    if (!picture.create(request.file, header.width, header.height, bitCount, header.fewestBytes()))
        return request.end(false);
    std::copy_n(form.colors.begin(), dib::addressableEntries(bitCount), dib::colorTable(picture->Header));
    PlaneRow row(header, form.pixels, &form.colors, form.alpha);
    if (!row.ready()) return request.end(fail(picture, DIB_ERROR_MEMORY));
    if (request.file.seek(form.body) && readIlbmRows(request.file, header, row, picture)) return true;
    if (request.progress.isCancelled()) return false;
    return refuse(request.result, DIB_ERROR_READ, "%s", kShortPixels);
}

constexpr const char* kExtensions[] = {"iff", "lbm", "ilbm", nullptr};
constexpr const char* kCompose[] = {"iff", nullptr};
constexpr const char* kMimeTypes[] = {"image/x-ilbm", nullptr};

}  // namespace

constinit const FileFormat kIlbmFormat = {
    .info = {.name = "iff",
             .title = "IFF ILBM",
             .extensions = kExtensions,
             .mimeTypes = kMimeTypes,
             .readDepths = depths({1, 4, 8, 24, 32}),
             .writeDepths = depths({1, 4, 8, 24})},
    .composeExtensions = kCompose,
    .recognizes = recognizes,
    .load = LoadIFF,
    .save = saveWhole<saveIlbmWhole>,
    .probe = probe,
    .read = read,
    .losses = noteIlbmLosses,
    .write = writeIlbm,
};

}  // namespace formats

#include "operations/pixels/Pixels.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>

#include "dib/Bytes.h"
#include "dib/ColorTable.h"
#include "dib/Numbers.h"
#include "dib/PixelReader.h"
#include "operations/Descriptions.h"

namespace operations {

namespace {

// Words of 16 bits hold 5 bits a colour, which the conversion stores high, with 0 below them.
void scaleLevels(DibStream& image) {
    const dib::Raster rows = rowsOf(image);
    for (int y = 0; y < rows.height; ++y) {
        unsigned char* row = rows.row(y);
        for (int i = 0; i < 3 * rows.width; ++i) row[i] = dib::levelOf5Bits(row[i] >> 3);
    }
}

}  // namespace

dib::Raster rowsOf(const DibStream& image) {
    dib::Raster rows;
    if (!dib::viewRows(image, rows) || !rows.hasPixels())
        throw Refusal{DIB_ERROR_INVALID, "the image has no pixels"};
    return rows;
}

bool isGrey(const DibStream& image) {
    if (image.Header->biBitCount > 8) return false;
    const auto table = dib::readColorTable(*image.Header);
    const auto end = table.begin() + dib::asOffset(dib::addressableEntries(image.Header->biBitCount));
    return std::all_of(table.begin(), end, [](const DibBGRA& entry) { return isGrey(entry); });
}

void addNote(DibOperationResult& result, DibNoteKind kind, std::string_view text) {
    if (result.noteCount >= DibOperationResult::kMostNotes) return;
    DibNote& note = result.notes[result.noteCount++];
    note.kind = kind;
    std::snprintf(note.text, sizeof note.text, "%.*s", dib::asInt(text.size()), text.data());
}

void widenQuietly(DibStream& image, int bitCount) {
    const int before = image.Header->biBitCount;
    if (before <= 16) {
        rowsOf(image);
        if (!image.ChangeTo24Bit(0)) throw Refusal{DIB_ERROR_MEMORY, kNoMemory};
        if (before == 16) scaleLevels(image);
    }
    if (bitCount == 32 && image.Header->biBitCount != 32 && !image.ChangeTo32Bit(0))
        throw Refusal{DIB_ERROR_MEMORY, kNoMemory};
}

void widen(const Job& job, int bitCount) {
    const int before = job.image.Header->biBitCount;
    widenQuietly(job.image, bitCount);
    if (before > 16) return;
    const std::string name = job.arguments.operation().info.name;
    addNote(job.result, DIB_NOTE_LOSS,
            name + (before <= 8 ? ": the palette of " : ": ") + bitsText(before) + " became " +
                std::to_string(bitCount) + " bits a pixel");
}

void createImage(DibStream& image, int width, int height, int bitCount) {
    if (!image.Create(width, height, bitCount)) throw Refusal{DIB_ERROR_MEMORY, kNoMemory};
    const dib::ImageSize size = dib::admitSize(*image.Header);
    if (bitCount < 8) {
        std::memset(image.Buffer, 0, size.imageBytes);
    } else {
        dib::clearRowFill(image.Buffer, size);
    }
}

void createLike(const DibStream& image, int width, int height, DibStream& created) {
    createImage(created, width, image.Header->biHeight < 0 ? -height : height, image.Header->biBitCount);
    if (image.Header->biBitCount <= 8) dib::copyColorTable(image, created);
}

}  // namespace operations

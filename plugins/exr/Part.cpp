// The header is read by OpenEXR's C interface, which compares the announced sizes with the length of the file
// before it allocates. The pixels are read by OpenEXR's classes: in the versions that the plug-in is built
// with, the C interface lacks DWA compression and decodes the floats of B44 files wrongly.
#include "plugins/exr/Part.h"

#include <OpenEXR/openexr.h>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <utility>

#include "dib/Numbers.h"
#include "plugins/exr/Channels.h"
#include "plugins/exr/Header.h"

namespace plugins::exr {

namespace {

bool refuseDamaged(Job& job) { return job.refuse(DIB_ERROR_INVALID, "the header is damaged"); }

// A level exists when both directions have it.
int levelsOf(exr_const_context_t context, int number) {
    std::int32_t across = 0;
    std::int32_t down = 0;
    exr_storage_t storage;
    const bool isTiled = exr_get_storage(context, number, &storage) == EXR_ERR_SUCCESS &&
                         storage == EXR_STORAGE_TILED &&
                         exr_get_tile_levels(context, number, &across, &down) == EXR_ERR_SUCCESS;
    return isTiled ? std::max(std::min(across, down), 1) : 1;
}

bool readWindow(exr_const_context_t context, Part& part) {
    exr_attr_box2i_t window;
    if (exr_get_data_window(context, part.number, &window) != EXR_ERR_SUCCESS) return false;
    part.left = window.min.x;
    part.top = window.min.y;
    part.width = std::int64_t{window.max.x} - window.min.x + 1;
    part.height = std::int64_t{window.max.y} - window.min.y + 1;
    if (part.width < 1 || part.height < 1 || part.width > INT32_MAX / part.height) return false;
    if (part.level == 0) return true;
    std::int32_t width = 0;
    std::int32_t height = 0;
    if (exr_get_level_sizes(context, part.number, part.level, part.level, &width, &height) != EXR_ERR_SUCCESS)
        return false;
    part.width = width;
    part.height = height;
    return width > 0 && height > 0;
}

// The most bytes of samples for a byte of the file: the expansion of the longest runs of a compression.
std::int64_t mostExpansion(exr_compression_t compression) {
    constexpr std::int64_t kDeflate = 1032;
    switch (compression) {
        case EXR_COMPRESSION_NONE: return 1;
        case EXR_COMPRESSION_RLE: return 64;  // two bytes for a run of 128
        case EXR_COMPRESSION_ZIPS:
        case EXR_COMPRESSION_ZIP: return kDeflate;
        case EXR_COMPRESSION_PIZ: return 454;                 // nine bits for 255 samples of two bytes
        case EXR_COMPRESSION_PXR24: return kDeflate * 4 / 3;  // floats without their last byte
        case EXR_COMPRESSION_B44:
        case EXR_COMPRESSION_B44A: return 11;  // three bytes for 16 samples of two
        default: return kDeflate * 64;         // four bytes, deflated, for 64 floats: DWA
    }
}

struct Chunks {
    std::int64_t columns = 0;  // of the pixels in each
    std::int64_t rows = 0;
    std::int64_t usualBytes = 0;  // a row of chunks may take this much in any picture
};

bool readChunks(exr_const_context_t context, const Part& part, Chunks& chunks) {
    constexpr std::int64_t kMegabyte = std::int64_t{1} << 20;
    exr_storage_t storage;
    if (exr_get_storage(context, part.number, &storage) != EXR_ERR_SUCCESS) return false;
    if (storage == EXR_STORAGE_TILED) {  // more than 1024 x 1024 pixels of four floats
        // exr_get_tile_sizes would cut the tiles at the picture's edges.
        std::uint32_t columns = 0;
        std::uint32_t rows = 0;
        exr_tile_level_mode_t levels;
        exr_tile_round_mode_t rounding;
        if (exr_get_tile_descriptor(context, part.number, &columns, &rows, &levels, &rounding) !=
            EXR_ERR_SUCCESS)
            return false;
        chunks = {columns, rows, 32 * kMegabyte};
    } else {  // the lines of a chunk, even if the picture has fewer
        std::int32_t rows = 0;
        if (storage != EXR_STORAGE_SCANLINE) return false;  // deep
        if (exr_get_scanlines_per_chunk(context, part.number, &rows) != EXR_ERR_SUCCESS) return false;
        chunks = {part.width, rows, 256 * kMegabyte};
    }
    return chunks.columns > 0 && chunks.rows > 0;
}

// Whether the file can hold all chunks of all parts and levels. Each takes an entry of a table, which
// OpenEXR's classes allocate, and a header of its own.
bool areChunksThere(exr_const_context_t context, std::int64_t fileBytes) {
    constexpr std::int64_t kLeastChunkBytes = 16;
    int parts = 0;
    if (exr_get_count(context, &parts) != EXR_ERR_SUCCESS) return false;
    std::int64_t left = fileBytes / kLeastChunkBytes;
    for (int i = 0; i < parts; ++i) {
        std::int32_t count = 0;
        if (exr_get_chunk_count(context, i, &count) != EXR_ERR_SUCCESS || count < 0) return false;
        left -= count;
    }
    return left >= 0;
}

// Whether a row of chunks, which OpenEXR's classes allocate, is in proportion to the picture: tiles reach
// beyond its edges.
bool areChunksInProportion(const Chunks& chunks, const Part& part, std::int64_t pixelBytes) {
    const std::int64_t pictureBytes = part.width * part.height * pixelBytes;
    const std::int64_t mostBytes =
        std::min<std::int64_t>(std::max(chunks.usualBytes, 4 * pictureBytes), INT32_MAX);
    const std::int64_t columns = (part.width + chunks.columns - 1) / chunks.columns * chunks.columns;
    return columns <= mostBytes / pixelBytes / chunks.rows;
}

bool areSizesPossible(Job& job, exr_const_context_t context, const Part& part,
                      const exr_attr_chlist_t& channels) {
    const auto fileBytes = dib::asOffset(job.fileBytes());
    exr_compression_t compression;
    if (exr_get_compression(context, part.number, &compression) != EXR_ERR_SUCCESS) return false;
    const std::int64_t fewestBytes =
        part.width * part.height * shownBytes(channels, part) / mostExpansion(compression);
    Chunks chunks;
    if (fewestBytes > fileBytes && !job.keepsDamaged)
        return job.refuse(DIB_ERROR_READ, "the file ends before its pixels do");
    return areChunksThere(context, fileBytes) && readChunks(context, part, chunks) &&
           areChunksInProportion(chunks, part, pixelBytes(channels));
}

bool refuseUnread(Job& job, bool isCut) {
    constexpr unsigned char kVersion = 2;
    unsigned char start[8];
    const std::size_t got = job.readAt(0, start, sizeof start);
    if (got < 4 || std::memcmp(start, "\x76\x2F\x31\x01", 4) != 0)
        return job.refuse(DIB_ERROR_UNSUPPORTED, "not an EXR file");
    if (got == sizeof start && start[4] != kVersion) {
        char reason[32];
        std::snprintf(reason, sizeof reason, "version %u is not known", unsigned{start[4]});
        return job.refuse(DIB_ERROR_UNSUPPORTED, reason);
    }
    if (isCut) return job.refuse(DIB_ERROR_READ, "the file ends inside its header");
    return refuseDamaged(job);
}

bool isDeep(exr_const_context_t context, int number) {
    exr_storage_t storage;
    return exr_get_storage(context, number, &storage) == EXR_ERR_SUCCESS &&
           (storage == EXR_STORAGE_DEEP_SCANLINE || storage == EXR_STORAGE_DEEP_TILED);
}

// The header of the page, whose channels are chosen; or null.
const exr_attr_chlist_t* readHeader(Job& job, const Header& header, const Dialect& dialect, Part& part) {
    int parts = 0;
    const exr_attr_chlist_t* channels = nullptr;
    if (!header.isRead() || exr_get_count(header.context(), &parts) != EXR_ERR_SUCCESS) {
        refuseUnread(job, header.isCut());
    } else if (job.page < 0 || job.page >= parts || job.level < 0 ||
               job.level >= levelsOf(header.context(), job.page)) {
        job.refuse(DIB_ERROR_MISMATCH, "the file has no such page or level");
    } else {
        part.number = job.page;
        part.level = job.level;
        if (isDeep(header.context(), part.number)) {
            job.refuse(DIB_ERROR_UNSUPPORTED, "deep pictures are not read");
        } else if (exr_get_channels(header.context(), part.number, &channels) != EXR_ERR_SUCCESS) {
            refuseDamaged(job);
        } else if (!readWindow(header.context(), part)) {
            return nullptr;  // the library stores the reason for sizes that it does not accept
        } else if (chooseChannels(*channels, dialect, job.layer, part)) {
            return channels;
        } else {
            job.refuse(DIB_ERROR_UNSUPPORTED, "no channel can be shown");
        }
    }
    return nullptr;
}

// Files of one part may have no name.
const char* nameOf(exr_const_context_t context, int number) {
    const char* name = nullptr;
    return exr_get_name(context, number, &name) == EXR_ERR_SUCCESS && name != nullptr ? name : "";
}

constexpr const char* kCompressions[] = {"none",  "rle", "zips", "zip",  "piz",
                                         "pxr24", "b44", "b44a", "dwaa", "dwab"};

}  // namespace

bool readPart(Job& job, const Dialect& dialect, Part& part) {
    const Header header(job);
    const exr_attr_chlist_t* channels = readHeader(job, header, dialect, part);
    if (channels == nullptr) return false;
    return areSizesPossible(job, header.context(), part, *channels) ||
           job.refuse(DIB_ERROR_INVALID, "the file cannot hold as many pixels as its header announces");
}

bool listLayers(Job& job, void* list, bool (*add)(void* list, const DibPluginLayer* layer)) {
    const Header header(job);
    Part part;
    job.layer = -1;
    const exr_attr_chlist_t* channels = readHeader(job, header, kWide, part);
    if (channels == nullptr) return false;
    for (std::string& name : layersOf(*channels)) {
        name.pop_back();  // the point
        const DibPluginLayer layer = {.size = sizeof layer,
                                      .name = name.c_str(),
                                      .left = 0,
                                      .top = 0,
                                      .width = dib::asInt(part.width),
                                      .height = dib::asInt(part.height)};
        if (!add(list, &layer)) break;
    }
    return true;
}

int findPart(Job& job, const char* name) {
    const Header header(job);
    int parts = 0;
    if (!header.isRead() || exr_get_count(header.context(), &parts) != EXR_ERR_SUCCESS) return -1;
    for (int number = 0; number < parts; ++number) {
        if (std::strcmp(nameOf(header.context(), number), name) == 0) return number;
    }
    return -1;
}

bool probePart(Job& job, DibPluginInfo& info) {
    const Header header(job);
    Part part;
    int parts = 1;
    if (header.isRead()) exr_get_count(header.context(), &parts);
    // The caller checks limits and pages; for a missing page these are the numbers of the first.
    if (job.page < 0 || job.page >= parts) job.page = 0;
    if (header.isRead()) job.level = std::clamp(job.level, 0, levelsOf(header.context(), job.page) - 1);
    const int layer = std::exchange(job.layer, -1);
    const exr_attr_chlist_t* channels = readHeader(job, header, kWide, part);
    if (channels == nullptr) return false;
    info.layers = dib::asInt(layersOf(*channels).size());
    if (layer >= 0 && layer < info.layers) {
        part.channels = {};
        chooseChannels(*channels, kWide, layer, part);
    }
    info.width = dib::asInt(part.width);
    info.height = dib::asInt(part.height);
    info.pages = parts;
    info.levels = levelsOf(header.context(), part.number);
    info.bitCount = part.isGrey() ? Picture::kGrey : Picture::kColor;
    info.paletteSize = part.isGrey() ? 256 : 0;
    info.storedBits = dib::asInt(8 * pixelBytes(*channels));
    info.hasAlpha = part.has(kAlpha);
    exr_compression_t compression = EXR_COMPRESSION_NONE;
    exr_get_compression(header.context(), part.number, &compression);
    if (std::size_t{compression} < std::size(kCompressions))
        std::strncpy(info.compression, kCompressions[compression], sizeof info.compression - 1);
    // Fields that older libraries do not have.
    if (info.size >= offsetof(DibPluginInfo, channels) + sizeof info.channels)
        info.channels = channels->num_channels;
    if (info.size >= offsetof(DibPluginInfo, pageName) + sizeof info.pageName)
        std::snprintf(info.pageName, sizeof info.pageName, "%s", nameOf(header.context(), part.number));
    float perInch = 0;
    float aspect = 1;
    exr_get_pixel_aspect_ratio(header.context(), part.number, &aspect);
    if (exr_attr_get_float(header.context(), part.number, "xDensity", &perInch) == EXR_ERR_SUCCESS) {
        info.xResolution = perInch;
        info.yResolution = double{perInch} * aspect;
    }
    return true;
}

}  // namespace plugins::exr

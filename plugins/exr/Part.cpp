// The header is read by OpenEXR's C interface, which compares what the header announces with the length of the file before
// it allocates. The pixels are read by OpenEXR's classes: in the versions that the plug-in is built with the C interface
// does not know DWA compression, and takes the floats of B44 files apart wrongly.
#include "plugins/exr/Part.h"

#include <OpenEXR/openexr.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace plugins::exr {

namespace {

constexpr int kFirst = 0;  // the part that is read

std::int64_t sizeOf(std::FILE* file) {
    if (std::fseek(file, 0, SEEK_END) != 0) return -1;
    return std::ftell(file);
}

std::int64_t querySize(exr_const_context_t /*context*/, void* file) {
    return sizeOf(static_cast<std::FILE*>(file));
}

std::int64_t readAt(exr_const_context_t /*context*/, void* user, void* bytes, std::uint64_t count,
                    std::uint64_t offset, exr_stream_error_func_ptr_t /*report*/) {
    auto* file = static_cast<std::FILE*>(user);
    if (offset > INT64_MAX || std::fseek(file, static_cast<long>(offset), SEEK_SET) != 0) return -1;
    const std::size_t got = std::fread(bytes, 1, static_cast<std::size_t>(count), file);
    return std::ferror(file) != 0 ? -1 : static_cast<std::int64_t>(got);
}

// What is wrong with a file is told by results; without a handler it would be printed.
void keepSilent(exr_const_context_t /*context*/, exr_result_t /*code*/, const char* /*message*/) {}

class Header {
public:
    explicit Header(std::FILE* file) {
        exr_context_initializer_t settings = EXR_DEFAULT_CONTEXT_INITIALIZER;
        settings.error_handler_fn = keepSilent;
        settings.user_data = file;
        settings.read_fn = readAt;
        settings.size_fn = querySize;
        isRead_ = exr_start_read(&context_, "EXR file", &settings) == EXR_ERR_SUCCESS;
    }
    ~Header() {
        if (context_ != nullptr) exr_finish(&context_);
    }
    Header(const Header&) = delete;
    Header& operator=(const Header&) = delete;
    bool isRead() const { return isRead_; }
    exr_const_context_t context() const { return context_; }

private:
    exr_context_t context_ = nullptr;
    bool isRead_ = false;
};

bool readWindow(exr_const_context_t context, Part& part) {
    exr_attr_box2i_t window;
    if (exr_get_data_window(context, kFirst, &window) != EXR_ERR_SUCCESS) return false;
    part.left = window.min.x;
    part.top = window.min.y;
    part.width = std::int64_t{window.max.x} - window.min.x + 1;
    part.height = std::int64_t{window.max.y} - window.min.y + 1;
    return part.width > 0 && part.height > 0;
}

// The bytes of a pixel over all channels, and over those that can be shown.
struct PixelBytes {
    std::int64_t all = 0;
    std::int64_t known = 0;
};

bool readChannels(exr_const_context_t context, Part& part, PixelBytes& bytes) {
    const exr_attr_chlist_t* channels = nullptr;
    if (exr_get_channels(context, kFirst, &channels) != EXR_ERR_SUCCESS) return false;
    for (int i = 0; i < channels->num_channels; ++i) {
        const exr_attr_chlist_entry_t& entry = channels->entries[i];
        const int entryBytes = entry.pixel_type == EXR_PIXEL_HALF ? 2 : 4;
        bytes.all += entryBytes;
        for (unsigned channel = 0; channel < kChannels; ++channel) {
            if (std::strcmp(entry.name.str, kChannelNames[channel]) != 0) continue;
            if (entry.pixel_type != EXR_PIXEL_HALF && entry.pixel_type != EXR_PIXEL_FLOAT) return false;
            if (entry.x_sampling != 1 || entry.y_sampling != 1) return false;
            part.has[channel] = true;
            bytes.known += entryBytes;
        }
    }
    return std::find(part.has.begin(), part.has.end(), true) != part.has.end();
}

bool skipText(std::FILE* file, bool& isEmpty) {
    int c = std::fgetc(file);
    isEmpty = c == 0;
    while (c != 0 && c != EOF) c = std::fgetc(file);
    return c == 0;
}

// A header's attributes: a name, a type, how long the value is, and the value. No name ends them.
bool skipHeader(std::FILE* file, std::int64_t fileBytes, bool& isEmpty) {
    isEmpty = true;
    for (bool isEnd = false; skipText(file, isEnd); isEmpty = false) {
        if (isEnd) return true;
        bool isUntyped = false;
        unsigned char n[4];
        if (!skipText(file, isUntyped) || std::fread(n, 1, sizeof n, file) != sizeof n) return false;
        const std::int64_t bytes = n[0] | n[1] << 8 | n[2] << 16 | std::int64_t{n[3]} << 24;
        if (bytes > fileBytes - std::ftell(file)) return false;
        if (std::fseek(file, static_cast<long>(bytes), SEEK_CUR) != 0) return false;
    }
    return false;
}

// Whether the values of all attributes lie within the file, which the C interface does not check of every one:
// OpenEXR's classes allocate what a value is said to take before they read it.
bool areAttributesWhole(std::FILE* file) {
    constexpr unsigned kHasParts = 0x10;  // in the sixth byte; no attribute ends their headers
    const std::int64_t fileBytes = sizeOf(file);
    unsigned char start[8];
    if (std::fseek(file, 0, SEEK_SET) != 0 || std::fread(start, 1, sizeof start, file) != sizeof start)
        return false;
    bool isEmpty = false;
    do {
        if (!skipHeader(file, fileBytes, isEmpty)) return false;
    } while ((start[5] & kHasParts) != 0 && !isEmpty);
    return true;
}

// How many times as long as the file its samples can be; 0 where OpenEXR's classes notice that a chunk is short of some.
std::int64_t mostExpansion(exr_compression_t compression) {
    switch (compression) {
        case EXR_COMPRESSION_NONE: return 1;
        case EXR_COMPRESSION_RLE: return 64;  // two bytes for a run of 128
        case EXR_COMPRESSION_ZIPS:
        case EXR_COMPRESSION_ZIP: return 1032;
        default: return 0;
    }
}

// Whether the file can hold the chunks, each of which takes an entry of the table and a header of its own, and whether
// one row of chunks fits into memory as well as a picture does: OpenEXR's classes allocate by both.
bool areChunksPossible(exr_const_context_t context, const Part& part, const PixelBytes& bytes,
                       std::int64_t fileBytes) {
    constexpr std::int64_t kLeastChunkBytes = 16;
    exr_storage_t storage;
    std::int32_t columns = 0;
    std::int32_t rows = 0;
    if (exr_get_storage(context, kFirst, &storage) != EXR_ERR_SUCCESS) return false;
    exr_compression_t compression;
    if (exr_get_compression(context, kFirst, &compression) != EXR_ERR_SUCCESS) return false;
    if (storage == EXR_STORAGE_TILED) {
        if (exr_get_tile_sizes(context, kFirst, 0, 0, &columns, &rows) != EXR_ERR_SUCCESS) return false;
    } else {
        if (storage != EXR_STORAGE_SCANLINE) return false;  // deep
        if (exr_get_scanlines_per_chunk(context, kFirst, &rows) != EXR_ERR_SUCCESS) return false;
        columns = static_cast<std::int32_t>(std::min<std::int64_t>(part.width, INT32_MAX));
    }
    if (columns < 1 || rows < 1 || bytes.known < 1 || bytes.all < bytes.known) return false;
    const std::int64_t expansion = mostExpansion(compression);
    const std::int64_t chunkColumns = (part.width + columns - 1) / columns;
    const std::int64_t chunkRows = (part.height + rows - 1) / rows;
    return chunkColumns <= fileBytes / kLeastChunkBytes / chunkRows &&
           chunkColumns * columns <= INT32_MAX / bytes.all / rows &&
           (expansion == 0 || part.width <= fileBytes * expansion / bytes.known / part.height);
}

}  // namespace

bool readPart(std::FILE* file, Part& part) {
    if (!areAttributesWhole(file)) return false;
    const Header header(file);
    PixelBytes bytes;
    return header.isRead() && readWindow(header.context(), part) &&
           readChannels(header.context(), part, bytes) &&
           areChunksPossible(header.context(), part, bytes, sizeOf(file));
}

}  // namespace plugins::exr

// The header is read by OpenEXR's C interface, which compares the announced sizes with the length of the file
// before it allocates. The pixels are read by OpenEXR's classes: in the versions that the plug-in is built
// with, the C interface lacks DWA compression and decodes the floats of B44 files wrongly.
#include "plugins/exr/Part.h"

#include <OpenEXR/openexr.h>

#include <algorithm>
#include <cstdlib>

#include "plugins/exr/Attributes.h"

namespace plugins::exr {

namespace {

constexpr int kFirst = 0;  // the part that is read

struct Source {
    std::FILE* file;
    bool hasMistakes = false;
};

std::int64_t querySize(exr_const_context_t /*context*/, void* user) {
    return lengthOf(static_cast<Source*>(user)->file);
}

std::int64_t readAt(exr_const_context_t /*context*/, void* user, void* bytes, std::uint64_t count,
                    std::uint64_t offset, exr_stream_error_func_ptr_t /*report*/) {
    std::FILE* file = static_cast<Source*>(user)->file;
    if (offset > INT64_MAX || std::fseek(file, static_cast<long>(offset), SEEK_SET) != 0) return -1;
    const std::size_t got = std::fread(bytes, 1, static_cast<std::size_t>(count), file);
    return std::ferror(file) != 0 ? -1 : static_cast<std::int64_t>(got);
}

// Without a handler OpenEXR would print mistakes. After some of them the C interface continues with sizes of
// its own, while OpenEXR's classes use those of the file: every mistake counts as a failure.
void noteMistake(exr_const_context_t context, exr_result_t /*code*/, const char* /*message*/) {
    void* user = nullptr;
    if (exr_get_user_data(context, &user) == EXR_ERR_SUCCESS && user != nullptr) {
        static_cast<Source*>(user)->hasMistakes = true;
    }
}

class Header {
public:
    explicit Header(std::FILE* file) : source_{file} {
        exr_context_initializer_t settings = EXR_DEFAULT_CONTEXT_INITIALIZER;
        settings.error_handler_fn = noteMistake;
        settings.user_data = &source_;
        settings.read_fn = readAt;
        settings.size_fn = querySize;
        isRead_ = exr_start_read(&context_, "EXR file", &settings) == EXR_ERR_SUCCESS && !source_.hasMistakes;
    }
    ~Header() {
        if (context_ != nullptr) exr_finish(&context_);
    }
    Header(const Header&) = delete;
    Header& operator=(const Header&) = delete;
    bool isRead() const { return isRead_; }
    exr_const_context_t context() const { return context_; }

private:
    Source source_;
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
    return part.width > 0 && part.height > 0 && part.width <= INT32_MAX / part.height;
}

// The bytes of a pixel over all channels, and over those that can be shown.
struct PixelBytes {
    std::int64_t all = 0;
    std::int64_t known = 0;
};

std::int64_t sampleBytes(const exr_attr_chlist_entry_t& channel) {
    return channel.pixel_type == EXR_PIXEL_HALF ? 2 : 4;
}

const exr_attr_chlist_entry_t* channelOf(const exr_attr_chlist_t& channels, const std::string& name) {
    for (int i = 0; i < channels.num_channels; ++i) {
        if (name == channels.entries[i].name.str) return &channels.entries[i];
    }
    return nullptr;
}

// Whether a channel holds light, as the channels of a picture must: floats, one sample for every `sampling`
// pixels of a line and of a column.
bool isLight(const exr_attr_chlist_entry_t& channel, int sampling) {
    return channel.pixel_type != EXR_PIXEL_UINT && channel.x_sampling == sampling &&
           channel.y_sampling == sampling;
}

// The layer whose channels are shown: none if any channel has no layer, otherwise the first layer with all
// three colours.
std::string shownLayer(const exr_attr_chlist_t& channels) {
    for (const char* name : kChannelNames) {
        if (channelOf(channels, name) != nullptr) return {};
    }
    for (int i = 0; i < channels.num_channels; ++i) {
        const std::string name = channels.entries[i].name.str;
        std::string layer = name.substr(0, name.rfind('.') + 1);
        if (channelOf(channels, layer + "R") != nullptr && channelOf(channels, layer + "G") != nullptr &&
            channelOf(channels, layer + "B") != nullptr) {
            return layer;
        }
    }
    return {};
}

// Luminance may come with both chroma channels or with neither. False for one alone, or at another
// resolution.
bool readChroma(const exr_attr_chlist_t& channels, Part& part) {
    const exr_attr_chlist_entry_t* red = channelOf(channels, "RY");
    const exr_attr_chlist_entry_t* blue = channelOf(channels, "BY");
    if (!part.isShown(kLuminance) || (red == nullptr && blue == nullptr)) return true;
    part.hasChroma = red != nullptr && blue != nullptr && isLight(*red, 2) && isLight(*blue, 2);
    return part.hasChroma;
}

bool readChannels(exr_const_context_t context, Part& part, PixelBytes& bytes) {
    const exr_attr_chlist_t* channels = nullptr;
    if (exr_get_channels(context, kFirst, &channels) != EXR_ERR_SUCCESS) return false;
    for (int i = 0; i < channels->num_channels; ++i) bytes.all += sampleBytes(channels->entries[i]);
    part.layer = shownLayer(*channels);
    for (unsigned channel = 0; channel < kChannels; ++channel) {
        const exr_attr_chlist_entry_t* entry = channelOf(*channels, part.layer + kChannelNames[channel]);
        if (entry == nullptr) continue;
        if (!isLight(*entry, 1)) return false;
        part.has[channel] = true;
        bytes.known += sampleBytes(*entry);
    }
    return readChroma(*channels, part) && std::find(part.has.begin(), part.has.end(), true) != part.has.end();
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
    if (exr_get_storage(context, kFirst, &storage) != EXR_ERR_SUCCESS) return false;
    if (storage == EXR_STORAGE_TILED) {  // more than 1024 x 1024 pixels of four floats
        // exr_get_tile_sizes would cut the tiles at the picture's edges.
        std::uint32_t columns = 0;
        std::uint32_t rows = 0;
        exr_tile_level_mode_t levels;
        exr_tile_round_mode_t rounding;
        if (exr_get_tile_descriptor(context, kFirst, &columns, &rows, &levels, &rounding) != EXR_ERR_SUCCESS)
            return false;
        chunks = {columns, rows, 32 * kMegabyte};
    } else {  // the lines of a chunk, even if the picture has fewer
        std::int32_t rows = 0;
        if (storage != EXR_STORAGE_SCANLINE) return false;  // deep
        if (exr_get_scanlines_per_chunk(context, kFirst, &rows) != EXR_ERR_SUCCESS) return false;
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

bool areSizesPossible(exr_const_context_t context, const Part& part, const PixelBytes& bytes,
                      std::int64_t fileBytes) {
    exr_compression_t compression;
    if (exr_get_compression(context, kFirst, &compression) != EXR_ERR_SUCCESS) return false;
    const std::int64_t fewestBytes = part.width * part.height * bytes.known / mostExpansion(compression);
    Chunks chunks;
    return fewestBytes <= fileBytes && areChunksThere(context, fileBytes) &&
           readChunks(context, part, chunks) && areChunksInProportion(chunks, part, bytes.all);
}

}  // namespace

bool readPart(std::FILE* file, Part& part) {
    if (!areAttributesWhole(file)) return false;
    const Header header(file);
    PixelBytes bytes;
    return header.isRead() && readWindow(header.context(), part) &&
           readChannels(header.context(), part, bytes) &&
           areSizesPossible(header.context(), part, bytes, lengthOf(file));
}

}  // namespace plugins::exr

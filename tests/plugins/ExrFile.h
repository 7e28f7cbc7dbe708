// EXR files as OpenEXR's own classes write and read them.
#ifndef TESTS_PLUGINS_EXR_FILE_H
#define TESTS_PLUGINS_EXR_FILE_H

#include <OpenEXR/ImfCompression.h>
#include <OpenEXR/ImfPixelType.h>
#include <OpenEXR/ImfTileDescription.h>

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "tests/plugins/PictureTest.h"

namespace exr_test {

using plugin_test::Bytes;

// The smallest and largest coordinates that belong to it.
struct Window {
    int left = 0;
    int top = 0;
    int right = 0;
    int bottom = 0;
};

struct ChannelContents {
    std::string name;
    Imf::PixelType type;
    int sampling = 1;
};

struct FileContents {
    Window data;
    Window display;
    std::vector<ChannelContents> channels;
    Imf::Compression compression = OPENEXR_IMF_NAMESPACE::NO_COMPRESSION;
    int tileSide = 0;  // lines instead of tiles when 0
    Imf::LevelMode levels = OPENEXR_IMF_NAMESPACE::ONE_LEVEL;
    bool isBottomUp = false;
};

struct NamedCompression {
    Imf::Compression compression;
    const char* name;
};
inline constexpr NamedCompression kCompressions[] = {
    {Imf::NO_COMPRESSION, "none"},   {Imf::RLE_COMPRESSION, "RLE"},   {Imf::ZIPS_COMPRESSION, "ZIPS"},
    {Imf::ZIP_COMPRESSION, "ZIP"},   {Imf::PIZ_COMPRESSION, "PIZ"},   {Imf::PXR24_COMPRESSION, "PXR24"},
    {Imf::B44_COMPRESSION, "B44"},   {Imf::B44A_COMPRESSION, "B44A"}, {Imf::DWAA_COMPRESSION, "DWAA"},
    {Imf::DWAB_COMPRESSION, "DWAB"},
};

// The sample of a channel, by its place in the list, at coordinates of the data window.
using Sampler = std::function<float(std::size_t channel, int x, int y)>;

Bytes write(const FileContents& layout, const Sampler& sampler);
// Two parts, of which the second is one pixel.
Bytes writeTwoParts(const FileContents& first, const Sampler& sampler);
Bytes writeDeep();

// With other bytes for the value of an attribute, of as many: the first of that name, or the second.
Bytes withValue(Bytes bytes, const std::string& name, const std::string& type, const Bytes& value,
                bool isSecond = false);
Bytes withWindow(const Bytes& bytes, const Window& window, bool isSecond = false);
Bytes withTiles(const Bytes& bytes, std::uint32_t columns, std::uint32_t rows, unsigned char mode = 0);

// The samples of the first part's data window, row by row, by channel.
std::map<std::string, std::vector<float>> readSamples(const Bytes& bytes, Window& data);

// A picture of red, green, blue and alpha, and something smooth to show in it: a little of everything that a
// curve can meet, and other values in every channel.
FileContents colors(int width, int height, Imf::PixelType type);
float sampleAt(std::size_t channel, int x, int y);

// By the plug-in.
bool read(const Bytes& bytes, plugins::Picture& picture, plugin_test::ProgressLog* log = nullptr);
Bytes pixels(const Bytes& bytes);

// What a file shows, from the samples that OpenEXR's classes read at once: four bytes a pixel, greys too.
Bytes expectedPixels(const Bytes& bytes);

}  // namespace exr_test

#endif

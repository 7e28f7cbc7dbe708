// PSD documents made field by field: every variant that the format allows, and what a reader must make of it.
#ifndef TESTS_SUPPORT_PSD_BUILDER_H
#define TESTS_SUPPORT_PSD_BUILDER_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace testing_support {

using PsdBytes = std::vector<unsigned char>;

enum class PsdCompression { kRaw = 0, kPackBits = 1, kZip = 2, kZipPredicted = 3 };

// Bytes of one row of one channel.
std::size_t psdRowBytes(int depth, int width);

// The rows of one channel: any bytes; at 32 bits big-endian floats from below 0 to above 1, NaN among them.
PsdBytes psdPlane(int depth, int width, int height, std::uint64_t seed);

// One row as PackBits, with runs, literals and a no-operation in front of every 7th packet.
PsdBytes packBits(const unsigned char* row, std::size_t bytes);

// A zlib stream of the bytes, which are stored as they are.
PsdBytes storedZlib(const PsdBytes& bytes);

// A row as differences of samples of 8 or 16 bits; floats as differences of their bytes, highest ones first.
PsdBytes predictedRow(int depth, const unsigned char* row, std::size_t bytes);

// The picture data of planes of the same size: compression word, table, rows. Large documents have longer
// entries in the table.
PsdBytes psdImageData(PsdCompression compression, int depth, int width, int height,
                      const std::vector<PsdBytes>& planes, bool isLarge = false);

// A block of additional information with a length of 4 or 8 bytes.
PsdBytes psdBlock(const std::string& key, const PsdBytes& data, bool isLong = false);
// The block of a layer's name in UTF-16.
PsdBytes psdUnicodeName(const std::u16string& name);

struct PsdResource {
    int id = 1005;
    std::string name;
    PsdBytes data;
};

struct PsdRectangle {
    int top = 0;
    int left = 0;
    int bottom = 0;
    int right = 0;
    int width() const { return right - left; }
    int height() const { return bottom - top; }
};

struct PsdChannel {
    int id = 0;
    PsdBytes plane;  // of the layer's size, or that of a mask for ids below -1
};

struct PsdLayer {
    PsdRectangle rectangle;
    std::vector<PsdChannel> channels;
    std::string signature = "8BIM";
    std::string key = "norm";
    int opacity = 255;
    int clipping = 0;
    int flags = 0;
    std::optional<PsdRectangle> mask;
    int maskLength = 20;                     // of the mask data, fields and filler
    std::optional<PsdRectangle> secondMask;  // makes the mask data 36 bytes long
    bool blendRanges = false;
    std::string name = "Layer";
    PsdBytes additional;  // whole blocks of additional information
};

// A number of the file that says how much follows.
struct PsdLengthField {
    std::size_t offset;
    std::size_t bytes;
};

struct PsdDocument {
    bool isLarge = false;
    int mode = 3;
    int depth = 8;
    int channels = 3;
    int width = 5;
    int height = 4;
    PsdCompression compression = PsdCompression::kRaw;
    PsdBytes colorMode;
    std::vector<PsdResource> resources;
    std::vector<PsdLayer> layers;
    std::string layerBlock;  // key of the block that holds the layers; empty: they are in the list
    bool negativeCount = false;
    std::vector<PsdBytes> planes;             // empty: made from the seed
    std::optional<PsdBytes> imageData;        // instead of the planes
    std::optional<PsdBytes> layerSection;     // instead of the layers, its length excluded
    std::optional<PsdBytes> resourceSection;  // instead of the resources, its length excluded
    std::uint64_t seed = 1;

    // The planes as they are in the file.
    std::vector<PsdBytes> allPlanes() const;
    // The file. Where `fields` is given, every field that counts or measures something is added to it.
    PsdBytes bytes(std::vector<PsdLengthField>* fields = nullptr) const;

    // A layer whose channels have random planes of the document's depth.
    PsdLayer& addLayer(const PsdRectangle& rectangle, const std::vector<int>& channelIds,
                       const std::optional<PsdRectangle>& mask = {});
};

// Documents of every mode, depth, compression and 1 to 5 channels, with layers, masks and resources in turn.
std::vector<PsdDocument> psdVariants();

}  // namespace testing_support

#endif

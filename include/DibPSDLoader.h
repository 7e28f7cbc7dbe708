/// @file
/// PSD documents with their layers. `LoadPSD` (DibCodec.h) is the one-call form for the merged picture alone.
#ifndef DIBSTREAM_DIBPSDLOADER_H
#define DIBSTREAM_DIBPSDLOADER_H

#include <DibStream.h>

#include <cstdint>
#include <cstdio>
#include <vector>

namespace formats::psd {
class Document;
}

/// What a channel of a document or layer is. Any other value is a channel that is read and dropped.
enum PSD_CHANNEL_ID : std::int32_t {
    PSD_CHANNEL_RED = 0,            ///< Red or cyan; the only channel of grey, indexed and bitmap documents.
    PSD_CHANNEL_GREEN = 1,          ///< Green or magenta.
    PSD_CHANNEL_BLUE = 2,           ///< Blue or yellow.
    PSD_CHANNEL_TRANSPARENCY = -1,  ///< Alpha; black in the merged picture of a CMYK document.
    PSD_CHANNEL_MASK = -2,          ///< The mask of a layer.
    PSD_CHANNEL_NONE = -32768,      ///< Not stored.
};

/// The record of one layer.
struct PSDLayerInfo {
    /// A pair of black and white points, for the layer itself (source) and for what lies below it.
    struct BLEND_RANGE {
        std::uint16_t sourceLow;        ///< As in the file: black pair.
        std::uint16_t sourceHigh;       ///< As in the file: white pair.
        std::uint16_t destinationLow;   ///< As in the file: black pair.
        std::uint16_t destinationHigh;  ///< As in the file: white pair.

        /// 0, 65535, 0, 65535.
        DIB_EXPORT BLEND_RANGE();
    };

    std::int32_t top = 0;                    ///< Rectangle in pixels of the document; may lie outside it.
    std::int32_t left = 0;                   ///< See `top`.
    std::int32_t bottom = 0;                 ///< One below the last row.
    std::int32_t right = 0;                  ///< One right of the last column.
    std::int32_t channelCount = 0;           ///< 0 to 65535, as announced.
    std::vector<PSD_CHANNEL_ID> channelIDs;  ///< One per channel.
    std::int32_t blendMode = -1;             ///< 0 to 25 (see `DibPSDLoader::GetLayerBlendMode`), -1 unknown.
    std::uint8_t opacity = 0;                ///< 0 to 255.
    std::uint8_t clipping = 0;               ///< As in the file: 0 base, 1 clipped by the layer below.
    std::uint8_t flags = 0;                  ///< As in the file.
    char* name = nullptr;                    ///< Name as in the file, at most 255 bytes; owned.
    bool hasMask = false;                    ///< Whether the record has mask data.
    std::int32_t maskTop = 0;                ///< Rectangle of the mask in pixels of the document.
    std::int32_t maskLeft = 0;               ///< See `maskTop`.
    std::int32_t maskBottom = 0;             ///< One below the last row.
    std::int32_t maskRight = 0;              ///< One right of the last column.
    std::uint8_t maskDefaultColor = 0;       ///< Value of the mask outside its rectangle.
    std::uint8_t maskFlags = 0;              ///< As in the file.
    BLEND_RANGE grayBlendRange;              ///< Range of the composite grey.
    std::vector<BLEND_RANGE> channelBlendRanges;  ///< One per channel; empty when the record has none.

    DIB_EXPORT PSDLayerInfo();
    /// Frees the name.
    DIB_EXPORT ~PSDLayerInfo();
    PSDLayerInfo(const PSDLayerInfo&) = delete;
    PSDLayerInfo& operator=(const PSDLayerInfo&) = delete;
    /// Takes the name over.
    DIB_EXPORT PSDLayerInfo(PSDLayerInfo&& other) noexcept;
    /// Takes the name over.
    DIB_EXPORT PSDLayerInfo& operator=(PSDLayerInfo&& other) noexcept;
};

/// The pictures of one layer; holds one reference to each.
struct PSDLayerImage {
    DibStream* image = nullptr;             ///< 32 bits in the layer's own size; null for an empty rectangle.
    std::vector<DibStream*> channelImages;  ///< Not filled by the loader.

    DIB_EXPORT PSDLayerImage();
    /// Releases every picture.
    DIB_EXPORT ~PSDLayerImage();
    PSDLayerImage(const PSDLayerImage&) = delete;
    PSDLayerImage& operator=(const PSDLayerImage&) = delete;
    /// Takes the references over.
    DIB_EXPORT PSDLayerImage(PSDLayerImage&& other) noexcept;
    /// Takes the references over.
    DIB_EXPORT PSDLayerImage& operator=(PSDLayerImage&& other) noexcept;
};

/// Reads PSD documents, version 1: bitmap with 1 bit per channel; grey, RGB and CMYK with 8, 16 or 32 bits;
/// indexed with 8 bits; channels stored raw or as PackBits.
///
/// The merged picture goes into the target image: 24 bits for three channels, 8 bits for one, 32 bits for any
/// other count (a second channel of two is not stored, a fourth one is alpha, further ones are dropped).
/// CMYK values are stored as they are, cyan, magenta, yellow, black in the red, green, blue, alpha bytes.
/// Samples of 16 bits give their high byte, samples of 32 bits (floats) are clamped to 0 to 1 and scaled to
/// 0 to 255, NaN giving 255. What the document does not fill is 0xFF.
///
/// Layers are read when `EnableLayer(true)` was called before the load.
///
///     DibPSDLoader loader(&image);
///     loader.EnableLayer(true);
///     if (loader.Load("drawing.psd"))
///         for (int i = 0; i < loader.GetLayerNum(); ++i) {
///             int left, top;
///             if (DibStream* layer = loader.GetLayerImage(i, left, top)) { ... layer->Release(); }
///         }
///
/// A loader may load several documents one after the other; each load drops the layers of the one before.
class DibPSDLoader {
public:
    /// @name Construction and settings
    /// @{

    /// A loader without target: loading makes one that lives as long as the loader.
    DIB_EXPORT DibPSDLoader();
    /// A loader that fills `dib` and holds a reference to it; null is the same as no target.
    DIB_EXPORT explicit DibPSDLoader(DibStream* dib);
    /// Releases the target and every layer.
    DIB_EXPORT ~DibPSDLoader();
    DibPSDLoader(const DibPSDLoader&) = delete;
    DibPSDLoader& operator=(const DibPSDLoader&) = delete;

    /// Forgets target, callback, log and flags without releasing the target, whose reference then belongs to
    /// the caller. Layers stay.
    DIB_EXPORT void InitVariable();
    /// Progress: called once per section, per layer and per channel with position / file size.
    ///
    /// At each call the target holds the channels stored so far and 0xFF elsewhere, so it can be shown while
    /// it loads. A callback that empties or replaces the target's blocks ends the load, which then returns
    /// false.
    DIB_EXPORT void SetCallback(DibProgressCallback callback, void* user);
    /// Where a diagnostic text is written during loads; null (the default) for nowhere. Not owned.
    DIB_EXPORT void SetLog(std::FILE* log);
    /// Whether layers are read; otherwise the whole section is skipped. Default false.
    DIB_EXPORT void EnableLayer(bool enable);
    /// Whether layer masks are decoded, so that a damaged one fails the load. They are not kept. Default
    /// false.
    DIB_EXPORT void EnableMask(bool enable);
    /// @}

    /// @name Loading
    ///
    /// @return False on failure. The target's error code is then
    ///         - DIB_ERROR_MEMORY (image empty): the picture cannot exist or is out of all proportion to the
    ///           file (see below);
    ///         - DIB_ERROR_INVALID: no PSD signature, a resource without its signature, or picture data
    ///           whose compression is unknown or missing;
    ///         - DIB_ERROR_UNSUPPORTED: another version, mode or depth;
    ///         - what it was before: the file cannot be opened, ends early or is damaged elsewhere, memory is
    ///           short, or the callback cancelled.
    ///
    /// Before the header is accepted the target is left alone; afterwards it holds a picture of the
    /// document's size with the rows that were stored before the failure, the rest 0xFF. A load that is
    /// started by the callback of another load of the same loader fails.
    ///
    /// A load handles at most 64 MiB plus 1024 bytes of pixels per byte of file; no document that really
    /// holds its pixels comes near that, and one that exceeds it fails.
    /// @{

    /// Opens the file; a failure to open stores no code.
    DIB_EXPORT bool Load(const char* path);
    /// As above for a wide path.
    DIB_EXPORT bool Load(const wchar_t* path);
    /// Reads from the start of an open, seekable file and leaves it open.
    DIB_EXPORT bool Load(std::FILE* file);
    /// @}

    /// @name Queries after a load
    /// @{

    /// Channels of the merged picture as announced, 0 to 65535.
    DIB_EXPORT int GetChannelNum();
    /// 0 bitmap, 1 grey, 2 indexed, 3 RGB, 4 CMYK.
    DIB_EXPORT int GetColorMode();
    /// Bits per channel: 1, 8, 16 or 32.
    DIB_EXPORT int GetDepth() const;
    /// Layers read; layer 0 is the lowest.
    DIB_EXPORT int GetLayerNum() const;
    /// The record of a layer, owned by the loader until its next load; null out of range.
    DIB_EXPORT const PSDLayerInfo* GetLayerInfo(int index) const;
    /// The picture of a layer, 32 bits, and where its left top corner lies in the document.
    ///
    /// The first call gives the caller a reference of its own, to be released; as long as anyone holds the
    /// picture beside the loader, further calls add none.
    /// @return Null for an empty layer, or out of range (`left` and `top` are then 0).
    DIB_EXPORT DibStream* GetLayerImage(int index, int& left, int& top);
    /// How a layer blends: 0 normal, 1 darken, 2 lighten, 3 hue, 4 saturation, 5 colour, 6 luminosity,
    /// 7 multiply, 8 screen, 9 dissolve, 10 overlay, 11 hard light, 12 soft light, 13 difference,
    /// 14 exclusion, 15 colour dodge, 16 colour burn, 18 linear dodge, 19 vivid light, 20 linear light,
    /// 21 pin light, 22 hard mix, 23 pass through, 24 darker colour, 25 lighter colour; there is no 17.
    /// -1 for anything else and out of range.
    DIB_EXPORT int GetLayerBlendMode(int index) const;
    /// Bit 1 of a layer's flags, 0 or 1; 0 out of range. The file sets this bit for layers that are hidden.
    DIB_EXPORT int GetLayerVisible(int index) const;
    /// @}

    /// Stores one decoded row of one channel of the loaded document's mode and depth.
    /// @param dib  8, 24 or 32 bits.
    /// @param row  Counted from the top.
    /// @param id   Channels that mode or image have no place for are accepted and not stored.
    /// @param line The row's samples as in the file.
    /// @return False for other depths, an image without pixels, or a row outside it.
    DIB_EXPORT bool StoreLineToDib(DibStream* dib, int row, PSD_CHANNEL_ID id, const unsigned char* line);
    /// Does nothing: CMYK pictures stay as they are stored.
    DIB_EXPORT void ConvertCMYKToRGB(DibStream* dib);

    /// @name Steps of a load, in file order
    ///
    /// Each starts at the current position of the file and returns false when it cannot be read or the
    /// callback cancels. They work while a load runs, that is, when its callback calls them, and return false
    /// otherwise.
    /// @{

    /// Reads and checks the header.
    DIB_EXPORT bool LoadHeader();
    /// Reads a palette into the colour table of an 8-bit target; skips anything else.
    DIB_EXPORT bool LoadColorModeData();
    /// Reads the resources, which are only logged.
    DIB_EXPORT bool LoadImageResource();
    /// Reads the layers if they are enabled; otherwise skips the section.
    DIB_EXPORT bool LoadLayerMaskInfo();
    /// Reads a compression word and one channel per id into `dib` (null drops them).
    /// @param extra Each mask becomes an 8-bit picture at the end of this list, which holds its reference;
    ///              null reads masks and drops them.
    DIB_EXPORT bool LoadImageData(DibStream* dib, std::vector<DibStream*>* extra,
                                  const std::vector<PSD_CHANNEL_ID>& ids);
    /// Reads `count` bytes; below 1 nothing, which succeeds.
    DIB_EXPORT bool Read(unsigned char* buffer, int count);
    /// Reads a length byte and its text, padded together to a multiple of `unit` (1 to 4) bytes.
    /// @param out The text, to be freed by the caller, also after a failure; kept when no text was allocated.
    DIB_EXPORT bool ReadPString(char*& out, int unit);
    /// Decodes a PackBits row of `count` bytes from `packedSize` bytes of the file.
    DIB_EXPORT bool DecodeRLE(unsigned char* out, int count, int packedSize);
    /// Calls the callback with position / file size, 0 outside a load; true without a callback.
    DIB_EXPORT bool DoCallback();
    /// @}

private:
    friend class formats::psd::Document;

    struct FileHeader {
        char signature[4];
        std::uint16_t version;
        unsigned char reserved[6];
        std::uint16_t channels;
        std::uint32_t rows;
        std::uint32_t columns;
        std::uint16_t depth;
        std::uint16_t mode;
    };

    void DropDocument();

    // The order of these fields is part of the interface. Everything else that a load needs is in the
    // document.
    FileHeader header_ = {};
    DibStream* target_ = nullptr;
    std::vector<DibStream*> channelImages_;
    std::vector<PSDLayerInfo> layers_;
    std::vector<PSDLayerImage> layerImages_;
    DibProgressCallback callback_ = nullptr;
    void* user_ = nullptr;
    std::FILE* log_ = nullptr;
    bool enableLayer_ = false;
    bool enableMask_ = false;
    std::FILE* stream_ = nullptr;
    std::int64_t fileSize_ = 0;
    formats::psd::Document* document_ = nullptr;  // while a load runs
};

#endif

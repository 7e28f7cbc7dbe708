/// @file
/// Opening and saving image files of any format: the first choice of applications.
///
/// The functions of DibCodec.h read and write one format each, exactly as they always have. The functions
/// here find the format themselves, take files, memory and streams alike, give a reason in words when they
/// fail and say what they assumed or lost on the way.
///
///     DibStream image;
///     DibFileResult result;
///     if (!DibLoadFile("photo.jpg", &image, nullptr, &result)) std::puts(result.reason);
///     if (!DibSaveFile("photo.png", &image, nullptr, &result)) std::puts(result.reason);
///
/// Rules common to the functions
/// -----------------------------
/// - **Paths** are UTF-8 or wide. A null path, image, block or stream fails with a reason.
/// - **Options** travel with the call. A null pointer means the defaults. A value out of its range fails with
///   code 8 and a reason that names the option, the value and the range, before any file is touched.
/// - **Results.** The functions return whether they succeeded. `DibFileResult` says why not, and what they
///   noted. The pointer may be null.
/// - **Failure.** A load that fails leaves the image as it was, a save that fails the file. Nothing throws,
///   and every allocation may fail (code 2). Loads also store the code in `DibStream::ErrorCode`, 0 included.
/// - **Progress.** The callback gets fractions that start at 0, never go back and end at 1 when the call
///   succeeds. Returning false cancels (code 9). The callback must not change the image.
/// - **Threads.** Nothing is shared between calls but `DibStream::DllPath`. Several threads may save the same
///   image, or read its rows, while none changes it.
#ifndef DIBSTREAM_DIBFILE_H
#define DIBSTREAM_DIBFILE_H

#include <DibExport.h>
#include <DibStream.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <utility>

/// @name Formats
/// @{

/// A file format. The records live as long as the program, those of plug-ins too.
struct DibFormat {
    const char* name;             ///< A short word, as options have it: "png".
    const char* title = nullptr;  ///< For people: "Truevision TGA".
    const char* const*
        extensions;  ///< Lower case, without the dot, the usual one first; a null ends the list.
    const char* const* mimeTypes = nullptr;  ///< A null ends the list.
    unsigned int readDepths = 0;   ///< Depths that a load gives: `DibStream::DIB_ACCEPT_1` and so on.
    unsigned int writeDepths = 0;  ///< Depths that a file holds as they are; 0 when nothing can be saved.
    bool hasLayers = false;        ///< `DibLoadOptions::layer` chooses one.
    bool hasPages = false;         ///< `DibLoadOptions::page` chooses one.
    const char* plugin = nullptr;  ///< The file of the plug-in that decodes it; null when none is needed.
    bool hasPaletteAlpha = false;  ///< Files hold `DibMetadata::paletteAlpha`, in both directions.
};

/// All formats, in the order in which lists show them; a null ends the list. Those that plug-ins of the
/// current folder add come last (docs/writing-a-plugin.md); without a folder there are none.
/// @param count Gets their number, unless it is null.
DIB_EXPORT const DibFormat* const* DibGetFormats(std::size_t* count = nullptr);
/// The format of that name or extension, in upper or lower case; null when there is none.
DIB_EXPORT const DibFormat* DibFindFormat(const char* nameOrExtension);
/// Whether the format can be read now: false only when its plug-in is missing or cannot be loaded.
DIB_EXPORT bool DibIsFormatAvailable(const DibFormat* format);
/// What decodes the format, with its version, as its plug-in says: "libwebp 1.2.4". Null for formats without
/// a plug-in, and when that is missing, cannot be loaded or does not describe itself. The text lives as long
/// as the program.
DIB_EXPORT const char* DibGetFormatLibrary(const DibFormat* format);
/// @}

/// @name Results
/// @{

/// A block of bytes that the object frees.
struct DibBytes {
    unsigned char* data = nullptr;  ///< Allocated with `malloc`; null when there is none.
    std::size_t size = 0;           ///< In bytes.

    /// No block.
    DibBytes() = default;
    /// Takes the block of another object, which then has none.
    DibBytes(DibBytes&& other) noexcept
        : data(std::exchange(other.data, nullptr)), size(std::exchange(other.size, 0)) {}
    /// Exchanges the blocks.
    DibBytes& operator=(DibBytes&& other) noexcept {
        std::swap(data, other.data);
        std::swap(size, other.size);
        return *this;
    }
    /// Frees the block.
    ~DibBytes() { std::free(data); }
};

/// What a file holds beside the pixels.
struct DibMetadata {
    double xResolution = 0;  ///< Pixels per inch; 0 when unknown.
    double yResolution = 0;  ///< Pixels per inch; 0 when unknown.
    /// How the stored rows must be turned for display, 1 to 8 as in EXIF; 1 is upright. It is 1 after a load
    /// that has turned the picture.
    int orientation = 1;
    DibBytes colorProfile;  ///< ICC profile.
    DibBytes exif;          ///< EXIF block, from its byte-order mark on.
    /// Alpha of the first entries of the colour table, a byte each; the others are opaque. A load stores it
    /// with `DibLoadOptions::keepsPalette`; saving images of 1, 4 and 8 bits as PNG writes it.
    DibBytes paletteAlpha;
    /// Of a TIM file: all but its pixels, so its positions in video memory and all its lookup tables. A TIM
    /// file saved with it equals the opened one but for changes of the image.
    DibBytes timFrame;
    /// Title, author, comment ...: pairs of a keyword and a text, UTF-8, each ended by NUL. PNG files hold
    /// them all, JPEG files those with the keyword "Comment".
    DibBytes texts;
    DibBytes xmp;  ///< XMP packet.
};

/// What a note is about.
enum DibNoteKind : int {
    DIB_NOTE_WARNING = 0,     ///< The file is damaged or breaks a rule, and was read all the same.
    DIB_NOTE_ASSUMPTION = 1,  ///< The file leaves something open: "alpha is 0 everywhere and was ignored".
    DIB_NOTE_LOSS = 2,        ///< Something was not kept: "16 bits a sample became 8".
};

/// A remark about a call that succeeded, or about a loss for which a save was refused.
struct DibNote {
    DibNoteKind kind;  ///< What it is about.
    char text[124];    ///< English, UTF-8, without a full stop.
};

/// The outcome of a call. Each call resets it.
struct DibFileResult {
    static constexpr int kMostNotes = 16;  ///< Further notes are dropped.

    const DibFormat* format = nullptr;  ///< Of the file; null when it was not recognised.
    int code = DIB_OK;                  ///< `DibErrorCode`.
    char reason[256] = "";              ///< Why the call failed, in words; empty when it succeeded.
    int noteCount = 0;                  ///< Number of notes; a failed call keeps only losses that it refuses.
    DibNote notes[kMostNotes] = {};     ///< Warnings, assumptions and losses.
    DibMetadata metadata;               ///< Of a file that was opened or probed.
};

/// What a file holds, as far as its headers say.
struct DibFileInfo {
    const DibFormat* format = nullptr;  ///< Of the file.
    int width = 0;                      ///< Columns of the picture as a load gives it.
    int height = 0;                     ///< Rows.
    int bitCount = 0;                   ///< Depth of the image that a load makes.
    int storedBits = 0;                 ///< Bits per pixel in the file.
    int pages = 1;                      ///< Pictures in the file.
    int layers = 0;                     ///< Layers of a document.
    int levels = 1;                     ///< Sizes of the same picture.
    bool hasAlpha = false;              ///< Whether a load has alpha, in its pixels or its palette.
    char compression[16] = "";          ///< "none", "rle", "deflate" ...; empty when unknown.
    int paletteSize = 0;     ///< Entries of the colour table that a load gives; 0 when there is none.
    bool isTopDown = false;  ///< Whether a load gives a negative height.
    char colors[16] = "";    ///< Of a document: "RGB", "CMYK" ...; "grey" of a file of greys; or empty.
    /// Of the picture in the file: 1 for indices and greys, 3 for colours, 4 with alpha or four inks; of a
    /// document those after the colours too.
    int channels = 0;
    int channelBits = 0;      ///< Of a document: bits per channel.
    char pageName[256] = "";  ///< Of the page that the options choose, UTF-8; empty when it has none.
    /// Of a TIM file: where its pixels belong in video memory, in words of 16 bits; -1 in other files.
    int videoX = -1;
    int videoY = -1;    ///< In rows.
    int paletteX = -1;  ///< The same of its lookup tables; -1 when there are none.
    int paletteY = -1;  ///< In rows.
};

/// What a layer is.
enum DibLayerKind : int {
    DIB_LAYER_PLAIN = 0,      ///< A picture, or something that changes the layers below it.
    DIB_LAYER_GROUP = 1,      ///< The upper end of a group, which has its name.
    DIB_LAYER_GROUP_END = 2,  ///< The lower end of a group.
};

/// A mask of a layer: a grey picture of its own size.
struct DibLayerMask {
    bool exists = false;      ///< Whether the layer has it.
    bool isDisabled = false;  ///< Whether it is switched off.
    int left = 0;             ///< In pixels of the document, which it may leave.
    int top = 0;              ///< See `left`.
    int width = 0;            ///< Columns; 0 when it has no pixels.
    int height = 0;           ///< Rows; 0 when it has no pixels.
    int outside = 0;          ///< What it is outside its rectangle, 0 (hides) to 255 (shows).
};

/// A layer of a document.
struct DibLayer {
    char name[768] = "";                  ///< UTF-8; longer names are cut.
    DibLayerKind kind = DIB_LAYER_PLAIN;  ///< What it is.
    int group = -1;                       ///< Number of the group that it is in; -1 when there is none.
    int left = 0;                         ///< In pixels of the document, which it may leave.
    int top = 0;                          ///< See `left`.
    int width = 0;                        ///< Columns; 0 when it has no pixels.
    int height = 0;                       ///< Rows; 0 when it has no pixels.
    int opacity = 255;                    ///< 0 to 255. Loads do not apply it.
    bool isVisible = true;                ///< Whether it is switched on.
    bool isClipped = false;               ///< Whether it shows only where the layer below it does.
    int blendMode = 0;                    ///< As `DibPSDLoader::GetLayerBlendMode` (DibPSDLoader.h) has it.
    /// The mask in force. Where it combines a painted mask and a vector mask, the second is the painted one
    /// alone.
    DibLayerMask masks[2];
};

/// The layers of a document, which the object frees.
struct DibLayers {
    DibLayer* items = nullptr;  ///< From the lowest to the highest, as `DibLoadOptions::layer` counts them.
    std::size_t count = 0;      ///< Number of items.

    /// No layers.
    DibLayers() = default;
    /// Takes the layers of another object, which then has none.
    DibLayers(DibLayers&& other) noexcept
        : items(std::exchange(other.items, nullptr)), count(std::exchange(other.count, 0)) {}
    /// Exchanges the layers.
    DibLayers& operator=(DibLayers&& other) noexcept {
        std::swap(items, other.items);
        std::swap(count, other.count);
        return *this;
    }
    /// Frees the layers.
    ~DibLayers() { std::free(items); }
};
/// @}

/// @name Options
/// @{

/// What to do with a file whose pixels are damaged or end too early.
enum DibDamagePolicy : int {
    DIB_DAMAGE_REFUSE = 0,  ///< The load fails.
    /// The load keeps the rows that could be read, with a warning. Of the row in which the pixels end it may
    /// have some as well; all others are 0.
    DIB_DAMAGE_KEEP = 1,
};

/// What the alpha of a file means.
enum DibAlphaPolicy : int {
    DIB_ALPHA_GUESS = 0,  ///< Alpha that is 0 everywhere becomes 255, with a note.
    /// Alpha stays as the file has it. Colours that mean transparency become alpha, in images of 32 bits: in
    /// TIM files of up to 16 bits black without the special bit becomes 0, other colours with it 128; in ILBM
    /// files the transparent colour becomes 0.
    DIB_ALPHA_STORED = 1,
};

/// Which picture of a layer to open.
enum DibLayerPart : int {
    DIB_LAYER_PIXELS = 0,       ///< Its pixels, 32 bits, without its masks and opacity.
    DIB_LAYER_MASK = 1,         ///< The first of its masks, 8 bits of grey.
    DIB_LAYER_SECOND_MASK = 2,  ///< The second of them, 8 bits of grey.
};

/// How to open a file.
struct DibLoadOptions {
    std::size_t size =
        sizeof(DibLoadOptions);             ///< Bytes of the caller's record, which newer versions extend.
    const char* const* formats = nullptr;   ///< Names of the accepted formats, ended by null; null: all.
    const char* name = nullptr;             ///< A file name that says the format where the content does not.
    std::uint64_t mostPixels = 1ULL << 31;  ///< Larger pictures are refused.
    std::uint64_t mostBytes = 1ULL << 33;   ///< Of memory for the image; of a stream as well, which is read
                                            ///< up to its end only where its first bytes are of a format.
    int mostLayers = 1 << 16;               ///< Documents with more are refused; from 0.
    DibDamagePolicy damage = DIB_DAMAGE_REFUSE;  ///< What becomes of damaged pixels.
    DibAlphaPolicy alpha = DIB_ALPHA_GUESS;      ///< What alpha means.
    int page = 0;                                ///< From 0; formats with one page have no other.
    int layer = -1;                              ///< From 0; -1 is the merged picture.
    int level = 0;                               ///< From 0, which is the largest.
    bool appliesOrientation = true;              ///< Turns the picture by the file's orientation.
    const char* format = nullptr;  ///< Name of the format that the file has for certain; null: detected.
    /// A PNG palette with transparency stays one, with its alpha in `DibMetadata::paletteAlpha`. Otherwise
    /// such a picture has 32 bits, and its indices are gone.
    bool keepsPalette = false;
    DibLayerPart part = DIB_LAYER_PIXELS;  ///< Of the layer, when one is chosen.
    /// The picture is decoded at a half, a quarter or an eighth of its size, the smallest that has at least
    /// this many columns and `atLeastHeight` rows, with a note; sides are rounded up. Both count after the
    /// picture was turned by the file's orientation, and 0 is no limit. Where both are 0, and in formats
    /// other than JPEG, the picture has its full size. Probes report that, and limits apply to it.
    int atLeastWidth = 0;
    int atLeastHeight = 0;  ///< See `atLeastWidth`.
    /// Name of the page, in place of its number: of an EXR file that of the part. Null: by number.
    const char* pageName = nullptr;
    /// Name of the layer, in place of its number; of several the lowest. Null: by number.
    const char* layerName = nullptr;
};

/// How a TIFF file packs its rows.
enum DibTiffCompression : int {
    DIB_TIFF_DEFLATE = 0,   ///< With horizontal differences.
    DIB_TIFF_LZW = 1,       ///< With horizontal differences.
    DIB_TIFF_PACKBITS = 2,  ///< Run lengths.
    DIB_TIFF_NONE = 3,      ///< Raw.
};

/// How to save a file.
struct DibSaveOptions {
    std::size_t size =
        sizeof(DibSaveOptions);    ///< Bytes of the caller's record, which newer versions extend.
    const char* format = nullptr;  ///< Name of the format; null: by the extension of the path.
    bool refusesLosses = false;    ///< Fails when the file cannot hold all of the image; JPEG never can.
    int quality = 90;              ///< JPEG, and WebP with `isLossy`: 1 to 100.
    /// PNG, TIFF and lossless WebP, 0 (fast) to 9 (small); -1: a good compromise.
    int compressionLevel = -1;
    bool runLengths = true;  ///< Run lengths where a format has them as an option.
    DibTiffCompression tiffCompression = DIB_TIFF_DEFLATE;  ///< How TIFF rows are packed.
    /// What the file says beside the pixels; null: nothing. It may be that of the call's own result.
    const DibMetadata* metadata = nullptr;
    /// WebP: changes pixels a little, by `quality`, for smaller files. Otherwise each pixel stays as it is.
    bool isLossy = false;
    bool keepsExisting = false;  ///< A save to a path fails with code 3 where there is a file.
};
/// @}

/// @name Streams
/// @{

/// Where bytes come from.
struct DibReader {
    /// What `read` returns when reading fails; `errno` says why, if it is not 0.
    static constexpr std::size_t kFailed = static_cast<std::size_t>(-1);

    /// Copies up to `bytes` bytes to `out` and returns their number: 0 at the end, `kFailed` after an error.
    /// `bytes` is at most 64 KiB at first and grows with the stream; with a progress callback it is at most
    /// 16 KiB.
    std::size_t (*read)(void* context, void* out, std::size_t bytes);
    void* context;  ///< First argument of `read`.
};

/// Where bytes go.
struct DibWriter {
    /// Writes 1 to 1048576 bytes. False when not all was written.
    bool (*write)(void* context, const void* from, std::size_t bytes);
    void* context;  ///< First argument of `write`.
};
/// @}

/// @name Open
/// @{

/// Replaces the image by the picture of a file. The content of the file decides its format; the extension
/// helps where a format has no signature.
/// @return False with a code and a reason, and the image unchanged:
/// - 3 the file cannot be opened;
/// - 4 it ends early, or reading failed;
/// - 6 it is damaged;
/// - 7 its format, or this variant of it, is not read;
/// - 8 an option refuses it (accepted formats, limits, pages), or is out of its range;
/// - 9 the callback cancelled;
/// - 2 memory is short, or no image can have that size.
DIB_EXPORT bool DibLoadFile(const char* path, DibStream* image, const DibLoadOptions* options = nullptr,
                            DibFileResult* result = nullptr, DibProgressCallback callback = nullptr,
                            void* user = nullptr);
/// The same for a wide path.
DIB_EXPORT bool DibLoadFile(const wchar_t* path, DibStream* image, const DibLoadOptions* options = nullptr,
                            DibFileResult* result = nullptr, DibProgressCallback callback = nullptr,
                            void* user = nullptr);
/// The same for a file in memory.
DIB_EXPORT bool DibLoadMemory(const void* bytes, std::size_t size, DibStream* image,
                              const DibLoadOptions* options = nullptr, DibFileResult* result = nullptr,
                              DibProgressCallback callback = nullptr, void* user = nullptr);
/// The same from the current position of an open file or pipe, which stays open. The picture must be the last
/// thing in it: the position after the call is not defined.
DIB_EXPORT bool DibLoadStream(std::FILE* file, DibStream* image, const DibLoadOptions* options = nullptr,
                              DibFileResult* result = nullptr, DibProgressCallback callback = nullptr,
                              void* user = nullptr);
/// The same from a function.
DIB_EXPORT bool DibLoadStream(const DibReader& reader, DibStream* image,
                              const DibLoadOptions* options = nullptr, DibFileResult* result = nullptr,
                              DibProgressCallback callback = nullptr, void* user = nullptr);

/// Reads what the headers of a file say, without decoding or allocating its pixels. Pages and layers are
/// counted; limits are not applied. A page, layer or level that the file does not have is refused.
/// @return False with a code and a reason as by `DibLoadFile`.
DIB_EXPORT bool DibProbeFile(const char* path, DibFileInfo* info, const DibLoadOptions* options = nullptr,
                             DibFileResult* result = nullptr);
/// The same for a wide path.
DIB_EXPORT bool DibProbeFile(const wchar_t* path, DibFileInfo* info, const DibLoadOptions* options = nullptr,
                             DibFileResult* result = nullptr);
/// The same for a file in memory.
DIB_EXPORT bool DibProbeMemory(const void* bytes, std::size_t size, DibFileInfo* info,
                               const DibLoadOptions* options = nullptr, DibFileResult* result = nullptr);

/// Reads what a document says about its layers, without decoding their pixels. Files of formats without
/// layers have none. A document that ends inside the list gives those before, with a warning.
/// @return False with a code and a reason as by `DibLoadFile`, and `layers` empty.
DIB_EXPORT bool DibProbeLayers(const char* path, DibLayers* layers, const DibLoadOptions* options = nullptr,
                               DibFileResult* result = nullptr);
/// The same for a wide path.
DIB_EXPORT bool DibProbeLayers(const wchar_t* path, DibLayers* layers,
                               const DibLoadOptions* options = nullptr, DibFileResult* result = nullptr);
/// The same for a file in memory.
DIB_EXPORT bool DibProbeLayers(const void* bytes, std::size_t size, DibLayers* layers,
                               const DibLoadOptions* options = nullptr, DibFileResult* result = nullptr);
/// @}

/// @name Save
/// @{

/// Says what a file of that format cannot hold of the image, as notes of the result.
/// @return The number of losses; 0 as well when there can be no file, which the result's code says: 6 the
/// image has no pixels, 7 the format is unknown or cannot be written, 8 the image is too large for it or an
/// option is out of its range.
DIB_EXPORT int DibSaveLosses(const DibStream* image, const char* format,
                             const DibSaveOptions* options = nullptr, DibFileResult* result = nullptr);

/// Writes the image to a file, whole or not at all: the file is written without a name (where the system has
/// no such files, under a temporary one beside the target), flushed to the disk and put in place. Permissions
/// of an existing file are kept. Symbolic links are followed and stay, also those to a file that does not
/// exist yet. The folder is the one that has that name when the save begins.
/// Losses are noted.
/// @return False with a code and a reason, and the old file unchanged:
/// - 3 the file cannot be created;
/// - 5 it cannot be written to the end;
/// - 6 the image has no pixels;
/// - 7 the format is unknown or cannot be written;
/// - 8 the file cannot hold all of the image, and `refusesLosses` is set, or cannot hold its size at all; or
///   an option is out of its range;
/// - 9 the callback cancelled;
/// - 2 memory is short.
DIB_EXPORT bool DibSaveFile(const char* path, const DibStream* image, const DibSaveOptions* options = nullptr,
                            DibFileResult* result = nullptr, DibProgressCallback callback = nullptr,
                            void* user = nullptr);
/// The same for a wide path.
DIB_EXPORT bool DibSaveFile(const wchar_t* path, const DibStream* image,
                            const DibSaveOptions* options = nullptr, DibFileResult* result = nullptr,
                            DibProgressCallback callback = nullptr, void* user = nullptr);
/// The same to a block of memory. `DibSaveOptions::format` must be set.
DIB_EXPORT bool DibSaveMemory(DibBytes* bytes, const DibStream* image, const DibSaveOptions* options,
                              DibFileResult* result = nullptr, DibProgressCallback callback = nullptr,
                              void* user = nullptr);
/// The same to an open file or pipe, which stays open and is flushed. `DibSaveOptions::format` must be set.
/// The picture is encoded in memory first: a failure to encode writes nothing.
DIB_EXPORT bool DibSaveStream(std::FILE* file, const DibStream* image, const DibSaveOptions* options,
                              DibFileResult* result = nullptr, DibProgressCallback callback = nullptr,
                              void* user = nullptr);
/// The same to a function.
DIB_EXPORT bool DibSaveStream(const DibWriter& writer, const DibStream* image, const DibSaveOptions* options,
                              DibFileResult* result = nullptr, DibProgressCallback callback = nullptr,
                              void* user = nullptr);
/// @}

#endif

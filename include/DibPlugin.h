/// @file
/// The contract between the library and its plug-ins, for those who write one.
///
/// A plug-in is a bundle file in the folder of `DibStream::SetDllFilePath` that exports functions with C
/// linkage under their plain names. It needs this header and the headers that it includes, and links nothing
/// of the library. On Linux the file is a shared object, or a folder with one at Contents/Linux/NAME (or
/// Contents/MacOS/NAME) for NAME.bundle. On macOS it is a bundle as the system makes them. The code is loaded
/// once and stays in the process.
///
/// | export | type | bundle | used by |
/// |---|---|---|---|
/// | DibPluginDescribe | `DibPluginDescriber` | every *.bundle | the functions of DibFile.h |
/// | LoadEXR | `DibPluginLoadEXR` | vexlibexr.bundle | `LoadEXR` of DibCodec.h |
/// | LoadDDS | `DibPluginLoadDDS` | vexlibdds.bundle | `LoadDDS` of DibCodec.h |
///
/// A vexlibexr.bundle or vexlibdds.bundle without a description also serves the functions of DibFile.h: they
/// call its one function, which has no pages, layers and levels.
///
/// Rules for all functions
/// -----------------------
/// - Nothing is thrown. Nothing is printed. They are called from any thread, several at a time.
/// - Blocks that a function gives away come from `malloc` and belong to the library then.
/// - A header block is a `BITMAPINFOHEADER` with `biSize` 40, followed by its colour table (2^`biBitCount`
///   entries up to 8 bits). The pixel block has pitch times rows bytes: see `DibStream::GetPitch`. Either row
///   order may be used.
/// - What the library cannot check is used as it is, above all the lengths of blocks. A header that no image
///   can have is a failure, and its blocks are freed: a negative width, rows that are too many for 32-bit
///   offsets, more table entries than the depth has values (256 above 8 bits), or a `biSize` above 124.
///
/// Rules for LoadEXR and LoadDDS
/// -----------------------------
/// - They return true when both out pointers are set to blocks of their own; a single block does not count as
///   a picture, and is freed. When they return false they have freed what they allocated; the library then
///   ignores the out pointers. They are null when the function is called.
/// - The progress function is called, when it is given, with the fraction done, from 0 to 1, and the progress
///   user pointer; when it returns false the function stops and returns false. `LoadEXR` of DibCodec.h passes
///   none to EXR plug-ins; the functions of DibFile.h always pass one.
#ifndef DIBSTREAM_DIBPLUGIN_H
#define DIBSTREAM_DIBPLUGIN_H

#include <DibFile.h>

#include <cstddef>
#include <cstdint>

/// The type of the export "LoadEXR".
/// @param path     UTF-8.
/// @param header   Takes the header block.
/// @param buffer   Takes the pixel block.
/// @param progress May be null.
/// @param user     Passed to `progress`.
using DibPluginLoadEXR = bool (*)(const char* path, BITMAPINFOHEADER** header, unsigned char** buffer,
                                  DibProgressCallback progress, void* user);

/// The type of the export "LoadDDS".
/// @param path     One code point per character; U+DC80 to U+DCFF are bytes that are not UTF-8 (see
///                 VexLibs.h).
/// @param header   Takes the header block.
/// @param buffer   Takes the pixel block.
/// @param progress May be null.
/// @param user     Passed to `progress`.
using DibPluginLoadDDS = bool (*)(const wchar_t* path, BITMAPINFOHEADER** header, unsigned char** buffer,
                                  DibProgressCallback progress, void* user);

/// @name Described plug-ins
/// @{

/// The version of the contract that this header describes.
inline constexpr int DIB_PLUGIN_VERSION = 1;

/// A file for a plug-in to read, what to read of it, and where the results go. Every record of
/// the contract begins with its size in bytes and only grows at its end.
struct DibPluginCall {
    std::size_t size;  ///< Bytes of this record.
    void* library;     ///< First argument of the functions below.

    std::uint64_t fileBytes;  ///< Length of the file.
    /// Copies up to `bytes` bytes from a position of the file, in any order, and returns their number: fewer
    /// at the end of the file and after an error.
    std::size_t (*readFile)(void* library, std::uint64_t position, void* out, std::size_t bytes);

    int page;                  ///< From 0: part, face, slice or frame.
    int layer;                 ///< From 0; -1 is the merged picture.
    int level;                 ///< From 0, which is the largest.
    int alpha;                 ///< `DibAlphaPolicy`; the library applies it itself.
    int damage;                ///< `DibDamagePolicy`; the library applies it itself.
    std::uint64_t mostPixels;  ///< The library refuses larger pictures.
    std::uint64_t mostBytes;   ///< The same for the bytes of the image.

    /// Takes the fraction of the work that is done; false cancels the load.
    bool (*report)(void* library, double fraction);
    /// Takes a note: a `DibNoteKind`, and up to 123 bytes of English without a full stop.
    void (*note)(void* library, int kind, const char* text);
    /// Takes the reason of a failure: a `DibErrorCode` and up to 255 bytes. The first one counts.
    void (*refuse)(void* library, int code, const char* reason);

    /// Whether anyone receives the reports. Otherwise a plug-in may work in larger steps.
    bool isWatched;
};

/// What a file says about a picture, as in `DibFileInfo` and `DibMetadata`. The library sets the defaults.
struct DibPluginInfo {
    std::size_t size;      ///< Bytes of this record.
    int width;             ///< Columns; of the page, layer and level that the call names.
    int height;            ///< Rows.
    int bitCount;          ///< Depth of the image that a load makes.
    int storedBits;        ///< Bits per pixel in the file.
    int pages;             ///< At least 1.
    int layers;            ///< Layers of the page.
    int levels;            ///< At least 1.
    int paletteSize;       ///< Entries of the colour table that a load gives.
    bool hasAlpha;         ///< Whether the pixels of a load have alpha.
    bool isTopDown;        ///< Whether a load gives a negative height.
    char compression[16];  ///< Ended by NUL.
    double xResolution;    ///< Pixels per inch; 0 when unknown.
    double yResolution;    ///< Pixels per inch; 0 when unknown.
    int orientation;       ///< 1 to 8 as in EXIF; the library turns the picture.
    char pageName[256];    ///< Of the page that the call names, UTF-8, ended by NUL; empty when it has none.
    /// EXIF block, from its byte-order mark on, allocated with `malloc`; may stay null. The library takes the
    /// orientation and, where the fields above give none, the resolution from it, and frees it. The field is
    /// there when `size` says so.
    unsigned char* exif;
    std::size_t exifBytes;  ///< Its length.
    /// In the file, 0 when it has those of the image. The field is there when `size` says so.
    int channels;
};

/// A picture that a load gives. All pointers are null and all numbers 0 at first.
struct DibPluginPicture {
    std::size_t size;               ///< Bytes of this record.
    BITMAPINFOHEADER* header;       ///< Header block.
    unsigned char* pixels;          ///< Pixel block.
    std::uint64_t rows;             ///< Rows that were read when the load fails; the others are 0.
    unsigned char* colorProfile;    ///< ICC profile; may stay null.
    std::size_t colorProfileBytes;  ///< Its length.
    unsigned char* exif;            ///< EXIF block, from its byte-order mark on; may stay null.
    std::size_t exifBytes;          ///< Its length.
    unsigned char* xmp;             ///< XMP packet; may stay null.
    std::size_t xmpBytes;           ///< Its length.
};

/// A layer of a page.
struct DibPluginLayer {
    std::size_t size;  ///< Bytes of this record.
    const char* name;  ///< UTF-8; up to 767 bytes count.
    int left;          ///< In pixels of the page.
    int top;           ///< See `left`.
    int width;         ///< Columns.
    int height;        ///< Rows.
};

/// An image for a plug-in to write, and where its file goes.
struct DibPluginSave {
    std::size_t size;  ///< Bytes of this record.
    void* library;     ///< First argument of the functions below.
    int width;         ///< Columns.
    int height;        ///< Rows.
    int bitCount;      ///< 32 when the file is to have alpha, else 24.
    /// Copies a row, counted from the top, to `width` pixels of four bytes: blue, green, red and alpha, which
    /// is 255 at 24 bits.
    void (*readRow)(void* library, int row, unsigned char* pixels);

    bool isLossy;          ///< As in `DibSaveOptions`.
    bool isWatched;        ///< Whether anyone receives the reports.
    int quality;           ///< As in `DibSaveOptions`.
    int compressionLevel;  ///< As in `DibSaveOptions`.

    const unsigned char* colorProfile;  ///< ICC profile; null when there is none.
    std::size_t colorProfileBytes;      ///< Its length.
    const unsigned char* exif;          ///< EXIF block, from its byte-order mark on; null when there is none.
    std::size_t exifBytes;              ///< Its length.

    /// Takes the next bytes of the file; false when they cannot be written.
    bool (*write)(void* library, const void* bytes, std::size_t count);
    /// As in `DibPluginCall`.
    bool (*report)(void* library, double fraction);
    /// As in `DibPluginCall`.
    void (*refuse)(void* library, int code, const char* reason);
};

/// What a plug-in reads, and its functions. No pointer may be null unless stated.
struct DibPluginDescription {
    std::size_t size;               ///< Bytes of this record.
    int version;                    ///< `DIB_PLUGIN_VERSION`.
    const char* name;               ///< A short word of a to z and 0 to 9, as options have it: "webp".
    const char* title;              ///< For people: "WebP".
    const char* const* extensions;  ///< Lower case, without the dot; at most 16; a null ends the list.
    const char* const* mimeTypes;   ///< At most 16; a null ends the list.
    const char* library;            ///< What decodes, with its version: "libwebp 1.2.4".
    unsigned int readDepths;        ///< Depths that a load gives: `DibStream::DIB_ACCEPT_8` and so on.
    bool hasLayers;                 ///< `DibPluginCall::layer` chooses one.
    bool hasPages;                  ///< `DibPluginCall::page` chooses one.
    /// Whether a file begins like this format; `count` is 64 unless the file is shorter.
    bool (*recognizes)(const unsigned char* bytes, std::size_t count);
    /// Reads the headers, without decoding pixels or allocating them. False when they cannot be read.
    bool (*probe)(const DibPluginCall* call, DibPluginInfo* info);
    /// Decodes. When it returns false it may leave a picture whose first rows could be read.
    bool (*load)(const DibPluginCall* call, DibPluginPicture* picture);
    /// Gives the layers of the page in the order of their numbers, each by `add` with `list`, and stops when
    /// that returns false. False with a reason when the headers cannot be read. May be null.
    bool (*listLayers)(const DibPluginCall* call, void* list,
                       bool (*add)(void* list, const DibPluginLayer* layer)) = nullptr;
    /// The number of the first page of that name; -1 when there is none or the headers cannot be read. Null
    /// when pages have no names.
    int (*findPage)(const DibPluginCall* call, const char* name) = nullptr;

    /// Depths that files hold as they are, 24 and 32 bits: `DibStream::DIB_ACCEPT_24` and so on; 0 when none
    /// are written.
    unsigned int writeDepths = 0;
    int mostSide = 0;                ///< The most rows and columns of a file; 0 when there is no limit.
    bool holdsColorProfile = false;  ///< Whether files hold a colour profile.
    bool holdsExif = false;          ///< Whether files hold an EXIF block.
    /// Encodes. False when that fails, or the library does not take the bytes. Null when `writeDepths` is 0.
    bool (*save)(const DibPluginSave* call) = nullptr;
};

/// The type of the export "DibPluginDescribe". The record, and all that it points to, stay as they are while
/// the code is loaded.
using DibPluginDescriber = const DibPluginDescription* (*)();
/// @}

#endif

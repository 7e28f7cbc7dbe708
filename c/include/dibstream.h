/// @file
/// DibStream for C programs and for languages that call C: images, image files and operations by name.
///
///     dib_image* image;
///     dib_result result = DIB_C_RESULT_INIT;
///     if (dib_load_file("photo.jpg", &image, NULL, &result, NULL, NULL) != DIB_C_OK) puts(result.reason);
///     if (dib_apply(image, "rotate:30,wrap=xy gaussian:4", NULL, &result, NULL, NULL) != DIB_C_OK) ...
///     dib_image_release(image);
///
/// The functions do what those of DibFile.h and DibOperation.h do; docs/c.md is a short introduction.
///
/// Rules common to the functions
/// -----------------------------
/// - **Results.** Functions that may fail return a code, 0 (`DIB_C_OK`) for success. A `dib_result` says in
///   words why a call failed, and what it noted. Its pointer may be null. Each call starts it anew.
/// - **Failure.** A load that fails gives a null image, a save that fails leaves the file as it was. Every
///   allocation may fail (code 2). A null pointer where something is needed gives code 6 or 3, never a crash.
/// - **Structures** start with their size. Initialise each with the macro named after it. A program keeps
///   working with a library that has more members, which takes the defaults of those that the program lacks
///   and does not write them. A library that has fewer members ignores the others, but options where these
///   are not 0 fail with code 8. A size that no version of the structure has gives code 6, and a structure
///   that was to be filled stays as it was.
/// - **Images** have one owner, who releases them. No function changes an image that it gets as const:
///   several threads may read and save one image while none changes it.
/// - **Texts** are UTF-8 and end with a zero byte. Pointers to texts that the library returns stay valid as
///   long as the program runs.
/// - **Progress.** The callback gets fractions that start at 0, never go back and end at 1 when the call
///   succeeds. Returning false cancels (code 9). It must not change the image.
/// - **Callbacks** must return: no exception and no `longjmp` may leave them.
#ifndef DIBSTREAM_C_DIBSTREAM_H
#define DIBSTREAM_C_DIBSTREAM_H

#ifndef __cplusplus
#include <stdbool.h>
#endif
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>

#if defined(_WIN32) && defined(DIB_BUILDS_LIBRARY)
#define DIB_C_EXPORT __declspec(dllexport)
#elif defined(_WIN32)
#define DIB_C_EXPORT
#elif defined(__GNUC__)
#define DIB_C_EXPORT __attribute__((visibility("default")))
#else
#define DIB_C_EXPORT
#endif

#ifdef __cplusplus
extern "C" {
#endif

/// @name Versions
/// @{

#define DIB_C_VERSION_MAJOR 0  ///< Programs need a library with the same one.
#define DIB_C_VERSION_MINOR 2  ///< Grows when functions or members are added.
#define DIB_C_VERSION_PATCH 0  ///< Grows with corrections.
/// The version of this header as one number that can be compared.
#define DIB_C_VERSION (DIB_C_VERSION_MAJOR * 1000000 + DIB_C_VERSION_MINOR * 1000 + DIB_C_VERSION_PATCH)

/// The version of the library that the program runs with, as `DIB_C_VERSION`.
DIB_C_EXPORT int dib_version(void);
/// The same as text: "0.2.0".
DIB_C_EXPORT const char* dib_version_text(void);
/// @}

/// @name Results
/// @{

/// The codes of `DibErrorCode`.
typedef enum dib_code {
    DIB_C_OK = 0,                 ///< No error.
    DIB_C_ERROR_GENERAL = 1,      ///< Failed without a more exact code.
    DIB_C_ERROR_MEMORY = 2,       ///< An allocation failed, or no image can have that size.
    DIB_C_ERROR_OPEN = 3,         ///< The file cannot be opened.
    DIB_C_ERROR_READ = 4,         ///< The file ends early, or reading failed.
    DIB_C_ERROR_WRITE = 5,        ///< Writing failed.
    DIB_C_ERROR_INVALID = 6,      ///< Damaged data, or an argument without meaning.
    DIB_C_ERROR_UNSUPPORTED = 7,  ///< A format, or a variant of it, that is not handled.
    DIB_C_ERROR_MISMATCH = 8,     ///< Something does not fit: depth, limit, accepted formats.
    DIB_C_ERROR_INTERRUPTED = 9   ///< The progress callback cancelled the call.
} dib_code;

/// The English text of a code; "(undefined)" for any other number.
DIB_C_EXPORT const char* dib_code_text(dib_code code);

/// What a file holds beside the pixels. A program that sets `dib_result::metadata` gets it when it opens or
/// probes a file, and releases it with `dib_metadata_clear`. A program may also fill one of its own, to be
/// saved; the library does not change that.
typedef struct dib_metadata {
    size_t size;                   ///< `sizeof(dib_metadata)`.
    unsigned char* color_profile;  ///< ICC profile; null when there is none.
    size_t color_profile_size;     ///< In bytes.
    unsigned char* exif;           ///< EXIF block, from its byte-order mark on; null when there is none.
    size_t exif_size;              ///< In bytes.
    double x_resolution;           ///< Pixels per inch; 0 when unknown.
    double y_resolution;           ///< Pixels per inch; 0 when unknown.
    /// How the stored rows must be turned for display, 1 to 8 as in EXIF; 1 is upright. It is 1 after a load
    /// that has turned the picture.
    int orientation;
    int reserved;  ///< 0.
    /// Alpha of the first entries of the palette, a byte each; the others are opaque. A load stores it with
    /// `dib_load_options::keeps_palette`; saving images of 1, 4 and 8 bits as PNG writes it.
    unsigned char* palette_alpha;
    size_t palette_alpha_size;  ///< In bytes.
    /// Of a TIM file: all but its pixels, so its positions in video memory and all its lookup tables. A TIM
    /// file that is saved with it is like the one that was opened, but for what has changed of the image.
    unsigned char* tim_frame;
    size_t tim_frame_size;  ///< In bytes.
    /// Title, author, comment ...: pairs of a keyword and a text, UTF-8, each ended by NUL. PNG files hold
    /// them all, JPEG files those with the keyword "Comment".
    unsigned char* texts;
    size_t texts_size;   ///< In bytes.
    unsigned char* xmp;  ///< XMP packet; null when there is none.
    size_t xmp_size;     ///< In bytes.
} dib_metadata;
/// Nothing known.
#define DIB_C_METADATA_INIT \
    { sizeof(dib_metadata), NULL, 0, NULL, 0, 0, 0, 1, 0, NULL, 0, NULL, 0, NULL, 0, NULL, 0 }

/// Frees the blocks that a call stored, and makes the structure as new. Null does nothing.
DIB_C_EXPORT void dib_metadata_clear(dib_metadata* metadata);

/// What a note is about.
typedef enum dib_note_kind {
    DIB_C_NOTE_WARNING = 0,     ///< The file is damaged or breaks a rule, and was read all the same.
    DIB_C_NOTE_ASSUMPTION = 1,  ///< The file leaves something open: "alpha is 0 everywhere and was ignored".
    DIB_C_NOTE_LOSS = 2         ///< Something was not kept: "16 bits a sample became 8".
} dib_note_kind;

#define DIB_C_MOST_NOTES 16   ///< Further notes are dropped.
#define DIB_C_NOTE_BYTES 124  ///< Room for the text of a note.

/// What differs between two pictures. Channels are red, green and blue, and alpha where a pixel of one of the
/// two is not opaque. A pixel that only one of the two has differs by 255 in all of them.
typedef struct dib_difference {
    size_t size;               ///< `sizeof(dib_difference)`.
    int64_t pixels;            ///< Pixels of a picture with the larger width and height of the two.
    int64_t different_pixels;  ///< Those among them that differ in a channel; 0: the two are alike.
    double mean_square;        ///< The mean of the squared differences of all channels.
    double psnr;               ///< 10 log10(255 x 255 / `mean_square`), in dB; infinite when none differs.
    int largest;               ///< The largest difference of a channel, 0 to 255.
    int x;  ///< Column of the first pixel, from the top, with that difference; -1 when none differs.
    int y;  ///< Its row.
    int is_same_size;  ///< 1 when both have the same width and height.
} dib_difference;
/// To be filled.
#define DIB_C_DIFFERENCE_INIT \
    { sizeof(dib_difference), 0, 0, 0, 0, 0, -1, -1, 0 }

/// The outcome of a call.
typedef struct dib_result {
    size_t size;         ///< `sizeof(dib_result)`.
    const char* format;  ///< Name of the file's format; null when it was not recognised.
    /// Set by the program: gets the metadata of a file that a call opens or probes, in place of what an
    /// earlier call stored there. Null: not wanted. The structure must not hold blocks of the program.
    dib_metadata* metadata;
    const char* operation;             ///< Of a chain: the operation that failed; null when it was none.
    const char* parameter;             ///< The parameter that is wrong; null when it was none.
    const char* suggestion;            ///< The name that may have been meant; null when there is none.
    int step;                          ///< The step of a chain that failed, from 0; -1 when it was none.
    int reserved;                      ///< 0.
    int code;                          ///< `dib_code`.
    int note_count;                    ///< Number of notes.
    char reason[512];                  ///< Why the call failed; empty when it succeeded.
    int note_kinds[DIB_C_MOST_NOTES];  ///< `dib_note_kind` of each note.
    char notes[DIB_C_MOST_NOTES][DIB_C_NOTE_BYTES];  ///< English, without a full stop.
    /// Set by the program: gets what the last step `compare` of `dib_apply` found; `pixels` is 0 where there
    /// was none. Null: not wanted.
    dib_difference* difference;
    /// 1 when rows became columns by `dib_apply`, as after "turn:90": then the resolutions across and down of
    /// the picture's metadata must be exchanged, too. 0 when the call failed.
    int exchanges_axes;
    /// Entries of `palette_alpha`: 0 where no entry is transparent, and where a step after "colors" or
    /// "remap" did more than move pixels.
    int palette_alpha_size;
    /// Alpha of the first entries of the palette that `dib_apply` made, for `dib_metadata::palette_alpha`
    /// where the picture is saved: 255, and 0 for the entry of transparent pixels.
    unsigned char palette_alpha[256];
} dib_result;
/// No call yet.
#define DIB_C_RESULT_INIT                                                                               \
    {                                                                                                   \
        sizeof(dib_result), NULL, NULL, NULL, NULL, NULL, -1, 0, 0, 0, "", {0}, {""}, NULL, 0, 0, { 0 } \
    }

/// Called with the fraction of the work that is done, from 0 to 1, and the caller's pointer. False cancels.
typedef bool (*dib_progress)(float fraction, void* user);

/// Frees a block that a function gave to the program. Null does nothing.
DIB_C_EXPORT void dib_free(void* block);
/// @}

/// @name Images
///
/// An image has rows of pixels of 1, 4, 8, 16, 24 or 32 bits. Up to 8 bits a pixel is an index into the
/// palette; at 1 and 4 bits the leftmost pixel is in the most significant bits. 16 bits are 5-5-5 words with
/// blue in the low bits, 24 bits are bytes blue, green, red, 32 bits blue, green, red, alpha. Rows are padded
/// to a multiple of 4 bytes. They count from the top of the picture, in whichever order they are stored.
/// @{

/// An image; `dib_image_release` ends it.
typedef struct dib_image dib_image;

/// The order in which rows are stored.
typedef enum dib_row_order {
    DIB_C_BOTTOM_UP = 0,  ///< The bottom row comes first in memory.
    DIB_C_TOP_DOWN = 1    ///< The top row comes first.
} dib_row_order;

/// Bytes from one row to the next; 0 when there is no such depth or the width is below 1 or too large.
DIB_C_EXPORT size_t dib_row_bytes(int width, int bit_count);

/// Makes an image. All its bytes are 0, its palette is the grey ramp.
/// @param width     Columns, 1 or more.
/// @param height    Rows, 1 or more.
/// @param bit_count 1, 4, 8, 16, 24 or 32.
/// @param row_order `dib_row_order`.
/// @param image     Gets the image, or null when the call fails.
/// @return 6 for any other number or a null pointer; 2 when memory is short or no image can be that large
///         (2 GiB of pixels).
DIB_C_EXPORT dib_code dib_image_new(int width, int height, int bit_count, int row_order, dib_image** image);
/// Makes an image of pixels that belong to the program and must outlive it. They are never freed. Functions
/// that give the image other pixels leave the program's as they were.
/// @param pixels    `height` rows, at an address that is a multiple of 4.
/// @param row_bytes Bytes from one row to the next, for which `dib_row_bytes` is the only possible value.
/// @return As `dib_image_new`; 8 when rows or address are not as they must be.
DIB_C_EXPORT dib_code dib_image_wrap(void* pixels, size_t row_bytes, int width, int height, int bit_count,
                                     int row_order, dib_image** image);
/// Makes an independent copy, which owns its pixels.
/// @return 2 when memory is short, 6 when a pointer is null; `*copy` is null then.
DIB_C_EXPORT dib_code dib_image_clone(const dib_image* image, dib_image** copy);
/// Ends the image and frees what it owns. Null does nothing.
DIB_C_EXPORT void dib_image_release(dib_image* image);

/// Columns; 0 for null.
DIB_C_EXPORT int dib_image_width(const dib_image* image);
/// Rows; 0 for null.
DIB_C_EXPORT int dib_image_height(const dib_image* image);
/// Bits per pixel; 0 for null.
DIB_C_EXPORT int dib_image_bit_count(const dib_image* image);
/// The order in which rows are stored; bottom-up for null.
DIB_C_EXPORT dib_row_order dib_image_row_order(const dib_image* image);
/// Bytes from one row to the next in memory; 0 for null.
DIB_C_EXPORT size_t dib_image_row_bytes(const dib_image* image);
/// The start of a row, counted from the top of the picture; null when there is none. It is valid until the
/// image is changed by another function or released.
DIB_C_EXPORT unsigned char* dib_image_row(dib_image* image, int row);
/// The same for reading.
DIB_C_EXPORT const unsigned char* dib_image_const_row(const dib_image* image, int row);

/// Copies the palette of an image.
/// @param colors Gets at most `most` entries, each 0xRRGGBB. May be null when `most` is 0.
/// @return The number of entries that the palette has; 0 above 8 bits and for null.
DIB_C_EXPORT int dib_image_get_palette(const dib_image* image, uint32_t* colors, int most);
/// Replaces the palette. Indices beyond it are black.
/// @param colors Entries 0xRRGGBB; bits above them are ignored.
/// @param count  1 to 2, 16 or 256, as the depth has indices.
/// @return 6 for a null pointer or another count, 8 when there is no palette, 2 when memory is short. The
///         image is unchanged after each of them.
DIB_C_EXPORT dib_code dib_image_set_palette(dib_image* image, const uint32_t* colors, int count);
/// @}

/// @name Formats
/// @{

/// Depths, as bits of a set.
typedef enum dib_depths {
    DIB_C_DEPTH_1 = 1,    ///< 1 bit.
    DIB_C_DEPTH_4 = 2,    ///< 4 bits.
    DIB_C_DEPTH_8 = 4,    ///< 8 bits.
    DIB_C_DEPTH_16 = 8,   ///< 16 bits.
    DIB_C_DEPTH_24 = 16,  ///< 24 bits.
    DIB_C_DEPTH_32 = 32   ///< 32 bits.
} dib_depths;

/// A file format.
typedef struct dib_format {
    size_t size;                    ///< `sizeof(dib_format)`.
    const char* name;               ///< A short word, as options have it: "png".
    const char* title;              ///< For people: "Truevision TGA".
    const char* const* extensions;  ///< Lower case, without the dot, the usual one first; null ends them.
    const char* const* mime_types;  ///< A null ends them.
    const char* plugin;             ///< File of the plug-in that decodes it; null when none is needed.
    unsigned int read_depths;       ///< Depths that a load gives.
    unsigned int write_depths;      ///< Depths that a file holds as they are; 0 when nothing can be saved.
    int has_layers;                 ///< 1 when `dib_load_options::layer` chooses one.
    int has_pages;                  ///< 1 when `dib_load_options::page` chooses one.
    int has_palette_alpha;          ///< 1 when files hold `dib_metadata::palette_alpha`, in both directions.
    int reserved;                   ///< 0.
} dib_format;
/// To be filled.
#define DIB_C_FORMAT_INIT \
    { sizeof(dib_format), NULL, NULL, NULL, NULL, NULL, 0, 0, 0, 0, 0, 0 }

/// The number of formats.
DIB_C_EXPORT int dib_format_count(void);
/// Describes a format, 0 to `dib_format_count()` - 1, in the order in which lists show them.
/// @return 6 when there is none, or a pointer is null; the structure is unchanged then.
DIB_C_EXPORT dib_code dib_format_at(int index, dib_format* format);
/// Describes the format of that name or extension, in upper or lower case.
/// @return 7 when there is none, 6 when a pointer is null; the structure is unchanged then.
DIB_C_EXPORT dib_code dib_find_format(const char* name_or_extension, dib_format* format);
/// Whether a format, given by its name or an extension, can be read now: its plug-in, if it needs one, can be
/// loaded.
DIB_C_EXPORT bool dib_is_format_available(const char* name_or_extension);
/// What decodes a format, given by its name or an extension, with its version, as its plug-in says: "libwebp
/// 1.2.4". Null for formats without a plug-in, and when that is missing or does not say.
DIB_C_EXPORT const char* dib_format_library(const char* name_or_extension);
/// Sets the folder of the plug-ins, for the whole program. Call it before the first file is opened. Null is
/// the empty path.
/// @return 8 when the path has more than 1023 characters, 2 when memory is short. The folder is unchanged
///         after each of them.
DIB_C_EXPORT dib_code dib_set_plugin_folder(const char* path);
/// @}

/// @name Open
/// @{

/// What to do with a file whose pixels are damaged or end too early.
typedef enum dib_damage {
    DIB_C_DAMAGE_REFUSE = 0,  ///< The load fails.
    DIB_C_DAMAGE_KEEP = 1     ///< The load keeps the rows that could be read, with a warning; others are 0.
} dib_damage;

/// What the alpha of a file means.
typedef enum dib_alpha {
    DIB_C_ALPHA_GUESS = 0,  ///< Alpha that is 0 everywhere becomes 255, with a note.
    DIB_C_ALPHA_STORED = 1  ///< Alpha stays as the file has it.
} dib_alpha;

/// Which picture of a layer to open.
typedef enum dib_layer_part {
    DIB_C_LAYER_PIXELS = 0,      ///< Its pixels, 32 bits, without its masks and opacity.
    DIB_C_LAYER_MASK = 1,        ///< The first of its masks, 8 bits of grey.
    DIB_C_LAYER_SECOND_MASK = 2  ///< The second of them, 8 bits of grey.
} dib_layer_part;

/// How to open a file.
typedef struct dib_load_options {
    size_t size;                 ///< `sizeof(dib_load_options)`.
    const char* const* formats;  ///< Names of the accepted formats, ended by null; null: all.
    const char* name;            ///< A file name that says the format where the content does not.
    const char* format;          ///< Name of the format that the file has for certain; null: detected.
    uint64_t most_pixels;        ///< Larger pictures are refused.
    uint64_t most_bytes;         ///< Of memory for the image; of a stream as well.
    int most_layers;             ///< Documents with more are refused.
    int damage;                  ///< `dib_damage`.
    int alpha;                   ///< `dib_alpha`.
    int page;                    ///< From 0; only 0 in formats with one page.
    int layer;                   ///< From 0; -1 is the merged picture.
    int level;                   ///< From 0, which is the largest.
    int applies_orientation;     ///< Not 0: turns the picture by the file's orientation.
    /// Not 0: a PNG palette with transparency stays one, with its alpha in `dib_metadata::palette_alpha`.
    int keeps_palette;
    /// Columns that are enough, after the picture was turned: JPEG files are decoded at a half, a quarter or
    /// an eighth of their size where that has as many, and `at_least_height` rows; sides are rounded up. 0
    /// demands nothing of a side; 0 and 0 decode the full size. Probes report it, and limits apply to it.
    int at_least_width;
    int at_least_height;     ///< See `at_least_width`.
    const char* page_name;   ///< Name of the page, in place of its number: of an EXR file that of the part.
    const char* layer_name;  ///< Name of the layer, in place of its number; of several the lowest.
    int part;                ///< `dib_layer_part` of the layer, when one is chosen.
    int reserved;            ///< 0.
} dib_load_options;
/// The defaults.
#define DIB_C_LOAD_OPTIONS_INIT                                                                             \
    {                                                                                                       \
        sizeof(dib_load_options), NULL, NULL, NULL, UINT64_C(1) << 31, UINT64_C(1) << 33, 1 << 16, 0, 0, 0, \
            -1, 0, 1, 0, 0, 0, NULL, NULL, 0, 0                                                             \
    }

/// Copies up to `bytes` bytes to `out` and returns their number: 0 at the end and after an error.
typedef size_t (*dib_read_function)(void* context, void* out, size_t bytes);

/// Opens a file as a new image. The content of the file decides its format; the extension helps where a
/// format has no signature.
/// @param path     A null path cannot be opened.
/// @param image    Gets the image, or null when the call fails.
/// @param options  Null: the defaults.
/// @param result   Gets reason, notes and metadata, unless it is null.
/// @param progress Null: none.
/// @param user     Argument of `progress`.
/// @return
/// - 3 the file cannot be opened;
/// - 4 it ends early, or reading failed;
/// - 6 it is damaged, or an argument has no meaning;
/// - 7 its format, or this variant of it, is not read;
/// - 8 an option refuses it (accepted formats, limits, pages);
/// - 9 the callback cancelled;
/// - 2 memory is short, or no image can have that size.
DIB_C_EXPORT dib_code dib_load_file(const char* path, dib_image** image, const dib_load_options* options,
                                    dib_result* result, dib_progress progress, void* user);
/// The same for a file in memory.
DIB_C_EXPORT dib_code dib_load_memory(const void* bytes, size_t size, dib_image** image,
                                      const dib_load_options* options, dib_result* result,
                                      dib_progress progress, void* user);
/// The same from the current position of an open file or pipe, which stays open. The picture must be the last
/// thing in it: the position after the call is not defined.
DIB_C_EXPORT dib_code dib_load_stream(FILE* file, dib_image** image, const dib_load_options* options,
                                      dib_result* result, dib_progress progress, void* user);
/// The same from a function, which is called with `context`.
DIB_C_EXPORT dib_code dib_load_function(dib_read_function read, void* context, dib_image** image,
                                        const dib_load_options* options, dib_result* result,
                                        dib_progress progress, void* user);

/// What a file holds, as far as its headers say.
typedef struct dib_file_info {
    size_t size;           ///< `sizeof(dib_file_info)`.
    const char* format;    ///< Name of the format.
    char compression[16];  ///< "none", "rle", "deflate" ...; empty when unknown.
    int width;             ///< Columns of the picture as a load gives it.
    int height;            ///< Rows.
    int bit_count;         ///< Depth of the image that a load makes.
    int stored_bits;       ///< Bits per pixel in the file.
    int pages;             ///< Pictures in the file.
    int layers;            ///< Layers of a document.
    int levels;            ///< Sizes of the same picture.
    int palette_size;      ///< Entries of the palette that a load gives; 0 when there is none.
    int has_alpha;         ///< 1 when a load has alpha, in its pixels or its palette.
    int row_order;         ///< `dib_row_order` of a load.
    char colors[16];       ///< Of a document: "RGB", "CMYK" ...; "grey" of a file of greys; or empty.
    /// Of the picture in the file: 1 for indices and greys, 3 for colours, 4 with alpha or four inks; of a
    /// document those after the colours too.
    int channels;
    int channel_bits;     ///< Of a document: bits per channel.
    char page_name[256];  ///< Of the page that the options choose; empty when it has none.
    /// Of a TIM file: where its pixels belong in video memory, in words of 16 bits; -1 in other files.
    int video_x;
    int video_y;    ///< In rows.
    int palette_x;  ///< The same of its lookup tables; -1 when there are none.
    int palette_y;  ///< In rows.
} dib_file_info;
/// To be filled.
#define DIB_C_FILE_INFO_INIT \
    { sizeof(dib_file_info), NULL, "", 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, "", 0, 0, "", -1, -1, -1, -1 }

/// Reads what the headers of a file say, without decoding or allocating its pixels. Pages and layers are
/// counted; limits are not applied. A page, layer or level that the file does not have is refused.
/// @return As `dib_load_file`; the structure is unchanged after a failure.
DIB_C_EXPORT dib_code dib_probe_file(const char* path, dib_file_info* info, const dib_load_options* options,
                                     dib_result* result);
/// The same for a file in memory.
DIB_C_EXPORT dib_code dib_probe_memory(const void* bytes, size_t size, dib_file_info* info,
                                       const dib_load_options* options, dib_result* result);

/// What a layer is.
typedef enum dib_layer_kind {
    DIB_C_LAYER_PLAIN = 0,     ///< A picture, or something that changes the layers below it.
    DIB_C_LAYER_GROUP = 1,     ///< The upper end of a group, which has its name.
    DIB_C_LAYER_GROUP_END = 2  ///< The lower end of a group.
} dib_layer_kind;

/// A layer of a document.
typedef struct dib_layer {
    size_t size;     ///< `sizeof(dib_layer)`.
    char name[768];  ///< Longer names are cut.
    int kind;        ///< `dib_layer_kind`.
    int group;       ///< Number of the group that it is in; -1 when there is none.
    int left;        ///< In pixels of the document, which it may leave.
    int top;         ///< See `left`.
    int width;       ///< Columns; 0 when it has no pixels.
    int height;      ///< Rows; 0 when it has no pixels.
    int opacity;     ///< 0 to 255. Loads do not apply it.
    int is_visible;  ///< 1 when it is switched on.
    int is_clipped;  ///< 1 when it shows only where the layer below it does.
    int blend_mode;  ///< As `DibPSDLoader::GetLayerBlendMode` (DibPSDLoader.h) has it.
} dib_layer;
/// To be filled.
#define DIB_C_LAYER_INIT \
    { sizeof(dib_layer), "", 0, -1, 0, 0, 0, 0, 255, 1, 0, 0 }

/// A mask of a layer: a grey picture of its own size.
typedef struct dib_layer_mask {
    size_t size;      ///< `sizeof(dib_layer_mask)`.
    int exists;       ///< 1 when the layer has it.
    int is_disabled;  ///< 1 when it is switched off.
    int left;         ///< In pixels of the document, which it may leave.
    int top;          ///< See `left`.
    int width;        ///< Columns; 0 when it has no pixels.
    int height;       ///< Rows; 0 when it has no pixels.
    int outside;      ///< What it is outside its rectangle, 0 (hides) to 255 (shows).
    int reserved;     ///< 0.
} dib_layer_mask;
/// To be filled.
#define DIB_C_LAYER_MASK_INIT \
    { sizeof(dib_layer_mask), 0, 0, 0, 0, 0, 0, 0, 0 }

/// The layers of a document; `dib_layers_release` ends them.
typedef struct dib_layers dib_layers;

/// Reads what a document says about its layers, without decoding their pixels. Files of formats without
/// layers have none. A document that ends inside the list gives those before, with a warning.
/// @param layers Gets the layers, or null when the call fails.
/// @return As `dib_load_file`.
DIB_C_EXPORT dib_code dib_probe_layers(const char* path, dib_layers** layers, const dib_load_options* options,
                                       dib_result* result);
/// The same for a file in memory.
DIB_C_EXPORT dib_code dib_probe_layers_memory(const void* bytes, size_t size, dib_layers** layers,
                                              const dib_load_options* options, dib_result* result);
/// The number of layers; 0 for null.
DIB_C_EXPORT int dib_layer_count(const dib_layers* layers);
/// Describes a layer, 0 to `dib_layer_count()` - 1, from the lowest to the highest, as
/// `dib_load_options::layer` counts them.
/// @return 6 when there is none, or a pointer is null; the structure is unchanged then.
DIB_C_EXPORT dib_code dib_layer_at(const dib_layers* layers, int index, dib_layer* layer);
/// Describes a mask of a layer.
/// @param part `DIB_C_LAYER_MASK`, the mask in force, or `DIB_C_LAYER_SECOND_MASK`: where the first combines
///             a painted mask and a vector mask, the painted one alone.
/// @return 6 when there is no such layer or part, or a pointer is null; the structure is unchanged then.
DIB_C_EXPORT dib_code dib_layer_mask_at(const dib_layers* layers, int index, int part, dib_layer_mask* mask);
/// Ends the layers. Null does nothing.
DIB_C_EXPORT void dib_layers_release(dib_layers* layers);
/// @}

/// @name Save
/// @{

/// How a TIFF file packs its rows.
typedef enum dib_tiff_compression {
    DIB_C_TIFF_DEFLATE = 0,   ///< With horizontal differences.
    DIB_C_TIFF_LZW = 1,       ///< With horizontal differences.
    DIB_C_TIFF_PACKBITS = 2,  ///< Run lengths.
    DIB_C_TIFF_NONE = 3       ///< Raw.
} dib_tiff_compression;

/// How to save a file.
typedef struct dib_save_options {
    size_t size;                   ///< `sizeof(dib_save_options)`.
    const char* format;            ///< Name of the format; null: by the extension of the path.
    const dib_metadata* metadata;  ///< What the file says beside the pixels; null: nothing.
    int refuses_losses;            ///< Not 0: fails when the file cannot hold all of the image.
    int quality;                   ///< JPEG, and WebP with `is_lossy`: 1 to 100.
    /// PNG, TIFF and lossless WebP, 0 (fast) to 9 (small); -1: a good compromise.
    int compression_level;
    int run_lengths;       ///< Not 0: run lengths where a format has them as an option.
    int tiff_compression;  ///< `dib_tiff_compression`.
    /// WebP: not 0 changes pixels a little, by `quality`, for smaller files.
    int is_lossy;
    int keeps_existing;  ///< Not 0: a save to a path fails with code 3 where there is a file.
    int reserved;        ///< 0.
} dib_save_options;
/// The defaults.
#define DIB_C_SAVE_OPTIONS_INIT \
    { sizeof(dib_save_options), NULL, NULL, 0, 90, -1, 1, 0, 0, 0, 0 }

/// Takes `bytes` bytes and returns whether all were written.
typedef bool (*dib_write_function)(void* context, const void* from, size_t bytes);

/// Says what a file of that format cannot hold of the image, as notes of the result.
/// @param count Gets the number of losses; 0 after a failure. It may be null.
/// @return 6 when an argument has no meaning, 7 when the format is unknown or cannot be written, 8 when the
///         image is too large for it, 2 when memory is short.
DIB_C_EXPORT dib_code dib_save_losses(const dib_image* image, const char* format,
                                      const dib_save_options* options, int* count, dib_result* result);
/// Writes the image to a file, whole or not at all: the file is written under a temporary name beside the
/// target, flushed to the disk and renamed. Permissions and symbolic links of an existing file are kept.
/// Losses are noted.
/// @return
/// - 3 the file cannot be created;
/// - 5 it cannot be written to the end;
/// - 6 there is no image, or an argument has no meaning;
/// - 7 the format is unknown or cannot be written;
/// - 8 the file cannot hold all of the image, and `refuses_losses` is set, or cannot hold its size at all;
/// - 9 the callback cancelled;
/// - 2 memory is short.
DIB_C_EXPORT dib_code dib_save_file(const char* path, const dib_image* image, const dib_save_options* options,
                                    dib_result* result, dib_progress progress, void* user);
/// The same to a new block of memory, which `dib_free` frees. The options must name the format.
/// @param bytes Gets the block, or null when the call fails.
/// @param size  Gets its size, or 0.
DIB_C_EXPORT dib_code dib_save_memory(void** bytes, size_t* size, const dib_image* image,
                                      const dib_save_options* options, dib_result* result,
                                      dib_progress progress, void* user);
/// The same to an open file or pipe, which stays open and is flushed. The options must name the format. The
/// picture is encoded in memory first: a failure to encode writes nothing.
DIB_C_EXPORT dib_code dib_save_stream(FILE* file, const dib_image* image, const dib_save_options* options,
                                      dib_result* result, dib_progress progress, void* user);
/// The same to a function, which is called with `context`.
DIB_C_EXPORT dib_code dib_save_function(dib_write_function write, void* context, const dib_image* image,
                                        const dib_save_options* options, dib_result* result,
                                        dib_progress progress, void* user);
/// @}

/// @name Palette files
///
/// Palettes in files of their own: those of GIMP (.gpl), JASC (.pal) and Adobe (.act). In memory they are the
/// palettes of images.
/// @{

/// Opens a palette as a new image of 8 bits with one row, in which each pixel has the next entry. The content
/// of the file decides its format. Of more than 256 colours the first 256 stay, which is noted.
/// @param path   A null path cannot be opened.
/// @param image  Gets the image, or null when the call fails.
/// @param result Gets reason and notes, unless it is null.
/// @return
/// - 3 the file cannot be opened;
/// - 4 it ends early;
/// - 6 it is damaged, or an argument has no meaning;
/// - 7 it is no palette that is read;
/// - 2 memory is short.
DIB_C_EXPORT dib_code dib_load_palette(const char* path, dib_image** image, dib_result* result);
/// The same for a file in memory.
DIB_C_EXPORT dib_code dib_load_palette_memory(const void* bytes, size_t size, dib_image** image,
                                              dib_result* result);
/// Writes the palette of an image of up to 8 bits, whole or not at all.
/// @param format "gpl", "pal" or "act"; null: as the extension of the path says.
/// @return
/// - 3 the file cannot be created;
/// - 5 it cannot be written to the end;
/// - 6 there is no image;
/// - 7 there is no such format;
/// - 8 the image has no palette;
/// - 2 memory is short.
DIB_C_EXPORT dib_code dib_save_palette(const char* path, const dib_image* image, const char* format,
                                       dib_result* result);
/// The same to a new block of memory, which `dib_free` frees. The format must be given.
/// @param bytes Gets the block, or null when the call fails.
/// @param size  Gets its size, or 0.
DIB_C_EXPORT dib_code dib_save_palette_memory(void** bytes, size_t* size, const dib_image* image,
                                              const char* format, dib_result* result);
/// @}

/// @name Operations
///
/// Every effect, conversion and geometry method by its name, as text: a **step** is the name of an operation,
/// with values after a colon: "rotate:30,wrap=xy". A **chain** is steps with white space between them.
/// DibOperation.h says how values are written.
/// @{

/// The version of the JSON texts, their member "schema".
#define DIB_C_OPERATION_SCHEMA 1

/// What a description says.
typedef enum dib_description {
    DIB_C_DESCRIBE_SYNOPSIS = 0,  ///< How it is written: "gaussian:RADIUS[,wrap=none|x|y][,classic]".
    DIB_C_DESCRIBE_HELP = 1,      ///< Several lines for people: what it does, its parameters, an example.
    DIB_C_DESCRIBE_JSON = 2       ///< All of it, as a JSON object.
} dib_description;

/// The number of operations.
DIB_C_EXPORT int dib_operation_count(void);
/// The name of an operation, 0 to `dib_operation_count()` - 1, in the order in which lists show them; null
/// when there is none.
DIB_C_EXPORT const char* dib_operation_name(int index);
/// Describes an operation.
/// @param name        Its name; null describes all of them: as text with a line feed between them, as JSON
///                    `{"schema": 1, "operations": [...]}`.
/// @param description `dib_description`.
/// @param text        Gets a block of text, which `dib_free` frees, or null when the call fails.
/// @return 7 when there is no such operation, 6 when an argument has no meaning, 2 when memory is short.
DIB_C_EXPORT dib_code dib_describe_operation(const char* name, int description, char** text);

/// Opens a picture that a step names. `*image` gets it and belongs to the library from then on. Any code but
/// `DIB_C_OK` refuses it.
typedef dib_code (*dib_open_function)(void* context, const char* name, dib_image** image);

/// How to apply a chain.
typedef struct dib_apply_options {
    size_t size;                   ///< `sizeof(dib_apply_options)`.
    const dib_load_options* load;  ///< How files are opened that steps name; null: with the defaults.
    /// Opens what steps name; null: they are files. Set it where chains are written by people who must not
    /// read files.
    dib_open_function open;
    void* context;  ///< First argument of `open`.
    /// Not 0: saves the memory and the time of a working copy. The steps change the image itself, pixels that
    /// it wraps included. After a failure it holds what was reached, and may have no pixels.
    int in_place;
    int classic;  ///< Not 0: sets the switch `classic` of all steps that have it.
} dib_apply_options;
/// The defaults.
#define DIB_C_APPLY_OPTIONS_INIT \
    { sizeof(dib_apply_options), NULL, NULL, NULL, 0, 0 }

/// Checks a chain without applying it: names, values and their ranges.
/// @return 6 when it is wrong or null, 2 when memory is short.
DIB_C_EXPORT dib_code dib_check_chain(const char* chain, dib_result* result);
/// Applies a chain to an image. The result replaces the pixels at the end; pixels that the image wraps are
/// not changed.
/// @return With the image unchanged (see `in_place`):
/// - 6 the chain is wrong, or there is no image;
/// - 8 a step does not accept the depth or the size of its image;
/// - 9 the callback cancelled;
/// - 2 memory is short, or no image can have a size;
/// - the code of opening a second picture, when that failed.
DIB_C_EXPORT dib_code dib_apply(dib_image* image, const char* chain, const dib_apply_options* options,
                                dib_result* result, dib_progress progress, void* user);

/// Compares two pictures of any depth: the colours of palettes, not their indices. They are not changed.
/// @param difference Gets the numbers.
/// @param shown      Gets a picture of 24 bits, or null when the call fails, unless it is null: every channel
///                   is the difference, times `gain`, up to 255; differences of alpha show in all of them.
///                   Where only one of the two has pixels it is white.
/// @param gain       1 to 255.
/// @return With `difference` unchanged:
/// - 6 there is no image, or an argument has no meaning;
/// - 9 the callback cancelled;
/// - 2 memory is short.
DIB_C_EXPORT dib_code dib_compare(const dib_image* first, const dib_image* second, dib_difference* difference,
                                  dib_image** shown, int gain, dib_result* result, dib_progress progress,
                                  void* user);

/// Reads a colour as steps have it, "#rrggbb" or "#rrggbbaa", or in short "#rgb" or "#rgba".
/// @param color Gets it as 0xAARRGGBB.
/// @return 6 when it is none, or a pointer is null, 2 when memory is short; `*color` is unchanged then.
DIB_C_EXPORT dib_code dib_parse_color(const char* text, uint32_t* color, dib_result* result);

/// How the images of a sheet are laid out.
typedef struct dib_montage_options {
    size_t size;  ///< `sizeof(dib_montage_options)`.
    /// A text for each image, in UTF-8, which is written below it, shortened where the cell is too narrow;
    /// null texts are none. Null: no image has one.
    const char* const* labels;
    /// The file of their font, as `font` of the operation "text"; null: the built-in letters, which hold
    /// ASCII.
    const char* label_font;
    int columns;          ///< Images in a row, at least 0; 0: about as many as there are rows.
    int gap;              ///< Pixels between the cells and around them, at least 0.
    int most_width;       ///< Images are shrunk until they lie inside this size; 0: no limit.
    int most_height;      ///< See `most_width`.
    int label_size;       ///< The height of the labels' font in pixels, at least 1.
    uint32_t background;  ///< Of all that no image covers, 0xAARRGGBB.
    uint32_t
        label_color;  ///< 0xAARRGGBB; with an alpha of 0: black or white, as the background shows better.
    int reserved;     ///< 0.
} dib_montage_options;
/// The defaults.
#define DIB_C_MONTAGE_OPTIONS_INIT \
    { sizeof(dib_montage_options), NULL, NULL, 0, 0, 0, 0, 14, UINT32_C(0xFFFFFFFF), 0, 0 }

/// Puts images of any depth on a sheet, row by row. Each lies in the middle of a cell as large as the largest
/// of them, with its label below.
/// @param images So many as `count`, 1 or more. They are not changed.
/// @param sheet  Gets a new image, or null when the call fails. It has 8 bits of grey where all images have
///               palettes of greys, the labels are grey and the background is, without alpha; else 32 bits.
/// @return
/// - 3, 4, 6 or 7 the font cannot be opened or read, is damaged, is none, or the library was built without
///   FreeType;
/// - 6 there is no image, or an argument or an option has no meaning;
/// - 9 the callback cancelled;
/// - 2 memory is short, or no image can have the size of the sheet.
DIB_C_EXPORT dib_code dib_montage(const dib_image* const* images, int count, dib_image** sheet,
                                  const dib_montage_options* options, dib_result* result,
                                  dib_progress progress, void* user);
/// @}

#ifdef __cplusplus
}
#endif

#endif

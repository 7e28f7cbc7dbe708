/// @file
/// Functions that take several pictures: what differs between two of them, and sheets of many.
///
///     DibDifference difference;
///     if (DibCompare(&before, &after, &difference)) std::printf("%.2f dB\n", difference.psnr);
///
/// The rules for results, ranges, failure and threads are those of DibOperation.h.
#ifndef DIBSTREAM_DIBPICTURES_H
#define DIBSTREAM_DIBPICTURES_H

#include <DibExport.h>
#include <DibStream.h>

#include <cstddef>
#include <cstdint>

struct DibOperationResult;

/// What differs between two pictures. Channels are red, green and blue, and alpha where a pixel of one of the
/// two is not opaque. A pixel that only one of the two has differs by 255 in all of them.
struct DibDifference {
    std::size_t size = sizeof(DibDifference);  ///< Bytes of this record, by which it may grow.
    std::int64_t pixels = 0;           ///< Pixels of a picture with the larger width and height of the two.
    std::int64_t differentPixels = 0;  ///< Those among them that differ in a channel; 0: the two are alike.
    int largest = 0;                   ///< The largest difference of a channel, 0 to 255.
    int x = -1;  ///< Column of the first pixel, from the top, with that difference; -1 when none differs.
    int y = -1;  ///< Its row.
    double meanSquare = 0;  ///< The mean of the squared differences of all channels.
    /// The peak signal-to-noise ratio in dB: 10 log10(255 x 255 / meanSquare); infinite when none differs.
    double psnr = 0;
    bool isSameSize = false;  ///< Whether both have the same width and height.
};

/// Compares two pictures of any depth: the colours of palettes, not their indices. They are not changed.
/// @param difference Gets the numbers; they stay as they were on failure.
/// @param shown Gets a picture of 24 bits unless it is null: every channel is the difference, times `gain`,
///   up to 255; differences of alpha show in all of them. Where only one of the two has pixels it is white.
///   It may be one of the two.
/// @param gain From 1 to 255.
/// @return False, with nothing changed, and code
/// - 6 one of the two has no pixels, a pointer is null or the gain is out of range;
/// - 2 memory is short;
/// - 9 the callback cancelled.
DIB_EXPORT bool DibCompare(const DibStream* first, const DibStream* second, DibDifference* difference,
                           DibStream* shown = nullptr, int gain = 1, DibOperationResult* result = nullptr,
                           DibProgressCallback callback = nullptr, void* user = nullptr);

/// How the pictures of a sheet are laid out.
struct DibMontageOptions {
    std::size_t size = sizeof(DibMontageOptions);  ///< Bytes of the caller's record.
    int columns = 0;  ///< Pictures in a row, at least 0; 0: about as many as there are rows.
    int gap = 0;      ///< Pixels between the cells and around them, at least 0.
    /// Pictures are shrunk until they lie inside this size; a side of 0 has no limit.
    int mostWidth = 0;
    int mostHeight = 0;                         ///< See `mostWidth`.
    DibBGRA background = {255, 255, 255, 255};  ///< Of all that no picture covers.
    /// A text for each picture, in UTF-8, which is written below it, shortened where the cell is too narrow;
    /// null texts are none. Null: no picture has one.
    const char* const* labels = nullptr;
    int labelSize =
        14;  ///< The height of their font in pixels, at least 1; as `size` of the operation `text`.
    /// Their colour. With an alpha of 0 they are black or white, as the background shows better.
    DibBGRA labelColor = {0, 0, 0, 0};
    /// The file of their font, as `font` of the operation `text`; null: the built-in letters, which hold
    /// ASCII.
    const char* labelFont = nullptr;
};

/// Puts pictures of any depth on a sheet, row by row. Each lies in the middle of a cell as large as the
/// largest of them, with its label below.
/// @param pictures So many as `count`, 1 or more. They are not changed.
/// @param sheet Gets the sheet. It has 8 bits of grey where all pictures have palettes of greys, the labels
///   are grey and the background is, without alpha; else 32 bits. It may be one of the pictures.
/// @param options Null: the defaults.
/// @return False, with the sheet as it was, and code
/// - 6 a picture has no pixels, a pointer is null or an option is out of range;
/// - 2 memory is short, or no image can have the size of the sheet;
/// - 3, 4, 6 or 7 the font cannot be opened or read, is damaged, is none, or the library was built without
///   FreeType;
/// - 9 the callback cancelled.
DIB_EXPORT bool DibMontage(const DibStream* const* pictures, int count, DibStream* sheet,
                           const DibMontageOptions* options = nullptr, DibOperationResult* result = nullptr,
                           DibProgressCallback callback = nullptr, void* user = nullptr);

#endif

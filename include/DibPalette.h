/// @file
/// Palettes in files of their own: those of GIMP (.gpl), JASC (.pal) and Adobe (.act).
///
/// A palette in memory is the colour table of an image. Loading makes an image of 8 bits with one row, in
/// which each pixel has the next entry. Saving takes the colour table of any image of up to 8 bits.
///
/// The rules for results, failure and threads are those of DibFile.h. Files of more than 256 colours keep
/// the first 256, which is noted; names of colours are not kept.
#ifndef DIBSTREAM_DIBPALETTE_H
#define DIBSTREAM_DIBPALETTE_H

#include <DibExport.h>
#include <DibFile.h>
#include <DibStream.h>

#include <cstddef>

/// Replaces an image by the palette of a file, whose content says what kind it is.
/// @param path UTF-8.
/// @return False, with the image unchanged, and
/// - 3 the file cannot be opened;
/// - 4 it ends early;
/// - 6 it is damaged;
/// - 7 it is no palette that is read;
/// - 2 memory is short.
DIB_EXPORT bool DibLoadPalette(const char* path, DibStream* image, DibFileResult* result = nullptr);
/// The same from memory.
DIB_EXPORT bool DibLoadPaletteMemory(const void* bytes, std::size_t size, DibStream* image,
                                     DibFileResult* result = nullptr);

/// Writes the announced entries of an image's colour table. A file that exists is replaced when the new one
/// is whole.
/// @param path UTF-8.
/// @param image  Up to 8 bits a pixel.
/// @param format "gpl", "pal" or "act"; null: as the extension of the path says.
/// @return False, with no file written, and
/// - 3 the file cannot be created;
/// - 5 it cannot be written;
/// - 6 there is no image;
/// - 7 there is no such format;
/// - 8 the image has no colour table;
/// - 2 memory is short.
DIB_EXPORT bool DibSavePalette(const char* path, const DibStream* image, const char* format = nullptr,
                               DibFileResult* result = nullptr);
/// The same into memory. The format must be given.
DIB_EXPORT bool DibSavePaletteMemory(DibBytes* bytes, const DibStream* image, const char* format,
                                     DibFileResult* result = nullptr);

#endif

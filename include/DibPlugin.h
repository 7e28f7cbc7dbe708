/// @file
/// The contract between the library and its EXR and DDS plug-ins, for those who write one.
///
/// A plug-in is a bundle file in the folder of `DibStream::SetDllFilePath` that exports one function with C
/// linkage under its plain name. It needs this header and DibStream.h, and links nothing of the library:
///
/// | bundle file | export | type |
/// |---|---|---|
/// | vexlibexr.bundle | LoadEXR | `DibPluginLoadEXR` |
/// | vexlibdds.bundle | LoadDDS | `DibPluginLoadDDS` |
///
/// On Linux the file is a shared object, or a folder with one at Contents/Linux/vexlibexr (or
/// Contents/MacOS/vexlibexr; for DDS with its own name). On macOS it is a bundle as the system makes them.
/// The code is loaded once and stays in the process.
///
/// Rules for the function
/// ----------------------
/// - It returns true when both out pointers are set to blocks of their own from `malloc`, which then belong
///   to the caller and are freed with `free`; a single block does not count as a picture, and is freed. When
///   it returns false it has freed what it allocated; what the out pointers then hold is not looked at. They
///   are null when it is called.
/// - The header block is a `BITMAPINFOHEADER` with `biSize` 40, followed by its colour table (2^`biBitCount`
///   entries up to 8 bits). The pixel block has pitch times rows bytes: see `DibStream::GetPitch`. Either row
///   order may be used.
/// - The library believes the header as far as it cannot be checked: block lengths, above all. A header that
///   no image can have is a failure, and its blocks are freed: a negative width, rows that are too many for
///   32-bit offsets, more table entries than the depth has values (256 above 8 bits), or a `biSize` above
///   124.
/// - Nothing is thrown. Nothing is printed.
/// - The progress function is called, when it is given, with the fraction done, from 0 to 1, and the progress
///   user pointer; when it returns false the function gives up and returns false. `LoadEXR` of DibCodec.h
///   gives EXR plug-ins none, the functions of DibFile.h give one to all.
#ifndef DIBSTREAM_DIBPLUGIN_H
#define DIBSTREAM_DIBPLUGIN_H

#include <DibStream.h>

/// The type of the export "LoadEXR".
/// @param path     UTF-8.
/// @param header   Takes the header block.
/// @param buffer   Takes the pixel block.
/// @param progress May be null.
/// @param user     Handed to `progress`.
using DibPluginLoadEXR = bool (*)(const char* path, BITMAPINFOHEADER** header, unsigned char** buffer,
                                  DibProgressCallback progress, void* user);

/// The type of the export "LoadDDS".
/// @param path     One code point per character; U+DC80 to U+DCFF are bytes that are not UTF-8 (see
///                 VexLibs.h).
/// @param header   Takes the header block.
/// @param buffer   Takes the pixel block.
/// @param progress May be null.
/// @param user     Handed to `progress`.
using DibPluginLoadDDS = bool (*)(const wchar_t* path, BITMAPINFOHEADER** header, unsigned char** buffer,
                                  DibProgressCallback progress, void* user);

#endif

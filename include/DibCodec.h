/// @file
/// Image files other than BMP: one section per format.
///
/// Every loader replaces the image it is given. Every path may be UTF-8 or wide; a null path is a file that
/// cannot be opened, and a null image gives false. Each function says what a failure leaves and which code it
/// stores in `DibStream::ErrorCode`.
///
/// Rows that a failed load did not read are 0 (0xFF in PSD files). A file that is shorter than its picture
/// costs memory only for the rows that it has. A callback that empties or replaces the image cancels a load
/// of PSD, PPM, PGM or ILBM; the other loaders call none, or install their picture after the last call.
#ifndef DIBSTREAM_DIBCODEC_H
#define DIBSTREAM_DIBCODEC_H

#include <DibRgbe.h>
#include <DibStream.h>

/// @name TGA
/// @{

/// Loads a TGA file: raw colour-mapped, true-colour or grey pixels, or colour-mapped or true-colour pixels in
/// run-length packets. Run-length grey (type 11) is not read, nor is anything after the pixels.
///
/// Pixels keep the bytes of the file, 16-bit words too. A colour map of 24-bit entries becomes the table of
/// an 8-bit image, from entry 0 on whatever index the header gives to the first one. A colour map of 32-bit
/// entries makes a 32-bit image; an index without an entry becomes a pixel of four zero bytes. A raw file
/// whose top row comes first makes a top-down image, every other file a bottom-up one. The callback is never
/// called.
///
/// A colour map beside pixels that do not use it is skipped when its entries have 8, 16, 24 or 32 bits. A map
/// of other entries, 15 bits among them, is not skipped: its bytes are taken for pixels.
/// @return False with `ErrorCode`
/// - 3 when the file cannot be opened;
/// - 4 when the file ends early;
/// - 1 for other image types, and for run-length files of a depth or colour map that is not read (a map of
///   other entries than 24 bits leaves an image whose pixels are 0);
/// - 7 for raw files of a depth or colour map that is not read;
/// - 6 for a colour map of negative length, or of more than 256 entries for an 8-bit image, and for a
///   run-length file of negative height;
/// - 2 when memory is short or the size cannot exist.
///
/// If the header is rejected the image is unchanged; otherwise it holds the pixels read so far. A successful
/// load stores 0.
DIB_EXPORT bool LoadTGA(const char* path, DibStream* image, DibProgressCallback callback, void* user);
/// The same for a wide path.
DIB_EXPORT bool LoadTGA(const wchar_t* path, DibStream* image, DibProgressCallback callback, void* user);

/// Saves raw TGA, bottom row first: 8 bits with the colour table as a map of 24-bit entries (as many as
/// announced), 16, 24 and 32 bits as they are, 1 and 4 bits as 24. The image is not changed.
///
/// The header has room for 15 bits of each side as `LoadTGA` reads it. An image of more than 32767 columns or
/// rows is written with the low 16 bits of its size, and the file does not read back.
/// @param callback Called after each row with (row / height), so 0 comes first. With a callback the picture
///                 is written as it was at the start, whatever the callback does to the image.
/// @return False with `ErrorCode` 3 when the file cannot be opened, 2 when memory is short, 6 for a header
/// without pixels, 9 when cancelled (not stored for 8 bits). The file then holds what was written so far.
/// Errors of writing are not reported. An empty image makes a file of width and height 0. Success leaves the
/// code as it was.
DIB_EXPORT bool SaveTGA(const char* path, DibStream* image, DibProgressCallback callback, void* user);
/// The same for a wide path.
DIB_EXPORT bool SaveTGA(const wchar_t* path, DibStream* image, DibProgressCallback callback, void* user);
/// @}

/// @name Radiance HDR
/// @{

/// Loads a Radiance RGBE file into a bottom-up 24-bit image.
///
/// Each part of a colour is raised to 1 / 2.2 and scaled to a byte; from 1 on it is 255. Gamma and exposure
/// of the header are not applied. The callback is never called. The reason of a failure is printed to
/// standard error, as by the routines of DibRgbe.h, which read the same files as floats.
/// @return False with `ErrorCode`
/// - unchanged when the file cannot be opened: the image is unchanged, too;
/// - 6 when the header or the pixels are broken or end early: a broken header leaves the image unchanged,
///   otherwise it holds the rows read so far;
/// - 2 when memory is short or the size cannot exist.
///
/// A successful load leaves the code as it was.
DIB_EXPORT bool LoadHDR(const char* path, DibStream* image, DibProgressCallback callback, void* user);
/// The same for a wide path.
DIB_EXPORT bool LoadHDR(const wchar_t* path, DibStream* image, DibProgressCallback callback, void* user);
/// @}

/// @name PSD
/// @{

/// Loads the merged picture of a PSD document, version 1, into a bottom-up image. `DibPSDLoader`
/// (DibPSDLoader.h), which also reads layers, documents what can be read, how modes and depths are stored in
/// the image, and what a failure leaves.
/// @param callback Called at the start of each section and channel with position / file size. From the second
///                 call on the image holds the channels stored so far and 0xFF elsewhere.
/// @return False with `ErrorCode`
/// - 3 when the file cannot be opened, 6 when it has no PSD signature, 7 for another version, mode or depth:
///   the image is kept;
/// - 2 when the picture cannot exist or memory for it is short: the image is empty;
/// - 6 when a resource has no signature or the picture data is of an unknown compression or missing;
/// - unchanged when the file ends early or is damaged elsewhere, or the callback cancelled, emptied the image
///   or replaced it.
///
/// Unless the callback changed the image, in the last two cases the image has the document's size: the rows
/// that were read, the rest 0xFF.
DIB_EXPORT bool LoadPSD(const char* path, DibStream* dib, DibProgressCallback callback, void* user);
/// The same for a wide path.
DIB_EXPORT bool LoadPSD(const wchar_t* path, DibStream* dib, DibProgressCallback callback, void* user);
/// @}

/// @name IFF ILBM
/// @{

/// Loads an IFF file with an ILBM picture, raw or in ByteRun1 packets, into a bottom-up image.
///
/// The number of planes gives the depth: 1 plane 1 bit, up to 4 planes 4 bits, up to 8 planes 8 bits, up to
/// 24 planes 24 bits; more make no image. A mask plane is read and dropped. Two depths change their pixels:
/// 4-bit images keep only zero and nonzero apart, as indices 0 and 15, and 1-bit images turn each group of
/// eight pixels by one place to the right. A file without colours has the table of `Create` (grey at 4 bits).
///
/// Chunks are read in the order of the file, and a chunk of odd length is not padded. Colours (`CMAP`) that
/// come before the picture's size (`BMHD`) go into the table of the image that is there at that time. Of
/// several pictures in a file the last one stays; one that is announced without pixels (`BODY`) stays as an
/// image of zeros.
/// @param callback Called after each row with (row / height), so 0 comes first.
/// @return False with `ErrorCode`
/// - 3 when the file cannot be opened: the image is unchanged;
/// - 7 for another compression: the image is unchanged;
/// - 2 when memory is short or the size cannot exist, of a later picture, too: the image is empty;
/// - 6 when the pixels end early, 9 when cancelled: the image holds the rows read so far;
/// - unchanged when there is no picture.
///
/// A successful load leaves the code as it was. The file must be seekable.
DIB_EXPORT bool LoadIFF(const char* path, DibStream* image, DibProgressCallback callback, void* user);
/// The same for a wide path.
DIB_EXPORT bool LoadIFF(const wchar_t* path, DibStream* image, DibProgressCallback callback, void* user);

/// Saves an uncompressed ILBM file: 1, 4 and 8 bits with their colour table, 24 bits as 24 planes, other
/// depths as 24 bits. The image is not changed. The callback is never called. The file is opened when its
/// content has been built in memory.
///
/// The header has room for 65535 columns and rows. A larger image is written with the low 16 bits of its
/// size, and the file does not read back.
/// @return False with `ErrorCode` 3 when the file cannot be opened, 2 when memory is short; without a code
/// when there is no image. Errors of writing are not reported. Success leaves the code as it was.
DIB_EXPORT bool SaveIFF(const char* path, DibStream* image, DibProgressCallback callback, void* user);
/// The same for a wide path.
DIB_EXPORT bool SaveIFF(const wchar_t* path, DibStream* image, DibProgressCallback callback, void* user);
/// @}

/// @name JPEG, TIFF and PNG
///
/// These go through the platform's own decoders and encoders.
///
/// All three loaders do the same: they detect the format from the first bytes, never from the name or the
/// function, so that `LoadPNG` opens a JPEG file too.
///
/// None of these functions stores an error code of its own; only the result shows a failure. A loader whose
/// `Create` failed leaves the 2 that `Create` stored. The callback is never called. A null image gives false.
/// @{

/// Loads a JPEG, TIFF or PNG file into a bottom-up image.
///
/// The depth follows the pixels of the file:
/// - grey: 8 bits with the grey table; palettes: 8 bits with their colours, the other entries of the table as
///   in a new image;
/// - colours: 24 bits;
/// - colours or greys with alpha: 32 bits with straight alpha. So are palettes and single colours that a PNG
///   file declares transparent, and palettes of TIFF files that have an alpha sample.
///
/// Samples of fewer than 8 bits are scaled to 8, those of 16 bits reduced to 8. Of floats each, alpha
/// included, becomes floor(255 v^(1/2.2) + 0.5) within 0 to 255 in an image of 32 bits (alpha 255 where the
/// file has none); NaN and negative values become 0.
///
/// - PNG: every colour type and depth, interlaced or not. Gamma and profiles are not applied. A checksum that
///   is wrong, and pixels that end early, are failures.
/// - JPEG: grey, YCbCr and RGB, by the accurate integer transform, halved colours smoothed between pixels,
///   YCbCr turned into RGB as the file format says: the pixels that the platform's library gives. CMYK and
///   YCCK, also with inverted inks, become colours by (1 - ink)(1 - black). The orientation that a camera
///   notes is not applied. Damage inside the pixels is passed over as far as the decoder can find back into
///   the data; pixels that end early are a failure.
/// - TIFF: the first picture of the file, in every compression that the platform has, in strips, tiles or
///   planes, turned as its orientation says. Grey, palette, RGB and CMYK samples have 1 to 32 bits (palettes
///   up to 8) or are floats of 16, 32 or 64; signs are not looked at. Inks become colours by (1 - ink)(1 -
///   black). Colours that were multiplied with alpha are divided by it, those of more than 8 bits before they
///   are reduced. Without a photometric tag one or two samples are grey (in faxes black on white), more are
///   colours. Other colour spaces (YCbCr, Lab, LogLuv) become RGB where the platform can do so.
/// @return False when the file cannot be opened, is none of the three or cannot be decoded: the image is
/// kept; when its size cannot exist, memory is short or its pixels are broken or end early: the image is
/// empty.
DIB_EXPORT bool LoadJPEG(const char* path, DibStream* image, DibProgressCallback callback, void* user);
/// The same for a wide path.
DIB_EXPORT bool LoadJPEG(const wchar_t* path, DibStream* image, DibProgressCallback callback, void* user);
/// The same as `LoadJPEG`.
DIB_EXPORT bool LoadTIFF(const char* path, DibStream* image, DibProgressCallback callback, void* user);
/// The same for a wide path.
DIB_EXPORT bool LoadTIFF(const wchar_t* path, DibStream* image, DibProgressCallback callback, void* user);
/// The same as `LoadJPEG`.
DIB_EXPORT bool LoadPNG(const char* path, DibStream* image, DibProgressCallback callback, void* user);
/// The same for a wide path.
DIB_EXPORT bool LoadPNG(const wchar_t* path, DibStream* image, DibProgressCallback callback, void* user);

/// Saves a PNG file of 32 bits with straight alpha, other depths converted by `ChangeBpp(32, 0)` (so opaque).
/// The image is not changed.
///
/// The file is written under another name in the same folder and renamed when it is complete, so a save that
/// fails leaves an older file as it was. A link to a file is followed. Owner, group, mode and extended
/// attributes of the older file are kept as far as the system permits; set-user-ID and set-group-ID bits only
/// with the same owner and group.
/// @return False when there are no pixels, memory is short, or the file is protected or cannot be written.
DIB_EXPORT bool SavePNG(const char* path, DibStream* image, DibProgressCallback callback, void* user);
/// The same for a wide path.
DIB_EXPORT bool SavePNG(const wchar_t* path, DibStream* image, DibProgressCallback callback, void* user);
/// Saves a JPEG file of quality 90 with halved colour resolution (4:2:0) by the accurate integer transform,
/// not progressive and with the standard Huffman tables; otherwise as `SavePNG`. Alpha is left out: the
/// colours are written as they are stored. Neither side can be longer than 65500 pixels.
DIB_EXPORT bool SaveJPEG(const char* path, DibStream* image, DibProgressCallback callback, void* user);
/// The same for a wide path.
DIB_EXPORT bool SaveJPEG(const wchar_t* path, DibStream* image, DibProgressCallback callback, void* user);
/// Saves an uncompressed TIFF file of 32 bits with straight alpha, otherwise as `SavePNG`.
DIB_EXPORT bool SaveTIFF(const char* path, DibStream* image, DibProgressCallback callback, void* user);
/// The same for a wide path.
DIB_EXPORT bool SaveTIFF(const wchar_t* path, DibStream* image, DibProgressCallback callback, void* user);
/// @}

/// @name EXR and DDS plug-ins
///
/// These files are decoded by plug-ins, bundle files in the folder of `DibStream::SetDllFilePath`:
/// "vexlibexr.bundle" and "vexlibdds.bundle". Without a folder they are looked for in the working directory,
/// so an application that reads files of others should name one. A plug-in is loaded at its first use and
/// stays in the process. The plug-in decides what its pictures look like;
/// DibPlugin.h describes how to write one.
///
/// A failure keeps the image and its code: the bundle, its code or its export is missing, the plug-in refuses
/// the file, or what it returns is not a picture. Success does not store a code either.
/// @{

/// Loads an EXR file. The callback is never called.
DIB_EXPORT bool LoadEXR(const char* path, DibStream* image, DibProgressCallback callback, void* user);
/// The same for a wide path.
DIB_EXPORT bool LoadEXR(const wchar_t* path, DibStream* image, DibProgressCallback callback, void* user);

/// Loads a DDS file; there is no overload for UTF-8 paths (`VexString::fromUtf8String` makes a wide one).
/// @param callback Passed to the plug-in, which calls it when it chooses; returning false cancels the load.
DIB_EXPORT bool LoadDDS(const wchar_t* path, DibStream* image, DibProgressCallback callback, void* user);
/// @}

/// @name TIM
/// @{

/// Loads a TIM texture of 4, 8 or 16 bits into a bottom-up image of that depth.
///
/// 5-bit colours of the lookup block become bytes whose three low bits are 0; entries past 256 are dropped. A
/// file without a lookup block gets the grey table. 16-bit pixels become 5-5-5 words with bit 15 clear. A
/// file that ends early is not an error: missing pixels are 0. The callback is never called.
/// @return False with `ErrorCode`
/// - 3 when the file cannot be opened, 6 when it is not a TIM file, 7 for other pixel modes: the image is
///   unchanged;
/// - 2 when memory is short or the size is 0.
///
/// A successful load leaves the code as it was.
DIB_EXPORT bool LoadTIM(const char* path, DibStream* image, DibProgressCallback callback, void* user);
/// The same for a wide path.
DIB_EXPORT bool LoadTIM(const wchar_t* path, DibStream* image, DibProgressCallback callback, void* user);

/// Saves a TIM texture: 4, 8 and 16 bits as they are (rows are padded to whole words with their fill bytes),
/// other depths truncated to 16 bits. Lookup blocks always hold 16 or 256 colours. The image is not changed.
/// The callback is never called.
///
/// The header has room for 65535 rows of 65535 words (4, 2 or 1 pixels). A larger image is written with the
/// low 16 bits of these numbers, and the file does not read back.
/// @return **Always false**, also when the file is complete. `ErrorCode` is 3 when the file cannot be opened,
/// 2 when memory is short or there is no image (the file then ends after its identifier), and unchanged
/// otherwise. Errors of writing are not reported.
DIB_EXPORT bool SaveTIM(const char* path, DibStream* image, DibProgressCallback callback, void* user);
/// The same for a wide path.
DIB_EXPORT bool SaveTIM(const wchar_t* path, DibStream* image, DibProgressCallback callback, void* user);
/// @}

/// @name PPM and PGM
/// @{

/// Loads a binary or ASCII colour (P6, P3: 24 bits) or grey (P5, P2: 8 bits with a grey table) file into a
/// bottom-up image.
///
/// The first line must be the two letters and a line feed, nothing else. Lines that start with "#" are
/// skipped only before the line of the size. The line of the largest sample is not interpreted: the low byte
/// of every sample is stored as it is, so files with another maximum than 255 keep their own scale.
/// @param callback Called after each row with (row / height), so 0 comes first.
/// @return False with `ErrorCode`
/// - 3 when the file cannot be opened: the image is unchanged;
/// - 6 when it is empty, has no size or a negative width, 7 when it is of another kind: the image is
///   unchanged;
/// - 2 when memory is short or the size cannot exist (0 on a side, too): the image is empty;
/// - 4 when samples are missing, 9 when cancelled, 1 when the height is negative: the image holds the rows
///   read so far.
///
/// A successful load stores 0.
DIB_EXPORT bool LoadPPM(const char* path, DibStream* image, DibProgressCallback callback, void* user);
/// The same for a wide path.
DIB_EXPORT bool LoadPPM(const wchar_t* path, DibStream* image, DibProgressCallback callback, void* user);
/// The same as `LoadPPM`: either loads colour and grey files.
DIB_EXPORT bool LoadPGM(const char* path, DibStream* image, DibProgressCallback callback, void* user);
/// The same for a wide path.
DIB_EXPORT bool LoadPGM(const wchar_t* path, DibStream* image, DibProgressCallback callback, void* user);

/// Saves a binary colour file (P6, largest sample 255), other depths than 24 bits converted. The image is not
/// changed.
/// @param callback Called after each row with (row / height), so 0 comes first. With a callback the picture
///                 is written as it was at the start, whatever the callback does to the image.
/// @return False, without storing a code of its own, when the file cannot be opened, there is no image,
/// memory is short or the callback cancelled; the file then holds what was written so far. Errors of writing
/// are not reported.
DIB_EXPORT bool SavePPM(const char* path, DibStream* image, DibProgressCallback callback, void* user);
/// The same for a wide path.
DIB_EXPORT bool SavePPM(const wchar_t* path, DibStream* image, DibProgressCallback callback, void* user);
/// @}

#endif

/// @file
/// The in-memory bitmap of the library and its methods: memory and ownership, BMP files, colour depth,
/// size and position. DibTypes.h declares the header, the pixels and the error codes.
///
/// Rules common to the whole library
/// ---------------------------------
/// - **Images.** An image is a `DibStream`: a header block (`BITMAPINFOHEADER` followed by its colour table)
///   and a pixel block. Depths are 1, 4, 8, 16, 24 and 32 bits per pixel. Rows are padded to 4 bytes.
/// - **Row order.** `biHeight` >= 0 stores the bottom row of the picture first, `biHeight` < 0 the top row.
///   Rows are numbered from the top of the picture wherever a function takes a row, but for
///   *buffer rows*, which are counted from the start of the pixel block.
/// - **Ownership.** Each block has an ownership word. Nonzero: the object frees the block with `free`; the
///   library writes 6 for every block that it allocates (with `malloc`). Zero: the block belongs to the
///   caller, the object never frees it, and it must outlive its use.
/// - **Results.** Functions return `bool`, or a null pointer where they make an object. Containers, loaders,
///   conversions and geometry methods also store a code in `DibStream::ErrorCode`; success does not clear it
///   unless stated. Effects never store a code.
/// - **Failure.** No failure leaks memory, and no function throws. An operation that installs a new image
///   releases the old one first, so a failed replacement leaves the object empty.
/// - **Half-empty objects.** A header without pixels, or pixels without a header, gives `false`, null or 0;
///   `Clone`, `ScanLine`, `UpDown`, `InvertTone` and `Brighten` say what they do instead.
/// - **Colour tables.** The table starts `biSize` bytes after the start of the header block; values of
///   `biSize` below 40 count as 40. A pixel whose index lies beyond the announced table length reads as
///   black.
/// - **Progress.** A `DibProgressCallback` is called with a fraction from 0 to 1 and the caller's pointer;
///   returning `false` cancels. It may always be null.
/// - **Threads.** The library creates no threads and locks nothing: use an image from one thread at a time.
///   Threads may use different images at once; they share `DibStream::DllPath` and the C library's `rand()`.
/// - **Byte order.** Little-endian hosts only, checked when the library is compiled.
#ifndef DIBSTREAM_DIBSTREAM_H
#define DIBSTREAM_DIBSTREAM_H

#include <DibExport.h>
#include <DibTypes.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

/// Selectors in the low 16 bits of the depth conversions' flags; any other value means grey or plain
/// truncation.
enum DibConversion : unsigned int {
    DIB_DITHER = 1,  ///< 8 bits: ordered dither to a 6 x 6 x 6 cube; 16 bits: carry the truncated remainder.
    DIB_MEDIAN_CUT = 2,  ///< 4 and 8 bits: a palette made for the picture by median cut.
};

/// An in-memory device-independent bitmap.
///
/// Objects live on the stack, or on the heap with a reference count: `new` (or `Clone`, `CreateAlphaDib`,
/// `ClipClone`) gives count 1 and the last `Release` deletes. The fields are public so that callers can wrap,
/// share and exchange the blocks; the methods keep them consistent. Objects cannot be assigned: use `Clone`.
class DIB_EXPORT DibStream {
public:
    std::uint64_t RefCount = 1;          ///< References held; `Release` deletes the object at 0.
    BITMAPINFOHEADER* Header = nullptr;  ///< Header block; null when the object is empty.
    unsigned char* Buffer = nullptr;     ///< Pixel block; null when the object has no pixels.
    std::uint32_t HeaderOwner = 0;       ///< Nonzero: `Header` is freed by the object.
    std::uint32_t BufferOwner = 0;       ///< Nonzero: `Buffer` is freed by the object.
    std::int32_t ErrorCode = DIB_OK;     ///< Code of the last failure (`DibErrorCode`); success keeps it.

    /// @name Life and memory
    /// @{

    /// An empty object with one reference.
    DibStream();
    /// Releases both blocks by the ownership rule.
    virtual ~DibStream();
    DibStream(const DibStream&) = delete;
    DibStream& operator=(const DibStream&) = delete;

    /// Adds a reference. @return The new count.
    std::uint64_t AddRef();
    /// Drops a reference and deletes the object (through its virtual destructor) when it was the last.
    /// @return The new count; 0 when the object is gone.
    std::uint64_t Release();

    /// Releases the header block; pointer and ownership word become 0.
    void HeaderFree();
    /// Releases the pixel block; pointer and ownership word become 0.
    void BufferFree();
    /// Releases both blocks. The reference count and the error code stay.
    void Clear();

    /// Releases the current blocks and installs the caller's as they are, without a copy or a check. This
    /// object must not own them already.
    /// @param header      `BITMAPINFOHEADER` with its colour table, at an address that is a multiple of 4.
    ///                    The header of a BMP file in memory, 14 bytes from its start, must be moved or given
    ///                    to `Copy`. Every method finds the table of a header longer than 40 bytes
    ///                    (`biSize`), but copies cut it: see `Clone`.
    /// @param headerOwner 0 borrows the block; with any other value the object frees it with `free`.
    /// @param buffer      Pixel rows.
    /// @param bufferOwner As `headerOwner`.
    /// @return False, with nothing changed, when either pointer is null.
    bool SetDib(void* header, unsigned int headerOwner, void* buffer, unsigned int bufferOwner);
    /// Installs a pixel block (null allowed) after releasing the current one. @return True.
    bool SetBuffer(void* buffer, unsigned int owner);

    /// Replaces the image by an owned deep copy of the caller's blocks, which this object must not own.
    /// @param header Header block of at least 40 + 4 x table length bytes, at any address. A longer header is
    ///               cut as by `Clone`.
    /// @param bits   Pixel block of `biSizeImage` bytes, or pitch times rows when that is 0.
    /// @return False without an error code when memory is short, the size or the length of the table is
    ///         inadmissible or a pointer is null. The object is then empty; the ownership word of a block
    ///         that could not be allocated is 6 all the same.
    bool Copy(void* header, void* bits);
    /// Makes an independent copy with one reference and no error code. The copy's pixel block is never
    /// shorter than pitch times rows; bytes beyond a shorter `biSizeImage` are 0.
    ///
    /// The header block is copied for 40 + 4 x table length bytes from its start. With a `biSize` above 40
    /// the end of the table is therefore missing: as many bytes as the header exceeds 40 are 0 in the copy.
    ///
    /// An object without pixels gives a copy of its header, one without a header an empty copy.
    /// @return Null, with this object's `ErrorCode` 2, when memory is short or a signed 32-bit number cannot
    ///         hold the size of the header block or of the pixels.
    DibStream* Clone();

    /// Replaces the image by a new one whose pixels are undefined. The colour table is black and white at 1
    /// bit, undefined at 4 bits (call `SetMonoPalette` or write one) and the grey ramp at 8 bits.
    /// @param width    Pixels per row, above 0.
    /// @param height   Rows; negative for top-down storage, not 0.
    /// @param bitCount 1, 4, 8, 16, 24 or 32.
    /// @return False with `ErrorCode` 2 and an empty object when the depth is none of these, memory is short,
    ///         the width is below 1, the height is 0 or the pixel block would not fit in a signed 32-bit
    ///         number.
    bool Create(int width, int height, int bitCount);
    /// Makes a header block with the colour table of `Create`, owned by the caller (`free`); the object keeps
    /// its own blocks. The size is not checked: `CreateBuffer` does that.
    /// @return Null when the depth is invalid (no code) or memory is short (`ErrorCode` 2).
    BITMAPINFOHEADER* CreateHeader(int width, int height, int bitCount);
    /// Makes a pixel block of pitch x |biHeight| bytes, owned by the caller (`free`); the object keeps its
    /// own. The pixels are uninitialised, the fill bytes at the ends of rows 0.
    /// @return Null, without a code, when that size is 0 or inadmissible, memory is short or `header` is
    /// null.
    unsigned char* CreateBuffer(BITMAPINFOHEADER* header);
    /// Fills a 40-byte header; the object is not touched.
    /// @return False when the depth is none of the six: the first five fields are then written all the same.
    bool SetBitmapInfo(BITMAPINFOHEADER& info, int width, int height, int bitCount);

    /// Writes a grey colour table of 2, 16 or 256 entries; does nothing at other depths.
    ///
    /// A block that announces fewer entries (`biClrUsed`) may have room for no more. It is first replaced by
    /// a larger one that the object owns, with a 40-byte header: `Header` changes, a borrowed block stays as
    /// it was. If that allocation fails only the announced entries are written, in place.
    void SetMonoPalette();
    /// Makes an 8-bit grey image (one reference, same row order) of the alpha bytes of this 32-bit image.
    /// @return Null when this image is not 32 bits, has no pixels, or memory is short.
    DibStream* CreateAlphaDib();
    /// Writes the indices of an 8-bit image into the alpha bytes of this 32-bit image, buffer row by buffer
    /// row (the signs of the heights may differ).
    /// @return False, with nothing changed, when either image is missing, of another depth or of another
    /// size.
    bool SetAlphaPlane(DibStream* alpha);
    /// @}

    /// @name Addressing
    /// @{

    /// Bytes per row, ((bits x width + 31) >> 3) & ~3 in 32-bit arithmetic; 0 without a header.
    std::uint32_t GetPitch() const;
    /// Bytes of the pixel block: `biSizeImage`, or pitch x |biHeight| when that is 0; 0 without a header.
    DIB_LOCAL std::int32_t GetImageSize() const {
        if (Header == nullptr) return 0;
        if (Header->biSizeImage != 0) return static_cast<std::int32_t>(Header->biSizeImage);
        const std::uint32_t height = static_cast<std::uint32_t>(Header->biHeight);
        return static_cast<std::int32_t>(GetPitch() * (Header->biHeight < 0 ? 0U - height : height));
    }
    /// Start of row y, counted from the top of the picture; null without pixels, the start of the pixel block
    /// without a header. Nothing else is checked.
    unsigned char* ScanLine(int y);
    /// The byte that holds pixel x of row y; null without header or pixels or at a depth that is none of the
    /// six. At 1 and 4 bits the leftmost pixel is in the most significant bits. Nothing else is checked.
    unsigned char* Pixel(int x, int y);
    /// @}

    /// @name Error texts and plug-in folder
    /// @{

    /// The folder from which the EXR and DDS loaders take their plug-ins; empty at start. Set it before the
    /// first use.
    static wchar_t DllPath[1024];

    /// The text of an error code: static storage, "(undefined)" for any other number.
    static const char* GetErrorString(int code);
    /// Sets `DllPath` from a UTF-8 path of at most 1023 characters; the length is not checked. Null is the
    /// empty path.
    static void SetDllFilePath(const char* path);
    /// The same for a wide path.
    static void SetDllFilePath(const wchar_t* path);
    /// Copies `DllPath` as UTF-8 into `out`, which must hold it with its terminator (4096 bytes always do).
    /// Nothing happens when `out` is null. A wide path that has no UTF-8 form gives an empty one.
    static void GetDllFilePath(char* out);
    /// Copies `DllPath` into `out`, which must hold it with its terminator. Nothing happens when `out` is
    /// null.
    /// @return `out`.
    static wchar_t* GetDllFilePath(wchar_t* out);
    /// @}

    /// @name BMP files
    /// @{

    /// Bits for the depths that `LoadFromFile` accepts; 63 accepts all.
    enum : unsigned int {
        DIB_ACCEPT_1 = 1,
        DIB_ACCEPT_4 = 2,
        DIB_ACCEPT_8 = 4,
        DIB_ACCEPT_16 = 8,
        DIB_ACCEPT_24 = 16,
        DIB_ACCEPT_32 = 32,
        DIB_ACCEPT_ALL = 63,
    };

    /// Replaces the image by the picture of a BMP file.
    ///
    /// It reads info headers of 40 to 124 bytes; uncompressed pixels of every depth; 8-bit run lengths
    /// (compression 1, decoded as runs of bytes whatever the depth); and 32-bit pixels with channel masks
    /// (compression 3) inside an info header of at least 56 bytes, when red, green and blue are eight
    /// consecutive bits each. Masked pixels are rewritten to blue, green, red, alpha; alpha is 255 where the
    /// alpha mask is not eight consecutive bits.
    ///
    /// In memory `biSize` is 40, the colour table has 2^bits entries up to 8 bits (those beyond the file's
    /// are zero), `biClrUsed` and `biClrImportant` are the number of colours in the file (0 above 8 bits) and
    /// `biSizeImage` is pitch times rows. `biHeight` keeps its sign. `biCompression` is 0, but 3 after
    /// loading a file with masks. Runs continue in the next row at the end of a row; bytes beyond the pixel
    /// block are dropped, and rows that no run reaches are 0. A height of 0 gives an image without pixels.
    /// @param path  UTF-8.
    /// @param flags Depths accepted, `DIB_ACCEPT_1` to `DIB_ACCEPT_32`.
    /// @return True with `ErrorCode` 0. Otherwise false, an empty object and code
    ///         - 3: the file cannot be opened;
    ///         - 4: it ends early, or its pixel offset cannot be reached;
    ///         - 6: it does not begin with "BM", or announces more colours than its depth can address;
    ///         - 7: its header size, compression, masks or depth is none of the above;
    ///         - 8: its depth is not among those accepted;
    ///         - 2: memory is short, the width is negative, it is 0 and the height is not, or a signed 32-bit
    ///           number cannot hold the size of the pixel block.
    ///
    ///         A file that is too short for the announced pixels fails before they are allocated.
    bool LoadFromFile(const char* path, unsigned int flags);
    /// The same for a wide path.
    bool LoadFromFile(const wchar_t* path, unsigned int flags);
    /// The same from the current position of an open file, which stays open (code 3 when it is null). The
    /// pixel offset in the file header counts from the start of the stream.
    bool LoadFileInner(std::FILE* file, unsigned int flags);

    /// Writes the image as a BMP file: 14 bytes of file header, the 40-byte header, the announced colour
    /// table, and the rows from the bottom up (so a positive `biHeight`, whatever the order in memory).
    ///
    /// Every other header field is written as held.
    /// @warning Two fields can make the file hard to read. An image that came from a file with masks is
    /// written with `biCompression` 3 and without masks, which `LoadFromFile` refuses with 7: set the field
    /// to 0 before saving. A `biSize` above 40 is written although only 40 bytes of the header are, so that
    /// readers take the colour table from too far on and see it shifted: give such an image a 40-byte header
    /// before saving.
    ///
    /// Borrowed images without pixels are written as headers and table alone. `LoadFromFile` reads those of
    /// height 0 and refuses rows of width 0 with 2, as `Create` does.
    /// @param path UTF-8; an existing file is replaced.
    /// @return True with `ErrorCode` 0. Otherwise false, the image unchanged and code
    ///         - 6: there is no header or no pixel block, or its size or the length of its table is
    ///           inadmissible; no file is opened;
    ///         - 3: the file cannot be opened;
    ///         - 5: writing or closing the file failed; the file is incomplete.
    bool SaveToFile(const char* path);
    /// The same for a wide path.
    bool SaveToFile(const wchar_t* path);
    /// The same at the current position of an open file, which is flushed and stays open (code 3 if null).
    bool SaveFileInner(std::FILE* file);
    /// @}

    /// @name Colour depth
    ///
    /// Conversions between the six depths, in place: width and signed height stay, both blocks are replaced
    /// by owned ones with a 40-byte header. Converting to the present depth rebuilds the image all the same.
    ///
    /// Words of 16 bits are read as 5-5-5 with blue in the low bits; each value v becomes the byte v << 3.
    /// Indices are looked up in the colour table. Alpha is 255 unless the source has 32 bits. Grey is (37
    /// blue + 146 green + 73 red) >> 8. Rows are processed in buffer order; fill bytes of the result are 0.
    ///
    /// All return false
    /// - without a code when there is no header, no pixels or the source depth is none of the six;
    /// - with `ErrorCode` 2 and the image unchanged when there is no memory for the new pixels or for
    ///   working, or the size is inadmissible;
    /// - with `ErrorCode` 2 and the image empty when there is no memory for the new header, or the picture
    ///   has no rows (but for `ChangeTo32Bit`).
    ///
    /// They need a few rows of memory beside source and result; the median cut also 3 to 13 bytes per pixel
    /// and less than 20 million bytes of tables.
    /// @{

    /// Converts to `bitCount` by the method of that depth, passing the flags on.
    /// @return False, with nothing changed, at any other depth or without a pixel block.
    bool ChangeBpp(int bitCount, unsigned int flags);
    /// To black and white by error diffusion of the grey values (weights of Stucki); the flags are ignored.
    bool ChangeTo1Bit(unsigned int flags);
    /// To 16 greys, grey >> 4 with table entries 17 i; with `DIB_MEDIAN_CUT` in the low 16 bits:
    /// `MedianCut4`.
    bool ChangeTo4Bit(unsigned int flags);
    /// To 256 greys. With `DIB_MEDIAN_CUT` in the low 16 bits: `MedianCut8`. With `DIB_DITHER`: ordered
    /// dither (8 x 8) to a cube of 6 x 6 x 6 colours, entry 36 b + 6 g + r = (51 b, 51 g, 51 r); entries 216
    /// to 255 stay grey.
    bool ChangeTo8Bit(unsigned int flags);
    /// To 5-5-5 words with bit 15 clear, by truncation. With `DIB_DITHER` in the low 16 bits the three bits
    /// that a channel loses are added to the next pixel, from the last pixel of a row on to the first of the
    /// next.
    bool ChangeTo16Bit(unsigned int flags);
    /// To blue, green, red bytes; the flags are ignored.
    bool ChangeTo24Bit(unsigned int flags);
    /// To blue, green, red, alpha bytes; the flags are ignored. The image is unchanged after every failure; a
    /// picture without rows stays one.
    bool ChangeTo32Bit(unsigned int flags);
    /// To 4 bits with a palette of up to 16 colours by median cut (DibMedian.h); unused entries are zero. The
    /// flags have no effect.
    bool MedianCut4(unsigned int flags);
    /// To 8 bits with a palette of up to 256 colours by median cut (DibMedian.h); unused entries are zero.
    /// @param flags Usually 0 or the selector alone. Bits 16 to 23 are a limit of colours that is not shifted
    ///              down: any value there means more than 65535, and the quantizer makes all of its 260
    ///              boxes. Entries are the first 256 of them; each pixel of the others gets the entry nearest
    ///              to its own colour by the sum of squared channel differences, the first among equals.
    bool MedianCut8(unsigned int flags);

    /// The pixels as one grey byte each, rows in buffer order without fill bytes. The caller frees the block
    /// with `free`; the image is unchanged.
    /// @return Null with `ErrorCode` 2 when memory is short or the size inadmissible; null without a code
    ///         when there is no header, no pixels or the depth is none of the six.
    unsigned char* Create8Bit();
    /// The same as `DibBGR` pixels of 3 bytes.
    unsigned char* Create24Bit();
    /// The same as `DibBGRA` pixels of 4 bytes.
    unsigned char* Create32Bit();
    /// @}

    /// @name Size
    ///
    /// All of them work in place: the result gets a pixel block of its own (ownership 6), the old one is
    /// released and the 40 header bytes are rewritten. Colour tables keep their entries. The table of a
    /// longer header moves to byte 40 of the block. A block whose table is shorter than the depth addresses
    /// is replaced by a larger one that the object owns, with the new entries black. Sizes are in pixels; a
    /// negative height counts by its absolute value, and the row order of the image is kept.
    ///
    /// When memory is short or the size cannot exist (zero, a negative width, or more bytes than a signed
    /// 32-bit number can hold) they return false with `ErrorCode` 2 and the image unchanged. "Rows" are
    /// buffer rows.
    /// @{

    /// Resampling method of `Resize`.
    enum DIB_RESIZE_METHOD : int {
        DIB_RESIZE_BILINEAR = 0,  ///< `ResizeBilinear`.
        DIB_RESIZE_INTEGRAL = 1,  ///< `ResizeIntegral`.
    };
    /// Changes the size. An image of that size is left as it is (the buffer too). Where width and height are
    /// exactly twice the new ones `ResizeHalf` is used, if the depth allows it, else the method. If halving
    /// runs out of memory the method is used; `ErrorCode` is then 2 even when it succeeds.
    /// @return False, without a code, for an unknown method or an image without pixels.
    bool Resize(int width, int height, DIB_RESIZE_METHOD method);
    /// Halves an image of 24 or 32 bits: each pixel is the mean of two by two, truncated, per channel. An odd
    /// last column or last buffer row (the picture's top row when stored bottom-up) is dropped.
    /// @return False, without a code, at other depths.
    bool ResizeHalf();
    /// Scales with bilinear weights smoothed by 3f^2 - 2f^3 in 1/256 steps. The first and last pixel of each
    /// axis land on the first and last of the source; a size of 1 gives the last one. 24 and 32 bits are
    /// mixed (all four bytes), the others take the nearest pixel.
    /// @return False, without a code, at a depth that is none of the six.
    bool ResizeBilinear(int width, int height);
    /// Scales by area averaging, first across, then down, each truncated to bytes: the method for making
    /// large images much smaller. Growing repeats pixels. Only 24 and 32 bits are averaged (all four bytes).
    /// Boundaries between result pixels, which are products of two sizes, and the sums of long spans are
    /// computed in 64 bits, so results are exact for every size that can exist.
    /// @return True also at 1, 4, 8 and 16 bits, where the result has the new size and zero pixels: do not
    ///         use it for indexed images.
    bool ResizeIntegral(int width, int height);
    /// Changes the canvas and keeps the pixels one to one, centred: crops where the new size is smaller, pads
    /// where it is larger. An odd difference leaves the extra column or buffer row after the picture.
    /// @param width  New width.
    /// @param height New height.
    /// @param fill   Stored value of the padding: the low 32, 24, 16, 8 or 4 bits; at 1 bit any value but 0
    ///               sets the pixels.
    /// @return False, without a code, at a depth that is none of the six.
    bool ChangeSize(int width, int height, unsigned int fill);
    /// @}

    /// @name Position and tone
    ///
    /// Rectangles and rows count from the top of the picture, whatever the row order.
    /// @{

    /// Crops in place to a rectangle; the result is stored bottom-up in a pixel block of its own, the colour
    /// table stays as with the sizes above.
    ///
    /// The rectangle must not pass the right or lower edge. A negative x or y is accepted: pixels before a
    /// row are the bytes there (the end of the neighbouring row), or 0 outside the block. The fill bytes of
    /// the new rows are the bytes that follow the rectangle.
    /// @return False, without a code and with the image unchanged, when width or height is below 1, the
    ///         rectangle passes an edge, or memory is short.
    bool ClipCut(int x, int y, int width, int height);
    /// Copies a rectangle, by the rules of `ClipCut`, into a new bottom-up image with one reference and the
    /// colour table of this one.
    /// @return Null, without a code, where `ClipCut` returns false.
    DibStream* ClipClone(int x, int y, int width, int height);
    /// Shifts the picture cyclically, to the right and down for positive amounts: pixels that leave one side
    /// enter at the other. The pixel block stays the same.
    /// @param dx Pixels, any int.
    /// @param dy Rows, any int.
    /// @return False, with the image unchanged, when there are no pixels or memory for one row is short (no
    ///         code).
    bool Scroll(int dx, int dy);
    /// Stores the rows top-down (negative `biHeight`) or bottom-up; the picture stays the same.
    /// @param topDown True for top-down storage.
    /// @return False when there is no pixel block, or with `ErrorCode` 1 when memory for one row is short.
    ///         True at once when the rows already have that order. Without a header: `topDown`.
    bool UpDown(bool topDown);
    /// Complements every byte of the pixel block (`GetImageSize` bytes, row fill bytes included). The colour
    /// table stays, so that indexed images change their indices.
    /// @return False without a pixel block; true, with nothing changed, without a header.
    bool InvertTone();
    /// Scales brightness: the blue, green and red of every pixel at 24 and 32 bits (at 24 bits the row fill
    /// bytes too), of every colour-table entry at 1, 4 and 8 bits.
    /// @param factor Below 1 a value v becomes v x factor, rounded; above 1 its distance to white shrinks to
    ///               1 / factor of itself, truncated; 1 changes nothing.
    /// @return False, with nothing changed, for a negative factor or NaN, without a pixel block, and (unless
    ///         the factor is 1) at 16 bits or without a header.
    bool Brighten(float factor);
    /// @}
};

#endif

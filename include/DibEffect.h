/// @file
/// Image effects. Each changes one image in place and keeps its size, depth, header and colour table.
///
/// Rules common to all effects
/// ---------------------------
/// - **Two overloads.** Every effect takes its parameters one by one, or (where a record type exists) through
///   a record that holds them; the second passes the fields on to the first. A record pointer must be valid.
/// - **Result.** True when the effect ran to its end or had nothing to do (no rows, a parameter that changes
///   nothing). False, with the image as it was, when the image is null, has no header or no pixels, when its
///   depth is not among those that the effect accepts, when a parameter is outside its range or when memory
///   is short. False too when the callback cancelled. `DibStream::ErrorCode` never
///   changes.
/// - **Progress.** The rows are finished from the top of the picture down. After row y the callback is told
///   (y + 1) / height; there is no call before the first row, and the last call says exactly 1. When the
///   callback returns false the effect stops: the rows reported so far are changed, the others are as they
///   were.
/// - **Positions** are in pixels, columns from the left and rows from the top of the picture. **Angles** are
///   in radians.
/// - **Edges.** An effect that looks at other pixels takes flags of `DibEffectFlag`; other bits are ignored.
/// - **Foreign numbers.** NaN and infinite parameters are no error: a position that comes out as NaN reads
///   column or row 0, an infinite one the clamp's end (0 where it wraps).
/// - **Indexed images** (1, 4 and 8 bits) are changed in their pixel indices, never in their colour table,
///   unless an effect says otherwise.
#ifndef DIBSTREAM_DIBEFFECT_H
#define DIBSTREAM_DIBEFFECT_H

#include <DibStream.h>

/// Flag bits shared by the effects that look at other pixels; a clear bit clamps that axis to the edge.
enum DibEffectFlag : unsigned int {
    DIB_WRAP_X = 1,  ///< Horizontal coordinates wrap around the image.
    DIB_WRAP_Y = 2,  ///< Vertical coordinates wrap around the image.
};

/// @name Parameter records
///
/// `tag` belongs to the caller and is never read or written by the library. The other fields are the
/// parameters of the effect, in the order of its first overload.
/// @{

/// The record of `DibEffectReverse`, which has no parameters.
struct DEReverseInfo {
    std::uint32_t tag;  ///< The caller's.
};
/// The parameters of `DibEffectRipple`.
struct DERippleInfo {
    std::uint32_t tag;   ///< The caller's.
    float centerX;       ///< Column of the centre, in pixels.
    float centerY;       ///< Row of the centre, in pixels.
    float wavelength;    ///< Pixels.
    float amplitude;     ///< Radians.
    float phase;         ///< Radians.
    unsigned int flags;  ///< `DibEffectFlag`.
};
/// The parameters of `DibEffectRotate`.
struct DERotateInfo {
    std::uint32_t tag;   ///< The caller's.
    float angle;         ///< Radians.
    unsigned int flags;  ///< `DibEffectFlag`.
};
/// The parameters of `DibEffectWave`.
struct DEWaveInfo {
    std::uint32_t tag;   ///< The caller's.
    float wavelength;    ///< Pixels.
    float amplitude;     ///< Pixels.
    float phase;         ///< Radians.
    float direction;     ///< Radians.
    unsigned int flags;  ///< `DibEffectFlag`.
};
/// The parameters of `DibEffectWhirl`.
struct DEWhirlInfo {
    std::uint32_t tag;   ///< The caller's.
    float centerX;       ///< Column of the centre, in pixels.
    float centerY;       ///< Row of the centre, in pixels.
    float twist;         ///< Radians per pixel of distance.
    unsigned int flags;  ///< `DibEffectFlag`.
};
/// The parameter of `DibEffectMozaic`.
struct DEMozaicInfo {
    std::uint32_t tag;  ///< The caller's.
    int blockSize;      ///< Pixels.
};
/// The parameters of `DibEffectDiffuse`.
struct DEDiffuseInfo {
    std::uint32_t tag;   ///< The caller's.
    int radius;          ///< Pixels.
    unsigned int flags;  ///< `DibEffectFlag`.
};
/// The parameters of `DibEffectCompose`: a `path` that is not null is loaded; otherwise `image` is used.
struct DEComposeInfo {
    std::uint32_t tag;  ///< The caller's.
    const char* path;   ///< A picture file, UTF-8, or null.
    DibStream* image;   ///< The second image, where `path` is null.
    float opacity;      ///< 0 shows the first image alone, 1 the second.
    unsigned int mode;  ///< 0 stretches the second image, 1 tiles it.
};
/// The parameters of `DibEffectMotionBlur`.
struct DEMotionBlurInfo {
    std::uint32_t tag;   ///< The caller's.
    int length;          ///< Pixels.
    float angle;         ///< Radians.
    unsigned int flags;  ///< `DibEffectFlag`.
};
/// The parameters of `DibEffectBlur`.
struct DEBlurInfo {
    std::uint32_t tag;   ///< The caller's.
    int radius;          ///< Pixels.
    unsigned int flags;  ///< `DibEffectFlag`.
};
/// The parameter of `DibEffectBlurLittle`.
struct DEBlurLittleInfo {
    std::uint32_t tag;   ///< The caller's.
    unsigned int flags;  ///< `DibEffectFlag`.
};
/// The parameter of `DibEffectSharpLittle`.
struct DESharpLittleInfo {
    std::uint32_t tag;   ///< The caller's.
    unsigned int flags;  ///< `DibEffectFlag`.
};
/// The parameters of `DibEffectBrightMax`, `DibEffectBrightMin` and `DibEffectBrightMiddle` alike.
struct DEBrightInfo {
    std::uint32_t tag;   ///< The caller's.
    int radius;          ///< Pixels.
    unsigned int flags;  ///< `DibEffectFlag`.
};
/// The parameters of `DibEffectEmboss`.
struct DEEmbossInfo {
    std::uint32_t tag;   ///< The caller's.
    float strength;      ///< How far a slope departs from mid-grey.
    int distance;        ///< Pixels.
    float angle;         ///< Radians.
    unsigned int flags;  ///< `DibEffectFlag`.
};
/// The parameter of `DibEffectNoise`.
struct DENoiseInfo {
    std::uint32_t tag;  ///< The caller's.
    int amount;         ///< Largest change of a channel.
};
/// The parameters of `DibEffectColorNoise`; `color` holds blue in its low byte, then green, then red.
struct DEColorNoiseInfo {
    std::uint32_t tag;    ///< The caller's.
    std::uint32_t color;  ///< 0x00RRGGBB.
    float strength;       ///< How much of the colour is mixed in.
};
/// The parameter of `DibEffectPickEdge`.
struct DEPickEdgeInfo {
    std::uint32_t tag;   ///< The caller's.
    unsigned int flags;  ///< `DibEffectFlag`.
};
/// @}

/// @name Reverse
/// @{

/// Inverts every bit of the pixel block, row fill bytes included: the colours of 16, 24 and 32-bit images
/// (their fourth byte too) and the indices, not the colour table, of the others. Any depth is accepted.
///
/// Nothing is reported. @return True; also for an image without a header or without rows, where nothing is
/// done. False only when the image is null or its header has no pixels.
DIB_EXPORT bool DibEffectReverse(DibProgressCallback callback, void* user, DibStream* image);
/// The record is not read. @return True, whatever the other overload returned.
DIB_EXPORT bool DibEffectReverse(DibProgressCallback callback, void* user, DibStream* image,
                                 DEReverseInfo* info);
/// @}

/// @name Distortions
///
/// Rotate, ripple, wave and whirl take every pixel from a position of the unchanged picture, sampled as
/// DibColor.h describes: the nearest pixel up to 16 bits, four pixels mixed at 24 and 32. They accept every
/// depth. Nothing is filled with a background: positions outside the picture clamp or wrap by the flags.
/// @{

/// Turns the picture about its middle. A positive angle turns it counter-clockwise: at a quarter turn, what
/// was below the middle lies to the right of it.
/// @param angle 0 changes nothing and reports nothing.
DIB_EXPORT bool DibEffectRotate(DibProgressCallback callback, void* user, DibStream* image, float angle,
                                unsigned int flags);
/// The same with a record.
DIB_EXPORT bool DibEffectRotate(DibProgressCallback callback, void* user, DibStream* image,
                                DERotateInfo* info);

/// Makes rings about a point: a pixel at distance r is taken from the point turned about the centre by
/// amplitude x sin(2 pi r / wavelength + phase).
/// @param centerX,centerY The centre, which may lie outside the picture.
/// @param wavelength      In pixels; 0 gives false.
/// @param amplitude       The largest turn, in radians; 0 changes nothing and reports nothing.
DIB_EXPORT bool DibEffectRipple(DibProgressCallback callback, void* user, DibStream* image, float centerX,
                                float centerY, float wavelength, float amplitude, float phase,
                                unsigned int flags);
/// The same with a record.
DIB_EXPORT bool DibEffectRipple(DibProgressCallback callback, void* user, DibStream* image,
                                DERippleInfo* info);

/// Makes parallel waves about the middle of the picture: a pixel is shifted across the direction by
/// amplitude x sin(2 pi d / wavelength + phase). d is the distance from the line through the middle that lies
/// across the direction, positive before that line and negative behind it; on the line through the middle
/// along the direction it is positive on both sides.
/// @param wavelength In pixels; 0 gives false.
/// @param amplitude  The largest shift, in pixels; 0 changes nothing and reports nothing.
/// @param direction  Along which the waves run; with 0 they run along x and move pixels along y.
DIB_EXPORT bool DibEffectWave(DibProgressCallback callback, void* user, DibStream* image, float wavelength,
                              float amplitude, float phase, float direction, unsigned int flags);
/// The same with a record.
DIB_EXPORT bool DibEffectWave(DibProgressCallback callback, void* user, DibStream* image, DEWaveInfo* info);

/// Twists the picture about a point: a pixel at distance r is taken from the point turned by r x twist, in
/// the sense of `DibEffectRotate`.
/// @param centerX,centerY The centre, which may lie outside the picture.
/// @param twist           In radians per pixel; 0 changes nothing and reports nothing.
DIB_EXPORT bool DibEffectWhirl(DibProgressCallback callback, void* user, DibStream* image, float centerX,
                               float centerY, float twist, unsigned int flags);
/// The same with a record.
DIB_EXPORT bool DibEffectWhirl(DibProgressCallback callback, void* user, DibStream* image, DEWhirlInfo* info);

/// Paints every square block of pixels in one colour. Blocks start at the upper left corner of the picture;
/// those at the right and lower edges are cut.
///
/// Indexed images take the index of the block's upper left pixel. 16, 24 and 32-bit images take the average
/// of each channel, rounded down (the fourth byte of 32 bits too); bit 15 of a 16-bit pixel becomes 0. Sums and
/// the edges of blocks are 64 bits wide, so the average of a block of any size is exact.
///
/// Progress differs from the common rule: after each row of blocks the callback is told
/// (first row of the blocks + 1) / height, so that 10 rows in blocks of 4 report 0.1, 0.5 and 0.9.
/// @param blockSize Side of a block in pixels. 1 changes nothing and reports nothing; less gives false.
DIB_EXPORT bool DibEffectMozaic(DibProgressCallback callback, void* user, DibStream* image, int blockSize);
/// The same with a record.
DIB_EXPORT bool DibEffectMozaic(DibProgressCallback callback, void* user, DibStream* image,
                                DEMozaicInfo* info);
/// @}

/// @name Blur and sharpen
///
/// Channels are filtered one by one, the alpha of 32 bits like the others, and at 8 bits the indices as plain
/// numbers: a table that is not ordered by brightness gives colours that have nothing to do with the blur.
/// Results are rounded down.
/// @param flags `DibEffectFlag`.
/// @{

/// Takes the mean of the square of side 2 x radius + 1 around each pixel, each channel rounded down.
/// Positions beyond an edge are clamped or wrapped and count as often as they occur, so any radius has a
/// result; the cost does not depend on it. 8, 16, 24 and 32 bits; bit 15 of a 16-bit pixel becomes 0.
///
/// Sums and the square's area are 32-bit signed numbers that wrap: from radius 1451 on, bright channels no
/// longer give their mean (at 16 bits from 4162). The wrapped area is odd, so it is never 0; channels keep
/// the low byte of the quotient, and 16-bit pixels the low 15 bits of red x 1024 + green x 32 + blue.
/// @param radius 0 changes nothing and reports nothing; negative gives false.
DIB_EXPORT bool DibEffectBlur(DibProgressCallback callback, void* user, DibStream* image, int radius,
                              unsigned int flags);
/// The same with a record.
DIB_EXPORT bool DibEffectBlur(DibProgressCallback callback, void* user, DibStream* image, DEBlurInfo* info);

/// Takes the mean of the four pixels above, left, right and below; the pixel itself does not count. At a
/// clamped edge the pixel stands in for the missing neighbour. 8, 24 and 32 bits.
DIB_EXPORT bool DibEffectBlurLittle(DibProgressCallback callback, void* user, DibStream* image,
                                    unsigned int flags);
/// The same with a record.
DIB_EXPORT bool DibEffectBlurLittle(DibProgressCallback callback, void* user, DibStream* image,
                                    DEBlurLittleInfo* info);

/// Takes five times the pixel less the four neighbours of `DibEffectBlurLittle`, limited to 0 to 255. 8, 24
/// and 32 bits.
DIB_EXPORT bool DibEffectSharpLittle(DibProgressCallback callback, void* user, DibStream* image,
                                     unsigned int flags);
/// The same with a record.
DIB_EXPORT bool DibEffectSharpLittle(DibProgressCallback callback, void* user, DibStream* image,
                                     DESharpLittleInfo* info);

/// Blurs with a Gaussian of standard deviation radius / 3, over the square of half-size floor(radius). The
/// weights are 65536ths, cut to whole numbers: they total less than 65536, so a uniform image darkens a
/// little, and a lot at large radii (of 255, less than a third of the light is left). 8, 24 and 32 bits.
/// @param radius At most 255; larger ones count as 255. Below 1 changes nothing and reports nothing; negative
///               and NaN give false.
DIB_EXPORT bool DibEffectGaussianBlur(DibProgressCallback callback, void* user, DibStream* image,
                                      float radius, unsigned int flags);

/// Smears the picture along one direction, as a moving camera does: the weighted mean of `length` samples at
/// distances 0, 1, 2 ... from the pixel, the first weighing `length`, the last 1. Positions between pixels are
/// sampled by `DibGetColor8` and its kin. 8, 16, 24 and 32 bits; bit 15 of a 16-bit pixel becomes 0. Sums and
/// the total of the weights are kept in 32 bits and wrap. The time grows with `length`; as a row is finished
/// before the callback is asked, so does the time that a cancel waits.
/// @param length Number of samples; 1 changes nothing and reports nothing, less gives false.
/// @param angle  Direction in which the samples lie; 0 is to the right, positive angles turn towards the row
///               below. Only one side is sampled: for both, call twice with opposite angles.
DIB_EXPORT bool DibEffectMotionBlur(DibProgressCallback callback, void* user, DibStream* image, int length,
                                    float angle, unsigned int flags);
/// The same with a record.
DIB_EXPORT bool DibEffectMotionBlur(DibProgressCallback callback, void* user, DibStream* image,
                                    DEMotionBlurInfo* info);
/// @}

/// @name Rank filters
///
/// Each pixel becomes a copy of one whole pixel of the square of side 2 x radius + 1 around it, chosen by
/// brightness; no new colour arises. Positions beyond an edge are clamped or wrapped and count as often as
/// they occur. All six depths are accepted.
///
/// Brightness is (37 blue + 146 green + 73 red), of the colour table's entry at 1, 4 and 8 bits. At 16 bits
/// blue has 73 and red 37; `DibEffectBrightMiddle` exchanges them for colour tables too.
/// @param radius 0 changes nothing and reports nothing; negative gives false.
/// @param flags  `DibEffectFlag`.
/// @{

/// Takes the brightest pixel; of equally bright ones the topmost, in its row the leftmost.
///
/// - At 1 bit a neighbourhood with both indices gives the index of the brighter entry, index 1 when they are
///   equally bright.
/// - At 4 bits the two pixels of each byte are read in exchanged places (an odd-width row's fill nibble
///   stands in for the partner of its last pixel).
/// - At 32 bits a neighbourhood of nothing but black keeps the alpha of the pixel chosen last, in the order
///   of the picture; before the first it is the low byte of ~radius.
DIB_EXPORT bool DibEffectBrightMax(DibProgressCallback callback, void* user, DibStream* image, int radius,
                                   unsigned int flags);
/// The same with a record.
DIB_EXPORT bool DibEffectBrightMax(DibProgressCallback callback, void* user, DibStream* image,
                                   DEBrightInfo* info);
/// Takes the darkest pixel, as `DibEffectBrightMax` takes the brightest; index 0 when two entries are equally
/// bright at 1 bit, and at 32 bits it is a neighbourhood of nothing but white that keeps the last alpha.
DIB_EXPORT bool DibEffectBrightMin(DibProgressCallback callback, void* user, DibStream* image, int radius,
                                   unsigned int flags);
/// The same with a record.
DIB_EXPORT bool DibEffectBrightMin(DibProgressCallback callback, void* user, DibStream* image,
                                   DEBrightInfo* info);
/// Takes the pixel with (n + 1) / 2 brighter ones before it among the n of the neighbourhood: one step darker
/// than the median. Of equally bright pixels the upper, in a row the left one, counts as brighter. At 1 bit
/// the index is 1 where at least (n + 1) / 2 of the neighbourhood are 1, whatever the colour table says.
///
/// Above radius 7 the time grows with the radius, and with its square where pixels of the same brightness differ.
/// @param radius As above; above 23169, where n passes 2^31 - 1, the result is false as for short memory.
DIB_EXPORT bool DibEffectBrightMiddle(DibProgressCallback callback, void* user, DibStream* image, int radius,
                                      unsigned int flags);
/// The same with a record.
DIB_EXPORT bool DibEffectBrightMiddle(DibProgressCallback callback, void* user, DibStream* image,
                                      DEBrightInfo* info);
/// @}

/// @name Edge and relief
/// @{

/// Replaces each channel by the length of its gradient, the root of (left - right)^2 + (above - below)^2
/// rounded down; neighbours as in `DibEffectBlurLittle`. Lengths above 255 wrap: 256 becomes 0, 360 becomes
/// 104. The alpha of 32 bits is filtered like the colours, indices of 8 bits as numbers. 8, 24 and 32 bits.
/// @param flags `DibEffectFlag`.
DIB_EXPORT bool DibEffectPickEdge(DibProgressCallback callback, void* user, DibStream* image,
                                  unsigned int flags);
/// The same with a record.
DIB_EXPORT bool DibEffectPickEdge(DibProgressCallback callback, void* user, DibStream* image,
                                  DEPickEdgeInfo* info);
/// Gives a relief look: middle grey plus strength / distance times the sum, over the distances 1 to
/// `distance`, of the sample ahead minus the sample behind. Every channel alike, alpha too; a flat picture
/// becomes 127 (15 in the fields of 16 bits), but for the alpha near a clamped right edge, where
/// `DibGetColor32` gives red instead. 8, 16, 24 and 32 bits.
/// @param strength Contrast of the relief; any float, NaN gives 0 in every channel.
/// @param distance In pixels; below 1 gives false. The time grows with it, and that which a cancel waits.
/// @param angle    Direction that is ahead; 0 is to the right.
/// @param flags    `DibEffectFlag`, as in `DibGetColor24`.
DIB_EXPORT bool DibEffectEmboss(DibProgressCallback callback, void* user, DibStream* image, float strength,
                                int distance, float angle, unsigned int flags);
/// The same with a record.
DIB_EXPORT bool DibEffectEmboss(DibProgressCallback callback, void* user, DibStream* image,
                                DEEmbossInfo* info);
/// @}

/// @name Noise
///
/// Chance comes from the C library's `rand()`, which is never seeded here: seed it to get the same picture
/// again. Pixels draw row by row from the left. Indexed pixels are changed as numbers.
/// @{

/// Adds one random offset from -amount to amount to all colour channels of a pixel, clamped to 0 to 255; the
/// fourth byte of 32 bits stays. Accepts 8, 24 and 32 bits. Every pixel takes one draw, for amount 0 too.
/// @param amount Largest offset; negative gives false. Twice a huge amount wraps around in 32 bits.
DIB_EXPORT bool DibEffectNoise(DibProgressCallback callback, void* user, DibStream* image, int amount);
/// The same with a record.
DIB_EXPORT bool DibEffectNoise(DibProgressCallback callback, void* user, DibStream* image, DENoiseInfo* info);
/// Pulls every pixel towards a colour by a random share of 0 to `strength`; the fourth byte of 32 bits stays.
/// Accepts 8, 24 and 32 bits; at 8 bits the index is pulled towards the brightness of the colour. Every pixel
/// takes one draw, for strength 0 too.
/// @param color    The fourth byte is ignored.
/// @param strength 0 to 1, in steps of 1/256; beyond that, and for NaN, false.
DIB_EXPORT bool DibEffectColorNoise(DibProgressCallback callback, void* user, DibStream* image, DibBGRA color,
                                    float strength);
/// The same with blue in the low byte of `color`, then green, then red.
DIB_EXPORT bool DibEffectColorNoise(DibProgressCallback callback, void* user, DibStream* image,
                                    unsigned int color, float strength);
/// The same with a record.
DIB_EXPORT bool DibEffectColorNoise(DibProgressCallback callback, void* user, DibStream* image,
                                    DEColorNoiseInfo* info);
/// Replaces every pixel by one of the square of side 2 x radius + 1 around it, chosen at random. Accepts 8,
/// 16, 24 and 32 bits. Every pixel takes two draws, the column first.
/// @param radius 0 changes nothing and reports nothing; negative gives false.
/// @param flags  `DibEffectFlag`.
DIB_EXPORT bool DibEffectDiffuse(DibProgressCallback callback, void* user, DibStream* image, int radius,
                                 unsigned int flags);
/// The same with a record.
DIB_EXPORT bool DibEffectDiffuse(DibProgressCallback callback, void* user, DibStream* image,
                                 DEDiffuseInfo* info);
/// @}

/// @name Compose
///
/// Blends a second image into the first with one opacity for all of it. 8, 24 and 32 bits; the second image may
/// have any depth and is not changed. Nothing is reported and nothing can be cancelled.
///
/// With the share a, of 255, every byte becomes (old (255 - a) + other a) >> 8: the alpha of 32 bits like the
/// colours, and at 8 bits the indices as plain numbers, whatever the two colour tables are. Dividing by 256 where
/// the weights total 255 darkens a little: white on white is 254.
/// @{

/// Blends an image, which may be the first image itself. Its rows are counted from the top of the picture, as
/// those of the first. One of another depth is converted before, as `DibStream::ChangeBpp` does without flags.
/// @param opacity The share of the second image: a is opacity x 255 + 0.5, truncated, of which only the low 8 bits
///                count. 0 keeps the first image, 1 shows the second alone, 2 gives 254 of 255. Numbers beyond an
///                int end at its limits (infinity gives 255, its negative 0); NaN gives 0.
/// @param mode    0 stretches the second image to the size of the first, as `DibStream::Resize` does with
///                `DIB_RESIZE_BILINEAR`; 1 repeats it in both directions from the upper left corner. Any other
///                mode blends nothing: true, whatever the second image is.
/// @return False, with the first image as it was, also when the second image is null, has no pixels or a depth
///         that does not exist, and when memory for converting or stretching it is short.
DIB_EXPORT bool DibEffectCompose(DibProgressCallback callback, void* user, DibStream* image,
                                 DibStream* second, float opacity, unsigned int mode);
/// The same with the picture of a file: .bmp of any depth, .ppm, .pgm, .tga, .png, .jpg (not .jpeg) or
/// .iff, in capitals or not.
/// @param path UTF-8. Its extension alone chooses the reader.
/// @return False, with the first image as it was, also when the path is null, the extension is another (the file
///         is then not opened), and when the file cannot be loaded or holds no image.
DIB_EXPORT bool DibEffectCompose(DibProgressCallback callback, void* user, DibStream* image, const char* path,
                                 float opacity, unsigned int mode);
/// The same with the parameters in a record.
DIB_EXPORT bool DibEffectCompose(DibProgressCallback callback, void* user, DibStream* image,
                                 DEComposeInfo* info);
/// @}

/// @name Tone curves
///
/// A curve of 256 values is applied to blue, green and red: of the pixels at 24 and 32 bits (the fourth byte
/// stays), of the colour table at 1, 4 and 8 bits (the indices stay). 16 bits give false. A width of 0 or less is
/// no error: the rows have no pixels, a colour table is changed all the same. Nothing is reported and nothing
/// can be cancelled.
///
/// A colour table changes in all entries that the header announces: `biClrUsed`, also more than the depth can
/// address, or as many as it addresses where that is 0. The header block must hold them. The count is signed:
/// below 0 gives true, with nothing changed.
/// @{

/// Gamma curve between two limits. With d = value - low and n = high - low + 1 (in 32 bits, wrapping), the
/// new value is 255 from d = high on, 0 up to d = low, and n (d / n)^(1 / gamma), rounded, between: `low`
/// counts twice, so that black lies at 2 x low and white at high + low. Low 0 is the plain curve.
/// @param low   Lower limit, any int.
/// @param high  Upper limit, any int.
/// @param gamma Any float; numbers beyond an int end at its limits, NaN counts as 0.
DIB_EXPORT bool DibEffectGammaCorrect(DibProgressCallback callback, void* user, DibStream* image, int low,
                                      int high, float gamma);
/// A straight line through the middle of the range. Any floats; results beyond 0 and 255 end there, NaN gives 0.
/// @param brightness Added, in fractions of the full range.
/// @param contrast   Slope; 1 leaves values unchanged, 0 makes all of them 128.
DIB_EXPORT bool DibEffectContrast(DibProgressCallback callback, void* user, DibStream* image,
                                  float brightness, float contrast);
/// @}

#endif

/// @file
/// Image effects. Each changes one image in place and keeps its size, depth, header and colour table.
///
/// Rules common to all effects
/// ---------------------------
/// - **Overloads.** Every effect takes its parameters one by one or, where a record type exists, in a record
///   with the same fields. A record pointer must be valid.
/// - **Result.** True when the effect finished or had nothing to do (no rows, a parameter that changes
///   nothing). False, with the image unchanged, when the image is null or has no header or no pixels, when
///   the effect does not accept its depth, when a parameter is out of range and when memory is short. False
///   also when the callback cancelled. `DibStream::ErrorCode` never changes.
/// - **Progress.** Rows are finished from the top of the picture down. After row y the callback receives
///   (y + 1) / height: there is no call before the first row, and the last call passes exactly 1. When the
///   callback returns false the effect stops: the rows reported so far are finished, the others unchanged.
/// - **The callback must not write to the image.** It may read it. Pixels that it writes to a reported row
///   stay as it wrote them. Pixels that it writes to a later row are overwritten, but until then some effects
///   read them as source pixels while others read a copy made at the start, so that the rows not yet reported
///   are unspecified. A callback that releases, replaces, resizes or converts the image, or writes to its
///   header, makes the effect write to memory that is no longer the image's: the behaviour is undefined.
/// - **Positions** are in pixels, columns from the left and rows from the top of the picture. **Angles** are
///   in radians.
/// - **Edges.** An effect that reads other pixels takes flags of `DibEffectFlag` (DibColor.h); other bits are
///   ignored.
/// - **NaN and infinity** are valid parameters: a position that evaluates to NaN reads column or row 0, an
///   infinite one the nearest edge (0 where the axis wraps).
/// - **Indexed images** (1, 4 and 8 bits): an effect changes the pixel indices and keeps the colour table,
///   unless its description says otherwise.
#ifndef DIBSTREAM_DIBEFFECT_H
#define DIBSTREAM_DIBEFFECT_H

#include <DibColor.h>
#include <DibStream.h>

#include <cstddef>
#include <type_traits>

/// @name Parameter records
///
/// `tag` belongs to the caller: the library neither reads nor writes it. The other fields are the parameters
/// of the effect, in the order of its first overload.
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
/// The parameters of `DibEffectCompose`. If `path` is not null the effect loads that file, else it uses
/// `image`.
struct DEComposeInfo {
    std::uint32_t tag;  ///< The caller's.
    const char* path;   ///< A picture file, UTF-8, or null.
    DibStream* image;   ///< The second image if `path` is null.
    float opacity;      ///< 0 shows the first image alone, 1 the second.
    unsigned int mode;  ///< 0 stretches the second image, 1 tiles it.
};
/// The parameters of `DibEffectMotionBlur`.
struct DEMotionBlurInfo {
    std::uint32_t tag;   ///< The caller's.
    int length;          ///< Number of samples.
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
/// The parameters of `DibEffectBrightMax`, `DibEffectBrightMin` and `DibEffectBrightMiddle`.
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

/// @cond
/// Enables the overloads for integers of other types than the parameter, such as the literal 0, which would
/// otherwise also convert to a record pointer.
template <class Integer, class Parameter>
using DibOtherInteger =
    std::enable_if_t<std::is_integral_v<Integer> && !std::is_same_v<Integer, Parameter>, bool>;
/// @endcond

/// @name Reverse
/// @{

/// Inverts every bit of the pixel block, row fill included: the colours of 16, 24 and 32-bit images (also the
/// fourth byte of 32 bits) and the indices, not the colour table, of the others. Accepts any depth and
/// reports no progress.
/// @return False when the image is null or its rows have no pixel block. True otherwise; an image without a
///         header or without rows stays as it is.
DIB_EXPORT bool DibEffectReverse(DibProgressCallback callback, void* user, DibStream* image);
/// The same; does not read the record. @return Always true.
DIB_EXPORT bool DibEffectReverse(DibProgressCallback callback, void* user, DibStream* image,
                                 DEReverseInfo* info);
/// @}

/// @name Distortions
///
/// Rotate, ripple, wave and whirl take every pixel from a position of the unchanged picture, sampled as
/// DibColor.h describes: the nearest pixel up to 16 bits, a mix of four pixels at 24 and 32. They accept
/// every depth. There is no background colour: positions outside the picture clamp or wrap as the flags say.
/// @{

/// Turns the picture about its centre, counter-clockwise for positive angles: a quarter turn moves what was
/// below the centre to its right.
/// @param angle 0 changes nothing and reports nothing.
DIB_EXPORT bool DibEffectRotate(DibProgressCallback callback, void* user, DibStream* image, float angle,
                                unsigned int flags);
/// The same with a record.
DIB_EXPORT bool DibEffectRotate(DibProgressCallback callback, void* user, DibStream* image,
                                DERotateInfo* info);

/// Makes rings about a point: a pixel at distance r comes from the position turned about the centre by
/// amplitude x sin(2 pi r / wavelength + phase).
/// @param centerX,centerY The centre; may lie outside the picture.
/// @param wavelength      In pixels; 0 gives false.
/// @param amplitude       The largest turn, in radians; 0 changes nothing and reports nothing.
DIB_EXPORT bool DibEffectRipple(DibProgressCallback callback, void* user, DibStream* image, float centerX,
                                float centerY, float wavelength, float amplitude, float phase,
                                unsigned int flags);
/// The same with a record.
DIB_EXPORT bool DibEffectRipple(DibProgressCallback callback, void* user, DibStream* image,
                                DERippleInfo* info);

/// Makes parallel waves: a pixel moves at right angles to the direction by amplitude x sin(2 pi d /
/// wavelength + phase). d is its distance from the line through the centre of the picture at right angles to
/// the direction: positive ahead of that line, negative behind it. On the line through the centre along the
/// direction d is positive on both sides.
/// @param wavelength In pixels; 0 gives false.
/// @param amplitude  The largest shift, in pixels; 0 changes nothing and reports nothing.
/// @param direction  The direction in which the waves run; 0 runs along x and moves pixels along y.
DIB_EXPORT bool DibEffectWave(DibProgressCallback callback, void* user, DibStream* image, float wavelength,
                              float amplitude, float phase, float direction, unsigned int flags);
/// The same with a record.
DIB_EXPORT bool DibEffectWave(DibProgressCallback callback, void* user, DibStream* image, DEWaveInfo* info);

/// Twists the picture about a point: a pixel at distance r comes from the position turned by r x twist, in
/// the sense of `DibEffectRotate`.
/// @param centerX,centerY The centre; may lie outside the picture.
/// @param twist           In radians per pixel; 0 changes nothing and reports nothing.
DIB_EXPORT bool DibEffectWhirl(DibProgressCallback callback, void* user, DibStream* image, float centerX,
                               float centerY, float twist, unsigned int flags);
/// The same with a record.
DIB_EXPORT bool DibEffectWhirl(DibProgressCallback callback, void* user, DibStream* image, DEWhirlInfo* info);

/// Paints every square block of pixels in one colour. Blocks start at the upper left corner of the picture
/// and are cut at the right and lower edges.
///
/// Indexed images take the index of the block's upper left pixel. 16, 24 and 32-bit images take the exact
/// mean of each channel, rounded down (also of the fourth byte of 32 bits), for blocks of any size; bit 15 of
/// a 16-bit pixel becomes 0.
///
/// Progress differs from the common rule: after each row of blocks the callback receives (first row of these
/// blocks + 1) / height: 10 rows in blocks of 4 report 0.1, 0.5 and 0.9.
/// @param blockSize Side of a block in pixels. 1 changes nothing and reports nothing; less gives false.
DIB_EXPORT bool DibEffectMozaic(DibProgressCallback callback, void* user, DibStream* image, int blockSize);
/// The same with a record.
DIB_EXPORT bool DibEffectMozaic(DibProgressCallback callback, void* user, DibStream* image,
                                DEMozaicInfo* info);
/// The same for an integer of another type, which is converted.
template <class Integer, DibOtherInteger<Integer, int> = true>
bool DibEffectMozaic(DibProgressCallback callback, void* user, DibStream* image, Integer blockSize) {
    return DibEffectMozaic(callback, user, image, static_cast<int>(blockSize));
}
/// @}

/// @name Blur and sharpen
///
/// Each channel is filtered by itself, the alpha of 32 bits like the colours. At 8 bits the indices are
/// filtered as numbers, so the result is a blur only if the colour table is ordered by brightness. Results
/// are rounded down.
/// @param flags `DibEffectFlag`.
/// @{

/// Takes the mean of the square of side 2 x radius + 1 around each pixel. Positions outside the picture clamp
/// or wrap and count as often as they occur, so the radius has no limit; the time does not depend on it. 8,
/// 16, 24 and 32 bits; bit 15 of a 16-bit pixel becomes 0.
///
/// The sums and the area of the square are 32-bit signed numbers that wrap: from radius 1451 on (4162 at 16
/// bits) bright channels no longer give their mean. The wrapped area is odd, so it is never 0; channels keep
/// the low byte of the quotient, 16-bit pixels the low 15 bits of red x 1024 + green x 32 + blue.
/// @param radius 0 changes nothing and reports nothing; negative gives false.
DIB_EXPORT bool DibEffectBlur(DibProgressCallback callback, void* user, DibStream* image, int radius,
                              unsigned int flags);
/// The same with a record.
DIB_EXPORT bool DibEffectBlur(DibProgressCallback callback, void* user, DibStream* image, DEBlurInfo* info);

/// Takes the mean of the four pixels above, left, right and below; the pixel itself does not count. At a
/// clamped edge the pixel replaces the missing neighbour. 8, 24 and 32 bits.
DIB_EXPORT bool DibEffectBlurLittle(DibProgressCallback callback, void* user, DibStream* image,
                                    unsigned int flags);
/// The same with a record.
DIB_EXPORT bool DibEffectBlurLittle(DibProgressCallback callback, void* user, DibStream* image,
                                    DEBlurLittleInfo* info);
/// The same for an integer of another type, which is converted.
template <class Integer, DibOtherInteger<Integer, unsigned int> = true>
bool DibEffectBlurLittle(DibProgressCallback callback, void* user, DibStream* image, Integer flags) {
    return DibEffectBlurLittle(callback, user, image, static_cast<unsigned int>(flags));
}

/// Takes five times the pixel minus its four neighbours (those of `DibEffectBlurLittle`), clamped to 0 to
/// 255. 8, 24 and 32 bits.
DIB_EXPORT bool DibEffectSharpLittle(DibProgressCallback callback, void* user, DibStream* image,
                                     unsigned int flags);
/// The same with a record.
DIB_EXPORT bool DibEffectSharpLittle(DibProgressCallback callback, void* user, DibStream* image,
                                     DESharpLittleInfo* info);
/// The same for an integer of another type, which is converted.
template <class Integer, DibOtherInteger<Integer, unsigned int> = true>
bool DibEffectSharpLittle(DibProgressCallback callback, void* user, DibStream* image, Integer flags) {
    return DibEffectSharpLittle(callback, user, image, static_cast<unsigned int>(flags));
}

/// Blurs with a Gaussian of standard deviation radius / 3 over the square of side 2 x floor(radius) + 1. The
/// weights are truncated to 65536ths and total less than 1: a uniform image darkens slightly, at large radii
/// strongly (radius 255 keeps less than a third of the light). 8, 24 and 32 bits.
/// @param radius Above 255 counts as 255. 0 to below 1 changes nothing and reports nothing; negative and NaN
///               give false.
DIB_EXPORT bool DibEffectGaussianBlur(DibProgressCallback callback, void* user, DibStream* image,
                                      float radius, unsigned int flags);

/// Smears the picture along one direction, as a moving camera does: the weighted mean of `length` samples at
/// distances 0, 1, 2 ... pixels. The weights fall from `length` at the pixel itself to 1. Positions between
/// pixels are sampled as by `DibGetColor8` to `DibGetColor32`. 8, 16, 24 and 32 bits; bit 15 of a 16-bit
/// pixel becomes 0. The time grows with `length`, and so does the delay of a cancel, as each row is finished
/// first.
///
/// Sums and the total of the weights, length x (length + 1) / 2, are 32-bit signed numbers that wrap. From
/// length 4104 on (11771 at 16 bits) sums of bright channels wrap and no longer give their mean. From length
/// 46341 on length x (length + 1) wraps before it is halved: the divisor is wrong, often negative, but never
/// 0. Channels keep the low byte of the quotient, 16-bit pixels the low 15 bits of red x 1024 + green x 32 +
/// blue.
/// @param length Number of samples; 1 changes nothing and reports nothing, less gives false.
/// @param angle  Direction of the samples: 0 is to the right, positive angles turn towards the row below. For
///               a smear to both sides call twice with opposite angles.
DIB_EXPORT bool DibEffectMotionBlur(DibProgressCallback callback, void* user, DibStream* image, int length,
                                    float angle, unsigned int flags);
/// The same with a record.
DIB_EXPORT bool DibEffectMotionBlur(DibProgressCallback callback, void* user, DibStream* image,
                                    DEMotionBlurInfo* info);
/// @}

/// @name Rank filters
///
/// Each pixel becomes a copy of one whole pixel of the square of side 2 x radius + 1 around it, chosen by
/// brightness; channels are never mixed. Positions outside the picture clamp or wrap and count as often as
/// they occur. All depths.
///
/// Brightness is 37 blue + 146 green + 73 red, at 1, 4 and 8 bits of the colour-table entry. At 16 bits it is
/// 73 blue + 146 green + 37 red; `DibEffectBrightMiddle` uses these weights for colour tables as well.
///
/// Equally bright pixels are ranked in visiting order: rows y - radius to y + radius, each from column x -
/// radius to x + radius. Wrapping changes who comes first: at the left edge, a pixel from the right edge is
/// visited before the pixel itself.
/// @param radius 0 changes nothing and reports nothing; negative gives false.
/// @param flags  `DibEffectFlag`.
/// @{

/// Takes the brightest pixel; of equally bright ones the first visited.
///
/// - At 1 bit a square with both indices gives the index of the brighter entry, or index 1 when both entries
///   are equally bright.
/// - At 4 bits the two pixels of each byte are swapped when read; in a row of odd width the last pixel is
///   swapped with the fill nibble.
/// - At 32 bits an all-black square gives black with the alpha of the pixel chosen last (rows from the top,
///   each from the left), before the first choice with the low byte of ~radius.
DIB_EXPORT bool DibEffectBrightMax(DibProgressCallback callback, void* user, DibStream* image, int radius,
                                   unsigned int flags);
/// The same with a record.
DIB_EXPORT bool DibEffectBrightMax(DibProgressCallback callback, void* user, DibStream* image,
                                   DEBrightInfo* info);
/// Takes the darkest pixel, by the rules of `DibEffectBrightMax` with two differences: at 1 bit a square with
/// two equally bright indices gives index 0, and at 32 bits it is an all-white square that keeps the last
/// alpha.
DIB_EXPORT bool DibEffectBrightMin(DibProgressCallback callback, void* user, DibStream* image, int radius,
                                   unsigned int flags);
/// The same with a record.
DIB_EXPORT bool DibEffectBrightMin(DibProgressCallback callback, void* user, DibStream* image,
                                   DEBrightInfo* info);
/// Sorts the n pixels of the square from bright to dark and takes the one with (n + 1) / 2 before it: one
/// step darker than the median. Of equally bright pixels the first visited counts as brighter. At 1 bit the
/// index is 1 where at least (n + 1) / 2 of the square are 1; the colour table does not matter.
///
/// Radius 50 takes at most twice as long as radius 8, and 200 seven times. Above 1792 (in small pictures
/// earlier) the time grows with the radius, and with its square where pixels of equal brightness differ.
/// @param radius As above; above 23169, where n exceeds 2^31 - 1, the result is false as for short memory.
DIB_EXPORT bool DibEffectBrightMiddle(DibProgressCallback callback, void* user, DibStream* image, int radius,
                                      unsigned int flags);
/// The same with a record.
DIB_EXPORT bool DibEffectBrightMiddle(DibProgressCallback callback, void* user, DibStream* image,
                                      DEBrightInfo* info);
/// @}

/// @name Edge and relief
/// @{

/// Replaces each channel by the length of its gradient: the root of (left - right)^2 + (above - below)^2,
/// rounded down, with the neighbours of `DibEffectBlurLittle`. Lengths above 255 wrap: 256 becomes 0, 360
/// becomes 104. The alpha of 32 bits is filtered like the colours, indices of 8 bits as numbers. 8, 24 and 32
/// bits.
/// @param flags `DibEffectFlag`.
DIB_EXPORT bool DibEffectPickEdge(DibProgressCallback callback, void* user, DibStream* image,
                                  unsigned int flags);
/// The same with a record.
DIB_EXPORT bool DibEffectPickEdge(DibProgressCallback callback, void* user, DibStream* image,
                                  DEPickEdgeInfo* info);
/// The same for an integer of another type, which is converted.
template <class Integer, DibOtherInteger<Integer, unsigned int> = true>
bool DibEffectPickEdge(DibProgressCallback callback, void* user, DibStream* image, Integer flags) {
    return DibEffectPickEdge(callback, user, image, static_cast<unsigned int>(flags));
}
/// Gives a relief: middle grey plus strength / distance times the sum, over the distances 1 to `distance`, of
/// the sample ahead minus the sample behind. Every channel is filtered alike, including alpha. A flat picture
/// becomes 127 (15 in the fields of 16 bits), except for the alpha near a clamped right edge, where
/// `DibGetColor32` gives red instead. 8, 16, 24 and 32 bits.
/// @param strength Contrast of the relief; any float, NaN gives 0 in every channel.
/// @param distance In pixels; below 1 gives false. The time and the delay of a cancel grow with it.
/// @param angle    The direction ahead; 0 is to the right.
/// @param flags    `DibEffectFlag`, as in `DibGetColor24`.
DIB_EXPORT bool DibEffectEmboss(DibProgressCallback callback, void* user, DibStream* image, float strength,
                                int distance, float angle, unsigned int flags);
/// The same with a record.
DIB_EXPORT bool DibEffectEmboss(DibProgressCallback callback, void* user, DibStream* image,
                                DEEmbossInfo* info);
/// @}

/// @name Noise
///
/// Random numbers come from the C library's `rand()`. The effects never seed it: seed it yourself to get the
/// same picture again. Pixels draw row by row from the left. Indices of 8 bits are changed as numbers.
/// @{

/// Adds one random offset from -amount to amount to all colour channels of a pixel, clamped to 0 to 255; the
/// fourth byte of 32 bits stays. 8, 24 and 32 bits. Every pixel takes one draw, also for amount 0.
/// @param amount Largest offset; negative gives false. 2 x amount + 1 wraps in 32 bits.
DIB_EXPORT bool DibEffectNoise(DibProgressCallback callback, void* user, DibStream* image, int amount);
/// The same with a record.
DIB_EXPORT bool DibEffectNoise(DibProgressCallback callback, void* user, DibStream* image, DENoiseInfo* info);
/// The same for an integer of another type, which is converted.
template <class Integer, DibOtherInteger<Integer, int> = true>
bool DibEffectNoise(DibProgressCallback callback, void* user, DibStream* image, Integer amount) {
    return DibEffectNoise(callback, user, image, static_cast<int>(amount));
}
/// Mixes every pixel with a colour, whose share is random from 0 to `strength`; the fourth byte of 32 bits
/// stays. 8, 24 and 32 bits; at 8 bits the index is mixed with the brightness of the colour. Every pixel
/// takes one draw, also for strength 0.
/// @param color    The fourth byte is ignored.
/// @param strength 0 to 1, in steps of 1/256; values outside and NaN give false.
DIB_EXPORT bool DibEffectColorNoise(DibProgressCallback callback, void* user, DibStream* image, DibBGRA color,
                                    float strength);
/// The same with blue in the low byte of `color`, then green, then red.
DIB_EXPORT bool DibEffectColorNoise(DibProgressCallback callback, void* user, DibStream* image,
                                    unsigned int color, float strength);
/// The same with a record.
DIB_EXPORT bool DibEffectColorNoise(DibProgressCallback callback, void* user, DibStream* image,
                                    DEColorNoiseInfo* info);
/// Replaces every pixel by a random one of the square of side 2 x radius + 1 around it. 8, 16, 24 and 32
/// bits. Every pixel takes two draws, the column first.
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
/// Blends a second image into the first with one opacity. 8, 24 and 32 bits; the second image may have any
/// depth and stays unchanged. There is no progress and no cancelling.
///
/// With a share a of 255 every byte becomes (old (255 - a) + other a) >> 8: the alpha of 32 bits like the
/// colours, at 8 bits the indices as numbers, whatever the two colour tables hold. The weights total 255 and
/// the divisor is 256, so the result is slightly darker: white on white is 254.
/// @{

/// Blends an image, which may be the first image itself. The top rows of both pictures are aligned. A second
/// image of another depth is converted first, as by `DibStream::ChangeBpp` without flags.
/// @param opacity The share of the second image: a is the low 8 bits of opacity x 255 + 0.5, truncated. 0
///                keeps the first image, 1 shows only the second, 2 gives a = 254. Values beyond an int
///                become its limits (infinity gives 255, minus infinity 0); NaN gives 0.
/// @param mode    0 stretches the second image to the size of the first, as `DibStream::Resize` does with
///                `DIB_RESIZE_BILINEAR`; 1 tiles it from the upper left corner. Any other mode changes
///                nothing and gives true, whatever the second image is.
/// @return False, with the first image unchanged, also when the second image is null, has no pixels or a
///         depth that does not exist, and when there is no memory to convert or stretch it.
DIB_EXPORT bool DibEffectCompose(DibProgressCallback callback, void* user, DibStream* image,
                                 DibStream* second, float opacity, unsigned int mode);
/// The same with a picture file: .bmp of any depth, .ppm, .pgm, .tga, .png, .jpg (not .jpeg) or .iff, in
/// upper or lower case.
/// @param path UTF-8. Only its extension chooses the reader.
/// @return False, with the first image unchanged, also when the path is null or has another extension (the
///         file is then not opened) and when the file cannot be loaded or holds no image.
DIB_EXPORT bool DibEffectCompose(DibProgressCallback callback, void* user, DibStream* image, const char* path,
                                 float opacity, unsigned int mode);
/// The same with a record.
DIB_EXPORT bool DibEffectCompose(DibProgressCallback callback, void* user, DibStream* image,
                                 DEComposeInfo* info);
/// The same without a second image, where null could be either pointer.
inline bool DibEffectCompose(DibProgressCallback callback, void* user, DibStream* image, std::nullptr_t,
                             float opacity, unsigned int mode) {
    return DibEffectCompose(callback, user, image, static_cast<DibStream*>(nullptr), opacity, mode);
}
/// @}

/// @name Tone curves
///
/// A curve of 256 values changes blue, green and red: of the pixels at 24 and 32 bits (the fourth byte
/// stays), of the colour table at 1, 4 and 8 bits (the indices stay). 16 bits give false. A width of 0 or
/// less is no error: there are no pixels to change, but a colour table is changed. There is no progress and
/// no cancelling.
///
/// All announced entries of a colour table change: `biClrUsed` of them, even more than the depth can address,
/// or 2^bits if that is 0. The header block must hold them. The count is signed: below 0 nothing changes, and
/// the result is true.
/// @{

/// Applies a gamma curve between two limits. With d = value - low and n = high - low + 1 (both wrap in 32
/// bits) the new value is 255 for d >= high, 0 for d <= low, else n (d / n)^(1 / gamma), rounded. `low`
/// counts twice: black lies at 2 x low, white at high + low. Low 0 is the plain curve.
/// @param low   Lower limit, any int.
/// @param high  Upper limit, any int.
/// @param gamma Any float; results beyond an int become its limits, NaN counts as 0.
DIB_EXPORT bool DibEffectGammaCorrect(DibProgressCallback callback, void* user, DibStream* image, int low,
                                      int high, float gamma);
/// Applies a straight line through the middle of the range. Any floats; results are clamped to 0 to 255, NaN
/// gives 0.
/// @param brightness Added, in fractions of the full range.
/// @param contrast   Slope; 1 leaves values unchanged, 0 makes all of them 128.
DIB_EXPORT bool DibEffectContrast(DibProgressCallback callback, void* user, DibStream* image,
                                  float brightness, float contrast);
/// @}

#endif

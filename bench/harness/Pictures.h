// The pictures that every program is measured on, and the parameters of the operations. They are made from
// whole numbers, so that they are the same bytes on every machine.
#ifndef BENCH_HARNESS_PICTURES_H
#define BENCH_HARNESS_PICTURES_H

#include <cstddef>
#include <cstdint>
#include <vector>

namespace pb {

constexpr int W = 1920, H = 1080;    // every operation
constexpr int W4 = 4096, H4 = 4096;  // those that are bound by memory, and a few filters

constexpr double kRotateDeg = 30.0;
constexpr float kWhirlTwist = 0.003f;                    // radians per pixel of distance
constexpr float kRippleLen = 40.0f, kRippleAmp = 0.05f;  // pixels, radians
constexpr float kWaveLen = 60.0f, kWaveAmp = 8.0f;       // pixels
constexpr int kMosaic = 10;
constexpr int kMotionLen = 15;
constexpr float kMotionAngle = 0.5f;
constexpr double kGamma = 2.2;
constexpr double kContrast = 1.3, kBrightness = 0.05;
constexpr int kNoise = 20;
constexpr int kDiffuse = 3;
constexpr double kOpacity = 0.5;
constexpr int UpW = 2880, UpH = 1620;  // bilinear, larger
constexpr int DnW = 1440, DnH = 810;   // bilinear, smaller
constexpr int ArW = 710, ArH = 400;    // area averaging
constexpr int HfW = 960, HfH = 540;    // halving
constexpr int CropX = 481, CropY = 271, CropW = 960, CropH = 540;

// Rows from the top down without padding; rows of 1920 and 4096 pixels lie as in a top-down DIB of any depth.
// Channels: 1 is grey, 3 blue, green, red, 4 also alpha.
struct Image {
    int w = 0, h = 0, ch = 0;
    std::vector<std::uint8_t> d;

    Image() = default;
    Image(int width, int height, int channels)
        : w(width), h(height), ch(channels), d(stride() * static_cast<std::size_t>(height)) {}
    [[nodiscard]] std::size_t stride() const {
        return static_cast<std::size_t>(w) * static_cast<std::size_t>(ch);
    }
    [[nodiscard]] std::uint8_t* row(int y) { return d.data() + static_cast<std::size_t>(y) * stride(); }
    [[nodiscard]] const std::uint8_t* row(int y) const {
        return d.data() + static_cast<std::size_t>(y) * stride();
    }
    [[nodiscard]] std::size_t bytes() const { return d.size(); }
};

// Like a photograph: smooth gradients, soft shapes, and noise of up to 7 in every byte.
Image photo(int width, int height, int channels, std::uint64_t seed = 12345);

// Flat panels and strokes like letters, with a photograph in the middle: for files with run lengths, where a
// photograph has none. 3 channels.
Image mixed(int width, int height, std::uint64_t seed = 777);

// The same as indices of the palette below: three bits of red, three of green, two of blue.
Image mixedIndexed(int width, int height);
// 256 entries of blue, green, red, 0.
std::vector<std::uint8_t> palette332();

// The photograph of a size, made once; and another one to blend it with.
const Image& img(int width, int height, int channels);
const Image& img2(int width, int height, int channels);

// The same picture in the order red, green, blue.
Image rgbOf(const Image& picture);

// 256 entries: the gamma correction, for programs that take a table.
const std::uint8_t* gammaTable();

}  // namespace pb

#endif

// Writes the sample picture, the same bytes on every machine.

#include <DibStream.h>

#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "scripts/sample/Scene.h"

namespace {

constexpr int kLargestSide = 16384;

int usage() {
    std::fputs("usage: make_sample_picture WIDTH HEIGHT OUT.bmp [--bits=1|4|8|16|24|32]\n", stderr);
    return 2;
}

// The whole of a text as a number from 1 to `largest`, or 0.
int wholeNumber(std::string_view text, int largest) {
    int number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size() && number >= 1 && number <= largest
               ? number
               : 0;
}

unsigned char toByte(double value) {
    return static_cast<unsigned char>(std::lround(sample::clamped(value) * 255));
}

// The mean of four points of a pixel, which smooths hard edges.
sample::Color pixelColor(int column, int row, int width, int height) {
    const double aspect = static_cast<double>(width) / height;
    sample::Color sum{0, 0, 0};
    for (const double up : {0.25, 0.75}) {
        for (const double along : {0.25, 0.75}) {
            sum = sum + sample::sceneColor((column + along) / height, (row + up) / height, aspect);
        }
    }
    return sum * 0.25;
}

// Opaque inside a soft edge with round corners.
unsigned char pixelAlpha(int column, int row, int width, int height) {
    const double radius = 0.12 * std::min(width, height);
    const double x = std::max({radius - (column + 0.5), (column + 0.5) - (width - radius), 0.0});
    const double y = std::max({radius - (row + 0.5), (row + 0.5) - (height - radius), 0.0});
    return toByte(1 - sample::ramp(0.8 * radius, radius, sample::distance(x, y)));
}

bool paint(DibStream& image, int width, int height) {
    if (!image.Create(width, height, 32)) return false;
    for (int row = 0; row < height; ++row) {
        unsigned char* pixel = image.ScanLine(row);
        for (int column = 0; column < width; ++column, pixel += 4) {
            const sample::Color color = pixelColor(column, row, width, height);
            // Slight film grain.
            const double grain = (sample::hash(column, row, 211) - 0.5) * 0.018;
            pixel[0] = toByte(color.blue + grain);
            pixel[1] = toByte(color.green + grain);
            pixel[2] = toByte(color.red + grain);
            pixel[3] = pixelAlpha(column, row, width, height);
        }
    }
    return true;
}

bool reduce(DibStream& image, int bits) {
    if (bits == 32) return true;
    const unsigned int method = bits == 16 ? DIB_DITHER : bits == 4 || bits == 8 ? DIB_MEDIAN_CUT : 0U;
    return image.ChangeBpp(bits, method);
}

}  // namespace

int main(int argumentCount, char** arguments) {
    if (argumentCount < 4 || argumentCount > 5) return usage();
    const int width = wholeNumber(arguments[1], kLargestSide);
    const int height = wholeNumber(arguments[2], kLargestSide);
    int bits = 24;
    if (argumentCount == 5) {
        const std::string_view option = arguments[4];
        bits = option.starts_with("--bits=") ? wholeNumber(option.substr(7), 32) : 0;
    }
    const bool isDepth = bits == 1 || bits == 4 || bits == 8 || bits == 16 || bits == 24 || bits == 32;
    if (width == 0 || height == 0 || !isDepth) return usage();

    DibStream image;
    if (!paint(image, width, height) || !reduce(image, bits) || !image.SaveToFile(arguments[3])) {
        std::fprintf(stderr, "make_sample_picture: %s: %s\n", arguments[3],
                     DibStream::GetErrorString(image.ErrorCode));
        return 1;
    }
    return 0;
}

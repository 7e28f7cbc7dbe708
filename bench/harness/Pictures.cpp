#include "bench/harness/Pictures.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <map>
#include <tuple>
#include <utility>

#include "dib/Numbers.h"

namespace pb {
namespace {

std::uint8_t byteOf(int value) { return static_cast<std::uint8_t>(value); }
std::uint8_t clamped(int value) { return byteOf(std::clamp(value, 0, 255)); }

// A linear congruential generator of 64 bits, of which the upper ones are used.
class Random {
public:
    explicit Random(std::uint64_t seed) : state_(seed * kFactor + kStep) {}
    std::uint32_t next() {
        state_ = state_ * kFactor + kStep;
        return static_cast<std::uint32_t>(state_ >> 33);
    }
    int below(int limit) { return dib::asInt((std::uint64_t{next()} * dib::asUnsigned(limit)) >> 31); }

private:
    static constexpr std::uint64_t kFactor = 6364136223846793005, kStep = 1442695040888963407;
    std::uint64_t state_;
};

// A triangle wave from 0 to 255.
int triangle(int position, int period) {
    const int phase = position % period;
    const int half = period / 2;
    return phase < half ? phase * 255 / half : (period - phase) * 255 / (period - half);
}

void paintGradients(Image& image) {
    const int w = image.w, h = image.h;
    for (int y = 0; y < h; ++y) {
        std::uint8_t* pixel = image.row(y);
        const int gy = dib::asInt(std::int64_t{y} * 255 / (h - 1));
        for (int x = 0; x < w; ++x, pixel += 3) {
            const int gx = dib::asInt(std::int64_t{x} * 255 / (w - 1));
            const int t1 = triangle(x + y / 3, 397), t2 = triangle(y * 2 + x / 5, 611),
                      t3 = triangle(x * 3 - y + 4 * h, 1279);
            pixel[0] = clamped((gx * 90 + gy * 60 + t1 * 40 + t2 * 30) >> 8);
            pixel[1] = clamped((gy * 100 + (255 - gx) * 50 + t2 * 40 + t3 * 40) >> 8);
            pixel[2] = clamped(((255 - gy) * 80 + gx * 60 + t3 * 60 + t1 * 30) >> 8);
        }
    }
}

// An ellipse or, one time in three, a rectangle, blended over the picture.
void paintShape(Image& image, Random& random) {
    const int w = image.w, h = image.h;
    const int cx = random.below(w), cy = random.below(h);
    const int rx = 20 + random.below(w / 7), ry = 20 + random.below(h / 7);
    const int blue = random.below(256), green = random.below(256), red = random.below(256);
    const int alpha = 90 + random.below(166);
    const bool rectangle = random.below(3) == 0;
    const auto share = [](std::int64_t distance, std::int64_t radius) {
        return distance * distance * 4096 / (radius * radius);
    };
    const auto blend = [alpha](std::uint8_t& value, int color) {
        value = byteOf((value * (255 - alpha) + color * alpha) / 255);
    };
    for (int y = std::max(0, cy - ry); y < std::min(h, cy + ry); ++y) {
        for (int x = std::max(0, cx - rx); x < std::min(w, cx + rx); ++x) {
            if (!rectangle && share(y - cy, ry) + share(x - cx, rx) > 4096) continue;
            std::uint8_t* const pixel = image.row(y) + x * 3;
            blend(pixel[0], blue);
            blend(pixel[1], green);
            blend(pixel[2], red);
        }
    }
}

void addNoise(Image& image, Random& random) {
    for (std::uint8_t& value : image.d) {
        const std::uint32_t bits = random.next();
        value = clamped(value + dib::asInt(bits & 7) - dib::asInt((bits >> 8) & 7));
    }
}

Image greyOf(const Image& color) {
    Image grey(color.w, color.h, 1);
    const std::uint8_t* pixel = color.d.data();
    for (std::uint8_t& value : grey.d) {
        value = byteOf((37 * pixel[0] + 146 * pixel[1] + 73 * pixel[2]) >> 8);
        pixel += 3;
    }
    return grey;
}

Image withAlpha(const Image& color) {
    Image result(color.w, color.h, 4);
    for (int y = 0; y < color.h; ++y) {
        for (int x = 0; x < color.w; ++x) {
            std::uint8_t* const pixel = result.row(y) + x * 4;
            std::memcpy(pixel, color.row(y) + x * 3, 3);
            pixel[3] = byteOf(triangle(x + 2 * y, 1500));
        }
    }
    return result;
}

void fill(Image& image, int left, int top, int width, int height, const std::uint8_t (&color)[3]) {
    for (int y = top; y < std::min(image.h, top + height); ++y) {
        for (int x = left; x < std::min(image.w, left + width); ++x)
            std::memcpy(image.row(y) + x * 3, color, 3);
    }
}

// The photographs of one seed, each made when it is asked for first.
const Image& cached(int width, int height, int channels, std::uint64_t seed) {
    static std::map<std::tuple<int, int, int, std::uint64_t>, Image> pictures;
    const auto key = std::make_tuple(width, height, channels, seed);
    auto found = pictures.find(key);
    if (found == pictures.end()) found = pictures.emplace(key, photo(width, height, channels, seed)).first;
    return found->second;
}

}  // namespace

Image photo(int width, int height, int channels, std::uint64_t seed) {
    Image image(width, height, 3);
    paintGradients(image);
    Random random(seed);
    for (int shape = 0; shape < 60; ++shape) paintShape(image, random);
    addNoise(image, random);
    if (channels == 1) return greyOf(image);
    return channels == 4 ? withAlpha(image) : image;
}

Image mixed(int width, int height, std::uint64_t seed) {
    Image image(width, height, 3);
    Random random(seed);
    fill(image, 0, 0, width, height, {236, 233, 216});
    for (int panel = 0; panel < 40; ++panel) {
        const int x = random.below(width), y = random.below(height);
        const int w = 40 + random.below(width / 5), h = 20 + random.below(height / 8);
        const int red = random.below(256), green = random.below(256), blue = random.below(256);
        fill(image, x, y, w, h, {byteOf(blue), byteOf(green), byteOf(red)});
    }
    for (int stroke = 0; stroke < 6000; ++stroke) {
        const int x = random.below(width), y = random.below(height / 12) * 12;
        const int w = 1 + random.below(6), h = 1 + random.below(8);
        fill(image, x, y, w, h, {20, 20, 20});
    }
    const Image picture = photo(width, height, 3);
    const int left = width / 10 * 3;
    for (int y = height / 4; y < height * 3 / 4; ++y) {
        std::memcpy(image.row(y) + left, picture.row(y) + left, dib::asSize(width * 8 / 10) * 3);
    }
    return image;
}

Image mixedIndexed(int width, int height) {
    const Image color = mixed(width, height);
    Image indices(width, height, 1);
    const std::uint8_t* pixel = color.d.data();
    for (std::uint8_t& index : indices.d) {
        index = byteOf((pixel[2] >> 5 << 5) | (pixel[1] >> 5 << 2) | (pixel[0] >> 6));
        pixel += 3;
    }
    return indices;
}

std::vector<std::uint8_t> palette332() {
    std::vector<std::uint8_t> palette;
    for (int index = 0; index < 256; ++index) {
        const int blue = (index & 3) * 255 / 3, green = ((index >> 2) & 7) * 255 / 7,
                  red = (index >> 5) * 255 / 7;
        palette.insert(palette.end(), {byteOf(blue), byteOf(green), byteOf(red), 0});
    }
    return palette;
}

const Image& img(int width, int height, int channels) { return cached(width, height, channels, 12345); }
const Image& img2(int width, int height, int channels) { return cached(width, height, channels, 999); }

Image rgbOf(const Image& picture) {
    Image result = picture;
    if (picture.ch < 3) return result;
    const std::size_t step = dib::asSize(picture.ch);
    for (std::size_t i = 0; i < result.d.size(); i += step) std::swap(result.d[i], result.d[i + 2]);
    return result;
}

const std::uint8_t* gammaTable() {
    static const std::vector<std::uint8_t> table = [] {
        std::vector<std::uint8_t> values;
        for (int i = 0; i < 256; ++i) {
            values.push_back(clamped(static_cast<int>(std::pow(i / 256.0, 1 / kGamma) * 256 + 0.5)));
        }
        values[255] = 255;
        return values;
    }();
    return table.data();
}

}  // namespace pb

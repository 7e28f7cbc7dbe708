#include "tests/reference/ConvertReference.h"

#include <cstdlib>
#include <cstring>

#include "tests/reference/MedianReference.h"

namespace reference {

namespace {

struct Canvas {
    DibStream& image;
    int width;
    int height;

    unsigned char* row(int y) const { return image.Buffer + static_cast<std::size_t>(y) * image.GetPitch(); }
    void setIndex(int x, int y, unsigned int index) const {
        const int bits = image.Header->biBitCount;
        const int shift = 8 - bits - x * bits % 8;
        row(y)[x * bits / 8] |= static_cast<unsigned char>(index << shift);
    }
    void setWord(int x, int y, unsigned int word) const {
        row(y)[2 * x] = static_cast<unsigned char>(word & 255);
        row(y)[2 * x + 1] = static_cast<unsigned char>(word >> 8);
    }
    DibBGRA* table() const { return reinterpret_cast<DibBGRA*>(image.Header + 1); }
};

// An entry of the table of an image, black where none is announced.
DibBGRA entryOf(const DibStream& image, unsigned int index) {
    const BITMAPINFOHEADER& header = *image.Header;
    const unsigned int length = header.biClrUsed != 0 ? header.biClrUsed : 1U << header.biBitCount;
    DibBGRA entry{};
    const auto* table = reinterpret_cast<const unsigned char*>(&header) + header.biSize;
    if (index < length) std::memcpy(&entry, table + 4 * index, 4);
    return entry;
}

unsigned char greyOf(DibBGRA p) {
    return static_cast<unsigned char>((37U * p.blue + 146U * p.green + 73U * p.red) >> 8);
}

void diffuse(const std::vector<unsigned char>& grey, const Canvas& canvas) {
    const int w = canvas.width;
    const int h = canvas.height;
    std::vector<std::vector<int>> sums(static_cast<std::size_t>(h),
                                       std::vector<int>(static_cast<std::size_t>(w)));
    for (int y = 0; y < h; ++y) {
        for (int x = 0; x < w; ++x) {
            const int e = sums[static_cast<std::size_t>(y)][static_cast<std::size_t>(x)];
            int left = grey[static_cast<std::size_t>(y * w + x)];
            int v = left + e / 42;
            if (v >= 128) {
                canvas.setIndex(x, y, 1);
                v -= 255;
                left -= 255;
            }
            int rest = left * 42 + e;
            const auto give = [&](int dx, int dy, int share) {
                if (x + dx < 0 || x + dx >= w || y + dy >= h) return;
                sums[static_cast<std::size_t>(y + dy)][static_cast<std::size_t>(x + dx)] += share;
                rest -= share;
            };
            give(1, 0, 8 * v);
            give(2, 0, 4 * v);
            give(-2, 1, 2 * v);
            give(-1, 1, 4 * v);
            give(0, 1, 8 * v);
            give(1, 1, 4 * v);
            give(2, 1, 2 * v);
            give(-2, 2, v);
            give(-1, 2, 2 * v);
            give(0, 2, 4 * v);
            give(1, 2, 2 * v);
            give(2, 2, rest);
        }
    }
}

constexpr int kHalftone[64] = {
    0,  38, 9,  47, 2,  40, 11, 50, 25, 12, 35, 22, 27, 15, 37, 24, 6,  44, 3,  41, 8,  47,
    5,  43, 31, 19, 28, 15, 34, 21, 31, 18, 1,  39, 11, 49, 0,  39, 10, 48, 27, 14, 36, 23,
    26, 13, 35, 23, 7,  46, 4,  43, 7,  45, 3,  42, 33, 20, 30, 17, 32, 19, 29, 16,
};

void ditherToCube(const std::vector<DibBGRA>& pixels, const Canvas& canvas) {
    for (int b = 0; b < 6; ++b) {
        for (int g = 0; g < 6; ++g) {
            for (int r = 0; r < 6; ++r) {
                canvas.table()[36 * b + 6 * g + r] = {static_cast<std::uint8_t>(51 * b),
                                                      static_cast<std::uint8_t>(51 * g),
                                                      static_cast<std::uint8_t>(51 * r), 0};
            }
        }
    }
    for (int i = 216; i < 256; ++i) {
        const auto grey = static_cast<std::uint8_t>(i);
        canvas.table()[i] = {grey, grey, grey, 0};
    }
    for (int y = 0; y < canvas.height; ++y) {
        for (int x = 0; x < canvas.width; ++x) {
            const DibBGRA p = pixels[static_cast<std::size_t>(y * canvas.width + x)];
            const int d = kHalftone[x % 8 * 8 + y % 8];
            const auto level = [d](int c) {
                return static_cast<unsigned int>(d < c % 51 ? c / 51 + 1 : c / 51);
            };
            canvas.setIndex(x, y, level(p.red) + 6 * level(p.green) + 36 * level(p.blue));
        }
    }
}

void medianCut(const std::vector<DibBGRA>& pixels, const Canvas& canvas, int limit) {
    std::vector<DibBGR> colors;
    for (const DibBGRA p : pixels) colors.push_back({p.blue, p.green, p.red});
    const MedianCut cut(colors, limit);
    const int slots = canvas.image.Header->biBitCount == 8 ? 256 : 16;
    for (int i = 0; i < slots; ++i) {
        canvas.table()[i] = i < static_cast<int>(cut.boxes().size()) ? cut.centre(i) : DibBGRA{};
    }
    for (int y = 0; y < canvas.height; ++y) {
        for (int x = 0; x < canvas.width; ++x) {
            const DibBGR c = colors[static_cast<std::size_t>(y * canvas.width + x)];
            int index = cut.indexOf(c);
            if (index >= slots) {
                int best = 1 << 30;
                for (int i = 0; i < slots; ++i) {
                    const DibBGRA e = canvas.table()[i];
                    const int distance = (e.blue - c.blue) * (e.blue - c.blue) +
                                         (e.green - c.green) * (e.green - c.green) +
                                         (e.red - c.red) * (e.red - c.red);
                    if (distance >= best) continue;
                    best = distance;
                    index = i;
                }
            }
            canvas.setIndex(x, y, static_cast<unsigned int>(index));
        }
    }
}

void toWords(const std::vector<DibBGRA>& pixels, const Canvas& canvas, bool carried) {
    unsigned int blue = 0;
    unsigned int green = 0;
    unsigned int red = 0;
    const auto field = [carried](unsigned int value, unsigned int& carry) {
        if (!carried) return value >> 3;
        const unsigned int s = value + carry;
        const unsigned int q = s < 255 ? s : 255;
        carry = q & 7;
        return q >> 3;
    };
    for (int y = 0; y < canvas.height; ++y) {
        for (int x = 0; x < canvas.width; ++x) {
            const DibBGRA p = pixels[static_cast<std::size_t>(y * canvas.width + x)];
            const unsigned int r = field(p.red, red);
            const unsigned int g = field(p.green, green);
            const unsigned int b = field(p.blue, blue);
            canvas.setWord(x, y, r << 10 | g << 5 | b);
        }
    }
}

}  // namespace

std::vector<DibBGRA> pixelsOf(const DibStream& image) {
    const int bits = image.Header->biBitCount;
    const int rows = std::abs(image.Header->biHeight);
    std::vector<DibBGRA> pixels;
    for (int y = 0; y < rows; ++y) {
        const unsigned char* row = image.Buffer + static_cast<std::size_t>(y) * image.GetPitch();
        for (int x = 0; x < image.Header->biWidth; ++x) {
            DibBGRA p{0, 0, 0, 255};
            if (bits == 32) {
                p = {row[4 * x], row[4 * x + 1], row[4 * x + 2], row[4 * x + 3]};
            } else if (bits == 24) {
                p = {row[3 * x], row[3 * x + 1], row[3 * x + 2], 255};
            } else if (bits == 16) {
                const int word = row[2 * x] + 256 * row[2 * x + 1];
                p.blue = static_cast<std::uint8_t>(word % 32 * 8);
                p.green = static_cast<std::uint8_t>(word / 32 % 32 * 8);
                p.red = static_cast<std::uint8_t>(word / 1024 % 32 * 8);
            } else {
                const int shift = 8 - bits - x * bits % 8;
                const unsigned int index = (row[x * bits / 8] >> shift) & ((1U << bits) - 1);
                p = entryOf(image, index);
                p.alpha = 255;
            }
            pixels.push_back(p);
        }
    }
    return pixels;
}

std::vector<unsigned char> greysOf(const DibStream& image) {
    std::vector<unsigned char> greys;
    for (const DibBGRA p : pixelsOf(image)) greys.push_back(greyOf(p));
    return greys;
}

bool changeBpp(const DibStream& source, int bitCount, unsigned int flags, DibStream& result) {
    const std::vector<DibBGRA> pixels = pixelsOf(source);
    const std::vector<unsigned char> greys = greysOf(source);
    if (!result.Create(source.Header->biWidth, source.Header->biHeight, bitCount)) return false;
    const Canvas canvas{result, source.Header->biWidth, std::abs(source.Header->biHeight)};
    std::memset(result.Buffer, 0,
                static_cast<std::size_t>(result.GetPitch()) * static_cast<std::size_t>(canvas.height));
    const unsigned int method = flags & 0xFFFF;
    const int limit = (flags & 0xFF0000) != 0 ? static_cast<int>(flags & 0xFF0000) : 256;

    if (bitCount == 16) toWords(pixels, canvas, method == 1);
    if (bitCount == 1) diffuse(greys, canvas);
    if (bitCount == 4 && method == 2) medianCut(pixels, canvas, 16);
    if (bitCount == 8 && method == 2) medianCut(pixels, canvas, limit);
    if (bitCount == 8 && method == 1) ditherToCube(pixels, canvas);
    if (bitCount == 4 && method != 2) {
        for (int i = 0; i < 16; ++i) {
            const auto grey = static_cast<std::uint8_t>(17 * i);
            canvas.table()[i] = {grey, grey, grey, 0};
        }
    }
    for (int y = 0; y < canvas.height; ++y) {
        for (int x = 0; x < canvas.width; ++x) {
            const auto i = static_cast<std::size_t>(y * canvas.width + x);
            if (bitCount == 32) std::memcpy(canvas.row(y) + 4 * x, &pixels[i], 4);
            if (bitCount == 24) std::memcpy(canvas.row(y) + 3 * x, &pixels[i], 3);
            if (bitCount == 8 && method != 1 && method != 2) canvas.setIndex(x, y, greys[i]);
            if (bitCount == 4 && method != 2) canvas.setIndex(x, y, greys[i] / 16U);
        }
    }
    return true;
}

}  // namespace reference

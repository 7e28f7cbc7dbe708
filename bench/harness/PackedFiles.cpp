// PSD, ILBM and Radiance, whose planes are packed each by itself.
#include <algorithm>
#include <array>
#include <cmath>

#include "bench/harness/FileWriters.h"
#include "dib/Numbers.h"

namespace pb {
namespace {

std::uint8_t byteOf(int value) { return static_cast<std::uint8_t>(value); }

// How many of the bytes from `x` on are equal, at most `most`.
int runAt(const Bytes& row, int x, int most) {
    const int width = dib::asInt(row.size());
    int count = 1;
    while (x + count < width && count < most && row[dib::asSize(x + count)] == row[dib::asSize(x)]) ++count;
    return count;
}

void append(Bytes& bytes, const Bytes& row, int start, int end) {
    bytes.insert(bytes.end(), row.begin() + start, row.begin() + end);
}

// PackBits: a run of n bytes is announced by 257 - n, n bytes as they are by n - 1.
void packBits(Bytes& bytes, const Bytes& row) {
    const int width = dib::asInt(row.size());
    for (int x = 0; x < width;) {
        const int run = runAt(row, x, 128);
        if (run >= 3) {
            bytes.insert(bytes.end(), {byteOf(257 - run), row[dib::asSize(x)]});
            x += run;
            continue;
        }
        const int start = x;
        while (x < width && x - start < 128 && runAt(row, x, 3) < 3) ++x;
        bytes.push_back(byteOf(x - start - 1));
        append(bytes, row, start, x);
    }
}

// A run of n bytes is announced by 128 + n, n bytes as they are by n.
void packRadiance(Bytes& bytes, const Bytes& row) {
    const int width = dib::asInt(row.size());
    for (int x = 0; x < width;) {
        const int run = runAt(row, x, 127);
        if (run >= 4) {
            bytes.insert(bytes.end(), {byteOf(128 + run), row[dib::asSize(x)]});
            x += run;
            continue;
        }
        const int start = x;
        while (x < width && x - start < 128 && runAt(row, x, 4) < 4) ++x;
        bytes.push_back(byteOf(x - start));
        append(bytes, row, start, x);
    }
}

// The bit `plane` of every pixel of a row, filled up to 16 bits.
Bytes bitPlane(const Image& picture, int y, int plane, bool indexed) {
    Bytes bits(dib::asSize((picture.w + 15) / 16 * 2));
    for (int x = 0; x < picture.w; ++x) {
        const std::uint8_t* const row = picture.row(y);
        const int value = indexed ? row[x] : row[x * 3 + (2 - plane / 8)];
        if ((value >> (plane % 8)) % 2 != 0) bits[dib::asSize(x / 8)] |= byteOf(0x80 >> (x % 8));
    }
    return bits;
}

void putChunk(Bytes& bytes, const std::string& name, const Bytes& content) {
    putText(bytes, name);
    putBig(bytes, dib::asInt(content.size()), 4);
    bytes.insert(bytes.end(), content.begin(), content.end());
}

Bytes ilbmHeader(const Image& picture, int planes) {
    Bytes header;
    for (const int number : {picture.w, picture.h, 0, 0}) putBig(header, number, 2);
    for (const int number : {planes, 0, 1, 0}) header.push_back(byteOf(number));
    putBig(header, 0, 2);
    for (const int number : {1, 1}) header.push_back(byteOf(number));
    putBig(header, picture.w, 2);
    putBig(header, picture.h, 2);
    return header;
}

// Mantissas of red, green and blue with one exponent: light from 0 to 1.6.
std::array<std::uint8_t, 4> radianceOf(const std::uint8_t* bgr) {
    std::array<float, 3> light{};
    for (std::size_t i = 0; i < 3; ++i) {
        const float value = static_cast<float>(bgr[2 - i]) / 255.0f;
        light[i] = value * value * 1.6f;
    }
    const float largest = std::max({light[0], light[1], light[2]});
    if (largest < 1e-32f) return {};
    int exponent = 0;
    const float scale = std::frexp(largest, &exponent) * 256.0f / largest;
    const auto mantissa = [&](std::size_t i) { return byteOf(static_cast<int>(light[i] * scale)); };
    return {mantissa(0), mantissa(1), mantissa(2), byteOf(exponent + 128)};
}

}  // namespace

void writePsd(const std::string& name, const Image& picture) {
    Bytes bytes, rows;
    putText(bytes, "8BPS");
    putBig(bytes, 1, 2);
    bytes.insert(bytes.end(), 6, 0);
    putBig(bytes, 3, 2);
    putBig(bytes, picture.h, 4);
    putBig(bytes, picture.w, 4);
    putBig(bytes, 8, 2);
    putBig(bytes, 3, 2);
    bytes.insert(bytes.end(), 12, 0);  // no palette, resources or layers
    putBig(bytes, 1, 2);
    Bytes plane(dib::asSize(picture.w));
    for (int channel = 2; channel >= 0; --channel) {
        for (int y = 0; y < picture.h; ++y) {
            for (int x = 0; x < picture.w; ++x) plane[dib::asSize(x)] = picture.row(y)[x * 3 + channel];
            const std::size_t before = rows.size();
            packBits(rows, plane);
            putBig(bytes, dib::asInt(rows.size() - before), 2);
        }
    }
    bytes.insert(bytes.end(), rows.begin(), rows.end());
    writeFile(name, bytes);
}

void writeIlbm(const std::string& name, const Image& picture, int planes, const Bytes& palette) {
    Bytes body;
    for (int y = 0; y < picture.h; ++y) {
        for (int plane = 0; plane < planes; ++plane) packBits(body, bitPlane(picture, y, plane, planes <= 8));
    }
    if (body.size() % 2 != 0) body.push_back(0);
    Bytes content;
    putText(content, "ILBM");
    putChunk(content, "BMHD", ilbmHeader(picture, planes));
    if (!palette.empty()) {
        Bytes colors;
        for (std::size_t i = 0; i < palette.size(); i += 4) {
            colors.insert(colors.end(), {palette[i + 2], palette[i + 1], palette[i]});
        }
        putChunk(content, "CMAP", colors);
    }
    putChunk(content, "BODY", body);
    Bytes bytes;
    putChunk(bytes, "FORM", content);
    writeFile(name, bytes);
}

void writeRadiance(const std::string& name, const Image& picture) {
    Bytes bytes;
    putText(bytes, "#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n-Y " + std::to_string(picture.h) + " +X " +
                       std::to_string(picture.w) + "\n");
    std::array<Bytes, 4> planes;
    for (Bytes& plane : planes) plane.resize(dib::asSize(picture.w));
    for (int y = 0; y < picture.h; ++y) {
        bytes.insert(bytes.end(), {2, 2});
        putBig(bytes, picture.w, 2);
        for (int x = 0; x < picture.w; ++x) {
            const std::array<std::uint8_t, 4> pixel = radianceOf(picture.row(y) + x * 3);
            for (std::size_t i = 0; i < 4; ++i) planes[i][dib::asSize(x)] = pixel[i];
        }
        for (const Bytes& plane : planes) packRadiance(bytes, plane);
    }
    writeFile(name, bytes);
}

}  // namespace pb

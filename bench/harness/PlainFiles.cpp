// BMP, TGA, PPM, PGM and TIM.
#include <algorithm>
#include <cstring>
#include <fstream>
#include <stdexcept>

#include "bench/harness/FileWriters.h"
#include "bench/harness/Files.h"
#include "dib/Numbers.h"

namespace pb {
namespace {

std::uint8_t byteOf(int value) { return static_cast<std::uint8_t>(value); }

Bytes bmpHeader(const Image& picture, int bits, int compression, std::size_t size, const Bytes& palette) {
    const int offset = 54 + dib::asInt(palette.size());
    Bytes bytes = {'B', 'M'};
    for (const int number : {offset + dib::asInt(size), 0, offset, 40, picture.w, picture.h}) {
        putLittle(bytes, number, 4);
    }
    putLittle(bytes, 1, 2);
    putLittle(bytes, bits, 2);
    const int colors = dib::asInt(palette.size() / 4);
    for (const int number : {compression, dib::asInt(size), 2835, 2835, colors, colors})
        putLittle(bytes, number, 4);
    bytes.insert(bytes.end(), palette.begin(), palette.end());
    return bytes;
}

// How many of the bytes from `x` on are equal, at most 255.
int runAt(const std::uint8_t* row, int width, int x) {
    int count = 1;
    while (x + count < width && count < 255 && row[x + count] == row[x]) ++count;
    return count;
}

void packBmpRow(Bytes& bytes, const std::uint8_t* row, int width) {
    for (int x = 0; x < width;) {
        const int run = runAt(row, width, x);
        if (run >= 3) {
            bytes.insert(bytes.end(), {byteOf(run), row[x]});
            x += run;
            continue;
        }
        const int start = x;
        while (x < width && x - start < 254 && runAt(row, width, x) < 3) ++x;
        const int length = x - start;
        if (length < 3) {
            for (int i = start; i < x; ++i) bytes.insert(bytes.end(), {1, row[i]});
        } else {
            bytes.insert(bytes.end(), {0, byteOf(length)});
            bytes.insert(bytes.end(), row + start, row + x);
            if (length % 2 != 0) bytes.push_back(0);
        }
    }
}

void packTgaRow(Bytes& bytes, const std::uint8_t* row, int width) {
    const auto same = [row](int a, int b) { return std::memcmp(row + a * 3, row + b * 3, 3) == 0; };
    for (int x = 0; x < width;) {
        int run = 1;
        while (x + run < width && run < 128 && same(x + run, x)) ++run;
        if (run >= 2) {
            bytes.push_back(byteOf(127 + run));
            bytes.insert(bytes.end(), row + x * 3, row + x * 3 + 3);
            x += run;
            continue;
        }
        const int start = x;
        while (x < width && x - start < 128 && (x + 1 == width || !same(x, x + 1))) ++x;
        bytes.push_back(byteOf(x - start - 1));
        bytes.insert(bytes.end(), row + start * 3, row + x * 3);
    }
}

}  // namespace

void putLittle(Bytes& bytes, int number, int count) {
    for (int i = 0; i < count; ++i) bytes.push_back(byteOf(number >> (8 * i)));
}

void putBig(Bytes& bytes, int number, int count) {
    for (int i = count; i-- > 0;) bytes.push_back(byteOf(number >> (8 * i)));
}

void putText(Bytes& bytes, const std::string& text) { bytes.insert(bytes.end(), text.begin(), text.end()); }

void writeFile(const std::string& name, const Bytes& bytes) {
    std::ofstream out(file(name), std::ios::binary);
    for (const std::uint8_t byte : bytes) out.put(static_cast<char>(byte));
    out.close();
    if (!out) throw std::runtime_error("cannot write " + file(name));
}

void writeBmp(const std::string& name, const Image& picture, const Bytes& palette) {
    Bytes bytes = bmpHeader(picture, picture.ch * 8, 0, picture.bytes(), palette);
    for (int y = picture.h; y-- > 0;) {
        bytes.insert(bytes.end(), picture.row(y), picture.row(y) + picture.stride());
    }
    writeFile(name, bytes);
}

void writeBmpRuns(const std::string& name, const Image& picture, const Bytes& palette) {
    Bytes runs;
    for (int y = picture.h; y-- > 0;) {
        packBmpRow(runs, picture.row(y), picture.w);
        runs.insert(runs.end(), {0, byteOf(y > 0 ? 0 : 1)});
    }
    Bytes bytes = bmpHeader(picture, 8, 1, runs.size(), palette);
    bytes.insert(bytes.end(), runs.begin(), runs.end());
    writeFile(name, bytes);
}

void writeTga(const std::string& name, const Image& picture, bool packets) {
    Bytes bytes(12, 0);
    bytes[2] = byteOf(packets ? 10 : 2);
    putLittle(bytes, picture.w, 2);
    putLittle(bytes, picture.h, 2);
    putLittle(bytes, 24, 2);
    for (int y = picture.h; y-- > 0;) {
        if (packets) {
            packTgaRow(bytes, picture.row(y), picture.w);
        } else {
            bytes.insert(bytes.end(), picture.row(y), picture.row(y) + picture.stride());
        }
    }
    writeFile(name, bytes);
}

void writePnm(const std::string& name, const Image& picture) {
    Bytes bytes;
    putText(bytes, (picture.ch == 3 ? "P6\n" : "P5\n") + std::to_string(picture.w) + " " +
                       std::to_string(picture.h) + "\n255\n");
    const Image colors = rgbOf(picture);
    bytes.insert(bytes.end(), colors.d.begin(), colors.d.end());
    writeFile(name, bytes);
}

void writeTim16(const std::string& name, const Image& picture) {
    Bytes bytes;
    for (const int number : {0x10, 2, 12 + picture.w * picture.h * 2, 0}) putLittle(bytes, number, 4);
    putLittle(bytes, picture.w, 2);
    putLittle(bytes, picture.h, 2);
    for (std::size_t i = 0; i < picture.bytes(); i += 3) {
        const int blue = picture.d[i] >> 3, green = picture.d[i + 1] >> 3, red = picture.d[i + 2] >> 3;
        putLittle(bytes, blue << 10 | green << 5 | red, 2);
    }
    writeFile(name, bytes);
}

}  // namespace pb

#include "tests/reference/RankReference.h"

#include <cstdint>
#include <cstring>
#include <memory>
#include <utility>
#include <vector>

#include "tests/reference/EffectReference.h"

namespace reference {

namespace {

struct Source {
    std::unique_ptr<DibStream> copy;
    int width = 0;
    int height = 0;
    int bits = 0;
    std::vector<DibBGRA> table;

    explicit Source(DibStream& image) : copy(image.Clone()) {
        width = image.Header->biWidth;
        height = image.Header->biHeight < 0 ? -image.Header->biHeight : image.Header->biHeight;
        bits = image.Header->biBitCount;
        if (bits > 8) return;
        table.assign(256, DibBGRA{0, 0, 0, 0});
        std::size_t used = image.Header->biClrUsed != 0 ? image.Header->biClrUsed : std::size_t{1} << bits;
        if (used > std::size_t{1} << bits) used = std::size_t{1} << bits;
        std::memcpy(table.data(), reinterpret_cast<unsigned char*>(image.Header) + image.Header->biSize,
                    used * 4);
    }

    // The stored value; at 4 bits the nibbles may be read swapped.
    std::uint32_t value(int x, int y, bool swapNibbles) const {
        const unsigned char* row = copy->ScanLine(y);
        std::uint32_t v = 0;
        switch (bits) {
            case 1: return (row[x / 8] >> (7 - x % 8)) & 1U;
            case 4: return (x % 2 == 0) != swapNibbles ? row[x / 2] >> 4U : row[x / 2] & 15U;
            default: std::memcpy(&v, row + x * (bits / 8), static_cast<std::size_t>(bits / 8)); return v;
        }
    }

    int paletteBrightness(std::uint32_t index, int blue, int red) const {
        const DibBGRA c = table[index];
        return blue * c.blue + 146 * c.green + red * c.red;
    }
};

int extremeBrightness(const Source& source, std::uint32_t v) {
    if (source.bits <= 8) return source.paletteBrightness(v, 37, 73);
    if (source.bits == 16)
        return static_cast<int>(73 * (v & 31) + 146 * ((v >> 5) & 31) + 37 * ((v >> 10) & 31));
    return static_cast<int>(37 * (v & 255) + 146 * ((v >> 8) & 255) + 73 * ((v >> 16) & 255));
}

int middleBrightness(const Source& source, std::uint32_t v) {
    return source.bits <= 8 ? source.paletteBrightness(v, 73, 37) : extremeBrightness(source, v);
}

// Sets every pixel to pixel(x, y), row by row.
template <class Pixel>
void eachPixel(DibStream& image, const Source& source, Pixel pixel) {
    for (int y = 0; y < source.height; ++y) {
        if (source.bits <= 4) std::memset(image.ScanLine(y), 0, image.GetPitch());
        for (int x = 0; x < source.width; ++x) setPixel(image, x, y, pixel(x, y));
    }
}

// Calls visit(value) for the square around (x, y) until it returns false.
template <class Visit>
void eachNeighbour(const Source& source, int x, int y, int radius, unsigned flags, bool swapNibbles,
                   Visit visit) {
    for (int sy = y - radius; sy <= y + radius; ++sy) {
        for (int sx = x - radius; sx <= x + radius; ++sx) {
            const int mappedX = edgePixel(sx, source.width, (flags & 1) != 0);
            const int mappedY = edgePixel(sy, source.height, (flags & 2) != 0);
            visit(source.value(mappedX, mappedY, swapNibbles));
        }
    }
}

void extreme(DibStream& image, int radius, unsigned flags, bool wantMax) {
    const Source source(image);
    std::uint32_t carriedAlpha = ~static_cast<std::uint32_t>(radius) & 255;

    eachPixel(image, source, [&](int x, int y) -> std::uint32_t {
        if (source.bits == 1) {
            bool seen[2] = {false, false};
            eachNeighbour(source, x, y, radius, flags, true, [&](std::uint32_t v) { seen[v] = true; });
            if (seen[0] != seen[1]) return seen[1] ? 1 : 0;
            const bool zeroIsBrighter = extremeBrightness(source, 0) > extremeBrightness(source, 1);
            return wantMax ? (zeroIsBrighter ? 0 : 1) : (zeroIsBrighter ? 1 : 0);
        }
        int best = wantMax ? (source.bits >= 24 ? 0 : -1) : (source.bits >= 24 ? 65280 : 65281);
        std::uint32_t winner = wantMax ? 0 : 0xFFFFFF;
        if (source.bits == 32) winner |= carriedAlpha << 24;
        eachNeighbour(source, x, y, radius, flags, true, [&](std::uint32_t v) {
            const int brightness = extremeBrightness(source, v);
            if (wantMax ? brightness > best : brightness < best) {
                best = brightness;
                winner = v;
            }
        });
        carriedAlpha = winner >> 24;
        return winner;
    });
}

struct Entry {
    std::uint32_t value;
    int brightness;
};

// A partial bubble sort into descending order: positions 0 to k are final, equal entries keep their order.
const Entry& sortToRank(std::vector<Entry>& entries, int k) {
    const int count = static_cast<int>(entries.size());
    for (int pass = 0; pass <= k; ++pass) {
        for (int j = count - 1; j > pass; --j) {
            Entry& lower = entries[static_cast<std::size_t>(j)];
            Entry& upper = entries[static_cast<std::size_t>(j - 1)];
            if (lower.brightness > upper.brightness) std::swap(lower, upper);
        }
    }
    return entries[static_cast<std::size_t>(k)];
}

}  // namespace

void brightMax(DibStream& image, int radius, unsigned int flags) { extreme(image, radius, flags, true); }

void brightMin(DibStream& image, int radius, unsigned int flags) { extreme(image, radius, flags, false); }

void brightMiddle(DibStream& image, int radius, unsigned int flags) {
    const Source source(image);
    const std::uint32_t side = 2U * static_cast<std::uint32_t>(radius) + 1U;
    const std::uint32_t k = (side * side + 1) >> 1;
    eachPixel(image, source, [&](int x, int y) -> std::uint32_t {
        std::vector<Entry> entries;
        std::uint32_t ones = 0;
        eachNeighbour(source, x, y, radius, flags, false, [&](std::uint32_t v) {
            if (source.bits == 1) {
                ones += v;
            } else {
                entries.push_back({v, middleBrightness(source, v)});
            }
        });
        if (source.bits == 1) return ones < k ? 0 : 1;
        return sortToRank(entries, static_cast<int>(k)).value;
    });
}

}  // namespace reference

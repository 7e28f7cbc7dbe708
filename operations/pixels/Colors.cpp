#include "operations/pixels/Colors.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "dib/Bytes.h"
#include "dib/Depths.h"
#include "dib/MoveBlocks.h"
#include "dib/Numbers.h"
#include "dib/PixelReader.h"
#include "operations/pixels/BestPalette.h"
#include "operations/pixels/NearestEntry.h"
#include "operations/pixels/Pixels.h"

namespace operations {

namespace {

constexpr std::size_t kMostEntries = 256;

// The colours of a picture, row by row: blue, green, red, alpha.
class Colors {
public:
    explicit Colors(DibStream& image)
        : reader_(image, dib::Packed::kBgra), rows_(rowsOf(image)), row_(4 * reader_.width()) {
        if (!reader_.readable()) throw Refusal{DIB_ERROR_MEMORY, kNoMemory};
        isBottomUp_ = image.Header->biHeight > 0;
        isOf5Bits_ = image.Header->biBitCount == 16;
        hasAlpha_ = image.Header->biBitCount == 32;
    }

    int width() const { return rows_.width; }
    int height() const { return rows_.height; }
    bool hasAlpha() const { return hasAlpha_; }

    // The row is valid until the next call. Rows count from the top.
    const unsigned char* row(int y) {
        const auto number = dib::asSize(isBottomUp_ ? rows_.height - 1 - y : y);
        dib::forEachStrip(reader_.width(), [&](std::size_t x, std::size_t count) {
            reader_.read(number, x, count, row_.data() + 4 * x);
        });
        // The reader stores the 5 bits high.
        if (isOf5Bits_) {
            for (unsigned char& byte : row_) byte = dib::levelOf5Bits(byte >> 3);
        }
        return row_.data();
    }

private:
    dib::PixelReader reader_;
    dib::Raster rows_;
    std::vector<unsigned char> row_;
    bool isBottomUp_;
    bool isOf5Bits_;
    bool hasAlpha_;
};

// The distinct colours of a picture as long as they are few, by number of their first pixel.
class FewColors {
public:
    explicit FewColors(std::size_t most) : most_(most), slots_(kSlots, -1) {}

    // False when there are more than that.
    bool add(std::uint32_t color) {
        if (color == last_) return true;
        std::size_t slot = color * 0x9E3779B1U >> 22;
        while (slots_[slot] >= 0 && colors_[dib::asSize(slots_[slot])] != color) slot = (slot + 1) % kSlots;
        last_ = color;
        if (slots_[slot] >= 0) return true;
        if (colors_.size() == most_) return false;
        slots_[slot] = dib::asInt(colors_.size());
        colors_.push_back(color);
        return true;
    }
    std::vector<DibBGRA> entries() const {
        std::vector<DibBGRA> entries;
        for (const std::uint32_t color : colors_) {
            const auto byte = [color](int shift) { return dib::byteOf(color >> shift); };
            entries.push_back({byte(0), byte(8), byte(16), 0});
        }
        return entries;
    }

private:
    static constexpr std::size_t kSlots = 1024;
    std::size_t most_;
    std::uint32_t last_ = UINT32_MAX;  // no colour
    std::vector<int> slots_;
    std::vector<std::uint32_t> colors_;
};

struct AlphaRange {
    bool hasHidden = false;  // pixels that are to be transparent
    bool hasHalf = false;    // pixels that are neither opaque nor transparent

    void add(int alpha, int visible) {
        hasHidden = hasHidden || alpha < visible;
        hasHalf = hasHalf || (alpha != 0 && alpha != 255);
    }
};

AlphaRange alphaRangeOf(const DibStream& image, int visible) {
    AlphaRange range;
    if (image.Header->biBitCount != 32) return range;
    const dib::Raster rows = rowsOf(image);
    for (int y = 0; y < rows.height; ++y) {
        const unsigned char* alpha = rows.row(y) + 3;
        for (int x = 0; x < rows.width; ++x) range.add(alpha[4 * std::ptrdiff_t{x}], visible);
    }
    return range;
}

struct Census : AlphaRange {
    std::vector<DibBGRA> few;  // all of the colours where these are few, else none
    std::vector<CountedCell> cells;
};

// Nothing when the caller cancels.
std::optional<Census> count(const dib::PartProgress& progress, Colors& colors, std::size_t most,
                            int visible) {
    Census census;
    ColorCells cells;
    FewColors few(most);
    bool areFew = true;
    std::vector<unsigned char> packed(3 * dib::asSize(colors.width()));
    const auto width = dib::asSize(colors.width());
    for (int y = 0; y < colors.height(); ++y) {
        const unsigned char* row = colors.row(y);
        std::size_t shown = 0;
        for (std::size_t x = 0; x < width; ++x, row += 4) {
            if (row[3] != 255) {
                census.add(row[3], visible);
                if (row[3] < visible) continue;
            }
            std::memcpy(packed.data() + 3 * shown++, row, 3);
            if (areFew) areFew = few.add(dib::Depth24::get(row, 0));
        }
        cells.count(packed.data(), shown);
        if (!progress.report(y + std::int64_t{1}, colors.height())) return std::nullopt;
    }
    census.cells = cells.counted();
    if (areFew) census.few = few.entries();
    return census;
}

// How far entries lie from those nearest to them, on average, in one channel: what a dither must bridge.
float spacingOf(std::span<const DibBGRA> palette) {
    double sum = 0;
    for (const DibBGRA& a : palette) {
        int nearest = INT32_MAX;
        for (const DibBGRA& b : palette) {
            if (&a == &b) continue;
            const int blue = a.blue - b.blue;
            const int green = a.green - b.green;
            const int red = a.red - b.red;
            nearest = std::min(nearest, blue * blue + green * green + red * red);
        }
        if (nearest != INT32_MAX) sum += std::sqrt(nearest / 3.0);
    }
    return palette.empty() ? 0 : static_cast<float>(sum / static_cast<double>(palette.size()));
}

// The thresholds of an 8 x 8 pattern, -32 to 31.
constexpr std::array<std::array<int, 8>, 8> kPattern = [] {
    std::array<std::array<int, 8>, 8> pattern{};
    for (std::size_t y = 0; y < 8; ++y) {
        for (std::size_t x = 0; x < 8; ++x) {
            std::size_t value = 0;
            for (std::size_t bit = 0; bit < 3; ++bit) {
                value |= ((x ^ y) >> bit & 1) << (5 - 2 * bit);
                value |= (y >> bit & 1) << (4 - 2 * bit);
            }
            pattern[y][x] = dib::asInt(value) - 32;
        }
    }
    return pattern;
}();

// The entry of pixels whose alpha is below a limit; -1: they are shown like others.
struct Hidden {
    int entry;
    int below;
};

// Turns colours into indices, row by row from the top.
class Mapper {
public:
    Mapper(std::span<const DibBGRA> palette, Dither dither, Hidden hidden, int width)
        : palette_(palette),
          nearest_(palette, hidden.entry),
          hidden_(hidden),
          dither_(dither),
          width_(width) {
        if (dither == Dither::kFloydSteinberg) {
            here_.resize(3 * (dib::asSize(width) + 2));
            below_.resize(here_.size());
        }
        if (dither == Dither::kOrdered) spacing_ = static_cast<int>(spacingOf(palette));
    }

    void map(const unsigned char* row, int y, std::uint8_t* indices) {
        switch (dither_) {
            case Dither::kNone: return mapPlain(row, indices);
            case Dither::kOrdered: return mapOrdered(row, y, indices);
            case Dither::kFloydSteinberg: return diffuse(row, y, indices);
        }
    }

private:
    bool isHidden(const unsigned char* pixel) const { return hidden_.entry >= 0 && pixel[3] < hidden_.below; }
    std::uint8_t entry(std::uint32_t blue, std::uint32_t green, std::uint32_t red) {
        return nearest_(blue, green, red);
    }

    void mapPlain(const unsigned char* row, std::uint8_t* indices) {
        for (int x = 0; x < width_; ++x, row += 4)
            indices[x] = isHidden(row) ? dib::byteOf(hidden_.entry) : entry(row[0], row[1], row[2]);
    }

    void mapOrdered(const unsigned char* row, int y, std::uint8_t* indices) {
        const auto& pattern = kPattern[dib::asSize(y) % 8];
        for (int x = 0; x < width_; ++x, row += 4) {
            const int offset = pattern[dib::asSize(x) % 8] * spacing_ / 64;
            const auto moved = [&](int channel) {
                return dib::dwordOf(std::clamp(row[channel] + offset, 0, 255));
            };
            indices[x] = isHidden(row) ? dib::byteOf(hidden_.entry) : entry(moved(0), moved(1), moved(2));
        }
    }

    // Hands the error of a pixel on: 7/16 to the next one, 3, 5 and 1/16 to those below. Every second row
    // runs from right to left, so that no direction shows.
    void diffuse(const unsigned char* row, int y, std::uint8_t* indices) {
        std::swap(here_, below_);
        std::fill(below_.begin(), below_.end(), std::int16_t{0});
        const int step = y % 2 == 0 ? 1 : -1;
        int x = step > 0 ? 0 : width_ - 1;
        std::array<int, 3> ahead{};  // in sixteenths, as are the rows
        for (int i = 0; i < width_; ++i, x += step) {
            const unsigned char* pixel = row + 4 * std::ptrdiff_t{x};
            if (isHidden(pixel)) {
                indices[x] = dib::byteOf(hidden_.entry);
                ahead = {};
                continue;
            }
            // Rows of errors have one pixel more on each side.
            std::int16_t* const under = below_.data() + 3 * (std::ptrdiff_t{x} + 1);
            const std::int16_t* const error = here_.data() + 3 * (std::ptrdiff_t{x} + 1);
            std::array<int, 3> wanted;
            for (int c = 0; c < 3; ++c) {
                const auto k = dib::asSize(c);
                wanted[k] = std::clamp(pixel[c] + ((error[c] + ahead[k] + 8) >> 4), 0, 255);
            }
            const std::uint8_t index =
                entry(dib::dwordOf(wanted[0]), dib::dwordOf(wanted[1]), dib::dwordOf(wanted[2]));
            indices[x] = index;
            const DibBGRA& shown = palette_[index];
            const std::array<int, 3> got = {shown.blue, shown.green, shown.red};
            for (int c = 0; c < 3; ++c) {
                const auto k = dib::asSize(c);
                const int missing = wanted[k] - got[k];
                ahead[k] = 7 * missing;
                under[c - 3 * step] = static_cast<std::int16_t>(under[c - 3 * step] + 3 * missing);
                under[c] = static_cast<std::int16_t>(under[c] + 5 * missing);
                under[c + 3 * step] = static_cast<std::int16_t>(under[c + 3 * step] + missing);
            }
        }
    }

    std::span<const DibBGRA> palette_;
    NearestEntry nearest_;
    Hidden hidden_;
    Dither dither_;
    int width_;
    int spacing_ = 0;
    std::vector<std::int16_t> here_;
    std::vector<std::int16_t> below_;
};

template <class Depth>
void pack(const std::uint8_t* indices, int count, unsigned char* row) {
    for (int x = 0; x < count; ++x) Depth::put(row, x, indices[x]);
}

void packRow(const std::uint8_t* indices, int count, const dib::Raster& to, int y) {
    unsigned char* row = to.row(y);
    switch (to.bitCount) {
        case 1: return pack<dib::Depth1>(indices, count, row);
        case 4: return pack<dib::Depth4>(indices, count, row);
        default: std::memcpy(row, indices, dib::asSize(count));
    }
}

// The alpha of the entries of a table up to a transparent one; none where there is no such entry.
DibBytes alphaOf(int transparent) {
    DibBytes alpha;
    if (transparent < 0) return alpha;
    const std::size_t size = dib::asSize(transparent) + 1;
    alpha.data = static_cast<unsigned char*>(std::malloc(size));
    if (alpha.data == nullptr) throw std::bad_alloc();
    alpha.size = size;
    std::memset(alpha.data, 255, size - 1);
    alpha.data[size - 1] = 0;
    return alpha;
}

// Reports the part of the work from `begin` on.
bool mapImage(const Job& job, Colors& colors, std::span<const DibBGRA> palette, Dither dither, Hidden hidden,
              float begin) {
    const dib::PartProgress progress = {{job.callback, job.user}, begin, 1};
    const int bitCount = palette.size() <= 2 ? 1 : palette.size() <= 16 ? 4 : 8;
    DibStream mapped;
    createImage(mapped, colors.width(), job.image.Header->biHeight, bitCount);
    DibBGRA* const table = dib::colorTable(mapped.Header);
    std::fill_n(table, dib::addressableEntries(bitCount), DibBGRA{});
    std::copy(palette.begin(), palette.end(), table);
    mapped.Header->biClrUsed = dib::dwordOf(palette.size());
    const dib::Raster to = rowsOf(mapped);
    Mapper mapper(palette, dither, hidden, colors.width());
    std::vector<std::uint8_t> indices(dib::asSize(colors.width()));
    for (int y = 0; y < colors.height(); ++y) {
        mapper.map(colors.row(y), y, indices.data());
        packRow(indices.data(), colors.width(), to, y);
        if (!progress.report(std::int64_t{y} + 1, colors.height())) return false;
    }
    DibBytes alpha = alphaOf(hidden.entry);
    dib::moveBlocks(mapped, job.image);
    job.result.paletteAlpha = std::move(alpha);
    return true;
}

// Says that alpha becomes all or nothing.
void noteHalf(const Job& job) {
    addNote(job.result, DIB_NOTE_LOSS,
            std::string(job.arguments.operation().info.name) +
                ": half-transparent pixels became opaque or transparent");
}

}  // namespace

bool reduceColors(const Job& job, int most, Dither dither, int visible) {
    Colors colors(job.image);
    const dib::PartProgress progress = {{job.callback, job.user}};
    std::optional<Census> census = count(progress.part(0, 3), colors, dib::asSize(most), visible);
    if (!census) return false;
    const auto room = dib::asSize(most) - (census->hasHidden ? 1 : 0);
    const bool isExact = census->few.size() <= room && !census->few.empty();
    auto palette = isExact ? census->few : bestPalette(census->cells, room, progress.part(1, 3));
    if (!palette) return false;
    if (census->hasHidden) palette->insert(palette->begin(), DibBGRA{});
    if (census->hasHalf) noteHalf(job);
    const Hidden hidden = {census->hasHidden ? 0 : -1, visible};
    return mapImage(job, colors, *palette, isExact ? Dither::kNone : dither, hidden, 2 / 3.0F);
}

std::optional<std::vector<DibBGRA>> paletteOf(const dib::PartProgress& progress, DibStream& image) {
    const BITMAPINFOHEADER& header = *image.Header;
    if (header.biBitCount <= 8) {
        const auto table = dib::readColorTable(header);
        const std::size_t entries =
            std::min(dib::announcedEntries(header), dib::addressableEntries(header.biBitCount));
        return std::vector(table.begin(), table.begin() + dib::asOffset(entries));
    }
    Colors colors(image);
    std::optional<Census> census = count(progress.part(0, 2), colors, kMostEntries, kUsuallyVisible);
    if (!census || !census->few.empty()) return census ? std::optional(census->few) : std::nullopt;
    return bestPalette(census->cells, kMostEntries, progress.part(1, 2));
}

bool remapColors(const Job& job, std::vector<DibBGRA> palette, Dither dither, int visible, float begin) {
    Colors colors(job.image);
    const AlphaRange alpha = alphaRangeOf(job.image, visible);
    Hidden hidden = {-1, visible};
    if (alpha.hasHidden && palette.size() < kMostEntries) {
        hidden.entry = dib::asInt(palette.size());
        palette.push_back({});
    } else if (alpha.hasHidden) {
        addNote(job.result, DIB_NOTE_LOSS,
                "remap: transparent pixels became opaque: the palette has no free entry");
    }
    if (alpha.hasHalf) noteHalf(job);
    return mapImage(job, colors, palette, dither, hidden, begin);
}

}  // namespace operations

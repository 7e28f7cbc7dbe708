// Bilinear resizing with smoothed weights; the nearest pixel where pixels cannot be mixed.
#include <DibStream.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>

#include "dib/Depths.h"
#include "geometry/BilinearRows.h"
#include "geometry/Canvas.h"
#include "geometry/PaddedRows.h"

namespace {

// A source pixel and the weight, in 1/256, of the pixel after it.
struct Position {
    std::int32_t index;
    std::int32_t nextWeight;

    // The pixel taken where nothing is mixed: the next one once its weight passes one half.
    std::size_t nearest() const { return static_cast<std::size_t>(nextWeight > 128 ? index + 1 : index); }
};

// Where each of `count` output pixels lies among `sourceCount` source pixels. The last one is the last source
// pixel exactly. The pixel after the index exists, but for a source of one pixel, whose second weight is 0.
dib::MallocPtr<Position> placePixels(std::size_t sourceCount, std::size_t count) {
    auto table = dib::allocateArray<Position>(count);
    if (table == nullptr) return table;
    const double step = static_cast<double>(sourceCount - 1) / static_cast<double>(count - 1);
    const auto lastPair = static_cast<std::int32_t>(sourceCount) - 2;
    double position = 0.0;
    for (std::size_t i = 0; i + 1 < count; ++i) {
        double whole = 0.0;
        const double f = std::modf(position, &whole);
        const auto smooth = static_cast<std::int32_t>((f * -2.0 + 3.0) * f * f * 256.0);
        // Accumulated rounding may reach the last pixel early.
        const auto index = static_cast<std::int32_t>(whole);
        table[i] = index > lastPair ? Position{lastPair, 256} : Position{index, smooth};
        position += step;
    }
    table[count - 1] = {lastPair, 256};
    if (sourceCount == 1) std::fill_n(table.get(), count, Position{0, 0});
    return table;
}

struct Placement {
    const Position* columns;
    const Position* lines;
};

// 24 and 32 bits. The two source rows in use are kept as mixed across, so that each is mixed once.
bool mixInto(const DibStream& image, const dib::Canvas& canvas, const Placement& place) {
    const int channels = canvas.header.biBitCount / 8;
    const auto width = static_cast<std::size_t>(canvas.header.biWidth);
    const std::size_t sums = width * static_cast<std::size_t>(channels);
    const dib::ImageSize source = dib::admitSize(*image.Header);

    const dib::PaddedRows rows(image, dib::kTapReadBytes);
    const auto taps = dib::allocateArray<dib::ColumnTap>(width);
    const auto firstLine = dib::allocateArray<std::uint16_t>(sums + dib::kSumSlack);
    const auto secondLine = dib::allocateArray<std::uint16_t>(sums + dib::kSumSlack);
    if (!rows.ready() || taps == nullptr || firstLine == nullptr || secondLine == nullptr) return false;
    for (std::size_t i = 0; i < width; ++i) {
        const auto right = static_cast<std::uint16_t>(place.columns[i].nextWeight);
        taps[i] = {static_cast<std::uint32_t>(place.columns[i].index * channels),
                   static_cast<std::uint16_t>(256 - right), right};
    }

    std::uint16_t* upper = firstLine.get();
    std::uint16_t* lower = secondLine.get();
    std::size_t upperRow = source.rows;  // none yet
    std::size_t lowerRow = source.rows;
    for (std::size_t line = 0; line < canvas.rows; ++line) {
        const auto y = static_cast<std::size_t>(place.lines[line].index);
        const std::size_t below = std::min(y + 1, source.rows - 1);
        if (lowerRow == y) {
            std::swap(upper, lower);
            std::swap(upperRow, lowerRow);
        }
        if (upperRow != y) dib::mixAcross(rows.row(y), taps.get(), width, channels, upper);
        if (lowerRow != below) dib::mixAcross(rows.row(below), taps.get(), width, channels, lower);
        upperRow = y;
        lowerRow = below;
        dib::mixDown(upper, lower, static_cast<std::uint32_t>(place.lines[line].nextWeight), sums,
                     canvas.row(line));
        canvas.clearRowEnd(line, sums);
    }
    return true;
}

template <class Depth>
void pickRow(const unsigned char* from, const Position* columns, std::size_t width, unsigned char* to) {
    for (std::size_t i = 0; i < width; ++i) {
        const auto x = static_cast<std::ptrdiff_t>(columns[i].nearest());
        Depth::put(to, static_cast<std::ptrdiff_t>(i), Depth::get(from, x));
    }
}

// 1, 4, 8 and 16 bits. Neighbouring output rows often come from the same source row.
void pickInto(const DibStream& image, const dib::Canvas& canvas, const Placement& place) {
    const std::size_t sourceRowBytes = image.GetPitch();
    const auto width = static_cast<std::size_t>(canvas.header.biWidth);
    for (std::size_t line = 0; line < canvas.rows; ++line) {
        unsigned char* to = canvas.row(line);
        if (line > 0 && place.lines[line].nearest() == place.lines[line - 1].nearest()) {
            std::memcpy(to, canvas.row(line - 1), canvas.rowBytes);
            continue;
        }
        std::memset(to, 0, canvas.rowBytes);
        const unsigned char* from = image.Buffer + place.lines[line].nearest() * sourceRowBytes;
        switch (canvas.header.biBitCount) {
            case 1: pickRow<dib::Depth1>(from, place.columns, width, to); break;
            case 4: pickRow<dib::Depth4>(from, place.columns, width, to); break;
            case 8: pickRow<dib::Depth8>(from, place.columns, width, to); break;
            default: pickRow<dib::Depth16>(from, place.columns, width, to); break;
        }
    }
}

}  // namespace

bool DibStream::ResizeBilinear(int width, int height) {
    if (!dib::hasPixels(*this) || !dib::isDepth(Header->biBitCount)) return false;
    dib::Canvas canvas(*this, width, dib::heightLike(height, Header->biHeight));
    if (canvas.pixels == nullptr) return dib::failForMemory(*this);

    const auto columns =
        placePixels(static_cast<std::size_t>(Header->biWidth), static_cast<std::size_t>(width));
    const auto lines = placePixels(dib::admitSize(*Header).rows, canvas.rows);
    if (columns == nullptr || lines == nullptr) return dib::failForMemory(*this);
    const Placement place{columns.get(), lines.get()};
    if (Header->biBitCount < 24) {
        pickInto(*this, canvas, place);
    } else if (!mixInto(*this, canvas, place)) {
        return dib::failForMemory(*this);
    }
    return canvas.installInto(*this) || dib::failForMemory(*this);
}

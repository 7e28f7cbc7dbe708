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
#include "geometry/Resize.h"

namespace {

// A source pixel and the weight, in 1/256, of the pixel after it.
struct Position {
    int index;
    std::uint16_t nextWeight;

    // The pixel taken where nothing is mixed: the next one once its weight passes one half.
    int nearest() const { return nextWeight > 128 ? index + 1 : index; }
};

// Where each of `count` output pixels lies among `sourceCount` source pixels. The last one is the last source
// pixel exactly. The pixel after the index exists, but for a source of one pixel, whose second weight is 0.
dib::MallocPtr<Position> placePixels(int sourceCount, int count) {
    auto table = dib::allocateArray<Position>(count);
    if (table == nullptr) return table;
    const double pixels = count - 1;
    const double step = (sourceCount - 1) / pixels;
    const int lastPair = sourceCount - 2;
    double position = 0.0;
    for (int i = 0; i + 1 < count; ++i) {
        double whole = 0.0;
        const double f = std::modf(position, &whole);
        const auto smooth = static_cast<std::uint16_t>((f * -2.0 + 3.0) * f * f * 256.0);
        // Accumulated rounding may reach the last pixel early.
        const auto index = static_cast<int>(whole);
        table[i] = index > lastPair ? Position{lastPair, 256} : Position{index, smooth};
        position += step;
    }
    table[count - 1] = {lastPair, 256};
    if (sourceCount == 1) std::fill_n(table.get(), count, Position{0, 0});
    return table;
}

// From the rows of an image to those of a canvas, both in block order.
struct Resampling {
    dib::Raster from;
    dib::Raster to;
    const Position* columns;
    const Position* lines;
    const dib::Progress& progress;
};

// 24 and 32 bits. The two source rows in use are kept as mixed across, so that each is mixed once.
template <int Channels>
bool mixRows(const Resampling& work) {
    const dib::Raster& to = work.to;
    const std::ptrdiff_t sums = to.pixelBytes();
    const dib::PaddedRows rows(work.from, dib::kTapReadBytes);
    const auto taps = dib::allocateArray<dib::ColumnTap>(to.width);
    const auto firstLine = dib::allocateArray<std::uint16_t>(sums + dib::kSumSlack);
    const auto secondLine = dib::allocateArray<std::uint16_t>(sums + dib::kSumSlack);
    if (!rows.ready() || taps == nullptr || firstLine == nullptr || secondLine == nullptr) return false;
    for (int i = 0; i < to.width; ++i) {
        const std::uint16_t right = work.columns[i].nextWeight;
        taps[i] = {work.columns[i].index * Channels, static_cast<std::uint16_t>(256 - right), right};
    }

    std::uint16_t* upper = firstLine.get();
    std::uint16_t* lower = secondLine.get();
    int upperRow = -1;  // none yet
    int lowerRow = -1;
    return dib::forEachRow(work.progress, to.height, [&](int line) {
        const int y = work.lines[line].index;
        const int below = std::min(y + 1, work.from.height - 1);
        if (lowerRow == y) {
            std::swap(upper, lower);
            std::swap(upperRow, lowerRow);
        }
        if (upperRow != y) dib::mixAcross<Channels>(rows.row(y), taps.get(), to.width, upper);
        if (lowerRow != below) dib::mixAcross<Channels>(rows.row(below), taps.get(), to.width, lower);
        upperRow = y;
        lowerRow = below;
        dib::mixDown(upper, lower, work.lines[line].nextWeight, sums, to.row(line));
    });
}

// 1, 4, 8 and 16 bits. Neighbouring output rows often come from the same source row.
template <class Depth>
bool pickRows(const Resampling& work) {
    return dib::forEachRow(work.progress, work.to.height, [&](int line) {
        unsigned char* to = work.to.row(line);
        const int y = work.lines[line].nearest();
        if (line > 0 && y == work.lines[line - 1].nearest()) {
            std::memcpy(to, to - work.to.rowStep, work.to.rowBytes);
            return;
        }
        std::memset(to, 0, work.to.rowBytes);
        const unsigned char* from = work.from.row(y);
        for (int x = 0; x < work.to.width; ++x)
            Depth::put(to, x, Depth::get(from, work.columns[x].nearest()));
    });
}

}  // namespace

bool dib::resizeBilinear(DibStream& image, int width, int height, const Progress& progress) {
    Raster from;
    if (!viewRows(image, from) || !from.hasPixels() || !isDepth(from.bitCount)) return false;
    Canvas canvas(image, width, heightLike(height, image.Header->biHeight));
    if (canvas.pixels == nullptr) return failForMemory(image);

    const auto columns = placePixels(from.width, width);
    const auto lines = placePixels(from.height, canvas.rows.height);
    if (columns == nullptr || lines == nullptr) return failForMemory(image);
    const Resampling work{from.inBlockOrder(), canvas.rows, columns.get(), lines.get(), progress};
    const bool done = withAnyDepth(from.bitCount, [&](auto depth) {
        if constexpr (kMixes<decltype(depth)>) return mixRows<decltype(depth)::kChannels>(work);
        return pickRows<decltype(depth)>(work);
    });
    return (done && canvas.installInto(image)) || failForMemory(image);
}

bool DibStream::ResizeBilinear(int width, int height) {
    return dib::resizeBilinear(*this, width, height, dib::kSilent);
}

// Area averaging.
#include <DibStream.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "dib/Depths.h"
#include "geometry/AreaRows.h"
#include "geometry/Canvas.h"
#include "geometry/PaddedRows.h"

namespace {

// Source rows averaged across, one at a time: consecutive output rows share at most the row between them.
template <int Channels>
class AveragedRows {
public:
    AveragedRows(const dib::Raster& rows, const dib::AreaSpans& columns)
        : rows_(rows, dib::areaReadBytes(columns)),
          columns_(columns),
          line_(dib::allocateArray<unsigned char>(columns.count() * Channels + dib::kAreaWriteSlack)) {}

    bool ready() const { return rows_.ready() && line_ != nullptr; }

    const unsigned char* row(int y) {
        if (y != current_) dib::averageAcross<Channels>(rows_.row(y), columns_, line_.get());
        current_ = y;
        return line_.get();
    }

private:
    dib::PaddedRows rows_;
    const dib::AreaSpans& columns_;
    dib::MallocPtr<unsigned char> line_;
    int current_ = -1;
};

// Averages the rows of each span of lines. The truncation to bytes between both passes belongs to the result.
template <class Sum, int Channels>
bool averageDown(AveragedRows<Channels>& rows, const dib::AreaSpans& lines, const dib::Raster& to) {
    const std::ptrdiff_t values = to.pixelBytes();
    const auto sums = dib::allocateArray<Sum>(values);
    if (sums == nullptr) return false;
    for (int y = 0; y < to.height; ++y) {
        const std::uint16_t* weights = lines.weights(y);
        const int first = lines.first(y);
        if (lines.total(y) == weights[0]) {
            std::copy_n(rows.row(first), values, to.row(y));
        } else {
            for (int k = 0; k < lines.taps() && weights[k] != 0; ++k) {
                dib::addRow(sums.get(), rows.row(first + k), Sum{weights[k]}, k == 0, values);
            }
            dib::divideRow(sums.get(), lines.total(y), values, to.row(y));
        }
    }
    return true;
}

template <int Channels>
bool averageInto(const dib::Raster& from, const dib::Raster& to) {
    const dib::AreaSpans columns(from.width, to.width);
    const dib::AreaSpans lines(from.height, to.height);
    if (!columns.ready() || !lines.ready()) return false;
    AveragedRows<Channels> rows(from, columns);
    if (!rows.ready()) return false;
    return lines.isExact() ? averageDown<std::int32_t>(rows, lines, to)
                           : averageDown<std::int64_t>(rows, lines, to);
}

}  // namespace

bool DibStream::ResizeIntegral(int width, int height) {
    dib::Raster from;
    if (!dib::viewRows(*this, from) || !from.hasPixels() || !dib::isDepth(from.bitCount)) return false;
    dib::Canvas canvas(*this, width, dib::heightLike(height, Header->biHeight));
    if (canvas.pixels == nullptr) return dib::failForMemory(*this);
    const bool done = dib::withAnyDepth(from.bitCount, [&](auto depth) {
        if constexpr (dib::kMixes<decltype(depth)>) {
            return averageInto<decltype(depth)::kChannels>(from.inBlockOrder(), canvas.rows);
        }
        // Indices and 16-bit words cannot be averaged; callers still get the new size.
        std::fill_n(canvas.pixels.get(), canvas.rows.rowStep * canvas.rows.height, 0);
        return true;
    });
    return (done && canvas.installInto(*this)) || dib::failForMemory(*this);
}

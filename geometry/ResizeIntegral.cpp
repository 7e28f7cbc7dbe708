// Area averaging.
#include <DibStream.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "dib/Depths.h"
#include "geometry/AreaRows.h"
#include "geometry/Canvas.h"
#include "geometry/PaddedRows.h"
#include "geometry/Resize.h"

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
bool averageDown(AveragedRows<Channels>& rows, const dib::AreaSpans& lines, const dib::Raster& to,
                 const dib::Progress& progress) {
    const std::ptrdiff_t values = to.pixelBytes();
    const auto sums = dib::allocateArray<Sum>(values);
    if (sums == nullptr) return false;
    return dib::forEachRow(progress, to.height, [&](int y) {
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
    });
}

template <int Channels>
bool averageInto(const dib::Raster& from, const dib::Raster& to, const dib::Progress& progress) {
    const dib::AreaSpans columns(from.width, to.width);
    const dib::AreaSpans lines(from.height, to.height);
    if (!columns.ready() || !lines.ready()) return false;
    AveragedRows<Channels> rows(from, columns);
    if (!rows.ready()) return false;
    return lines.isExact() ? averageDown<std::int32_t>(rows, lines, to, progress)
                           : averageDown<std::int64_t>(rows, lines, to, progress);
}

}  // namespace

bool dib::resizeIntegral(DibStream& image, int width, int height, const Progress& progress) {
    Raster from;
    if (!viewRows(image, from) || !from.hasPixels() || !isDepth(from.bitCount)) return false;
    Canvas canvas(image, width, heightLike(height, image.Header->biHeight));
    if (canvas.pixels == nullptr) return failForMemory(image);
    const bool done = withAnyDepth(from.bitCount, [&](auto depth) {
        if constexpr (kMixes<decltype(depth)>) {
            return averageInto<decltype(depth)::kChannels>(from.inBlockOrder(), canvas.rows, progress);
        }
        // Indices and 16-bit words cannot be averaged; callers still get the new size.
        std::fill_n(canvas.pixels.get(), canvas.rows.rowStep * canvas.rows.height, 0);
        return true;
    });
    return (done && canvas.installInto(image)) || failForMemory(image);
}

bool DibStream::ResizeIntegral(int width, int height) {
    return dib::resizeIntegral(*this, width, height, dib::kSilent);
}

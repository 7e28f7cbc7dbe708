// Area averaging.
#include <DibStream.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "geometry/AreaRows.h"
#include "geometry/Canvas.h"
#include "geometry/PaddedRows.h"

namespace {

// Source rows averaged across, one at a time: consecutive output rows share at most the row between them.
class AveragedRows {
public:
    AveragedRows(const DibStream& image, const dib::AreaSpans& columns, std::size_t channels)
        : rows_(image, dib::areaReadBytes(columns)),
          columns_(columns),
          channels_(channels),
          line_(dib::allocateArray<unsigned char>(columns.count() * channels + dib::kAreaWriteSlack)) {}

    bool ready() const { return rows_.ready() && line_ != nullptr; }

    const unsigned char* row(std::size_t bufferRow) {
        if (bufferRow != current_) {
            dib::averageAcross(rows_.row(bufferRow), columns_, static_cast<int>(channels_), line_.get());
            current_ = bufferRow;
        }
        return line_.get();
    }

private:
    dib::PaddedRows rows_;
    const dib::AreaSpans& columns_;
    std::size_t channels_;
    dib::MallocPtr<unsigned char> line_;
    std::size_t current_ = SIZE_MAX;
};

// Averages the rows of each span of lines. The truncation to bytes between both passes belongs to the result.
template <class Sum>
bool averageDown(AveragedRows& rows, const dib::AreaSpans& lines, const dib::Canvas& canvas,
                 std::size_t rowValues) {
    const auto sums = dib::allocateArray<Sum>(rowValues);
    if (sums == nullptr) return false;
    for (std::size_t line = 0; line < canvas.rows; ++line) {
        const std::uint16_t* weights = lines.weights(line);
        const std::size_t first = lines.first(line);
        if (lines.total(line) == weights[0]) {
            std::memcpy(canvas.row(line), rows.row(first), rowValues);
        } else {
            for (std::size_t k = 0; k < lines.taps() && weights[k] != 0; ++k) {
                dib::addRow(sums.get(), rows.row(first + k), weights[k], k == 0, rowValues);
            }
            dib::divideRow(sums.get(), lines.total(line), rowValues, canvas.row(line));
        }
        canvas.clearRowEnd(line, rowValues);
    }
    return true;
}

bool averageInto(const DibStream& image, const dib::Canvas& canvas) {
    const auto channels = static_cast<std::size_t>(canvas.header.biBitCount) / 8;
    const auto width = static_cast<std::size_t>(canvas.header.biWidth);
    const dib::AreaSpans columns(static_cast<std::size_t>(image.Header->biWidth), width);
    const dib::AreaSpans lines(dib::admitSize(*image.Header).rows, canvas.rows);
    if (!columns.ready() || !lines.ready()) return false;
    AveragedRows rows(image, columns, channels);
    if (!rows.ready()) return false;
    return lines.isExact() ? averageDown<std::int32_t>(rows, lines, canvas, width * channels)
                           : averageDown<std::int64_t>(rows, lines, canvas, width * channels);
}

}  // namespace

bool DibStream::ResizeIntegral(int width, int height) {
    if (!dib::hasPixels(*this) || !dib::isDepth(Header->biBitCount)) return false;
    dib::Canvas canvas(*this, width, dib::heightLike(height, Header->biHeight));
    if (canvas.pixels == nullptr) return dib::failForMemory(*this);
    if (Header->biBitCount < 24) {
        // Indices and 16-bit words cannot be averaged; callers still get the new size.
        std::memset(canvas.pixels.get(), 0, canvas.rowBytes * canvas.rows);
    } else if (!averageInto(*this, canvas)) {
        return dib::failForMemory(*this);
    }
    return canvas.installInto(*this) || dib::failForMemory(*this);
}

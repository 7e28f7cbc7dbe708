#include "operations/pixels/Text.h"

#include <algorithm>
#include <climits>
#include <cmath>

#include "dib/Bytes.h"
#include "dib/Numbers.h"
#include "operations/pixels/Letters.h"
#include "operations/pixels/Overlay.h"
#include "operations/pixels/Pixels.h"

namespace operations {

namespace {

constexpr int kCellsOfSize = 10;   // rows of cells in the font's square
constexpr int kLineCells = 12;     // from line to line
constexpr int kSamples = 4;        // across and down a pixel
constexpr double kRoundFrom = 3;   // pixels of a cell from which corners are round
constexpr double kLeastInk = 0.4;  // of the cells around a point that is covered; joins cells along diagonals

// Lines of one byte for each character.
std::vector<std::string> linesOf(std::string_view text) {
    std::vector<std::string> lines(1);
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '\n') {
            lines.emplace_back();
        } else if (c != '\r' && (byte & 0xC0) != 0x80) {
            lines.back() += c;
        }
    }
    return lines;
}

}  // namespace

TextBlock::TextBlock(std::string_view text, const TextStyle& style)
    : lines_(linesOf(text)),
      cell_(static_cast<double>(style.size) / kCellsOfSize),
      margin_(style.box ? style.size / 5 : 0) {
    if (text.size() > INT_MAX / kLineCells) throw Refusal{DIB_ERROR_MEMORY, kNoMemory};
    int columns = 0;
    for (const std::string& line : lines_) columns = std::max(columns, letterColumns(line));
    for (const std::string& line : lines_)
        indents_.push_back((columns - letterColumns(line)) * style.align / 2);
    const double rows = static_cast<double>(lines_.size() - 1) * kLineCells + kLetterRows;
    const auto pixels = [this](double cells) { return static_cast<std::int64_t>(std::ceil(cells * cell_)); };
    width_ = pixels(columns) + 2 * std::int64_t{margin_};
    height_ = pixels(rows) + 2 * std::int64_t{margin_};
}

bool TextBlock::isInkedAt(std::int64_t column, std::int64_t row) const {
    if (row < 0) return false;
    const auto line = static_cast<std::size_t>(row / kLineCells);
    if (line >= lines_.size()) return false;
    const std::int64_t within = column - indents_[line];
    if (within < 0 || within >= letterColumns(lines_[line])) return false;
    return isInked(lines_[line], static_cast<int>(within), static_cast<int>(row % kLineCells));
}

// The ink of the four cells around a point, by its distance from their middles.
double TextBlock::inkAround(double column, double row) const {
    const double left = std::floor(column - 0.5);
    const double top = std::floor(row - 0.5);
    const double across = column - 0.5 - left;
    const double down = row - 0.5 - top;
    const auto ink = [&](int x, int y) {
        return isInkedAt(static_cast<std::int64_t>(left) + x, static_cast<std::int64_t>(top) + y) ? 1.0 : 0.0;
    };
    return (ink(0, 0) * (1 - across) + ink(1, 0) * across) * (1 - down) +
           (ink(0, 1) * (1 - across) + ink(1, 1) * across) * down;
}

bool TextBlock::isCovered(double column, double row) const {
    if (cell_ >= kRoundFrom) return inkAround(column, row) >= kLeastInk;
    return isInkedAt(static_cast<std::int64_t>(std::floor(column)),
                     static_cast<std::int64_t>(std::floor(row)));
}

void TextBlock::cover(std::int64_t x, std::int64_t y, std::size_t count, std::uint8_t* shares) const {
    const auto cellOf = [this](std::int64_t pixel, int sample) {
        return (static_cast<double>(pixel - margin_) + (sample + 0.5) / kSamples) / cell_;
    };
    for (std::size_t i = 0; i < count; ++i) {
        int covered = 0;
        for (int down = 0; down < kSamples; ++down) {
            for (int across = 0; across < kSamples; ++across)
                covered += isCovered(cellOf(x + dib::asOffset(i), across), cellOf(y, down)) ? 1 : 0;
        }
        shares[i] = dib::byteOf(covered * 255 / (kSamples * kSamples));
    }
}

bool drawText(const Job& job, const TextBlock& block, const TextStyle& style, std::int64_t x,
              std::int64_t y) {
    widen(job);
    const dib::Raster rows = rowsOf(job.image);
    const std::int64_t left = std::max<std::int64_t>(x, 0);
    const std::int64_t right = std::min<std::int64_t>(x + block.width(), rows.width);
    const std::int64_t top = std::max<std::int64_t>(y, 0);
    const std::int64_t bottom = std::min<std::int64_t>(y + block.height(), rows.height);
    if (left >= right || top >= bottom) {
        addNote(job.result, DIB_NOTE_WARNING, "text: it lies outside the picture, or there is none");
        return report(job, 1, 1);
    }
    const auto count = dib::asSize(right - left);
    std::vector<std::uint8_t> shares(count);
    std::vector<DibBGRA> line(count);
    const std::vector<DibBGRA> box(count, style.box.value_or(DibBGRA{}));
    const auto bytesOf = [](const std::vector<DibBGRA>& pixels) {
        return reinterpret_cast<const unsigned char*>(pixels.data());
    };
    return forEachRow(job, dib::asInt(bottom - top), [&](int i) {
        block.cover(left - x, top - y + i, count, shares.data());
        for (std::size_t k = 0; k < count; ++k) {
            line[k] = style.color;
            line[k].alpha = mixed(style.color.alpha, 0, shares[k]);
        }
        unsigned char* const row = rows.row(dib::asOffset(top) + i) + left * rows.bitCount / 8;
        if (style.box) coverRow(bytesOf(box), count, row, rows.bytesPerPixel());
        coverRow(bytesOf(line), count, row, rows.bytesPerPixel());
    });
}

}  // namespace operations

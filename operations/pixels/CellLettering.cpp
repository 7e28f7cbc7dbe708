// Text in the letters of Letters.h.
#include <algorithm>
#include <climits>
#include <cmath>
#include <string>
#include <vector>

#include "dib/Bytes.h"
#include "dib/Numbers.h"
#include "operations/Refusal.h"
#include "operations/pixels/Lettering.h"
#include "operations/pixels/Letters.h"

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

class CellLettering : public Lettering {
public:
    CellLettering(std::string_view text, int size, int align)
        : lines_(linesOf(text)), cell_(static_cast<double>(size) / kCellsOfSize) {
        if (text.size() > INT_MAX / kLineCells) throw Refusal{DIB_ERROR_MEMORY, kNoMemory};
        int columns = 0;
        for (const std::string& line : lines_) columns = std::max(columns, letterColumns(line));
        for (const std::string& line : lines_)
            indents_.push_back((columns - letterColumns(line)) * align / 2);
        const double rows = static_cast<double>(lines_.size() - 1) * kLineCells + kLetterRows;
        const auto pixels = [this](double cells) {
            return static_cast<std::int64_t>(std::ceil(cells * cell_));
        };
        width_ = pixels(columns);
        height_ = pixels(rows);
    }

    void cover(std::int64_t x, std::int64_t y, std::size_t count, std::uint8_t* shares) override {
        const auto cellOf = [this](std::int64_t pixel, int sample) {
            return (static_cast<double>(pixel) + (sample + 0.5) / kSamples) / cell_;
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

private:
    bool isInkedAt(std::int64_t column, std::int64_t row) const {
        if (row < 0) return false;
        const auto line = static_cast<std::size_t>(row / kLineCells);
        if (line >= lines_.size()) return false;
        const std::int64_t within = column - indents_[line];
        if (within < 0 || within >= letterColumns(lines_[line])) return false;
        return isInked(lines_[line], static_cast<int>(within), static_cast<int>(row % kLineCells));
    }

    // The ink of the four cells around a point, by its distance from their middles.
    double inkAround(double column, double row) const {
        const double left = std::floor(column - 0.5);
        const double top = std::floor(row - 0.5);
        const double across = column - 0.5 - left;
        const double down = row - 0.5 - top;
        const auto ink = [&](int x, int y) {
            return isInkedAt(static_cast<std::int64_t>(left) + x, static_cast<std::int64_t>(top) + y) ? 1.0
                                                                                                      : 0.0;
        };
        return (ink(0, 0) * (1 - across) + ink(1, 0) * across) * (1 - down) +
               (ink(0, 1) * (1 - across) + ink(1, 1) * across) * down;
    }

    bool isCovered(double column, double row) const {
        if (cell_ >= kRoundFrom) return inkAround(column, row) >= kLeastInk;
        return isInkedAt(static_cast<std::int64_t>(std::floor(column)),
                         static_cast<std::int64_t>(std::floor(row)));
    }

    std::vector<std::string> lines_;
    std::vector<int> indents_;  // in cells
    double cell_;               // pixels of a cell
};

}  // namespace

std::unique_ptr<Lettering> writeInCells(std::string_view text, int size, int align) {
    return std::make_unique<CellLettering>(text, size, align);
}

}  // namespace operations

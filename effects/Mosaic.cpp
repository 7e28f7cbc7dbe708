// Mosaic: for each row of blocks one row of pixels is painted and copied over the rows of these blocks.
#include <algorithm>
#include <array>
#include <cstring>

#include "dib/Kernels.h"
#include "effects/EffectFrame.h"

namespace {

using dib::Raster;

// Rows of bytes whose column sums fit 16 bits.
constexpr int kRowsPerSum = 65535 / 255;

struct Blocks {
    int side;      // no larger than the picture
    int firstRow;  // of the current row of blocks
    int rows;      // of the current row of blocks
};

// The colours of one row of blocks are the first pixels of the blocks.
template <class Depth>
class FirstPixels {
public:
    bool prepare(const Raster&, int) { return true; }
    void read(const Raster& raster, const Blocks& blocks) { row_ = raster.row(blocks.firstRow); }
    std::uint32_t color(int firstColumn, int) const { return Depth::get(row_, firstColumn); }

private:
    const unsigned char* row_ = nullptr;
};

template <class Depth>
DIB_ALWAYS_INLINE void addToColumns(const unsigned char* __restrict row, std::uint16_t* __restrict sums,
                                    std::size_t width) {
    if constexpr (Depth::kBits == 16) {
        for (std::size_t x = 0; x < width; ++x) {
            const auto channels = Depth::split(Depth::get(row, static_cast<std::ptrdiff_t>(x)));
            for (std::size_t c = 0; c < 3; ++c) sums[3 * x + c] += static_cast<std::uint16_t>(channels[c]);
        }
    } else {
        for (std::size_t i = 0; i < width * Depth::kChannels; ++i)
            sums[i] = static_cast<std::uint16_t>(sums[i] + row[i]);
    }
}

// Truncates like an integer division, which takes several times as long. Both numbers are below 2^42 and the
// quotient is below 2^8, so that rounding in double never reaches the next whole number.
DIB_ALWAYS_INLINE std::uint32_t quotient(std::int64_t sum, std::int64_t count) {
    return static_cast<std::uint32_t>(static_cast<double>(sum) / static_cast<double>(count));
}

// The colours of one row of blocks are the averages of the blocks, channel by channel.
template <class Depth>
class Averages {
public:
    bool prepare(const Raster& raster, int side) {
        width_ = static_cast<std::size_t>(raster.width);
        side_ = static_cast<std::size_t>(side);
        columns_ = dib::allocateArray<std::uint16_t>(width_ * kChannels);
        sums_ = dib::allocateArray<std::int64_t>((width_ / side_ + 1) * kChannels);
        return columns_ != nullptr && sums_ != nullptr;
    }

    void read(const Raster& raster, const Blocks& blocks) {
        rows_ = blocks.rows;
        std::fill_n(sums_.get(), (width_ / side_ + 1) * kChannels, 0);
        for (int done = 0; done < blocks.rows; done += kRowsPerSum) {
            const int rows = std::min(blocks.rows - done, kRowsPerSum);
            std::fill_n(columns_.get(), width_ * kChannels, 0);
            for (int y = 0; y < rows; ++y) {
                const unsigned char* row = raster.row(blocks.firstRow + done + y);
                dib::runKernel<addToColumns<Depth>>(row, columns_.get(), width_);
            }
            for (std::size_t x = 0, block = 0; x < width_; x += side_, ++block) {
                const std::size_t end = std::min(x + side_, width_);
                std::array<std::int64_t, kChannels> sum{};
                for (std::size_t column = x; column < end; ++column) {
                    for (std::size_t c = 0; c < kChannels; ++c) sum[c] += columns_[column * kChannels + c];
                }
                for (std::size_t c = 0; c < kChannels; ++c) sums_[block * kChannels + c] += sum[c];
            }
        }
    }

    std::uint32_t color(int firstColumn, int columns) const {
        const std::int64_t* sums = &sums_[static_cast<std::size_t>(firstColumn) / side_ * kChannels];
        const std::int64_t count = rows_ * columns;
        dib::Channels<Depth::kChannels> average;
        for (std::size_t c = 0; c < kChannels; ++c) average[c] = quotient(sums[c], count);
        return Depth::join(average);
    }

private:
    static constexpr std::size_t kChannels = Depth::kChannels;
    dib::MallocPtr<std::uint16_t> columns_;  // sums of the columns of some rows
    dib::MallocPtr<std::int64_t> sums_;      // sums of the blocks
    std::size_t width_ = 0;
    std::size_t side_ = 1;
    std::int64_t rows_ = 0;
};

// Overwrites the pixels of a row and leaves the row's fill bits as they are.
void replacePixels(unsigned char* row, const unsigned char* from, const Raster& raster) {
    const std::size_t bits =
        static_cast<std::size_t>(raster.width) * static_cast<std::size_t>(raster.bitCount);
    std::memcpy(row, from, bits / 8);
    if (bits % 8 == 0) return;
    const unsigned fill = 255U >> (bits % 8);
    row[bits / 8] = static_cast<unsigned char>((row[bits / 8] & fill) | (from[bits / 8] & ~fill));
}

template <class Depth, class Colors>
bool paintBlocks(const dib::Progress& progress, const Raster& raster, int side) {
    Colors colors;
    auto painted = dib::allocateArray<unsigned char>(raster.rowBytes + 1);
    if (painted == nullptr || !colors.prepare(raster, side)) return false;

    for (std::int64_t y = 0; y < raster.height; y += side) {
        const int firstRow = static_cast<int>(y);
        const Blocks blocks{side, firstRow, std::min(side, raster.height - firstRow)};
        colors.read(raster, blocks);
        if (dib::kIsPacked<Depth>) std::memset(painted.get(), 0, raster.rowBytes);
        for (std::int64_t x = 0; x < raster.width; x += side) {
            const auto end = std::min<std::int64_t>(x + side, raster.width);
            const std::uint32_t color = colors.color(static_cast<int>(x), static_cast<int>(end - x));
            for (std::int64_t column = x; column < end; ++column) Depth::put(painted.get(), column, color);
        }
        for (int row = 0; row < blocks.rows; ++row) {
            replacePixels(raster.row(firstRow + row), painted.get(), raster);
        }
        if (!progress.report(y + 1, raster.height)) return false;
    }
    return true;
}

}  // namespace

bool DibEffectMozaic(DibProgressCallback callback, void* user, DibStream* image, int blockSize) {
    if (image == nullptr || blockSize < 1) return false;
    if (blockSize == 1) return true;
    Raster raster;
    if (!dib::admitImage(image, raster)) return false;
    const dib::Progress progress{callback, user};
    // Larger blocks are cut to the picture anyway.
    const int side = std::max(1, std::min(blockSize, std::max(raster.width, raster.height)));
    return dib::withAnyDepth(raster.bitCount, [&](auto depth) {
        using Depth = decltype(depth);
        if constexpr (Depth::kBits <= 8) {
            return paintBlocks<Depth, FirstPixels<Depth>>(progress, raster, side);
        } else {
            return paintBlocks<Depth, Averages<Depth>>(progress, raster, side);
        }
    });
}

bool DibEffectMozaic(DibProgressCallback callback, void* user, DibStream* image, DEMozaicInfo* info) {
    return DibEffectMozaic(callback, user, image, info->blockSize);
}

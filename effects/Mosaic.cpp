// Mosaic: for each row of blocks one row of pixels is painted and copied over the rows of these blocks.
#include <algorithm>
#include <cstring>

#include "dib/Kernels.h"
#include "effects/EffectFrame.h"

namespace {

using dib::Raster;

// Rows of bytes whose column sums fit 16 bits.
constexpr std::ptrdiff_t kRowsPerSum = 65535 / 255;

// The rows of the picture in one row of blocks.
struct BlockRow {
    std::ptrdiff_t firstRow;
    std::ptrdiff_t rows;
};

// The colours of one row of blocks are the first pixels of the blocks.
template <class Depth>
class FirstPixels {
public:
    bool prepare(const Raster&, std::ptrdiff_t) { return true; }
    void read(const Raster& raster, const BlockRow& blocks) { row_ = raster.row(blocks.firstRow); }
    std::uint32_t color(std::ptrdiff_t firstColumn, std::ptrdiff_t) const {
        return Depth::get(row_, firstColumn);
    }

private:
    const unsigned char* row_ = nullptr;
};

template <class Depth>
DIB_ALWAYS_INLINE void addToColumns(const unsigned char* __restrict row, std::uint16_t* __restrict sums,
                                    std::ptrdiff_t width) {
    if constexpr (Depth::kBits == 16) {
        for (std::ptrdiff_t x = 0; x < width; ++x) {
            const auto [blue, green, red] = Depth::split(Depth::get(row, x));
            sums[3 * x] += static_cast<std::uint16_t>(blue);
            sums[3 * x + 1] += static_cast<std::uint16_t>(green);
            sums[3 * x + 2] += static_cast<std::uint16_t>(red);
        }
    } else {
        for (std::ptrdiff_t i = 0; i < width * Depth::kChannels; ++i)
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
    bool prepare(const Raster& raster, std::ptrdiff_t side) {
        width_ = raster.width;
        side_ = side;
        columns_ = dib::allocateArray<std::uint16_t>(width_ * kChannels);
        sums_ = dib::allocateArray<std::int64_t>((width_ / side_ + 1) * kChannels);
        return columns_ != nullptr && sums_ != nullptr;
    }

    void read(const Raster& raster, const BlockRow& blocks) {
        rows_ = blocks.rows;
        std::fill_n(sums_.get(), (width_ / side_ + 1) * kChannels, 0);
        for (std::ptrdiff_t done = 0; done < blocks.rows; done += kRowsPerSum) {
            const std::ptrdiff_t rows = std::min(blocks.rows - done, kRowsPerSum);
            std::fill_n(columns_.get(), width_ * kChannels, 0);
            for (std::ptrdiff_t y = 0; y < rows; ++y) {
                const unsigned char* row = raster.row(blocks.firstRow + done + y);
                dib::runKernel<addToColumns<Depth>>(row, columns_.get(), width_);
            }
            for (std::ptrdiff_t x = 0, block = 0; x < width_; x += side_, ++block) {
                const std::ptrdiff_t end = std::min(x + side_, width_);
                std::int64_t sum[kChannels] = {};
                for (std::ptrdiff_t column = x; column < end; ++column) {
                    for (std::ptrdiff_t c = 0; c < kChannels; ++c) sum[c] += columns_[column * kChannels + c];
                }
                for (std::ptrdiff_t c = 0; c < kChannels; ++c) sums_[block * kChannels + c] += sum[c];
            }
        }
    }

    std::uint32_t color(std::ptrdiff_t firstColumn, std::ptrdiff_t columns) const {
        const std::int64_t* sums = &sums_[firstColumn / side_ * kChannels];
        const std::int64_t count = rows_ * columns;
        dib::Channels<Depth::kChannels> average;
        for (std::uint32_t& channel : average) channel = quotient(*sums++, count);
        return Depth::join(average);
    }

private:
    static constexpr std::ptrdiff_t kChannels = Depth::kChannels;
    dib::MallocPtr<std::uint16_t> columns_;  // sums of the columns of some rows
    dib::MallocPtr<std::int64_t> sums_;      // sums of the blocks
    std::ptrdiff_t width_ = 0;
    std::ptrdiff_t side_ = 1;
    std::int64_t rows_ = 0;
};

// Overwrites the pixels of a row and leaves the row's fill bits as they are.
void replacePixels(unsigned char* row, const unsigned char* from, const Raster& raster) {
    const std::ptrdiff_t bits = std::ptrdiff_t{raster.width} * raster.bitCount;
    std::copy_n(from, bits / 8, row);
    if (bits % 8 == 0) return;
    const unsigned fill = 255U >> (bits % 8);
    row[bits / 8] = static_cast<unsigned char>((row[bits / 8] & fill) | (from[bits / 8] & ~fill));
}

template <class Depth, class Colors>
bool paintBlocks(const dib::Progress& progress, const Raster& raster, std::ptrdiff_t side) {
    Colors colors;
    auto painted = dib::allocateArray<unsigned char>(raster.rowBytes + 1);
    if (painted == nullptr || !colors.prepare(raster, side)) return false;

    for (std::ptrdiff_t y = 0; y < raster.height; y += side) {
        const BlockRow blocks{y, std::min(side, raster.height - y)};
        colors.read(raster, blocks);
        if (dib::kIsPacked<Depth>) std::memset(painted.get(), 0, raster.rowBytes);
        for (std::ptrdiff_t x = 0; x < raster.width; x += side) {
            const std::ptrdiff_t end = std::min<std::ptrdiff_t>(x + side, raster.width);
            const std::uint32_t color = colors.color(x, end - x);
            for (std::ptrdiff_t column = x; column < end; ++column) Depth::put(painted.get(), column, color);
        }
        for (std::ptrdiff_t row = 0; row < blocks.rows; ++row) {
            replacePixels(raster.row(y + row), painted.get(), raster);
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

#include "dib/PixelReader.h"

#include <cstring>

#include "dib/ColorTable.h"
#include "dib/Memory.h"
#include "dib/PixelKernels.h"
#include "dib/PixelShuffles.h"

namespace dib {

namespace {

// Room for a strip of indices that ends inside a byte.
constexpr std::size_t kIndexScratch = kStripPixels + 8;

// Leftmost pixel first, from the most significant bits down; whole bytes are unpacked.
template <unsigned int kBits>
void unpackIndices(const std::uint8_t* from, std::uint8_t* to, std::size_t count) {
    constexpr unsigned int kPerByte = 8 / kBits;
    constexpr unsigned int kMask = (1U << kBits) - 1;
    for (std::size_t i = 0; i * kPerByte < count; ++i) {
        for (unsigned int k = 0; k < kPerByte; ++k) {
            to[i * kPerByte + k] = (from[i] >> (8 - kBits * (k + 1))) & kMask;
        }
    }
}

void widen(const std::uint8_t* from, std::uint8_t* to, std::size_t count) {
    const std::size_t done = shuffled(shuffleBgrToBgra, from, to, count);
    runKernel<bgrToBgra>(from + 3 * done, to + 4 * done, count - done);
}

void bgrRowToGrey(const std::uint8_t* from, std::uint8_t* to, std::size_t count) {
    const std::size_t done = shuffled(shuffleBgrToGrey, from, to, count);
    runKernel<bgrToGrey<3>>(from + 3 * done, to + done, count - done);
}

void bgraRowToGrey(const std::uint8_t* from, std::uint8_t* to, std::size_t count) {
    const std::size_t done = shuffled(shuffleBgraToGrey, from, to, count);
    runKernel<bgrToGrey<4>>(from + 4 * done, to + done, count - done);
}

}  // namespace

PixelReader::PixelReader(DibStream& image) : pixels_(image.Buffer) {
    if (image.Header == nullptr || image.Buffer == nullptr || !isDepth(image.Header->biBitCount)) return;
    size_ = admitSize(*image.Header);
    readable_ = size_.admitted;
    if (!readable_) {
        failForMemory(image);
        return;
    }
    bitCount_ = image.Header->biBitCount;
    width_ = static_cast<std::size_t>(image.Header->biWidth);
    if (bitCount_ <= 8) readTable(*image.Header);
}

void PixelReader::readTable(const BITMAPINFOHEADER& header) {
    const auto table = readColorTable(header);
    greyRamp_ = bitCount_ == 8;
    for (std::uint32_t i = 0; i < 256; ++i) {
        const DibBGRA& entry = table[i];
        colors_[i] = std::uint32_t{entry.blue} | std::uint32_t{entry.green} << 8 |
                     std::uint32_t{entry.red} << 16 | 0xFF000000U;
        greys_[i] = greyOf(entry.blue, entry.green, entry.red);
        greyRamp_ = greyRamp_ && colors_[i] == (0xFF000000U | i * 0x010101U);
    }
}

const std::uint8_t* PixelReader::at(std::size_t row, std::size_t x) const {
    return pixels_ + row * size_.rowBytes + x * bitCount_ / 8;
}

const std::uint8_t* PixelReader::indices(std::size_t row, std::size_t x, std::size_t count,
                                         std::uint8_t* scratch) const {
    const std::uint8_t* from = at(row, x);
    if (bitCount_ == 8) return from;
    if (bitCount_ == 4) unpackIndices<4>(from, scratch, count);
    if (bitCount_ == 1) unpackIndices<1>(from, scratch, count);
    return scratch;
}

void PixelReader::readBgr(std::size_t row, std::size_t x, std::size_t count, std::uint8_t* to) const {
    const std::uint8_t* from = at(row, x);
    if (bitCount_ == 32) return runKernel<bgraToBgr>(from, to, count);
    if (bitCount_ == 24) return static_cast<void>(std::memcpy(to, from, 3 * count));
    if (bitCount_ == 16) return runKernel<wordsToBgr<3>>(from, to, count);
    if (greyRamp_) return runKernel<greyToBgr>(from, to, count);
    std::uint8_t scratch[kIndexScratch];
    indicesToBgr(indices(row, x, count, scratch), to, count, colors_);
}

void PixelReader::readBgra(std::size_t row, std::size_t x, std::size_t count, std::uint8_t* to) const {
    const std::uint8_t* from = at(row, x);
    if (bitCount_ == 32) return static_cast<void>(std::memcpy(to, from, 4 * count));
    if (bitCount_ == 24) return widen(from, to, count);
    if (bitCount_ == 16) return runKernel<wordsToBgr<4>>(from, to, count);
    std::uint8_t scratch[kIndexScratch];
    indicesToBgra(indices(row, x, count, scratch), to, count, colors_);
}

void PixelReader::readGrey(std::size_t row, std::size_t x, std::size_t count, std::uint8_t* to) const {
    const std::uint8_t* from = at(row, x);
    if (bitCount_ == 32) return bgraRowToGrey(from, to, count);
    if (bitCount_ == 24) return bgrRowToGrey(from, to, count);
    if (bitCount_ == 16) return runKernel<wordsToGrey>(from, to, count);
    std::uint8_t scratch[kIndexScratch];
    const std::uint8_t* index = indices(row, x, count, scratch);
    for (std::size_t i = 0; i < count; ++i) to[i] = greys_[index[i]];
}

const std::uint8_t* PixelReader::bgr(std::size_t row, std::size_t x, std::size_t count,
                                     std::uint8_t* scratch) const {
    if (bitCount_ == 24) return at(row, x);
    readBgr(row, x, count, scratch);
    return scratch;
}

}  // namespace dib

#include "formats/linux/TiffDeflate.h"

#include <isa-l/igzip_lib.h>

#include <algorithm>
#include <cstring>

#include "dib/Bytes.h"
#include "formats/Inflater.h"
#include "formats/linux/TiffTags.h"

namespace formats {

namespace {

template <class Word>
Word swapped(Word word) {
    if constexpr (sizeof word == 2) return static_cast<Word>(__builtin_bswap16(word));
    if constexpr (sizeof word == 4) return static_cast<Word>(__builtin_bswap32(word));
    if constexpr (sizeof word == 8) return static_cast<Word>(__builtin_bswap64(word));
    return word;
}

// Samples as the stream holds them: each less the one of the pixel on its left, which is `step` samples
// before, or 0 where samples are stored themselves.
template <class Word>
void packRow(const unsigned char* from, unsigned char* to, std::size_t samples, std::size_t step,
             bool isSwapped) {
    for (std::size_t i = 0; i < samples; ++i) {
        Word word;
        Word left = 0;
        std::memcpy(&word, from + i * sizeof word, sizeof word);
        if (step > 0 && i >= step) std::memcpy(&left, from + (i - step) * sizeof left, sizeof left);
        word = static_cast<Word>(word - left);
        if (isSwapped) word = swapped(word);
        std::memcpy(to + i * sizeof word, &word, sizeof word);
    }
}

// The same of bytes, which compilers do with vectors.
template <>
void packRow<std::uint8_t>(const unsigned char* from, unsigned char* __restrict to, std::size_t samples,
                           std::size_t step, bool) {
    std::memcpy(to, from, std::min(step, samples));
    for (std::size_t i = step; i < samples; ++i) to[i] = static_cast<unsigned char>(from[i] - from[i - step]);
}

}  // namespace

bool TiffDeflate::start(TIFF* tiff, std::size_t rowBytes) {
    const auto compression = tiffField<std::uint16_t>(tiff, TIFFTAG_COMPRESSION, COMPRESSION_NONE);
    isUsed_ = compression == COMPRESSION_ADOBE_DEFLATE || compression == COMPRESSION_DEFLATE;
    if (!isUsed_) return true;
    const auto bits = tiffField<std::uint16_t>(tiff, TIFFTAG_BITSPERSAMPLE, 1);
    const auto samples = tiffField<std::uint16_t>(tiff, TIFFTAG_SAMPLESPERPIXEL, 1);
    const auto planes = tiffField<std::uint16_t>(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    const auto predictor = tiffField<std::uint16_t>(tiff, TIFFTAG_PREDICTOR, PREDICTOR_NONE);
    isReversed_ = tiffField<std::uint16_t>(tiff, TIFFTAG_FILLORDER, FILLORDER_MSB2LSB) == FILLORDER_LSB2MSB;
    isSwapped_ = bits > 8 && TIFFIsByteSwapped(tiff) != 0;
    hasDifferences_ = predictor == PREDICTOR_HORIZONTAL;
    sampleBytes_ = bits / 8U;
    pixelSamples_ = planes == PLANARCONFIG_CONTIG ? samples : 1;
    const bool hasWords = bits == 8 || bits == 16 || bits == 32 || bits == 64;
    if (predictor == PREDICTOR_NONE && !isSwapped_) {
        rows_ = Rows::kAsStored;
    } else {
        rows_ = predictor <= PREDICTOR_HORIZONTAL && hasWords ? Rows::kToBePacked : Rows::kUnknown;
    }
    if (rows_ != Rows::kToBePacked) return true;
    row_ = dib::allocateArray<unsigned char>(rowBytes);
    return row_ != nullptr;
}

void TiffDeflate::add(const unsigned char* rows, std::size_t count, std::size_t rowBytes) {
    if (rows_ == Rows::kAsStored) sum_ = isal_adler32(sum_, rows, count * rowBytes);
    if (rows_ != Rows::kToBePacked) return;
    const std::size_t samples = rowBytes / sampleBytes_;
    const std::size_t step = hasDifferences_ ? pixelSamples_ : 0;
    for (std::size_t y = 0; y < count; ++y) {
        const unsigned char* from = rows + y * rowBytes;
        switch (sampleBytes_) {
            case 1: packRow<std::uint8_t>(from, row_.get(), samples, step, false); break;
            case 2: packRow<std::uint16_t>(from, row_.get(), samples, step, isSwapped_); break;
            case 4: packRow<std::uint32_t>(from, row_.get(), samples, step, isSwapped_); break;
            default: packRow<std::uint64_t>(from, row_.get(), samples, step, isSwapped_); break;
        }
        sum_ = isal_adler32(sum_, row_.get(), samples * sampleBytes_);
    }
}

// Mostly the sum is the last that a piece has. Where it is not, bytes may follow the stream, or the stream
// gives more rows than the piece has, or it is damaged.
bool TiffDeflate::isWhole(ByteReader& file, std::uint64_t at, std::uint64_t bytes) {
    constexpr std::uint64_t kSumBytes = 4;
    if (bytes < kSumBytes || at > INT64_MAX - bytes) return false;
    unsigned char last[kSumBytes];
    const bool isRead =
        file.seek(static_cast<std::int64_t>(at + bytes - kSumBytes)) && file.read(last, sizeof last);
    if (!isRead) return false;
    if (rows_ != Rows::kUnknown && !isReversed_ && dib::readBe32(last) == sum_) return true;
    const auto size = static_cast<std::size_t>(bytes);
    const auto packed = dib::allocateArray<unsigned char>(size);
    isShortOfMemory_ = packed == nullptr;
    if (isShortOfMemory_ || !file.seek(static_cast<std::int64_t>(at)) || !file.read(packed.get(), size))
        return false;
    std::uint64_t unpacked = 0;
    return unpack(packed.get(), size, unpacked);
}

std::uint64_t TiffDeflate::unpackedBytes(unsigned char* packed, std::size_t bytes) {
    std::uint64_t unpacked = 0;
    unpack(packed, bytes, unpacked);
    return unpacked;
}

// True when the stream is whole; its sum is checked.
bool TiffDeflate::unpack(unsigned char* packed, std::size_t bytes, std::uint64_t& unpacked) {
    constexpr std::size_t kRoom = std::size_t{1} << 16;
    const auto room = dib::allocateArray<unsigned char>(kRoom);
    Inflater inflater;
    isShortOfMemory_ = room == nullptr || !inflater.start();
    if (isShortOfMemory_) return false;
    const auto turnBits = [&] {
        if (isReversed_) TIFFReverseBits(packed, static_cast<tmsize_t>(bytes));
    };
    turnBits();
    inflater.feed(packed, bytes);
    for (std::size_t part = kRoom; part == kRoom && !inflater.isAtEnd() && !inflater.isDamaged();) {
        part = inflater.unpack(room.get(), kRoom);
        unpacked += part;
    }
    turnBits();
    isShortOfMemory_ = inflater.isShortOfMemory();
    return inflater.isAtEnd();
}

}  // namespace formats

#include "formats/linux/TiffDeflate.h"

#include <libdeflate.h>

#include <algorithm>
#include <cstring>

#include "dib/Bytes.h"
#include "dib/Numbers.h"
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
    for (std::size_t i = step; i < samples; ++i) to[i] = dib::byteOf(from[i] - from[i - step]);
}

// The other way round, in place; the samples before are kept in registers.
template <class Word, std::size_t kStep>
void unpackPixels(unsigned char* row, std::size_t samples, bool isSwapped) {
    Word left[kStep] = {};
    for (std::size_t i = 0; i + kStep <= samples; i += kStep) {
        for (std::size_t k = 0; k < kStep; ++k) {
            Word word;
            std::memcpy(&word, row + (i + k) * sizeof word, sizeof word);
            left[k] = static_cast<Word>(left[k] + (isSwapped ? swapped(word) : word));
            std::memcpy(row + (i + k) * sizeof word, &left[k], sizeof word);
        }
    }
}

template <class Word>
void unpackRow(unsigned char* row, std::size_t samples, std::size_t step, bool isSwapped) {
    switch (step) {
        case 1: return unpackPixels<Word, 1>(row, samples, isSwapped);
        case 3: return unpackPixels<Word, 3>(row, samples, isSwapped);
        case 4: return unpackPixels<Word, 4>(row, samples, isSwapped);
        default: break;
    }
    for (std::size_t i = 0; i < samples; ++i) {
        Word word;
        Word left = 0;
        std::memcpy(&word, row + i * sizeof word, sizeof word);
        if (step > 0 && i >= step) std::memcpy(&left, row + (i - step) * sizeof left, sizeof left);
        word = static_cast<Word>(left + (isSwapped ? swapped(word) : word));
        std::memcpy(row + i * sizeof word, &word, sizeof word);
    }
}

}  // namespace

void TiffDeflate::Free::operator()(libdeflate_decompressor* decompressor) const {
    libdeflate_free_decompressor(decompressor);
}

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
        rows_ = predictor <= PREDICTOR_HORIZONTAL && hasWords ? Rows::kChanged : Rows::kUnknown;
    }
    decompressor_.reset(libdeflate_alloc_decompressor());
    if (decompressor_ == nullptr) return false;
    if (rows_ != Rows::kChanged) return true;
    row_ = dib::allocateArray<unsigned char>(rowBytes);
    return row_ != nullptr;
}

bool TiffDeflate::read(ByteReader& file, std::uint64_t at, std::uint64_t bytes, unsigned char* to,
                       std::size_t rows, std::size_t rowBytes) {
    if (!isUsed_ || rows_ == Rows::kUnknown || isReversed_ || !readPacked(file, at, bytes)) return false;
    const libdeflate_result result = libdeflate_zlib_decompress(
        decompressor_.get(), packed_.get(), dib::asSize(bytes), to, rows * rowBytes, nullptr);
    if (result != LIBDEFLATE_SUCCESS) return false;
    for (std::size_t y = 0; rows_ == Rows::kChanged && y < rows; ++y) restoreRow(to + y * rowBytes, rowBytes);
    return true;
}

// False when the file does not have these bytes.
bool TiffDeflate::readPacked(ByteReader& file, std::uint64_t at, std::uint64_t bytes) {
    const auto size = file.knownSize();
    if (at > size || bytes > size - at) return false;
    if (bytes > packedRoom_) {
        packed_ = dib::allocateArray<unsigned char>(dib::asSize(bytes));
        isShortOfMemory_ = packed_ == nullptr;
        packedRoom_ = isShortOfMemory_ ? 0 : dib::asSize(bytes);
    }
    return packed_ != nullptr && file.seek(dib::asOffset(at)) && file.read(packed_.get(), dib::asSize(bytes));
}

void TiffDeflate::restoreRow(unsigned char* row, std::size_t rowBytes) const {
    const std::size_t samples = rowBytes / sampleBytes_;
    const std::size_t step = hasDifferences_ ? pixelSamples_ : 0;
    switch (sampleBytes_) {
        case 1: return unpackRow<std::uint8_t>(row, samples, step, false);
        case 2: return unpackRow<std::uint16_t>(row, samples, step, isSwapped_);
        case 4: return unpackRow<std::uint32_t>(row, samples, step, isSwapped_);
        default: return unpackRow<std::uint64_t>(row, samples, step, isSwapped_);
    }
}

void TiffDeflate::add(const unsigned char* rows, std::size_t count, std::size_t rowBytes) {
    if (rows_ == Rows::kAsStored) sum_ = libdeflate_adler32(sum_, rows, count * rowBytes);
    if (rows_ != Rows::kChanged) return;
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
        sum_ = libdeflate_adler32(sum_, row_.get(), samples * sampleBytes_);
    }
}

// Mostly the sum is the last that a piece has. Where it is not, bytes may follow the stream, or the stream
// gives more rows than the piece has, or it is damaged.
bool TiffDeflate::isWhole(ByteReader& file, std::uint64_t at, std::uint64_t bytes) {
    constexpr std::uint64_t kSumBytes = 4;
    if (bytes < kSumBytes || at > INT64_MAX - bytes) return false;
    unsigned char last[kSumBytes];
    const bool isRead = file.seek(dib::asOffset(at + bytes - kSumBytes)) && file.read(last, sizeof last);
    if (!isRead) return false;
    if (rows_ != Rows::kUnknown && !isReversed_ && dib::readBe32(last) == sum_) return true;
    std::uint64_t unpacked = 0;
    return readPacked(file, at, bytes) && unpack(packed_.get(), dib::asSize(bytes), unpacked);
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

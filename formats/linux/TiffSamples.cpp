#include "formats/linux/TiffSamples.h"

#include <algorithm>
#include <bit>
#include <cfloat>
#include <cstring>
#include <limits>

#include "dib/Bytes.h"
#include "dib/HalfFloat.h"

namespace formats {

namespace {

// Where the samples of one kind stand in a row.
struct Channel {
    const unsigned char* row;
    std::size_t first;
    std::size_t step;
};

template <class Word>
Word wordAt(const unsigned char* row, std::size_t index) {
    Word word;
    std::memcpy(&word, row + index * sizeof word, sizeof word);
    return word;
}

// Samples of 16, 24 and 32 bits come in the order of the machine; all others are packed from the high bits
// down.
std::uint32_t packedAt(const unsigned char* row, std::size_t index, unsigned bits) {
    if (bits == 24) {
        const unsigned char* p = row + index * 3;
        return std::endian::native == std::endian::little
                   ? p[0] | std::uint32_t{p[1]} << 8 | std::uint32_t{p[2]} << 16
                   : p[2] | std::uint32_t{p[1]} << 8 | std::uint32_t{p[0]} << 16;
    }
    const std::size_t start = index * bits;
    const std::size_t last = (start + bits - 1) / 8;
    std::uint64_t packed = 0;
    for (std::size_t i = start / 8; i <= last; ++i) packed = packed << 8 | row[i];
    const std::size_t below = (last + 1) * 8 - (start + bits);
    return static_cast<std::uint32_t>(packed >> below & ((std::uint64_t{1} << bits) - 1));
}

std::uint64_t integerAt(const unsigned char* row, std::size_t index, unsigned bits) {
    if (bits == 16) return wordAt<std::uint16_t>(row, index);
    return bits == 32 ? wordAt<std::uint32_t>(row, index) : packedAt(row, index, bits);
}

void unpack(const Channel& from, unsigned bits, float* to, std::size_t pixels, std::size_t step) {
    for (std::size_t i = 0, at = from.first; i < pixels; ++i, at += from.step, to += step) {
        if (bits == 16) {
            *to = dib::floatOfHalf(wordAt<std::uint16_t>(from.row, at));
        } else if (bits == 32) {
            *to = wordAt<float>(from.row, at);
        } else {
            constexpr double kMost = FLT_MAX;
            *to = static_cast<float>(std::clamp(wordAt<double>(from.row, at), -kMost, kMost));
        }
    }
}

constexpr unsigned char byteOfWord(std::uint16_t word) { return dib::byteOf((word * 255U + 32895U) >> 16); }

// Rounded to bytes of the same share of the largest value. Signs are ignored.
void unpack(const Channel& from, unsigned bits, unsigned char* to, std::size_t pixels, std::size_t step) {
    const std::uint64_t largest = (std::uint64_t{1} << bits) - 1;
    for (std::size_t i = 0, at = from.first; i < pixels; ++i, at += from.step, to += step) {
        if (bits == 8) {
            *to = from.row[at];
        } else if (bits == 16) {
            *to = byteOfWord(wordAt<std::uint16_t>(from.row, at));
        } else {
            *to = dib::byteOf((integerAt(from.row, at, bits) * 255 + largest / 2) / largest);
        }
    }
}

// The same to 16 bits.
void unpack(const Channel& from, unsigned bits, std::uint16_t* to, std::size_t pixels, std::size_t step) {
    const std::uint64_t largest = (std::uint64_t{1} << bits) - 1;
    for (std::size_t i = 0, at = from.first; i < pixels; ++i, at += from.step, to += step) {
        *to = dib::wordOf((integerAt(from.row, at, bits) * 65535 + largest / 2) / largest);
    }
}

void unpackIndices(const Channel& from, unsigned bits, unsigned char* to, std::size_t pixels,
                   std::size_t step) {
    for (std::size_t i = 0, at = from.first; i < pixels; ++i, at += from.step, to += step) {
        *to = dib::byteOf(packedAt(from.row, at, bits));
    }
}
// Indices have up to 8 bits and are never floats.
template <class Sample>
void unpackIndices(const Channel&, unsigned, Sample*, std::size_t, std::size_t) {}

template <class Sample>
constexpr Sample kOpaque = std::numeric_limits<Sample>::max();
template <>
constexpr float kOpaque<float> = 1.0F;

// A rounded division by 255.
unsigned char product(unsigned char a, unsigned char b) {
    const unsigned value = unsigned{a} * b + 128;
    return dib::byteOf((value + (value >> 8)) >> 8);
}
std::uint16_t product(std::uint16_t a, std::uint16_t b) {
    return dib::wordOf((std::uint32_t{a} * b + 32767U) / 65535U);
}
float product(float a, float b) { return a * b; }

template <class Sample>
Sample divided(Sample color, Sample alpha) {
    if (alpha == 0) return 0;
    constexpr std::uint32_t kMost = kOpaque<Sample>;
    return static_cast<Sample>(std::min((color * kMost + alpha / 2U) / alpha, kMost));
}
float divided(float color, float alpha) { return alpha > 0.0F ? color / alpha : 0.0F; }

void show(unsigned char sample, unsigned char& to) { to = sample; }
void show(std::uint16_t sample, unsigned char& to) { to = byteOfWord(sample); }
void show(float sample, float& to) { to = sample; }
void show(float sample, unsigned char& to) {
    // NaN fails both comparisons and becomes 0.
    const int byte = sample >= 1 ? 255 : sample > 0 ? (static_cast<int>(sample * 510.0F) + 1) / 2 : 0;
    to = dib::byteOf(byte);
}

}  // namespace

std::size_t TiffMeaning::bitsPerPixel() const {
    if (givesFloats()) return 128;
    if (hasAlpha) return 32;
    return kind == TiffKind::kRgb || kind == TiffKind::kInks ? 24 : 8;
}

bool TiffConverter::start(const TiffLayout& layout, const TiffMeaning& meaning, const unsigned char* colors) {
    layout_ = layout;
    meaning_ = meaning;
    colors_ = colors;
    unpacked_ = dib::allocateArray<float>(std::size_t{layout.width} * meaning.sampleCount);
    return unpacked_ != nullptr;
}

template <class Sample, class Shown>
void TiffConverter::convertAs(const TiffRows& rows, Sample* unpacked, Shown* to) {
    const std::size_t count = meaning_.sampleCount;
    for (std::size_t i = 0; i < count; ++i) {
        const Channel channel = layout_.isPlanar
                                    ? Channel{rows.row(i), 0, 1}
                                    : Channel{rows.row(0), meaning_.samples[i], layout_.perPixel};
        if (meaning_.kind == TiffKind::kPalette && i == 0) {
            unpackIndices(channel, layout_.bits, unpacked + i, layout_.width, count);
        } else {
            unpack(channel, layout_.bits, unpacked + i, layout_.width, count);
        }
    }

    const std::size_t step = meaning_.givesFloats() ? 4 : meaning_.bitsPerPixel() / 8;
    for (std::size_t x = 0; x < layout_.width; ++x, unpacked += count, to += step) {
        Sample rgb[3] = {unpacked[0], unpacked[0], unpacked[0]};
        switch (meaning_.kind) {
            case TiffKind::kGrey: break;
            case TiffKind::kInvertedGrey:
                rgb[0] = rgb[1] = rgb[2] = static_cast<Sample>(kOpaque<Sample> - unpacked[0]);
                break;
            case TiffKind::kPalette:
                if constexpr (sizeof(Sample) == 1) {
                    if (step > 1) std::copy_n(colors_ + 3 * unpacked[0], 3, rgb);
                }
                break;
            case TiffKind::kRgb: std::copy_n(unpacked, 3, rgb); break;
            case TiffKind::kInks:
                for (std::size_t k = 0; k < 3; ++k) {
                    rgb[k] = product(static_cast<Sample>(kOpaque<Sample> - unpacked[k]),
                                     static_cast<Sample>(kOpaque<Sample> - unpacked[3]));
                }
                break;
        }
        const Sample alpha = meaning_.hasAlpha ? unpacked[count - 1] : kOpaque<Sample>;
        if (meaning_.isMultiplied) {
            for (Sample& color : rgb) color = divided(color, alpha);
        }
        for (std::size_t k = 0; k < std::min<std::size_t>(step, 3); ++k) show(rgb[k], to[k]);
        if (step == 4) show(alpha, to[3]);
    }
}

void TiffConverter::convert(const TiffRows& rows, unsigned char* to) {
    // Rows of blocks from malloc are aligned for floats: each pixel has 16 bytes.
    if (meaning_.givesFloats()) {
        convertAs(rows, unpacked_.get(), reinterpret_cast<float*>(to));
    } else if (meaning_.isFloat) {
        convertAs(rows, unpacked_.get(), to);
    } else if (meaning_.isWide) {
        convertAs(rows, reinterpret_cast<std::uint16_t*>(unpacked_.get()), to);
    } else {
        convertAs(rows, reinterpret_cast<unsigned char*>(unpacked_.get()), to);
    }
}

}  // namespace formats

// The pixels of a row, made from the samples of its planes.
#ifndef FORMATS_PSD_ROW_COLORS_H
#define FORMATS_PSD_ROW_COLORS_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "dib/Memory.h"
#include "dib/Numbers.h"
#include "formats/psd/Matte.h"

namespace formats::psd {

// What the planes are.
struct PlaneKind {
    int mode = 0;  // a ColorMode
    int depth = 8;
    int colors = 1;         // planes that are colours
    bool hasAlpha = false;  // one more is alpha
    // Colours of half-transparent pixels are mixed with white, which is taken away again.
    bool isMatted = false;
    int bitCount = 8;     // of the pixels: 8, 24 or 32
    bool isLight = true;  // what 8-bit pixels of floats are; masks are not
};

constexpr std::size_t kMostPlanes = 5;

class RowColors {
public:
    explicit RowColors(const PlaneKind& kind) : kind_(kind) {}

    // False when memory is short.
    bool prepare(std::size_t width);
    // A null plane is missing: white, or opaque.
    void make(std::span<const unsigned char* const> planes, unsigned char* pixels);
    // Whether the colours made so far can have been mixed with white.
    bool isMixed() const { return census_.isMixed(); }
    // The same of these and all of the rows to come.
    bool canBecomeMixed(int rows) const {
        return census_.canBecomeMixed(std::uint64_t{width_} * dib::asSize(kind_.colors) * dib::asSize(rows));
    }

private:
    using Planes = std::array<const unsigned char*, kMostPlanes>;

    // A row of bytes for each plane, three for results, and a white one.
    static constexpr std::size_t kBuffers = kMostPlanes + 4;
    unsigned char* own(std::size_t buffer) { return bytes_.get() + buffer * width_; }
    unsigned char* white() { return own(kBuffers - 1); }
    void convert(const unsigned char* samples, bool isLight, unsigned char* to, std::size_t count) const;
    const unsigned char* bytesOf(std::size_t plane, const unsigned char* samples);
    const unsigned char* bytesOfMixed(std::size_t plane, const unsigned char* samples,
                                      const unsigned char* alphaSamples, const unsigned char* alpha);
    void join(const Planes& planes, bool isMixed, unsigned char* pixels);
    void darken(Planes& planes, std::size_t count);
    void convertLab(std::span<const unsigned char* const> samples, bool isMixed, Planes& planes);

    PlaneKind kind_;
    InkCensus census_;
    std::size_t width_ = 0;
    dib::MallocPtr<unsigned char> bytes_;
};

}  // namespace formats::psd

#endif

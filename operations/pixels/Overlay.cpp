#include "operations/pixels/Overlay.h"

#include <cstring>

#include "dib/Bytes.h"
#include "dib/Kernels.h"
#include "dib/Numbers.h"
#include "operations/pixels/Pixels.h"

namespace operations {

namespace {

// Alpha of the source row times the opacity.
DIB_ALWAYS_INLINE void scaleAlpha(unsigned char* row, std::size_t count, std::uint32_t opacity) {
    for (std::size_t i = 0; i < count; ++i) row[4 * i + 3] = mixed(row[4 * i + 3], 0, opacity);
}

// B of a backdrop and a source for the modes that are a little arithmetic: the bytes of dib::Blender.
template <dib::BlendMode mode>
DIB_ALWAYS_INLINE std::uint32_t blendedBytes(std::uint32_t b, std::uint32_t s) {
    switch (mode) {
        case dib::BlendMode::kDarken: return b < s ? b : s;
        case dib::BlendMode::kLighten: return b < s ? s : b;
        case dib::BlendMode::kMultiply: return mixed(b, 0, s);
        case dib::BlendMode::kScreen: return 255U - mixed(255 - b, 0, 255 - s);
        case dib::BlendMode::kDifference: return b < s ? s - b : b - s;
        case dib::BlendMode::kLinearDodge: return b + s < 255 ? b + s : 255;
        default: return s;
    }
}

// Source colours over an opaque backdrop.
template <dib::BlendMode mode>
DIB_ALWAYS_INLINE void coverOpaque(const unsigned char* __restrict over, std::size_t count,
                                   unsigned char* __restrict row) {
    for (std::size_t i = 0; i < count; ++i) {
        const std::uint32_t alpha = over[4 * i + 3];
        for (std::size_t channel = 0; channel < 3; ++channel) {
            unsigned char& under = row[3 * i + channel];
            under = mixed(blendedBytes<mode>(under, over[4 * i + channel]), under, alpha);
        }
    }
}

using CoverOpaque = void (*)(const unsigned char* over, std::size_t count, unsigned char* row);

// Blends and covers at once; null for modes that are more than a little arithmetic.
CoverOpaque coverOpaqueBy(dib::BlendMode mode) {
    using dib::BlendMode;
    const auto by = []<BlendMode known>() -> CoverOpaque {
        return [](const unsigned char* over, std::size_t count, unsigned char* row) {
            dib::runKernel<coverOpaque<known>>(over, count, row);
        };
    };
    switch (mode) {
        case BlendMode::kDarken: return by.operator()<BlendMode::kDarken>();
        case BlendMode::kLighten: return by.operator()<BlendMode::kLighten>();
        case BlendMode::kMultiply: return by.operator()<BlendMode::kMultiply>();
        case BlendMode::kScreen: return by.operator()<BlendMode::kScreen>();
        case BlendMode::kDifference: return by.operator()<BlendMode::kDifference>();
        case BlendMode::kLinearDodge: return by.operator()<BlendMode::kLinearDodge>();
        default: return nullptr;
    }
}

DIB_ALWAYS_INLINE void coverGrey(const unsigned char* __restrict over, std::size_t count,
                                 unsigned char* __restrict row) {
    for (std::size_t i = 0; i < count; ++i) row[i] = mixed(over[4 * i], row[i], over[4 * i + 3]);
}

// The same over a backdrop with alpha. Where a is the source's and b the backdrop's, the result has the alpha
// a + b - ab, and its colour is the mean of both weighted with a and b - ab.
void coverAlpha(const unsigned char* over, std::size_t count, unsigned char* row) {
    for (std::size_t i = 0; i < count; ++i, over += 4, row += 4) {
        const std::uint32_t alpha = over[3];
        if (alpha == 0) continue;
        if (alpha == 255 || row[3] == 0) {
            std::memcpy(row, over, 4);
            continue;
        }
        const std::uint32_t ofSource = 255 * alpha;
        const std::uint32_t ofBackdrop = row[3] * (255 - alpha);
        const std::uint32_t both = ofSource + ofBackdrop;
        for (int channel = 0; channel < 3; ++channel) {
            row[channel] =
                dib::byteOf((over[channel] * ofSource + row[channel] * ofBackdrop + both / 2) / both);
        }
        row[3] = dib::byteOf((both + 127) / 255);
    }
}

// Replaces the colours of the source by what they show over the backdrop: where that has alpha, only its
// share of them.
void blendRow(const dib::Blender& blender, unsigned char* over, std::size_t count, const unsigned char* row,
              std::size_t bytes) {
    for (std::size_t i = 0; i < count; ++i, over += 4, row += bytes) {
        const std::uint32_t backdropAlpha = bytes == 4 ? row[3] : 255;
        if (over[3] == 0 || backdropAlpha == 0) continue;
        unsigned char blended[3];
        blender.blend(row, over, blended);
        for (int channel = 0; channel < 3; ++channel) {
            const std::uint32_t sum =
                blended[channel] * backdropAlpha + over[channel] * (255 - backdropAlpha);
            over[channel] = dib::byteOf((sum + 127) / 255);
        }
    }
}

// Sets alpha to 255 for its share of the pixels, else to 0. The pattern is the same on every run.
void dissolveRow(unsigned char* over, std::size_t count, std::uint32_t y) {
    for (std::uint32_t x = 0; x < count; ++x) {
        std::uint32_t hash = (x * 0x9E3779B1U) ^ (y * 0x85EBCA77U);
        hash = (hash ^ hash >> 15) * 0x2C1B3C6DU;
        hash = (hash ^ hash >> 12) * 0x297A2D39U;
        unsigned char& alpha = over[4 * std::size_t{x} + 3];
        alpha = (hash >> 16) % 255 < alpha ? 255 : 0;
    }
}

}  // namespace

void coverRow(const unsigned char* over, std::size_t count, unsigned char* row, std::size_t bytes) {
    if (bytes == 1) return dib::runKernel<coverGrey>(over, count, row);
    if (bytes == 3) return dib::runKernel<coverOpaque<dib::BlendMode::kNormal>>(over, count, row);
    coverAlpha(over, count, row);
}

bool overlay(const Job& job, DibStream& over, Place place, std::uint32_t opacity, dib::BlendMode mode) {
    widen(job);
    widenQuietly(over, 32);
    const dib::Blender blender(mode);
    if (!blender.ready()) throw Refusal{DIB_ERROR_MEMORY, kNoMemory};
    const dib::Raster under = rowsOf(job.image);
    const dib::Raster source = rowsOf(over);
    const Part part = partInside(under, place, source.width, source.height);
    if (part.isEmpty()) {
        addNote(job.result, DIB_NOTE_WARNING, "overlay: the second picture lies outside the first");
        return report(job, 1, 1);
    }
    const std::size_t count = part.columns();
    const std::size_t bytes = under.bytesPerPixel();
    const auto toLeft = dib::asSize(part.left) * bytes;
    const auto fromLeft = dib::asSize(part.left - place.x) * 4;
    const CoverOpaque coverAtOnce = bytes == 3 ? coverOpaqueBy(mode) : nullptr;
    return forEachRow(job, part.bottom - part.top, [&](int y) {
        unsigned char* row = under.row(part.top + y) + toLeft;
        unsigned char* from = source.row(part.top + y - place.y) + fromLeft;
        if (opacity < 255) dib::runKernel<scaleAlpha>(from, count, opacity);
        if (coverAtOnce != nullptr) return coverAtOnce(from, count, row);
        if (mode == dib::BlendMode::kDissolve) dissolveRow(from, count, dib::dwordOf(y));
        if (mode != dib::BlendMode::kNormal && mode != dib::BlendMode::kDissolve)
            blendRow(blender, from, count, row, bytes);
        coverRow(from, count, row, bytes);
    });
}

}  // namespace operations

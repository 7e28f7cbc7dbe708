#include "operations/pixels/Overlay.h"

#include "dib/Bytes.h"
#include "dib/Depths.h"
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

// The same for a source of 3 bytes a pixel, all of one alpha.
template <dib::BlendMode mode>
DIB_ALWAYS_INLINE void coverEvenly(const unsigned char* __restrict over, std::size_t count,
                                   unsigned char* __restrict row, std::uint32_t alpha) {
    for (std::size_t i = 0; i < 3 * count; ++i)
        row[i] = mixed(blendedBytes<mode>(row[i], over[i]), row[i], alpha);
}
template <dib::BlendMode mode>
DIB_ALWAYS_INLINE void coverWholly(const unsigned char* __restrict over, std::size_t count,
                                   unsigned char* __restrict row) {
    for (std::size_t i = 0; i < 3 * count; ++i) row[i] = dib::byteOf(blendedBytes<mode>(row[i], over[i]));
}

// The same over a backdrop with alpha. Where a is the source's and b the backdrop's, the blended colour
// counts b, and the source's 1 - b. The result has the alpha a + b - ab, and its colour is the mean of both
// weighted with a and b - ab. A pixel is a word, so that loops vectorise. Sums are below 2^24 and quotients
// below 2^8: floats hold enough of their bits that cutting off gives the whole numbers.
template <dib::BlendMode mode>
DIB_ALWAYS_INLINE void coverAlpha(const unsigned char* __restrict over, std::size_t count,
                                  unsigned char* __restrict row) {
    for (std::ptrdiff_t i = 0; i < dib::asOffset(count); ++i) {
        const std::uint32_t source = dib::Depth32::get(over, i);
        const std::uint32_t backdrop = dib::Depth32::get(row, i);
        const std::uint32_t alpha = source >> 24;
        const std::uint32_t backdropAlpha = backdrop >> 24;
        const std::uint32_t ofSource = 255 * alpha;
        const std::uint32_t ofBackdrop = backdropAlpha * (255 - alpha);
        const std::uint32_t both = ofSource + ofBackdrop;
        const std::uint32_t isNothing = both == 0 ? 1 : 0;
        const auto divisor = static_cast<float>(static_cast<int>(both + isNothing));
        // Thrice by name: vectors come before loops are unrolled.
        const auto channel = [=](int shift) {
            const std::uint32_t under = backdrop >> shift & 255;
            const std::uint32_t color = source >> shift & 255;
            const std::uint32_t shown = mixed(blendedBytes<mode>(under, color), color, backdropAlpha);
            const std::uint32_t sum = shown * ofSource + under * ofBackdrop + both / 2;
            const auto mean = static_cast<int>(static_cast<float>(static_cast<int>(sum)) / divisor);
            return static_cast<std::uint32_t>(mean) << shift;
        };
        const std::uint32_t covered =
            channel(0) | channel(8) | channel(16) | std::uint32_t{mixed(255, backdropAlpha, alpha)} << 24;
        // Where nothing is seen `covered` is 0. Masks, as loops with branches do not vectorise.
        dib::Depth32::put(row, i, covered | (backdrop & (0U - isNothing)));
    }
}

DIB_ALWAYS_INLINE void coverGrey(const unsigned char* __restrict over, std::size_t count,
                                 unsigned char* __restrict row) {
    for (std::size_t i = 0; i < count; ++i) row[i] = mixed(over[4 * i], row[i], over[4 * i + 3]);
}

// What blends and covers a row at once.
struct Covering {
    using ByAlpha = void (*)(const unsigned char* over, std::size_t count, unsigned char* row);
    using Evenly = void (*)(const unsigned char* over, std::size_t count, unsigned char* row,
                            std::uint32_t alpha);

    ByAlpha opaque = nullptr;  // 4 bytes a pixel over 3
    ByAlpha alpha = nullptr;   // 4 over 4
    Evenly evenly = nullptr;   // 3 over 3
};

template <dib::BlendMode mode>
constexpr Covering kCoveringBy = {
    [](const unsigned char* over, std::size_t count, unsigned char* row) {
        dib::runKernel<coverOpaque<mode>>(over, count, row);
    },
    [](const unsigned char* over, std::size_t count, unsigned char* row) {
        dib::runKernel<coverAlpha<mode>>(over, count, row);
    },
    [](const unsigned char* over, std::size_t count, unsigned char* row, std::uint32_t alpha) {
        alpha == 255 ? dib::runKernel<coverWholly<mode>>(over, count, row)
                     : dib::runKernel<coverEvenly<mode>>(over, count, row, alpha);
    }};

// Null for modes that are more than a little arithmetic.
const Covering* coveringBy(dib::BlendMode mode) {
    using dib::BlendMode;
    switch (mode) {
        case BlendMode::kNormal: return &kCoveringBy<BlendMode::kNormal>;
        case BlendMode::kDarken: return &kCoveringBy<BlendMode::kDarken>;
        case BlendMode::kLighten: return &kCoveringBy<BlendMode::kLighten>;
        case BlendMode::kMultiply: return &kCoveringBy<BlendMode::kMultiply>;
        case BlendMode::kScreen: return &kCoveringBy<BlendMode::kScreen>;
        case BlendMode::kDifference: return &kCoveringBy<BlendMode::kDifference>;
        case BlendMode::kLinearDodge: return &kCoveringBy<BlendMode::kLinearDodge>;
        default: return nullptr;
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
    constexpr const Covering& kNormal = kCoveringBy<dib::BlendMode::kNormal>;
    switch (bytes) {
        case 1: return dib::runKernel<coverGrey>(over, count, row);
        case 3: return kNormal.opaque(over, count, row);
        default: return kNormal.alpha(over, count, row);
    }
}

bool overlay(const Job& job, DibStream& over, Place place, std::uint32_t opacity, dib::BlendMode mode) {
    widen(job);
    const Covering* const covering = coveringBy(mode);
    const bool isEven =
        covering != nullptr && job.image.Header->biBitCount == 24 && over.Header->biBitCount != 32;
    widenQuietly(over, isEven ? 24 : 32);
    const dib::Blender blender(covering != nullptr ? dib::BlendMode::kNormal : mode);
    if (!blender.ready()) throw Refusal{DIB_ERROR_MEMORY, kNoMemory};
    const dib::Raster source = rowsOf(over);
    const Part part = partInside(rowsOf(job.image), place, source.width, source.height);
    if (part.isEmpty()) {
        addNote(job.result, DIB_NOTE_WARNING, "overlay: the second picture lies outside the first");
        return report(job, 1, 1);
    }
    const OwnRows rows(job.image);
    const std::size_t count = part.columns();
    const std::size_t bytes = rows.raster().bytesPerPixel();
    const auto toLeft = dib::asSize(part.left) * bytes;
    const auto fromLeft = dib::asSize(part.left - place.x) * source.bytesPerPixel();
    return forEachRow(job, rows.raster().height, [&](int y) {
        unsigned char* row = rows.row(y) + toLeft;
        if (y < part.top || y >= part.bottom) return;
        unsigned char* from = source.row(std::ptrdiff_t{y} - place.y) + fromLeft;
        if (isEven) return covering->evenly(from, count, row, opacity);
        if (opacity < 255) dib::runKernel<scaleAlpha>(from, count, opacity);
        if (covering != nullptr) return (bytes == 3 ? covering->opaque : covering->alpha)(from, count, row);
        if (mode == dib::BlendMode::kDissolve) {
            dissolveRow(from, count, dib::dwordOf(y - part.top));
        } else {
            blendRow(blender, from, count, row, bytes);
        }
        coverRow(from, count, row, bytes);
    });
}

}  // namespace operations

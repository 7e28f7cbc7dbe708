// The brightest or darkest pixel of a square neighbourhood.
//
// Both filters rank pixels by a score, brightness itself or its distance below white, and take the first of
// the highest: the topmost row, in it the leftmost column.

#include <DibEffect.h>

#include <algorithm>
#include <cstdint>
#include <new>
#include <optional>

#include "effects/EffectFrame.h"
#include "effects/RankPixels.h"
#include "effects/RankWindow.h"
#include "effects/RollingCopy.h"

namespace {

enum class Extreme { kBrightest, kDarkest };

// The part of a neighbourhood's side that matters on one axis. Further positions only repeat what was visited
// before them, and the first visit decides.
struct Span {
    std::int64_t before;  // positions in front of the pixel
    std::int64_t length;

    Span(int radius, int size, bool wrap) {
        const std::int64_t side = 2 * std::int64_t{radius} + 1;
        before = wrap ? radius % std::max(size, 1) : std::min(radius, size - 1);
        length = wrap ? std::min<std::int64_t>(side, size) : 2 * before + 1;
    }
};

DIB_ALWAYS_INLINE void rankDarkness(std::int32_t* scores, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) scores[i] = dib::kWhiteBrightness - scores[i];
}

DIB_ALWAYS_INLINE bool allAboveZero(const std::int32_t* scores, std::size_t count) {
    std::int32_t lowest = INT32_MAX;
    for (std::size_t i = 0; i < count; ++i) lowest = std::min(lowest, scores[i]);
    return lowest > 0;
}

class ExtremeFilter {
public:
    ExtremeFilter(const DibStream& image, const dib::Raster& raster, Extreme extreme, int radius,
                  unsigned int flags)
        : raster_(raster),
          extreme_(extreme),
          wrapY_((flags & DIB_WRAP_Y) != 0),
          // At 4 bits the two pixels of each byte are read in exchanged places; results have always come out
          // so.
          pixels_(image, raster, {37, 73}, dib::RankPixels::Nibbles::kLowFirst),
          spanX_(radius, raster.width, (flags & DIB_WRAP_X) != 0),
          spanY_(radius, raster.height, wrapY_),
          wrapX_((flags & DIB_WRAP_X) != 0),
          padded_(width() + static_cast<std::size_t>(spanX_.length) - 1),
          scratch_(padded_.width()),
          winners_(width()),
          rows_(width(), static_cast<std::size_t>(std::min<std::int64_t>(spanY_.length, raster.height))),
          carriedAlpha_(~static_cast<std::uint32_t>(radius) & 255U) {
        // Each row is read once, before it is overwritten unless it comes round.
        const auto after = static_cast<int>(spanY_.length - 1 - spanY_.before);
        if (!sourceRows_.prepare(raster, 0, wrapY_ ? after : 0)) throw std::bad_alloc();
    }

    void writeRow(int y) {
        slideTo(y);
        sourceRows_.keepNext();
        rows_.best(winners_);
        if (raster_.bitCount >= 24) replaceLosers();
        pixels_.writeRow(raster_.row(y), winners_.value.data());
    }

private:
    std::size_t width() const { return static_cast<std::size_t>(raster_.width); }

    // Holds the rows of the neighbourhood of row y, in visiting order.
    void slideTo(int y) {
        if (wrapY_) {
            if (y > 0) rows_.pop();
            for (; next_ < y + spanY_.length; ++next_) {
                pushRow(static_cast<int>((next_ - spanY_.before + raster_.height) % raster_.height));
            }
        } else {
            if (y > spanY_.before) rows_.pop();
            for (; next_ <= y + spanY_.before && next_ < raster_.height; ++next_) {
                pushRow(static_cast<int>(next_));
            }
        }
    }

    // The winners along source row y.
    void pushRow(int y) {
        std::uint32_t* values = padded_.value.data() + spanX_.before;
        std::int32_t* scores = padded_.score.data() + spanX_.before;
        pixels_.readRow(sourceRows_.row(y), values, scores);
        scoreRow(values, scores);
        padRow();
        dib::bestAlongRow(padded_, static_cast<std::size_t>(spanX_.length), scratch_, rows_.next());
        rows_.push();
    }

    void scoreRow(const std::uint32_t* values, std::int32_t* scores) {
        if (raster_.bitCount == 1) {
            // Two values whose brightness is equal count as if entry 1 were the brighter one.
            const bool zeroIsBrighter = pixels_.tableBrightness(0) > pixels_.tableBrightness(1);
            for (std::size_t x = 0; x < width(); ++x) scores[x] = (values[x] == 0) == zeroIsBrighter;
        }
        if (extreme_ == Extreme::kBrightest) return;
        dib::runKernel<rankDarkness>(scores, width());
    }

    // Goes on beyond the ends of the row, so that every neighbourhood is a run of spanX_.length candidates.
    void padRow() {
        const std::int64_t size = raster_.width;
        const std::int64_t count = static_cast<std::int64_t>(padded_.width());
        const auto copyCandidate = [&](std::int64_t to, std::int64_t column) {
            const auto from = static_cast<std::size_t>(spanX_.before + column);
            padded_.score[static_cast<std::size_t>(to)] = padded_.score[from];
            padded_.value[static_cast<std::size_t>(to)] = padded_.value[from];
        };
        for (std::int64_t i = 0; i < spanX_.before; ++i)
            copyCandidate(i, wrapX_ ? i - spanX_.before + size : 0);
        for (std::int64_t i = spanX_.before + size; i < count; ++i) {
            copyCandidate(i, wrapX_ ? i - spanX_.before - size : size - 1);
        }
    }

    // A neighbourhood of nothing but black (for the darkest: white) has no winner: its colour stays, and at
    // 32 bits the alpha of the last winner is carried on, in the order of the picture.
    void replaceLosers() {
        if (dib::runKernel<allAboveZero>(static_cast<const std::int32_t*>(winners_.score.data()), width())) {
            carriedAlpha_ = winners_.value[width() - 1] >> 24;
            return;
        }
        const std::uint32_t color = extreme_ == Extreme::kBrightest ? 0 : 0xFFFFFF;
        for (std::size_t x = 0; x < width(); ++x) {
            if (winners_.score[x] > 0) {
                carriedAlpha_ = winners_.value[x] >> 24;
            } else {
                winners_.value[x] = color | (carriedAlpha_ << 24);
            }
        }
    }

    const dib::Raster& raster_;
    Extreme extreme_;
    bool wrapY_;
    dib::RankPixels pixels_;
    Span spanX_;
    Span spanY_;
    bool wrapX_;
    dib::RollingCopy sourceRows_;
    dib::RankRow padded_;
    dib::RankRow scratch_;
    dib::RankRow winners_;
    dib::BestOfRows rows_;
    std::int64_t next_ = 0;  // rows handed to rows_ so far
    std::uint32_t carriedAlpha_;
};

bool filterExtreme(const dib::Progress& progress, DibStream* image, Extreme extreme, int radius,
                   unsigned int flags) {
    if (image == nullptr || radius < 0) return false;
    if (radius == 0) return true;
    dib::Raster raster;
    if (!dib::admitImage(image, raster) || !dib::isDepth(raster.bitCount)) return false;
    if (!raster.hasPixels()) return dib::forEachRow(progress, raster.height, [](int) {});
    std::optional<ExtremeFilter> filter;
    try {
        filter.emplace(*image, raster, extreme, radius, flags);
    } catch (const std::bad_alloc&) {
        return false;
    }
    return dib::forEachRow(progress, raster.height, [&](int y) { filter->writeRow(y); });
}

}  // namespace

bool DibEffectBrightMax(DibProgressCallback callback, void* user, DibStream* image, int radius,
                        unsigned int flags) {
    return filterExtreme({callback, user}, image, Extreme::kBrightest, radius, flags);
}

bool DibEffectBrightMin(DibProgressCallback callback, void* user, DibStream* image, int radius,
                        unsigned int flags) {
    return filterExtreme({callback, user}, image, Extreme::kDarkest, radius, flags);
}

bool DibEffectBrightMax(DibProgressCallback callback, void* user, DibStream* image, DEBrightInfo* info) {
    return DibEffectBrightMax(callback, user, image, info->radius, info->flags);
}

bool DibEffectBrightMin(DibProgressCallback callback, void* user, DibStream* image, DEBrightInfo* info) {
    return DibEffectBrightMin(callback, user, image, info->radius, info->flags);
}

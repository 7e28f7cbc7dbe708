// The brightest or darkest pixel of a square.
//
// Both filters rank pixels by a score, brightness itself or its distance below white, and take the first
// visited of the highest. Indices that are in the order of their brightness are ranked as they are.

#include <optional>

#include "dib/ColorTable.h"
#include "dib/Kernels.h"
#include "dib/Numbers.h"
#include "effects/EffectFrame.h"
#include "effects/RollingCopy.h"
#include "effects/rank/BrightnessReader.h"
#include "effects/rank/SlidingMaximum.h"

namespace {

enum class Extreme { kBrightest, kDarkest };

// The positions of a window that can decide: of several that read the same pixel only the first counts.
struct DecidingPositions {
    dib::EdgeAxis axis;
    int before = 0;           // positions ahead of the pixel
    std::int64_t length = 0;  // all positions

    DecidingPositions() = default;
    explicit DecidingPositions(const dib::EdgeWindow& window)
        : axis(window.axis()),
          before(window.reach()),
          length(axis.wrap ? window.count(0) : 2 * std::int64_t{before} + 1) {}

    std::int64_t after() const { return length - 1 - before; }
    // The range around v, without positions that merely repeat a clamped edge.
    std::int64_t begin(int v) const { return axis.wrap ? v - before : std::max(v - before, 0); }
    std::int64_t end(int v) const {
        return axis.wrap ? v - before + length : std::min<std::int64_t>(v + after() + 1, axis.size);
    }
};

DIB_ALWAYS_INLINE void scoreDarkness(std::int32_t* scores, std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count; ++i) scores[i] = dib::kWhiteBrightness - scores[i];
}

DIB_ALWAYS_INLINE bool allAboveZero(const std::int32_t* scores, std::ptrdiff_t count) {
    std::int32_t lowest = INT32_MAX;
    for (std::ptrdiff_t i = 0; i < count; ++i) lowest = std::min(lowest, scores[i]);
    return lowest > 0;
}

DIB_ALWAYS_INLINE void copyFlipped(const std::uint8_t* __restrict from, std::uint8_t* __restrict to,
                                   std::ptrdiff_t count, std::uint8_t flip) {
    for (std::ptrdiff_t i = 0; i < count; ++i) to[i] = from[i] ^ flip;
}

// Pixels by brightness, whatever their depth.
class ByBrightness {
public:
    using Row = dib::Candidates;

    ByBrightness(const DibStream& image, const dib::Raster& raster, Extreme extreme, int radius)
        : extreme_(extreme),
          width_(raster.width),
          bitCount_(raster.bitCount),
          carriedAlpha_(~static_cast<std::uint32_t>(radius) & 255U),
          // At 4 bits the two pixels of each byte are read swapped; callers rely on the results.
          reader_(image, raster, {37, 73}, dib::BrightnessReader::Nibbles::kLowFirst) {}

    void read(const unsigned char* from, Row row) const {
        reader_.readRow(from, row.value, row.score);
        if (bitCount_ == 1) {
            // Index 1 counts as the brighter one of two equally bright entries.
            const bool zeroIsBrighter = reader_.tableBrightness(0) > reader_.tableBrightness(1);
            for (std::ptrdiff_t x = 0; x < width_; ++x) row.score[x] = (row.value[x] == 0) == zeroIsBrighter;
        }
        if (extreme_ == Extreme::kDarkest) dib::runKernel<scoreDarkness>(row.score, width_);
    }

    static void pad(const dib::EdgeAxis& axis, Row row, std::ptrdiff_t before, std::ptrdiff_t after) {
        axis.pad(row.score, before, after);
        axis.pad(row.value, before, after);
    }

    void write(Row winners, unsigned char* out) {
        if (bitCount_ >= 24) replaceLosers(winners);
        reader_.writeRow(out, winners.value);
    }

private:
    // An all-black square (for the darkest pixel: all-white) has no winner: its colour stays, and at 32 bits
    // the alpha of the last winner is carried on, row by row from the left.
    void replaceLosers(Row winners) {
        if (dib::runKernel<allAboveZero>(winners.score, width_)) {
            carriedAlpha_ = winners.value[width_ - 1] >> 24;
            return;
        }
        const std::uint32_t color = extreme_ == Extreme::kBrightest ? 0 : 0xFFFFFF;
        for (std::ptrdiff_t x = 0; x < width_; ++x) {
            if (winners.score[x] > 0) {
                carriedAlpha_ = winners.value[x] >> 24;
            } else {
                winners.value[x] = color | (carriedAlpha_ << 24);
            }
        }
    }

    Extreme extreme_;
    std::ptrdiff_t width_;
    int bitCount_;
    std::uint32_t carriedAlpha_;
    dib::BrightnessReader reader_;
};

// Indices of 8 bits whose colours rise in brightness: a higher index is a brighter pixel. For the darkest
// one all bits are turned over.
class ByIndex {
public:
    using Row = dib::ByteCandidates;

    ByIndex(const DibStream&, const dib::Raster& raster, Extreme extreme, int)
        : width_(raster.width), flip_(extreme == Extreme::kDarkest ? 255 : 0) {}

    void read(const unsigned char* from, Row row) const {
        dib::runKernel<copyFlipped>(from, row.byte, width_, flip_);
    }
    static void pad(const dib::EdgeAxis& axis, Row row, std::ptrdiff_t before, std::ptrdiff_t after) {
        axis.pad(row.byte, before, after);
    }
    void write(Row winners, unsigned char* out) const {
        const std::uint8_t* const bytes = winners.byte;
        dib::runKernel<copyFlipped>(bytes, out, width_, flip_);
    }

private:
    std::ptrdiff_t width_;
    std::uint8_t flip_;
};

bool risesInBrightness(const DibStream& image) {
    const auto table = dib::readColorTable(*image.Header);
    std::int32_t last = -1;
    for (const DibBGRA& color : table) {
        const std::int32_t brightness = 37 * color.blue + 146 * color.green + 73 * color.red;
        if (brightness <= last) return false;
        last = brightness;
    }
    return true;
}

template <class Ranking>
class ExtremeFilter {
public:
    ExtremeFilter(const DibStream* image, Extreme extreme, int radius, unsigned int flags)
        : image_(image), extreme_(extreme), radius_(radius), flags_(flags) {}

    bool prepare(const dib::Raster& raster) {
        width_ = raster.width;
        if (width_ == 0) return true;
        ranking_.emplace(*image_, raster, extreme_, radius_);
        across_ = DecidingPositions(dib::EdgeWindow(dib::axisX(raster, flags_), radius_));
        down_ = DecidingPositions(dib::EdgeWindow(dib::axisY(raster, flags_), radius_));
        begin_ = end_ = down_.begin(0);
        const std::int64_t paddedWidth = width_ + across_.length - 1;
        if (!padded_.allocate(2, paddedWidth)) return false;
        paddedWidth_ = dib::asOffset(paddedWidth);
        // Every row is read once, before it is overwritten, except for the first ones if y wraps.
        return rows_.prepare(raster, 0, down_.axis.wrap ? dib::asInt(down_.after()) : 0) &&
               winners_.allocate(1, width_) &&
               maximum_.prepare(width_, dib::asInt(std::min<std::int64_t>(down_.length, raster.height)));
    }

    template <class Depth>
    void row(unsigned char* out, int y) {
        if (width_ == 0) return;
        slideTo(y);
        rows_.keepNext();
        const Row winners = winners_.row(0);
        maximum_.maximum(winners);
        ranking_->write(winners, out);
    }

private:
    using Row = typename Ranking::Row;

    // Holds the rows of the window around row y, in visiting order.
    void slideTo(int y) {
        for (; begin_ < down_.begin(y); ++begin_) maximum_.pop();
        for (; end_ < down_.end(y); ++end_) pushRow(down_.axis.at(end_));
    }

    // The winners along source row y.
    void pushRow(int y) {
        const Row padded = padded_.row(0);
        const Row row = padded.from(across_.before);
        ranking_->read(rows_.row(y), row);
        const std::ptrdiff_t length = paddedWidth_ - width_ + 1;
        Ranking::pad(across_.axis, row, across_.before, length - 1 - across_.before);
        dib::maximumAlongRow(padded, paddedWidth_, length, padded_.row(1), maximum_.next());
        maximum_.push();
    }

    const DibStream* image_;
    Extreme extreme_;
    int radius_;
    unsigned int flags_;
    std::ptrdiff_t width_ = 0;
    std::ptrdiff_t paddedWidth_ = 0;
    std::optional<Ranking> ranking_;
    DecidingPositions across_;
    DecidingPositions down_;
    std::int64_t begin_ = 0;  // rows held by maximum_, as positions
    std::int64_t end_ = 0;
    dib::RollingCopy rows_;
    typename Row::Memory padded_;  // a row with its edges, and as much memory again
    typename Row::Memory winners_;
    dib::SlidingMaximum<Row> maximum_;
};

bool filterExtreme(const dib::Progress& progress, DibStream* image, Extreme extreme, int radius,
                   unsigned int flags) {
    if (image == nullptr || radius < 0) return false;
    if (radius == 0) return true;
    dib::Raster raster;
    if (dib::admitImage<dib::Depth8>(image, raster) && risesInBrightness(*image))
        return dib::filterInPlace<dib::Depth8>(progress, image,
                                               ExtremeFilter<ByIndex>(image, extreme, radius, flags));
    return dib::filterInPlace<dib::Depth1, dib::Depth4, dib::Depth8, dib::Depth16, dib::Depth24,
                              dib::Depth32>(progress, image,
                                            ExtremeFilter<ByBrightness>(image, extreme, radius, flags));
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

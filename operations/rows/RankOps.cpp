#include <DibEffect.h>

#include <algorithm>
#include <cstring>
#include <span>
#include <utility>

#include "dib/ColorTable.h"
#include "dib/Depths.h"
#include "dib/Kernels.h"
#include "operations/Call.h"
#include "operations/pixels/Pixels.h"

namespace operations {

namespace {

constexpr const char* kArea = "Rank filters";

constexpr DibParameter radius(double largest) {
    return integer("radius", "half the side of the square looked at", {0, largest}, {}, "px");
}

constexpr Parameters kExtreme({radius(kAnyInteger.max), wrap(), classic()});
// A step cannot stop before the first tile of squares is ranked: 0.2 s at this radius.
constexpr Parameters kMedian({radius(500), wrap(), classic()});

using Rank = Effect<int, unsigned int>;

// Each takes pixels as they are, so indices stay.
constexpr Treatment picks(Run run, bool (*isApart)(const Arguments&, const DibStream&), Run apart) {
    return {.classicDepths = kAllDepths,
            .alpha = Alpha::kKept,
            .palette = run,
            .isApart = isApart,
            .apart = apart};
}

// The highest bit of a pixel stays.
DIB_ALWAYS_INLINE void exchangeFields(unsigned char* row, std::ptrdiff_t count) {
    for (std::ptrdiff_t x = 0; x < count; ++x) {
        const std::uint32_t word = dib::Depth16::get(row, x);
        dib::Depth16::put(row, x, (word & 0x83E0U) | (word & 31U) << 10 | (word >> 10 & 31U));
    }
}

// Blue and red of a palette or of 16 bits, exchanged while this lives: some classic functions give each the
// other's weight.
class BlueAndRedExchanged {
public:
    explicit BlueAndRedExchanged(DibStream& image) : image_(image) { exchange(); }
    ~BlueAndRedExchanged() { exchange(); }
    BlueAndRedExchanged(const BlueAndRedExchanged&) = delete;
    BlueAndRedExchanged& operator=(const BlueAndRedExchanged&) = delete;

private:
    void exchange() {
        BITMAPINFOHEADER& header = *image_.Header;
        for (DibBGRA& entry : std::span(dib::colorTable(&header), dib::usableEntries(header)))
            std::swap(entry.blue, entry.red);
        dib::Raster rows;
        if (header.biBitCount != 16 || !dib::viewRows(image_, rows)) return;
        for (int y = 0; y < rows.height; ++y)
            dib::runKernel<exchangeFields>(rows.row(y), std::ptrdiff_t{rows.width});
    }

    DibStream& image_;
};

bool runExchanged(const Job& job) {
    const BlueAndRedExchanged whileItRuns(job.image);
    return job.arguments.operation().run(job);
}

// The classic extremes read the two pixels of a byte exchanged, so they get a byte for each.
bool runOnBytes(const Job& job) {
    const dib::Raster from = rowsOf(job.image);
    DibStream bytes;
    createImage(bytes, from.width, job.image.Header->biHeight, 8);
    std::copy_n(dib::readColorTable(*job.image.Header).begin(), 16, dib::colorTable(bytes.Header));
    const dib::Raster wide = rowsOf(bytes);
    for (int y = 0; y < wide.height; ++y) {
        for (int x = 0; x < wide.width; ++x) wide.row(y)[x] = dib::byteOf(dib::Depth4::get(from.row(y), x));
    }
    const Job onBytes = {bytes, job.arguments, job.options, job.result, job.callback, job.user};
    if (!job.arguments.operation().run(onBytes)) return false;
    const dib::Raster found = rowsOf(bytes);
    const OwnRows rows(job.image);
    for (int y = 0; y < wide.height; ++y) {
        unsigned char* const row = rows.row(y);
        std::memset(row, 0, rows.raster().rowBytes);
        for (int x = 0; x < wide.width; ++x) dib::Depth4::put(row, x, found.row(y)[x]);
    }
    return true;
}

constexpr Run kExchanged = runExchanged;

bool isExtremeApart(const Arguments&, const DibStream& image) {
    return image.Header->biBitCount == 4 || image.Header->biBitCount == 16;
}

bool runExtremeApart(const Job& job) {
    return job.image.Header->biBitCount == 4 ? runOnBytes(job) : kExchanged(job);
}

constexpr Treatment picksExtreme(Run run) { return picks(run, isExtremeApart, replacing(runExtremeApart)); }

// At 1 bit the median is a vote, which no weight changes.
bool isMedianApart(const Arguments&, const DibStream& image) {
    const int bitCount = image.Header->biBitCount;
    return bitCount == 16 || (bitCount > 1 && bitCount <= 8 && !isGrey(image));
}

constexpr Run kMedianRun = replacing(Rank::run<DibEffectBrightMiddle>);

constexpr Operation kOperations[] = {
    {{"max",
      kArea,
      "Takes the brightest pixel around each pixel. Transparent pixels count like others.",
      "max:2",
      {"max:1", "max:3", "max:8,wrap=xy"},
      kExtreme,
      kAllDepths},
     "DibEffectBrightMax(nullptr, nullptr, &image, {radius}, {wrap})",
     Rank::run<DibEffectBrightMax>,
     nullptr,
     picksExtreme(Rank::run<DibEffectBrightMax>)},
    {{"min",
      kArea,
      "Takes the darkest pixel around each pixel. Transparent pixels count like others.",
      "min:2",
      {"min:1", "min:3", "min:8,wrap=xy"},
      kExtreme,
      kAllDepths},
     "DibEffectBrightMin(nullptr, nullptr, &image, {radius}, {wrap})",
     Rank::run<DibEffectBrightMin>,
     nullptr,
     picksExtreme(Rank::run<DibEffectBrightMin>)},
    {{"median",
      kArea,
      "Takes the pixel one darker than the middle around each pixel, which removes specks. Transparent "
      "pixels count like others.",
      "median:1",
      {"median:1", "median:4", "median:10,wrap=xy"},
      kMedian,
      kAllDepths},
     "DibEffectBrightMiddle(nullptr, nullptr, &image, {radius}, {wrap})",
     kMedianRun,
     nullptr,
     picks(kMedianRun, isMedianApart, kExchanged)},
};

}  // namespace

Area rankOps() { return kOperations; }

}  // namespace operations

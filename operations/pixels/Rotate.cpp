#include "operations/pixels/Rotate.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numbers>
#include <vector>

#include "dib/Kernels.h"
#include "dib/MoveBlocks.h"
#include "effects/WarpFrame.h"
#include "effects/weighted/AlphaPlane.h"
#include "operations/pixels/Multiplied.h"
#include "operations/pixels/Pixels.h"

namespace operations {

namespace {

// Pixels of the fill on each side of the picture: the sampler mixes two of them.
constexpr int kMargin = 2;

// The quarters of a turn, 0 to 3; nothing for other angles. Angles are floats.
std::optional<int> quartersOf(double angle) {
    const double quarters = angle / (std::numbers::pi / 2);
    if (std::fabs(quarters - std::round(quarters)) > 1e-6) return std::nullopt;
    return static_cast<int>(std::round(quarters - 4 * std::floor(std::round(quarters) / 4)));
}

// The sine and cosine of an angle, whole numbers at quarters.
struct Direction {
    double sine;
    double cosine;
};
Direction directionOf(double angle) {
    constexpr Direction kQuarters[] = {{0, 1}, {1, 0}, {0, -1}, {-1, 0}};
    if (const auto quarters = quartersOf(angle)) return kQuarters[*quarters];
    return {std::sin(angle), std::cos(angle)};
}

PixelSize grownSize(const PixelSize& size, const Direction& turn) {
    const double sine = std::fabs(turn.sine);
    const double cosine = std::fabs(turn.cosine);
    // A thousandth of a pixel needs no column.
    const auto side = [](double exact) { return static_cast<int>(std::ceil(exact - 0.001)); };
    return {side(size.width * cosine + size.height * sine), side(size.width * sine + size.height * cosine)};
}

// The picture with a margin of the fill.
void addMargin(const DibStream& image, const DibBGRA& fill, DibStream& padded) {
    createLike(image, width(image) + 2 * kMargin, height(image) + 2 * kMargin, padded);
    const dib::Raster from = rowsOf(image);
    const dib::Raster to = rowsOf(padded);
    const std::size_t bytes = to.bytesPerPixel();
    std::vector<unsigned char> blank(bytes * to.columns());
    const unsigned char channels[] = {fill.blue, fill.green, fill.red, fill.alpha};
    for (std::size_t i = 0; i < blank.size(); ++i) blank[i] = channels[i % bytes];
    for (int y = 0; y < to.height; ++y) {
        std::memcpy(to.row(y), blank.data(), blank.size());
        const int fromY = y - kMargin;
        if (fromY < 0 || fromY >= from.height) continue;
        std::memcpy(to.row(y) + kMargin * bytes, from.row(fromY), bytes * from.columns());
    }
}

// Where the first pixel of a row lies in the picture with its margin, and the step to the next one.
struct Line {
    double x;
    double y;
    double stepX;
    double stepY;
    double endX;  // in the margin on the right
    double endY;
};

DIB_ALWAYS_INLINE double within(double position, double end) {
    const double low = position < 0.5 ? 0.5 : position;
    return low > end ? end : low;
}

DIB_ALWAYS_INLINE void placeLine(const Line& line, const dib::WarpRow& row) {
    for (int x = 0; x < row.width; ++x) {
        row.sourceX[x] = static_cast<float>(within(line.x + x * line.stepX, line.endX));
        row.sourceY[x] = static_cast<float>(within(line.y + x * line.stepY, line.endY));
    }
}

// Samples the picture with its margin for every pixel of the result.
bool sampleTurned(const Job& job, const DibStream& padded, const Direction& turn, const dib::Raster& to) {
    const dib::SampleSource source(padded);
    std::vector<float> positions(2 * to.columns());
    const dib::WarpRow row = {to.width, to.height, 0, positions.data(), positions.data() + to.width};
    const double middleX = (source.width - 1) / 2.0;
    const double middleY = (source.height - 1) / 2.0;
    const double left = -(to.width - 1) / 2.0;
    return forEachRow(job, to.height, [&](int y) {
        const double down = y - (to.height - 1) / 2.0;
        const Line line = {turn.cosine * left - turn.sine * down + middleX,
                           turn.sine * left + turn.cosine * down + middleY,
                           turn.cosine,
                           turn.sine,
                           source.width - 1.5,
                           source.height - 1.5};
        dib::runKernel<placeLine>(line, row);
        source.bitCount == 24 ? dib::sampleRow<dib::Depth24>(source, 0, row, to.row(y))
                              : dib::sampleRow<dib::Depth32>(source, 0, row, to.row(y));
    });
}

// Turns a picture of 24 or 32 bits.
bool turnColors(const Job& job, const Direction& turn, bool grows, const DibBGRA& fill) {
    if (fill.alpha != 255 && job.image.Header->biBitCount != 32) widenQuietly(job.image, 32);
    const PixelSize before = {width(job.image), height(job.image)};
    const PixelSize after = grows ? grownSize(before, turn) : before;
    const std::optional<std::uint8_t> alpha = dib::commonAlpha(job.image);
    const bool isWeighted = job.image.Header->biBitCount == 32 && alpha != fill.alpha;
    DibStream padded;
    addMargin(job.image, fill, padded);
    if (isWeighted) multiplyByAlpha(padded);
    DibStream result;
    createLike(job.image, after.width, after.height, result);
    if (!sampleTurned(job, padded, turn, rowsOf(result))) return false;
    if (isWeighted) divideByAlpha(result);
    dib::moveBlocks(result, job.image);
    return true;
}

}  // namespace

bool turnBy(const Job& job, const dib::Turn& turn) {
    DibStream turned;
    const int sign = job.image.Header->biHeight < 0 ? -1 : 1;
    if (!dib::turnInto(job.image, turn, sign, turned, job.callback, job.user)) return false;
    dib::moveBlocks(turned, job.image);
    job.result.exchangesAxes ^= turn.isExchanged;
    return true;
}

bool rotate(const Job& job, const Rotation& rotation) {
    const std::optional<int> quarters = quartersOf(rotation.angle);
    if (rotation.grows && quarters) {
        // Places in dib::kTurns.
        constexpr std::size_t kQuarters[] = {0, 7, 2, 5};
        return *quarters == 0 || turnBy(job, dib::kTurns[kQuarters[*quarters]]);
    }
    const bool hasAlpha = job.image.Header->biBitCount == 32;
    const DibBGRA fill = rotation.fill.value_or(
        hasAlpha ? DibBGRA{} : DibBGRA{.blue = 255, .green = 255, .red = 255, .alpha = 255});
    const bool staysGrey = isGrey(fill) && fill.alpha == 255;
    const Treatment treatment = {
        .classicDepths = kAllDepths, .depths = depths({24, 32}), .addsColors = !staysGrey};
    return runWidened(job, treatment, [&](const Job& each) {
        return turnColors(each, directionOf(rotation.angle), rotation.grows, fill);
    });
}

}  // namespace operations

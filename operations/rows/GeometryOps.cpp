#include <cmath>
#include <optional>

#include "effects/weighted/AlphaPlane.h"
#include "geometry/Resize.h"
#include "operations/Call.h"
#include "operations/Descriptions.h"
#include "operations/pixels/Fill.h"
#include "operations/pixels/Pixels.h"
#include "operations/pixels/Resample.h"

namespace operations {

namespace {

constexpr const char* kArea = "Size, place and tone";

enum Filters : std::uint32_t { kAuto = 16, kBicubic, kNearest, kLanczos };

constexpr Choices kFilters({
    {"auto", kAuto, "area along sides that shrink, bicubic along those that grow",
     "DibStream::DIB_RESIZE_BILINEAR"},
    {"area", DibStream::DIB_RESIZE_INTEGRAL, "mean of the pixels that a pixel covers",
     "DibStream::DIB_RESIZE_INTEGRAL"},
    {"bilinear", DibStream::DIB_RESIZE_BILINEAR, "mixes neighbours", "DibStream::DIB_RESIZE_BILINEAR"},
    {"bicubic", kBicubic, "mixes neighbours and their neighbours, which keeps edges sharp"},
    {"lanczos", kLanczos, "mixes three pixels on each side, which is sharper still and may ring"},
    {"nearest", kNearest, "takes pixels as they are; palettes stay"},
});
constexpr DibParameter kFilter = choice("filter", "how pixels are made", kFilters, "auto");

constexpr Parameters kResize({size("size", "the new size; 200x and x200 keep the shape"), kFilter,
                              classic()});
constexpr DibParameter kEnlarge = toggle("enlarge", "also enlarges smaller pictures");
constexpr Parameters kFit({size("size", "the largest size"), kFilter, kEnlarge});
constexpr Parameters kCover({size("size", "the size that is covered"), kFilter});

bool takesNearest(const Arguments& arguments, const DibStream&) {
    return arguments.word("filter") == kNearest;
}

std::string checkResize(const Arguments& arguments) {
    const std::uint32_t filter = arguments.word("filter");
    const bool isNew = filter == kBicubic || filter == kLanczos || filter == kNearest;
    return arguments.isOn("classic") && isNew ? "filter: there is no classic function of it" : "";
}

bool runClassicResize(const Job& job) {
    const PixelSize wanted = job.arguments.size("size", job.image);
    const bool isArea = job.arguments.word("filter") == DibStream::DIB_RESIZE_INTEGRAL;
    // The library would leave an indexed picture empty.
    const int bitCount = job.image.Header->biBitCount;
    if (isArea && bitCount < 24) {
        throw Refusal{DIB_ERROR_MISMATCH,
                      "filter: area is for 24 and 32 bits, not for " + bitsText(bitCount)};
    }
    return dib::resize(job.image, wanted.width, wanted.height,
                       isArea ? DibStream::DIB_RESIZE_INTEGRAL : DibStream::DIB_RESIZE_BILINEAR,
                       {job.callback, job.user});
}

Filter filterAlong(std::uint32_t filter, int before, int after) {
    switch (filter) {
        case kAuto: return after <= before ? Filter::kArea : Filter::kBicubic;
        case DibStream::DIB_RESIZE_INTEGRAL: return Filter::kArea;
        case DibStream::DIB_RESIZE_BILINEAR: return Filter::kBilinear;
        case kLanczos: return Filter::kLanczos;
        default: return Filter::kBicubic;
    }
}

// Where all pixels have the same alpha, means of areas are those of the classic function.
bool resizeTo(const Job& job, const PixelSize& wanted) {
    DibStream& image = job.image;
    const std::uint32_t filter = job.arguments.word("filter");
    // Before memory is taken for the weights.
    const std::int64_t pixels = std::int64_t{wanted.width} * wanted.height;
    if (pixels > INT32_MAX) throw Refusal{DIB_ERROR_MEMORY, kNoMemory};
    if (filter == kNearest) return resampleNearest(job, wanted.width, wanted.height);
    const Filter across = filterAlong(filter, width(image), wanted.width);
    const Filter down = filterAlong(filter, height(image), wanted.height);
    const std::optional<std::uint8_t> alpha = dib::commonAlpha(image);
    const bool isOpaque = image.Header->biBitCount == 24 || alpha;
    const bool isArea = across == Filter::kArea && down == Filter::kArea;
    const bool isBilinear = across == Filter::kBilinear && down == Filter::kBilinear;
    if (isOpaque && (isArea || isBilinear)) {
        const auto method = isArea ? DibStream::DIB_RESIZE_INTEGRAL : DibStream::DIB_RESIZE_BILINEAR;
        if (!dib::resize(image, wanted.width, wanted.height, method, {job.callback, job.user})) return false;
        if (alpha) dib::fillAlpha(image, *alpha);
        return true;
    }
    return resample(job, resizeTaps(across, width(image), wanted.width),
                    resizeTaps(down, height(image), wanted.height));
}

bool hasSize(const DibStream& image, const PixelSize& size) {
    return width(image) == size.width && height(image) == size.height;
}

bool runResize(const Job& job) {
    const PixelSize wanted = job.arguments.size("size", job.image);
    return hasSize(job.image, wanted) || resizeTo(job, wanted);
}

constexpr Treatment kResizes = {.classicDepths = kAllDepths,
                                .depths = depths({24, 32}),
                                .right = replacing(runResize),
                                .isApart = takesNearest,
                                .apart = replacing(runResize)};

int scaled(int side, double factor) {
    const double pixels = std::round(side * factor);
    if (pixels > kAnyInteger.max) throw Refusal{DIB_ERROR_MEMORY, kNoMemory};
    return std::max(1, static_cast<int>(pixels));
}

// The size of a picture that touches the sides of another size: all of it inside, or all of that covered.
PixelSize touching(const Job& job, bool isInside) {
    const PixelSize frame = job.arguments.size("size", job.image);
    const double across = static_cast<double>(frame.width) / width(job.image);
    const double down = static_cast<double>(frame.height) / height(job.image);
    const double factor = isInside ? std::min(across, down) : std::max(across, down);
    return {scaled(width(job.image), factor), scaled(height(job.image), factor)};
}

// Resizes a picture whose palette is widened where the filter mixes colours.
bool resizeWidened(const Job& job, Run::Function run) {
    if (takesNearest(job.arguments, job.image)) return run(job);
    return runWidened(job, kResizes, run);
}

bool runFit(const Job& job) {
    const PixelSize wanted = touching(job, true);
    const bool grows = wanted.width > width(job.image) || wanted.height > height(job.image);
    if (hasSize(job.image, wanted) || (grows && !job.arguments.isOn("enlarge"))) return true;
    return resizeWidened(job, [](const Job& each) { return resizeTo(each, touching(each, true)); });
}

bool runFill(const Job& job) {
    const PixelSize frame = job.arguments.size("size", job.image);
    const PixelSize wanted = touching(job, false);
    const bool isSized = hasSize(job.image, wanted) || resizeWidened(job, [](const Job& each) {
                             return resizeTo(each, touching(each, false));
                         });
    if (!isSized || hasSize(job.image, frame)) return isSized;
    return job.image.ClipCut((wanted.width - frame.width) / 2, (wanted.height - frame.height) / 2,
                             frame.width, frame.height);
}

// Each pixel counts two by two, from a first one on.
Taps halfTaps(int sourceCount, int first) {
    Taps taps;
    taps.width = 2;
    for (int i = 0; i < sourceCount / 2; ++i) taps.first.push_back(first + 2 * i);
    taps.weights.assign(2 * taps.first.size(), 0.5F);
    return taps;
}

// Of odd sides the last column and the row that is stored last are left out, as by the classic function.
bool runWeightedHalf(const Job& job) {
    const int firstRow = job.image.Header->biHeight > 0 ? height(job.image) % 2 : 0;
    return resample(job, halfTaps(width(job.image), 0), halfTaps(height(job.image), firstRow));
}

bool isThin(const Arguments&, const DibStream& image) { return width(image) == 1 || height(image) == 1; }

bool runClassicHalf(const Job& job) {
    if (isThin(job.arguments, job.image))
        throw Refusal{DIB_ERROR_MISMATCH, "the classic function cannot halve a side of 1 pixel"};
    return job.image.ResizeHalf();
}

bool runThinHalf(const Job& job);

constexpr Treatment kHalves = {.classicDepths = depths({24, 32}),
                               .alpha = Alpha::kWeights,
                               .weighted = replacing(runWeightedHalf),
                               .isApart = isThin,
                               .apart = replacing(runThinHalf)};

// A side of 1 stays: its pixels are halved as two that are alike.
bool runThinHalf(const Job& job) {
    return resampleNearest(job, std::max(2, width(job.image)), std::max(2, height(job.image))) &&
           runWidened(job, kHalves, runOnColors);
}

constexpr Parameters kCanvas(
    {size("size", "the new size"),
     fill("fill", "what the new pixels hold; none: black, and transparent at 32 bits", "none"), classic()});

constexpr DibBGRA kBlack = {0, 0, 0, 255};

// The colour of new pixels. Without a fill the classic function takes 0, which is black but in palettes.
std::optional<DibBGRA> canvasColor(const Arguments& arguments, const DibStream& image) {
    const bool isNone = arguments.text("fill") == "none";
    return isNone && image.Header->biBitCount <= 8 ? kBlack : arguments.colorIfAny("fill");
}

// The classic function looks for the nearest entry of a palette, and leaves alpha out of 24 bits.
bool needsFill(const Arguments& arguments, const DibStream& image) {
    const std::optional<DibBGRA> color = canvasColor(arguments, image);
    const int bitCount = image.Header->biBitCount;
    return color && (bitCount <= 8 || (bitCount < 32 && color->alpha != 255));
}

bool runCanvas(const Job& job) {
    const PixelSize wanted = job.arguments.size("size", job.image);
    const bool grows = wanted.width > width(job.image) || wanted.height > height(job.image);
    // A picture that only shrinks has no new pixels.
    const std::uint32_t fill = grows ? paletteFill(job, *canvasColor(job.arguments, job.image)) : 0;
    const std::uint32_t entries = job.image.Header->biClrUsed;
    if (!job.image.ChangeSize(wanted.width, wanted.height, fill)) return false;
    // The new header announces a full table.
    if (job.image.Header->biBitCount <= 8) job.image.Header->biClrUsed = entries;
    return true;
}

constexpr Run kChangeSize = replacing(Method<int, int, unsigned int>::run<&DibStream::ChangeSize>);

constexpr Parameters kCrop({integer("x", "first column of the rectangle", {0, kAnyInteger.max}, {}, "px"),
                            integer("y", "first row of the rectangle, counted from the top",
                                    {0, kAnyInteger.max}, {}, "px"),
                            size("size", "size of the rectangle, which must lie inside the picture")});

bool runCrop(const Job& job) {
    const PixelSize wanted = job.arguments.size("size", job.image);
    const int x = job.arguments.integer("x");
    const int y = job.arguments.integer("y");
    const auto text = [](int width, int height) {
        return std::to_string(width) + "x" + std::to_string(height);
    };
    if (wanted.width > width(job.image) - x || wanted.height > height(job.image) - y) {
        throw Refusal{DIB_ERROR_MISMATCH, "size: the rectangle of " + text(wanted.width, wanted.height) +
                                              " pixels at " + std::to_string(x) + "," + std::to_string(y) +
                                              " passes the edge of the picture of " +
                                              text(width(job.image), height(job.image))};
    }
    return job.image.ClipCut(x, y, wanted.width, wanted.height);
}

constexpr Parameters kScroll({integer("dx", "to the right", kAnyInteger, {}, "px"),
                              integer("dy", "down", kAnyInteger, {}, "px")});

bool runFlipStorage(const Job& job) { return job.image.UpDown(job.image.Header->biHeight > 0); }

constexpr Parameters kBrighten({number("factor", "below 1 darkens, above 1 lightens", {0, kAnyNumber.max}),
                                classic()});

constexpr Operation kOperations[] = {
    {{"resize",
      kArea,
      "Scales the picture.",
      "resize:50%,filter=bilinear",
      {"resize:50%", "resize:150%x60%", "resize:40x,filter=nearest"},
      kResize,
      kAllDepths},
     "image.Resize({size:width}, {size:height}, {filter})",
     replacing(runClassicResize),
     checkResize,
     kResizes},
    {{"fit",
      kArea,
      "Shrinks the picture until it lies inside a size; its shape stays.",
      "fit:200x200",
      {"fit:200x200", "fit:50%,filter=bicubic", "canvas:20% fit:320x320,enlarge"},
      kFit,
      kAllDepths},
     "",
     replacing(runFit)},
    {{"fill",
      kArea,
      "Scales the picture until it covers a size, and cuts off what is too much on both sides.",
      "fill:200x200",
      {"fill:200x200", "fill:100%x40%,filter=bilinear", "fill:64x64,filter=nearest"},
      kCover,
      kAllDepths},
     "",
     replacing(runFill)},
    {{"half",
      kArea,
      "Halves the picture exactly, each pixel the mean of four; a side of 1 stays.",
      "half",
      {"half", "half half", "half half half"},
      kOnlyClassic,
      kAllDepths},
     "image.ResizeHalf()",
     replacing(runClassicHalf),
     nullptr,
     kHalves},
    {{"canvas",
      kArea,
      "Crops or pads the picture about its middle. A palette that lacks the fill gets it where it has "
      "room, else the picture is widened.",
      "canvas:120%x80%,fill=#ff8000",
      {"canvas:80%", "canvas:120%x110%,fill=#f0e6d2", "canvas:60%x120%,fill=#203040"},
      kCanvas,
      kAllDepths},
     "image.ChangeSize({size:width}, {size:height}, {fill})",
     kChangeSize,
     nullptr,
     {.classicDepths = kAllDepths,
      .palette = kChangeSize,
      .isApart = needsFill,
      .apart = replacing(runCanvas)}},
    {{"crop",
      kArea,
      "Keeps a rectangle of the picture.",
      "crop:2,1,50%x50%",
      {"crop:0,0,50%x50%", "crop:40,20,50%x60%", "crop:10,5,25%x75%"},
      kCrop,
      kAllDepths,
      kMovesPixels},
     "image.ClipCut({x}, {y}, {size:width}, {size:height})",
     replacing(runCrop)},
    {{"scroll",
      kArea,
      "Shifts the picture; what leaves one side enters at the other.",
      "scroll:10,-5",
      {"scroll:40,0", "scroll:80,60", "scroll:-120,-30"},
      kScroll,
      kAllDepths,
      kMovesPixels},
     "image.Scroll({dx}, {dy})",
     Method<int, int>::run<&DibStream::Scroll>},
    {{"flip-storage",
      kArea,
      "Stores the rows in the other order; the picture stays the same.",
      "flip-storage",
      {"flip-storage", "flip-storage flip-storage", "bpp:8 flip-storage"},
      kNoParameters,
      kAllDepths,
      kMovesPixels},
     "image.UpDown(image.Header->biHeight > 0)",
     runFlipStorage,
     nullptr,
     {},
     false},
    {{"invert",
      kArea,
      "Inverts the colours, or those of the colour table.",
      "invert",
      {"invert", "colors:6 invert", "bpp:4 invert"},
      kOnlyClassic,
      kAllDepths},
     "image.InvertTone()",
     Method<>::run<&DibStream::InvertTone>,
     nullptr,
     kInverts},
    {{"brighten",
      kArea,
      "Darkens or lightens the colours, or those of the colour table.",
      "brighten:1.5",
      {"brighten:1.5", "brighten:0.5", "brighten:3"},
      kBrighten,
      kAllDepths},
     "image.Brighten({factor})",
     Method<float>::run<&DibStream::Brighten>,
     nullptr,
     {.classicDepths = depths({1, 4, 8, 24, 32}), .palette = Method<float>::run<&DibStream::Brighten>}},
};

}  // namespace

Area geometryOps() { return kOperations; }

}  // namespace operations

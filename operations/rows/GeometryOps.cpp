#include "operations/Call.h"

namespace operations {

namespace {

constexpr const char* kArea = "Size, place and tone";

constexpr Choices kMethods({
    {"bilinear", DibStream::DIB_RESIZE_BILINEAR, "smooth between pixels; nearest pixel up to 16 bits",
     "DibStream::DIB_RESIZE_BILINEAR"},
    {"area", DibStream::DIB_RESIZE_INTEGRAL,
     "average of the area, for much smaller pictures; 24 and 32 bits only", "DibStream::DIB_RESIZE_INTEGRAL"},
});

constexpr Parameters kResize({size("size", "the new size"),
                              choice("method", "how pixels are made", kMethods, "bilinear")});

bool runResize(const Job& job) {
    const PixelSize wanted = job.arguments.size("size", job.image);
    const auto method = static_cast<DibStream::DIB_RESIZE_METHOD>(job.arguments.word("method"));
    // The library would leave an indexed picture empty.
    const int bitCount = job.image.Header->biBitCount;
    if (method == DibStream::DIB_RESIZE_INTEGRAL && bitCount < 24) {
        throw Refusal{DIB_ERROR_MISMATCH, "method: area is for 24 and 32 bits, not for " +
                                              std::to_string(bitCount) + (bitCount == 1 ? " bit" : " bits")};
    }
    return job.image.Resize(wanted.width, wanted.height, method);
}

constexpr Parameters kCanvas({size("size", "the new size"), fill("fill", "what the new pixels hold", "0")});

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
      "resize:50%,method=area",
      {"resize:50%", "resize:150%x60%", "resize:20%,method=area"},
      kResize,
      kAllDepths},
     "image.Resize({size:width}, {size:height}, {method})",
     runResize},
    {{"half",
      kArea,
      "Halves the picture exactly, each pixel the mean of four.",
      "half",
      {"half", "half half", "half half half"},
      kOnlyClassic,
      kAllDepths},
     "image.ResizeHalf()",
     Method<>::run<&DibStream::ResizeHalf>,
     nullptr,
     {.classicDepths = depths({24, 32}), .alpha = Alpha::kWeights}},
    {{"canvas",
      kArea,
      "Crops or pads the picture about its middle.",
      "canvas:120%x80%,fill=#ff8000",
      {"canvas:80%", "canvas:120%x110%,fill=#f0e6d2", "canvas:60%x120%,fill=#203040"},
      kCanvas,
      kAllDepths},
     "image.ChangeSize({size:width}, {size:height}, {fill})",
     Method<int, int, unsigned int>::run<&DibStream::ChangeSize>},
    {{"crop",
      kArea,
      "Keeps a rectangle of the picture.",
      "crop:2,1,50%x50%",
      {"crop:0,0,50%x50%", "crop:40,20,50%x60%", "crop:10,5,25%x75%"},
      kCrop,
      kAllDepths,
      kMovesPixels},
     "image.ClipCut({x}, {y}, {size:width}, {size:height})",
     runCrop},
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
     runFlipStorage},
    {{"invert",
      kArea,
      "Inverts the colours, or those of the colour table.",
      "invert",
      {"invert", "bpp:8,method=median invert", "bpp:4 invert"},
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

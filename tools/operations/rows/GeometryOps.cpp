#include "tools/operations/Call.h"

namespace tool {

namespace {

constexpr Choice kMethods[] = {
    {"bilinear", DibStream::DIB_RESIZE_BILINEAR, "smooth between pixels; nearest pixel up to 16 bits",
     "DibStream::DIB_RESIZE_BILINEAR"},
    {"area", DibStream::DIB_RESIZE_INTEGRAL,
     "average of the area, for much smaller pictures; 24 and 32 bits only", "DibStream::DIB_RESIZE_INTEGRAL"},
};

constexpr Parameter kResize[] = {size("size", "the new size"),
                                 choice("method", "how pixels are made", kMethods, "bilinear")};

bool runResize(DibStream& image, const Arguments& arguments, DibProgressCallback, void*) {
    const PixelSize wanted = arguments.size("size", image);
    const auto method = static_cast<DibStream::DIB_RESIZE_METHOD>(arguments.word("method"));
    // The library would leave an indexed picture empty.
    if (method == DibStream::DIB_RESIZE_INTEGRAL && image.Header->biBitCount < 24) {
        image.ErrorCode = DIB_ERROR_MISMATCH;
        return false;
    }
    return image.Resize(wanted.width, wanted.height, method);
}

constexpr Parameter kCanvas[] = {size("size", "the new size"), fill("fill", "what the new pixels hold", "0")};

constexpr Parameter kCrop[] = {
    integer("x", "first column of the rectangle", {0, kAnyInteger.max}, {}, "px"),
    integer("y", "first row of the rectangle, counted from the top", {0, kAnyInteger.max}, {}, "px"),
    size("size", "size of the rectangle, which must lie inside the picture")};

constexpr Parameter kScroll[] = {integer("dx", "to the right", kAnyInteger, {}, "px"),
                                 integer("dy", "down", kAnyInteger, {}, "px")};

bool runFlipStorage(DibStream& image, const Arguments&, DibProgressCallback, void*) {
    return image.UpDown(image.Header->biHeight > 0);
}

constexpr Parameter kBrighten[] = {
    number("factor", "below 1 darkens, above 1 lightens", {0, kAnyNumber.max})};

constexpr Operation kOperations[] = {
    {"resize",
     "Scales the picture.",
     "resize:50%,method=area",
     {"resize:50%", "resize:150%x60%", "resize:20%,method=area"},
     kResize,
     "image.Resize({size:width}, {size:height}, {method})",
     runResize},
    {"half",
     "Halves the picture exactly, each pixel the mean of four; 24 and 32 bits only.",
     "half",
     {"half", "half half", "half half half"},
     {},
     "image.ResizeHalf()",
     Method<>::run<&DibStream::ResizeHalf>},
    {"canvas",
     "Crops or pads the picture about its middle.",
     "canvas:120%x80%,fill=#ff8000",
     {"canvas:80%", "canvas:120%x110%,fill=#f0e6d2", "canvas:60%x120%,fill=#203040"},
     kCanvas,
     "image.ChangeSize({size:width}, {size:height}, {fill})",
     Method<int, int, unsigned int>::run<&DibStream::ChangeSize>},
    {"crop",
     "Keeps a rectangle of the picture.",
     "crop:2,1,50%x50%",
     {"crop:0,0,50%x50%", "crop:40,20,50%x60%", "crop:10,5,25%x75%"},
     kCrop,
     "image.ClipCut({x}, {y}, {size:width}, {size:height})",
     Method<int, int, int, int>::run<&DibStream::ClipCut>},
    {"scroll",
     "Shifts the picture; what leaves one side enters at the other.",
     "scroll:10,-5",
     {"scroll:40,0", "scroll:80,60", "scroll:-120,-30"},
     kScroll,
     "image.Scroll({dx}, {dy})",
     Method<int, int>::run<&DibStream::Scroll>},
    {"flip-storage",
     "Stores the rows in the other order; the picture stays the same.",
     "flip-storage",
     {"flip-storage", "flip-storage flip-storage", "bpp:8 flip-storage"},
     {},
     "image.UpDown(image.Header->biHeight > 0)",
     runFlipStorage},
    {"invert",
     "Inverts every byte of the pixels: colours above 8 bits, else indices into the colour table.",
     "invert",
     {"invert", "bpp:8,method=median invert", "bpp:4 invert"},
     {},
     "image.InvertTone()",
     Method<>::run<&DibStream::InvertTone>},
    {"brighten",
     "Darkens or lightens the colours, up to 8 bits those of the colour table; not at 16 bits.",
     "brighten:1.5",
     {"brighten:1.5", "brighten:0.5", "brighten:3"},
     kBrighten,
     "image.Brighten({factor})",
     Method<float>::run<&DibStream::Brighten>},
};

}  // namespace

std::span<const Operation> geometryOps() { return kOperations; }

}  // namespace tool

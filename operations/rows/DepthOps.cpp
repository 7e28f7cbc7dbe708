#include "dib/ChangeDepth.h"
#include "dib/Numbers.h"
#include "effects/weighted/AlphaPlane.h"
#include "operations/pixels/Pixels.h"

namespace operations {

namespace {

constexpr const char* kArea = "Colour depth";

enum Method : std::uint32_t { kPlain, kGrey, kOrdered, kMedian, kTruncate, kDiffuse };

constexpr Choices kDepths({
    {"1", 1, "black and white"},
    {"4", 4, "16 colours"},
    {"8", 8, "256 colours"},
    {"16", 16, "5 bits for each colour"},
    {"24", 24, "true colour"},
    {"32", 32, "true colour and alpha"},
});

constexpr Choices kMethods({
    {"plain", kPlain, "diffuse at 1 bit, grey at 4 and 8 bits, truncate at 16 bits"},
    {"grey", kGrey, "4 and 8 bits: levels of grey"},
    {"dither", kOrdered, "8 bits: ordered dither to a 6 x 6 x 6 colour cube; 16 bits: carry what is cut off",
     "DIB_DITHER"},
    {"median", kMedian, "4 and 8 bits: a palette of the picture's own by median cut", "DIB_MEDIAN_CUT"},
    {"truncate", kTruncate, "16 bits: cut off the low bits"},
    {"diffuse", kDiffuse, "1 bit: error diffusion"},
});

constexpr Parameters kBpp({
    choice("depth", "bits per pixel", kDepths),
    choice("method", "how colours are reduced", kMethods, "plain"),
    classic(),
});

std::string checkBpp(const Arguments& arguments) {
    const std::uint32_t depth = arguments.word("depth");
    bool fits = false;
    switch (arguments.word("method")) {
        case kPlain: fits = true; break;
        case kGrey:
        case kMedian: fits = depth == 4 || depth == 8; break;
        case kOrdered: fits = depth == 8 || depth == 16; break;
        case kTruncate: fits = depth == 16; break;
        case kDiffuse: fits = depth == 1; break;
    }
    return fits ? "" : "method: not available for depth " + std::to_string(depth);
}

void noteAlpha(const Job& job) {
    const bool dropsAlpha = job.image.Header->biBitCount == 32 && job.arguments.word("depth") != 32;
    if (dropsAlpha && dib::commonAlpha(job.image) != 255)
        addNote(job.result, DIB_NOTE_LOSS, "bpp: transparency is not kept");
}

bool runBpp(const Job& job) {
    if (!wantsClassic(job)) noteAlpha(job);
    const std::uint32_t method = job.arguments.word("method");
    const unsigned int selector = method == kOrdered ? DIB_DITHER : method == kMedian ? DIB_MEDIAN_CUT : 0U;
    return dib::changeDepth(job.image, dib::asInt(job.arguments.word("depth")), selector,
                            {job.callback, job.user});
}

constexpr Run kRun = replacing(runBpp);

constexpr Operation kOperations[] = {
    {{"bpp",
      kArea,
      "Changes the depth of the picture. Fewer than 32 bits drop alpha; flatten lays it over a colour.",
      "bpp:8,method=median",
      {"bpp:1", "bpp:4,method=median", "bpp:8,method=dither"},
      kBpp,
      kAllDepths},
     "image.ChangeBpp({depth}, {method})",
     kRun,
     checkBpp,
     {.classicDepths = kAllDepths, .palette = kRun}},
};

}  // namespace

Area depthOps() { return kOperations; }

}  // namespace operations

// A random picture goes through a random chain of operations. After each one the result, the header, the
// colour table and every byte must equal those of the plain loops.
#include <DibColor.h>
#include <DibStream.h>

#include <cmath>
#include <iterator>

#include "dib/Kernels.h"
#include "fuzz/FuzzSupport.h"
#include "tests/reference/GeometryReference.h"
#include "tests/reference/SamplerReference.h"

namespace {

struct Step {
    int a, b, c, d;
    std::uint32_t word;
    float factor;
};

struct Operation {
    bool (*run)(DibStream&, const Step&);
    reference::Result (*reference)(const reference::Image&, const Step&);
};

using Image = reference::Image;
using Method = DibStream::DIB_RESIZE_METHOD;

// Continues with the clip instead of the image, which ClipClone must leave unchanged.
bool goOnWithClip(DibStream& image, const Step& s) {
    const Image before(image);
    DibStream* clip = image.ClipClone(s.c, s.d, s.a, s.b);
    fuzz::require(before.equals(image), "a copied image stays");
    if (clip == nullptr) return false;
    image.SetDib(clip->Header, clip->HeaderOwner, clip->Buffer, clip->BufferOwner);
    clip->HeaderOwner = clip->BufferOwner = 0;
    clip->Release();
    return true;
}

// Positions between the pixels, and one that may be any float.
bool sampleAround(DibStream& image, const Step& s) {
    for (unsigned int flags = 0; flags < 4; ++flags) {
        const float x = static_cast<float>(s.c) + s.factor;
        const float y = static_cast<float>(s.d) - s.factor;
        for (const float column : {x, s.factor, static_cast<float>(s.a)}) {
            fuzz::require(reference::colorAt(image, column, y, flags) ==
                              reference::sampleColor(image, column, y, flags),
                          "a colour is that of the plain arithmetic");
        }
    }
    return true;
}

const Operation kOperations[] = {
    {[](DibStream& d, const Step& s) { return d.Resize(s.a, s.b, static_cast<Method>(s.word % 3)); },
     [](const Image& i, const Step& s) {
         return reference::resize(i, s.a, s.b, static_cast<int>(s.word % 3));
     }},
    {[](DibStream& d, const Step&) { return d.ResizeHalf(); },
     [](const Image& i, const Step&) { return reference::resizeHalf(i); }},
    {[](DibStream& d, const Step& s) { return d.ResizeBilinear(s.a, s.b); },
     [](const Image& i, const Step& s) { return reference::resizeBilinear(i, s.a, s.b); }},
    {[](DibStream& d, const Step& s) { return d.ResizeIntegral(s.a, s.b); },
     [](const Image& i, const Step& s) { return reference::resizeIntegral(i, s.a, s.b); }},
    {[](DibStream& d, const Step& s) { return d.ChangeSize(s.a, s.b, s.word); },
     [](const Image& i, const Step& s) { return reference::changeSize(i, s.a, s.b, s.word); }},
    {[](DibStream& d, const Step& s) { return d.ClipCut(s.c, s.d, s.a, s.b); },
     [](const Image& i, const Step& s) { return reference::clipCut(i, s.c, s.d, s.a, s.b); }},
    {[](DibStream& d, const Step& s) { return d.Scroll(static_cast<int>(s.word), s.d); },
     [](const Image& i, const Step& s) { return reference::scroll(i, static_cast<int>(s.word), s.d); }},
    {[](DibStream& d, const Step& s) { return d.UpDown(s.a % 2 == 0); },
     [](const Image& i, const Step& s) { return reference::upDown(i, s.a % 2 == 0); }},
    {[](DibStream& d, const Step&) { return d.InvertTone(); },
     [](const Image& i, const Step&) { return reference::invertTone(i); }},
    {[](DibStream& d, const Step& s) { return d.Brighten(s.factor); },
     [](const Image& i, const Step& s) { return reference::brighten(i, s.factor); }},
    {goOnWithClip, [](const Image& i, const Step& s) { return reference::clipClone(i, s.c, s.d, s.a, s.b); }},
    {sampleAround, [](const Image& i, const Step&) { return reference::Result(i); }},
};

// Sizes and positions within the picture, sometimes outside it, sometimes any number.
Step stepFrom(fuzz::Input& input) {
    const bool extreme = input.byte() < 8;
    const auto position = [&] { return extreme ? static_cast<int>(input.word()) : input.below(90) - 20; };
    Step step{input.below(100) - 3, input.below(100) - 3, position(), position(), input.word(), 0};
    step.factor = input.byte() < 64 ? input.anyFloat() : static_cast<float>(input.byte()) / 64.0F;
    return step;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    dib::limitKernelLevel(input.byte() % 2 == 0 ? dib::KernelLevel::kBaseline : dib::bestKernelLevel());
    dib::MallocPtr<unsigned char> lent;
    DibStream image;
    fuzz::randomImage(input, image, 80);
    if (input.byte() % 4 == 0) lent = fuzz::lendHeader(input, image);
    Image expected(image);
    for (int i = 0; i < 8 && !input.empty(); ++i) {
        const Operation& operation = kOperations[input.below(static_cast<int>(std::size(kOperations)))];
        const Step step = stepFrom(input);
        const reference::Result result = operation.reference(expected, step);
        fuzz::require(operation.run(image, step) == result.has_value(),
                      "the result is that of the plain loops");
        if (result) expected = *result;
        fuzz::require(expected.equals(image), "every byte is that of the plain loops");
    }
    return 0;
}

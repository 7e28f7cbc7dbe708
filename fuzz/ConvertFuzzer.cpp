// Chains of depth conversions with any flags, each step compared with the plain form.
#include <cstring>
#include <memory>

#include "dib/ImageSize.h"
#include "dib/Kernels.h"
#include "fuzz/FuzzSupport.h"
#include "tests/reference/ConvertReference.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    DibStream image;
    fuzz::randomImage(input, image, 24);
    if (image.Header->biBitCount <= 8) image.Header->biClrUsed = static_cast<std::uint32_t>(input.below(257));
    for (int step = 0; step < 4; ++step) {
        constexpr int kDepths[] = {1, 4, 8, 16, 24, 32};
        const int depth = kDepths[input.below(6)];
        const std::uint32_t flags = (input.word() & 0xFFFF0000U) | static_cast<std::uint32_t>(input.below(4));
        dib::limitKernelLevel(input.below(2) == 0 ? dib::KernelLevel::kBaseline : dib::KernelLevel::kAvx2);
        DibStream expected;
        fuzz::require(reference::changeBpp(image, depth, flags, expected), "the reference converts");
        fuzz::require(image.ChangeBpp(depth, flags), "every depth converts to every other");
        fuzz::checkImage(image);
        const std::size_t bytes = dib::admitSize(*image.Header).imageBytes;
        fuzz::require(std::memcmp(image.Buffer, expected.Buffer, bytes) == 0,
                      "pixels are those of the reference");
        const std::size_t headerBytes = 40 + 4 * std::size_t{image.Header->biClrUsed};
        fuzz::require(std::memcmp(image.Header, expected.Header, headerBytes) == 0, "tables are the same");
    }
    dib::limitKernelLevel(dib::bestKernelLevel());
    return 0;
}

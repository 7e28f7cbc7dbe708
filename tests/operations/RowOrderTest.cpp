// Operations see the picture, not the order in which its rows are stored.
#include "tests/operations/Pictures.h"

namespace operations_test {

namespace {

using testing_support::DibPtr;
using testing_support::randomImage;

// `DibApplyOptions::open`: lends a picture.
bool lend(void* context, const char*, DibStream* image, DibFileResult*, DibProgressCallback, void*) {
    const auto* other = static_cast<const DibStream*>(context);
    return image->SetDib(other->Header, 0, other->Buffer, 0);
}

struct Shown {
    std::vector<int> shape;  // width, height, depth
    std::vector<std::uint32_t> entries;
    std::vector<std::uint32_t> values;
    std::vector<std::string> notes;

    bool operator==(const Shown&) const = default;
};

// Whether the rows of the first and of a second picture are stored top-down.
struct Orders {
    bool first;
    bool second;
};

// What a chain makes of the same pictures in any orders.
Shown shownAfter(const std::string& chain, int bitCount, const Orders& areTopDown) {
    const DibPtr image = randomImage(97, 79, bitCount, 5);
    const DibPtr other = randomImage(31, 17, 32, 2);
    EXPECT_TRUE(image->UpDown(areTopDown.first) && other->UpDown(areTopDown.second));
    DibApplyOptions options;
    options.open = lend;
    options.context = other.get();
    DibOperationResult result;
    EXPECT_TRUE(DibApply(image.get(), chain.c_str(), &options, &result)) << chain << ": " << result.reason;
    const BITMAPINFOHEADER& header = *image->Header;
    Shown shown{{header.biWidth, std::abs(header.biHeight), header.biBitCount}, {}, valuesOf(*image), {}};
    if (header.biBitCount <= 8) shown.entries = entriesOf(*image);
    for (int i = 0; i < result.noteCount; ++i) shown.notes.emplace_back(result.notes[i].text);
    return shown;
}

// The samples of all operations, and what they leave out.
std::vector<std::string> manyChains() {
    std::vector<std::string> chains = {"resize:41x33",
                                       "resize:41x33,filter=bilinear",
                                       "resize:41x200,filter=bilinear",
                                       "resize:200x33,filter=bicubic",
                                       "resize:41x33,filter=lanczos",
                                       "resize:41x33,filter=nearest",
                                       "fit:40x40",
                                       "fit:200x200,enlarge",
                                       "fill:40x40",
                                       "canvas:98x78",
                                       "canvas:100x100,fill=#12345678",
                                       "crop:0,0,1x79 half half half half half half half",
                                       "bpp:8,method=median",
                                       "bpp:16,method=dither",
                                       "compose:other.bmp,mode=tile",
                                       "join:other.bmp,align=center"};
    for (const DibOperation* operation : all())
        chains.insert(chains.end(), std::begin(operation->samples), std::end(operation->samples));
    return chains;
}

TEST(RowOrder, BothGiveTheSamePicture) {
    for (const std::string& chain : manyChains()) {
        for (const int bitCount : testing_support::kDepths) {
            if (chain.starts_with("diffuse") && bitCount < 8) continue;  // refused
            SCOPED_TRACE(chain + " at " + std::to_string(bitCount));
            const Shown usual = shownAfter(chain, bitCount, {false, false});
            EXPECT_TRUE(shownAfter(chain, bitCount, {true, false}) == usual);
            if (chain.find("other.bmp") == std::string::npos) continue;
            EXPECT_TRUE(shownAfter(chain, bitCount, {false, true}) == usual);
            EXPECT_TRUE(shownAfter(chain, bitCount, {true, true}) == usual);
        }
    }
}

}  // namespace

}  // namespace operations_test

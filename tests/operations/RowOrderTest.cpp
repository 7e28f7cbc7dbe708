// Operations see the picture, not the order in which its rows are stored, but for those that are a classic
// function which counts stored rows.
#include <algorithm>
#include <iterator>

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
Shown shownAfter(const std::string& chain, int bitCount, const Orders& areTopDown, bool isClassic = false) {
    const DibPtr image = randomImage(97, 79, bitCount, 5);
    const DibPtr other = randomImage(31, 17, 32, 2);
    EXPECT_TRUE(image->UpDown(areTopDown.first) && other->UpDown(areTopDown.second));
    DibApplyOptions options;
    options.open = lend;
    options.classic = isClassic;
    options.context = other.get();
    DibOperationResult result;
    EXPECT_TRUE(DibApply(image.get(), chain.c_str(), &options, &result)) << chain << ": " << result.reason;
    const BITMAPINFOHEADER& header = *image->Header;
    Shown shown{{header.biWidth, std::abs(header.biHeight), header.biBitCount}, {}, valuesOf(*image), {}};
    if (header.biBitCount <= 8) shown.entries = entriesOf(*image);
    for (int i = 0; i < result.noteCount; ++i) shown.notes.emplace_back(result.notes[i].text);
    return shown;
}

// Names of operations whose classic functions count rows from the first that is stored.
constexpr const char* kCountStoredRows[] = {"bpp", "canvas", "compose", "fill", "fit", "half", "resize"};

bool countsStoredRows(const std::string& chain) {
    DibChain steps;
    EXPECT_TRUE(DibParseChain(chain.c_str(), &steps)) << chain;
    bool counts = false;
    for (int i = 0; i < steps.stepCount; ++i) {
        const std::string name = steps.steps[i].operation->name;
        counts |= std::count(std::begin(kCountStoredRows), std::end(kCountStoredRows), name) != 0;
    }
    return counts;
}

TEST(RowOrder, BothGiveTheSamePicture) {
    std::vector<std::string> chains = {"join:other.bmp,align=center"};
    for (const DibOperation* operation : all())
        chains.insert(chains.end(), std::begin(operation->samples), std::end(operation->samples));
    for (const std::string& chain : chains) {
        if (countsStoredRows(chain)) continue;
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

TEST(RowOrder, OpaquePicturesAreThoseOfTheClassicFunctionInBoth) {
    for (const char* chain :
         {"resize:41x33,filter=area", "resize:41x33,filter=bilinear", "resize:200x33,filter=bilinear", "half",
          "canvas:98x78", "canvas:100x100,fill=#123456", "bpp:1", "bpp:8,method=dither",
          "bpp:8,method=median", "bpp:16,method=dither", "compose:other.bmp,0.5",
          "compose:other.bmp,mode=tile"}) {
        for (const Orders orders : {Orders{false, false}, {true, false}, {false, true}, {true, true}})
            EXPECT_TRUE(shownAfter(chain, 24, orders) == shownAfter(chain, 24, orders, true)) << chain;
    }
}

}  // namespace

}  // namespace operations_test

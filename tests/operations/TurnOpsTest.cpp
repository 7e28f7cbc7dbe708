// Exact turns at every depth.
#include "tests/operations/Pictures.h"

namespace operations_test {

namespace {

using testing_support::DibPtr;
using testing_support::headerBytes;
using testing_support::randomImage;

using Values = std::vector<std::uint32_t>;

TEST(TurnOps, PixelsGoToTheirPlaces) {
    const Values pixels = {1, 2, 3, 4, 5, 6};
    const auto of = [&](const char* chain) { return after(*picture(3, 24, pixels), chain); };
    EXPECT_EQ(of("turn:90"), (Values{4, 1, 5, 2, 6, 3}));
    EXPECT_EQ(of("turn:180"), (Values{6, 5, 4, 3, 2, 1}));
    EXPECT_EQ(of("turn:270"), (Values{3, 6, 2, 5, 1, 4}));
    EXPECT_EQ(of("flip"), (Values{4, 5, 6, 1, 2, 3}));
    EXPECT_EQ(of("mirror"), (Values{3, 2, 1, 6, 5, 4}));
}

// Sizes around those of the tiles in which pictures are turned.
TEST(TurnOps, EveryDepthAndRowOrderKeepsTableAndIndices) {
    for (const int bitCount : testing_support::kDepths) {
        for (const int height : {31, -65}) {
            const int rows = std::abs(height);
            for (const int width : {33, 64}) {
                SCOPED_TRACE(std::to_string(bitCount) + " bits, " + std::to_string(width));
                const DibPtr before = randomImage(width, height, bitCount, 3);
                const DibPtr image = randomImage(width, height, bitCount, 3);
                const Values stored = valuesOf(*before);
                const Values turned = after(*image, "turn:90");
                EXPECT_EQ(image->Header->biWidth, rows);
                EXPECT_EQ(image->Header->biHeight, height < 0 ? -width : width);
                for (int y = 0; y < width; ++y) {
                    for (int x = 0; x < rows; ++x)
                        ASSERT_EQ(turned[static_cast<std::size_t>(y * rows + x)],
                                  stored[static_cast<std::size_t>((rows - 1 - x) * width + y)]);
                }
                EXPECT_EQ(entriesOf(*image), entriesOf(*before));
                EXPECT_EQ(after(*image, "turn:270"), stored);
                EXPECT_EQ(headerBytes(*image), headerBytes(*before));
                EXPECT_EQ(after(*image, "turn:180 flip mirror"), stored);
            }
        }
    }
}

TEST(TurnOps, TheResultSaysWhetherRowsBecameColumns) {
    const auto exchanges = [](const char* chain) {
        const DibPtr image = picture(3, 24, {1, 2, 3, 4, 5, 6});
        DibOperationResult result;
        result.exchangesAxes = true;
        const bool isDone = DibApply(image.get(), chain, nullptr, &result);
        EXPECT_EQ(isDone, result.code == DIB_OK);
        return result.exchangesAxes;
    };
    EXPECT_TRUE(exchanges("turn:90"));
    EXPECT_TRUE(exchanges("turn:270"));
    EXPECT_TRUE(exchanges("turn:90 flip turn:180 invert"));
    EXPECT_TRUE(exchanges("turn:90 turn:90 turn:90"));
    EXPECT_FALSE(exchanges("turn:180"));
    EXPECT_FALSE(exchanges("turn:90 turn:270"));
    EXPECT_FALSE(exchanges("flip mirror"));
    EXPECT_FALSE(exchanges(""));
    EXPECT_FALSE(exchanges("turn:90 crop:0,0,9x9"));
    EXPECT_FALSE(exchanges("turn:45"));
}

TEST(TurnOps, ShortTablesStayShort) {
    const DibPtr image = randomImage(9, 5, 8, 3);
    image->Header->biClrUsed = 7;
    const Values table = entriesOf(*image);
    after(*image, "turn:90");
    EXPECT_EQ(image->Header->biClrUsed, 7U);
    EXPECT_EQ(entriesOf(*image), table);
}

}  // namespace

}  // namespace operations_test

#include "effects/rank/BrightnessReader.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "dib/Kernels.h"
#include "tests/support/TestImages.h"

namespace {

using dib::BrightnessReader;
using testing_support::blankImage;
using testing_support::DibPtr;
using testing_support::setPixelValue;
using Values = std::vector<std::uint32_t>;

// An image of one row, read with weights 37 of blue and 73 of red for colour tables.
struct RowReader {
    DibPtr image;
    dib::Raster raster;
    BrightnessReader reader;

    RowReader(int depth, const Values& row, BrightnessReader::Nibbles nibbles)
        : image(blankImage(static_cast<int>(row.size()), 1, depth)) {
        for (std::size_t x = 0; x < row.size(); ++x) setPixelValue(*image, static_cast<int>(x), 0, row[x]);
        EXPECT_TRUE(dib::viewRows(*image, raster));
        reader = {*image, raster, {37, 73}, nibbles};
    }
    Values values() const {
        Values result(static_cast<std::size_t>(raster.width));
        reader.readValues(raster.row(0), result.data());
        return result;
    }
    std::vector<std::int32_t> brightness() const {
        Values values(static_cast<std::size_t>(raster.width));
        std::vector<std::int32_t> result(values.size());
        reader.readRow(raster.row(0), values.data(), result.data());
        return result;
    }
};

constexpr auto kHighFirst = BrightnessReader::Nibbles::kHighFirst;

TEST(BrightnessReader, ReadsRowsOfAnyWidthAtEveryLevel) {
    testing_support::Random random(14);
    for (const dib::KernelLevel level : dib::kKernelLevels) {
        dib::limitKernelLevel(level);
        for (std::size_t width = 1; width <= 40; ++width) {
            Values row(width);
            for (std::uint32_t& value : row) value = random.next() & 0xFFFFFF;
            EXPECT_EQ(RowReader(24, row, kHighFirst).values(), row) << width;
            EXPECT_EQ(RowReader(32, row, kHighFirst).values(), row) << width;
        }
    }
    dib::limitKernelLevel(dib::bestKernelLevel());
}

TEST(BrightnessReader, WeighsTheColorsOfEachDepth) {
    using Brightness = std::vector<std::int32_t>;
    EXPECT_EQ(RowReader(24, {1, 0x100, 0x10000, 0xFFFFFF}, kHighFirst).brightness(),
              (Brightness{37, 146, 73, 65280}));
    EXPECT_EQ(RowReader(32, {0xFF000001, 0x100, 0x10000, 0xFFFFFF}, kHighFirst).brightness(),
              (Brightness{37, 146, 73, 65280}));
    // 5-5-5, where blue and red have each other's weights.
    EXPECT_EQ(RowReader(16, {1, 1 << 5, 1 << 10, 0xFFFF}, kHighFirst).brightness(),
              (Brightness{73, 146, 37, 7936}));

    const RowReader table(8, {0, 1, 2, 3}, kHighFirst);
    const DibBGRA colors[] = {{1, 0, 0, 9}, {0, 1, 0, 9}, {0, 0, 1, 9}, {255, 255, 255, 9}};
    std::memcpy(reinterpret_cast<unsigned char*>(table.image->Header) + 40, colors, sizeof colors);
    const BrightnessReader first(*table.image, table.raster, {37, 73}, kHighFirst);
    const BrightnessReader second(*table.image, table.raster, {73, 37}, kHighFirst);
    EXPECT_EQ((Brightness{first.tableBrightness(0), first.tableBrightness(1), first.tableBrightness(2)}),
              (Brightness{37, 146, 73}));
    EXPECT_EQ((Brightness{second.tableBrightness(0), second.tableBrightness(1), second.tableBrightness(2)}),
              (Brightness{73, 146, 37}));
    EXPECT_EQ(first.tableBrightness(3), 65280);
}

TEST(BrightnessReader, ReadsNibblesInEitherOrder) {
    EXPECT_EQ(RowReader(4, {1, 2, 3}, kHighFirst).values(), (Values{1, 2, 3}));
    // The last pixel of a row of odd width is swapped with the fill nibble, which is 0 here.
    EXPECT_EQ(RowReader(4, {1, 2, 3}, BrightnessReader::Nibbles::kLowFirst).values(), (Values{2, 1, 0}));
    EXPECT_EQ(RowReader(8, {1, 2, 3}, BrightnessReader::Nibbles::kLowFirst).values(), (Values{1, 2, 3}));
}

TEST(BrightnessReader, ReadsSinglePixelsAndWritesRows) {
    const RowReader row(24, {7, 0x123456, 0xFFFFFF}, kHighFirst);
    const BrightnessReader::Spot spots[] = {{row.raster.row(0), 2}, {row.raster.row(0), 1}};
    Values values(2);
    row.reader.readSpots(spots, values.data(), 2);
    EXPECT_EQ(values, (Values{0xFFFFFF, 0x123456}));

    for (const int depth : testing_support::kDepths) {
        const RowReader random(depth, {1, 0, 1, 1, 0}, kHighFirst);
        std::memset(random.raster.row(0), 0xFF, random.raster.rowBytes);
        const Values written{0, 1, 1, 0, 1};
        random.reader.writeRow(random.raster.row(0), written.data());
        EXPECT_EQ(random.values(), written) << depth;
        // Below 8 bits the row fill is cleared, above it stays.
        EXPECT_EQ(random.raster.row(0)[random.raster.rowBytes - 1], depth < 8 || depth == 32 ? 0 : 0xFF);
    }
}

}  // namespace

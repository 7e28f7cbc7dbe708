#include <DibEffect.h>
#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <vector>

#include "dib/Bytes.h"
#include "effects/rank/BrightSort.h"
#include "tests/reference/RankReference.h"
#include "tests/support/EffectChecks.h"
#include "tests/support/TestImages.h"

namespace {

using testing_support::blankImage;
using testing_support::DibPtr;
using testing_support::pixelValue;
using testing_support::ProgressLog;
using testing_support::Random;
using testing_support::randomImage;
using testing_support::setPixelValue;

const std::vector<int> kAll{1, 4, 8, 16, 24, 32};

using Effect = bool (*)(DibProgressCallback, void*, DibStream*, int, unsigned int);
using Reference = void (*)(DibStream&, int, unsigned int);

struct RankFilter {
    const char* name;
    Effect effect;
    Reference reference;
    bool (*recordEffect)(DibProgressCallback, void*, DibStream*, DEBrightInfo*);
};

const RankFilter kFilters[] = {
    {"max", DibEffectBrightMax, reference::brightMax, DibEffectBrightMax},
    {"min", DibEffectBrightMin, reference::brightMin, DibEffectBrightMin},
    {"middle", DibEffectBrightMiddle, reference::brightMiddle, DibEffectBrightMiddle},
};

testing_support::EffectRun with(Effect effect, int radius, unsigned int flags) {
    return [=](DibProgressCallback callback, void* user, DibStream* image) {
        return effect(callback, user, image, radius, flags);
    };
}

void setTable(DibStream& image, std::vector<DibBGRA> entries) {
    std::memcpy(reinterpret_cast<unsigned char*>(image.Header) + 40, entries.data(), entries.size() * 4);
}

// Few colours, so that most neighbourhoods hold ties of different colours with equal brightness.
DibPtr imageOfTies(int width, int height, int depth, std::uint64_t seed) {
    DibPtr image = randomImage(width, height, depth, seed);
    Random random(seed);
    // 37 x 146 of green weighs as much as 146 x 37 of blue; likewise 73 and 37 at 16 bits.
    const std::uint32_t direct[] = {0x000000,   0x112500, 0x110092,   0x50112500,
                                    0x50000000, 0xFFFFFF, 0x40FFFFFF, 0x49A500};
    const std::uint32_t packed[] = {0, 0x8000, 25 << 10, 9, 0xFFFF, 0x7FFF};
    const int rows = height < 0 ? -height : height;
    for (int y = 0; y < rows; ++y) {
        for (int x = 0; x < width; ++x) {
            if (depth > 16) setPixelValue(*image, x, y, direct[random.below(8)]);
            if (depth == 16) setPixelValue(*image, x, y, packed[random.below(6)]);
        }
    }
    if (depth == 8) {
        std::vector<DibBGRA> table(256);
        for (auto& entry : table) entry = random.below(2) == 0 ? DibBGRA{146, 0, 0, 0} : DibBGRA{0, 37, 0, 0};
        setTable(*image, table);
    }
    return image;
}

using Row = std::vector<std::uint32_t>;

// What becomes of an image of one row at radius 1. Up to 8 bits, `table` replaces the first entries of the
// grey table.
Row ranked(Effect effect, int depth, const Row& row, unsigned int flags = 0,
           const std::vector<DibBGRA>& table = {}) {
    const int width = static_cast<int>(row.size());
    const DibPtr image = blankImage(width, 1, depth);
    if (!table.empty()) setTable(*image, table);
    for (int x = 0; x < width; ++x) setPixelValue(*image, x, 0, row[static_cast<std::size_t>(x)]);
    EXPECT_TRUE(effect(nullptr, nullptr, image.get(), 1, flags));
    Row result;
    for (int x = 0; x < width; ++x) result.push_back(pixelValue(*image, x, 0));
    return result;
}

TEST(Rank, EqualsThePlainLoops) {
    for (const RankFilter& filter : kFilters) {
        for (const int radius : {1, 2}) {
            for (const unsigned flags : {0U, 1U, 2U, 3U}) {
                SCOPED_TRACE(::testing::Message()
                             << filter.name << " radius " << radius << " flags " << flags);
                testing_support::expectEqualsReference(
                    with(filter.effect, radius, flags),
                    [=](DibStream& image) { filter.reference(image, radius, flags); }, kAll);
            }
        }
    }
}

TEST(Rank, TiesAreDecidedAsInThePlainLoops) {
    for (const RankFilter& filter : kFilters) {
        for (const int depth : kAll) {
            // Below and above the radius at which the way of ranking changes.
            for (const int radius : {1, 3, 7, 8}) {
                for (unsigned flags = 0; flags < 4; ++flags) {
                    const DibPtr image = imageOfTies(23, flags % 2 == 0 ? 7 : -7, depth, flags + 7);
                    const DibPtr expected(image->Clone());
                    filter.reference(*expected, radius, flags);
                    EXPECT_TRUE(filter.effect(nullptr, nullptr, image.get(), radius, flags));
                    EXPECT_TRUE(testing_support::sameImage(*image, *expected))
                        << filter.name << " depth " << depth << " radius " << radius << " flags " << flags;
                }
            }
        }
    }
}

// Tables that rise in brightness, and one that does so but for its last two entries, which are equal.
TEST(Rank, TablesInTheOrderOfBrightnessEqualThePlainLoops) {
    std::vector<DibBGRA> greys(256);
    for (std::size_t i = 0; i < 256; ++i)
        greys[i] = DibBGRA{dib::byteOf(i), dib::byteOf(i), dib::byteOf(i), 0};
    std::vector<DibBGRA> colors = greys;
    for (std::size_t i = 0; i < 256; i += 2) colors[i].blue = 0;
    std::vector<DibBGRA> ties = greys;
    ties[255] = ties[254];
    std::uint64_t seed = 0;
    for (const RankFilter& filter : {kFilters[0], kFilters[1]}) {
        for (const std::vector<DibBGRA>& table : {greys, colors, ties}) {
            for (const int radius : {1, 2, 15}) {
                for (const unsigned flags : {0U, 1U, 2U, 3U}) {
                    const DibPtr image = randomImage(40, flags % 2 == 0 ? 13 : -13, 8, ++seed);
                    setTable(*image, table);
                    const DibPtr expected(image->Clone());
                    filter.reference(*expected, radius, flags);
                    EXPECT_TRUE(filter.effect(nullptr, nullptr, image.get(), radius, flags));
                    EXPECT_TRUE(testing_support::sameImage(*image, *expected))
                        << filter.name << " radius " << radius << " flags " << flags;
                }
            }
        }
    }
}

// Taller and wider than the square, so that rows and columns leave it.
TEST(Rank, PicturesLargerThanTheSquareEqualThePlainLoops) {
    for (const int depth : kAll) {
        for (const unsigned flags : {0U, 3U}) {
            for (const bool ties : {false, true}) {
                const int height = ties ? 31 : -31;
                const DibPtr image =
                    ties ? imageOfTies(37, height, depth, 5) : randomImage(37, height, depth, 6);
                const DibPtr expected(image->Clone());
                reference::brightMiddle(*expected, 8, flags);
                EXPECT_TRUE(DibEffectBrightMiddle(nullptr, nullptr, image.get(), 8, flags));
                EXPECT_TRUE(testing_support::sameImage(*image, *expected)) << depth << " flags " << flags;
            }
        }
    }
}

TEST(Rank, NeighbourhoodsLargerThanTheImage) {
    for (const RankFilter& filter : kFilters) {
        for (const int depth : kAll) {
            for (const int radius : {3, 5, 8, 12}) {
                for (unsigned flags = 0; flags < 4; ++flags) {
                    for (const testing_support::Size size :
                         {testing_support::Size{1, 1}, {3, 2}, {2, -5}, {5, 4}}) {
                        const DibPtr image = imageOfTies(size.width, size.height, depth, 5 + flags);
                        const DibPtr expected(image->Clone());
                        filter.reference(*expected, radius, flags);
                        EXPECT_TRUE(filter.effect(nullptr, nullptr, image.get(), radius, flags));
                        EXPECT_TRUE(testing_support::sameImage(*image, *expected))
                            << filter.name << " depth " << depth << " radius " << radius << " flags "
                            << flags;
                    }
                }
            }
        }
    }
}

TEST(Rank, ShortColorTablesReadAsBlackBeyondTheirEnd) {
    for (const RankFilter& filter : kFilters) {
        const DibPtr image = randomImage(16, 9, 8, 3);
        image->Header->biClrUsed = 100;
        const DibPtr expected(image->Clone());
        filter.reference(*expected, 2, 0);
        EXPECT_TRUE(filter.effect(nullptr, nullptr, image.get(), 2, 0));
        EXPECT_TRUE(testing_support::sameImage(*image, *expected)) << filter.name;
    }
}

TEST(Rank, RadiusZeroAndNegative) {
    for (const RankFilter& filter : kFilters) {
        const DibPtr image = randomImage(4, 4, 24, 1);
        const DibPtr before(image->Clone());
        ProgressLog log;
        EXPECT_TRUE(filter.effect(ProgressLog::callback, &log, image.get(), 0, 3));
        EXPECT_FALSE(filter.effect(ProgressLog::callback, &log, image.get(), -1, 3));
        EXPECT_FALSE(filter.effect(ProgressLog::callback, &log, image.get(), INT_MIN, 3));
        image->Header->biBitCount = 2;
        EXPECT_TRUE(filter.effect(ProgressLog::callback, &log, image.get(), 0, 3));
        image->Header->biBitCount = 24;
        EXPECT_TRUE(log.fractions.empty());
        EXPECT_TRUE(testing_support::sameImage(*image, *before));
    }
}

TEST(Rank, HugeRadiiEndAtOnce) {
    for (const unsigned flags : {0U, 3U}) {
        for (const int radius : {1000000, INT_MAX}) {
            const DibPtr image = randomImage(5, 4, 24, 1);
            EXPECT_TRUE(DibEffectBrightMax(nullptr, nullptr, image.get(), radius, flags));
            for (int x = 1; x < 5; ++x) EXPECT_EQ(pixelValue(*image, x, 0), pixelValue(*image, 0, 0));
        }
        const DibPtr image = randomImage(5, 4, 24, 1);
        const DibPtr before(image->Clone());
        EXPECT_FALSE(DibEffectBrightMiddle(nullptr, nullptr, image.get(), 23170, flags));
        EXPECT_FALSE(DibEffectBrightMiddle(nullptr, nullptr, image.get(), INT_MAX, flags));
        EXPECT_TRUE(testing_support::sameImage(*image, *before));
        EXPECT_TRUE(DibEffectBrightMiddle(nullptr, nullptr, image.get(), 23169, flags));
    }
}

// Beyond a radius of 23169 an int cannot count the neighbourhood, at 1 bit no more than elsewhere.
TEST(Rank, OneBitMajorityOfHugeNeighbourhoods) {
    for (const unsigned flags : {0U, 3U}) {
        const DibPtr image = blankImage(3, 1, 1);
        setPixelValue(*image, 0, 0, 1);
        setPixelValue(*image, 1, 0, 1);
        const DibPtr before(image->Clone());
        for (const int radius : {23170, 32767, 32768, 65536, INT_MAX}) {
            EXPECT_FALSE(DibEffectBrightMiddle(nullptr, nullptr, image.get(), radius, flags)) << radius;
        }
        EXPECT_TRUE(testing_support::sameImage(*image, *before));
        EXPECT_TRUE(DibEffectBrightMiddle(nullptr, nullptr, image.get(), 23169, flags));
        // Wrapped, two of three columns are 1. Clamped, 23171 - x of the 46339 columns around x are 1, and
        // 23170 are the majority.
        EXPECT_EQ(pixelValue(*image, 0, 0), 1U);
        EXPECT_EQ(pixelValue(*image, 1, 0), 1U);
        EXPECT_EQ(pixelValue(*image, 2, 0), flags == 0 ? 0U : 1U);
    }
}

TEST(Rank, Refusals) {
    for (const RankFilter& filter : kFilters)
        testing_support::expectRefusals(with(filter.effect, 1, 0), kAll);
}

TEST(Rank, ProgressAndCancelByRow) {
    for (const RankFilter& filter : kFilters) {
        testing_support::expectProgressByRow(with(filter.effect, 1, 0), kAll);
        testing_support::expectProgressByRow(with(filter.effect, 3, 3), kAll);
        testing_support::expectProgressByRow(with(filter.effect, 9, 0), kAll);
    }
}

TEST(Rank, SurvivesFailingAllocations) {
    for (const RankFilter& filter : kFilters) {
        for (const int radius : {1, 3, 9}) {
            EXPECT_GE(testing_support::expectSurvivesFailingAllocations(with(filter.effect, radius, 1), kAll),
                      4);
        }
    }
}

TEST(Rank, RecordsPassTheirFieldsOn) {
    for (const RankFilter& filter : kFilters) {
        const DibPtr image = randomImage(9, 6, 24, 4);
        const DibPtr expected(image->Clone());
        DEBrightInfo info{0xDEADBEEF, 2, 3};
        EXPECT_TRUE(filter.recordEffect(nullptr, nullptr, image.get(), &info));
        EXPECT_TRUE(filter.effect(nullptr, nullptr, expected.get(), 2, 3));
        EXPECT_TRUE(testing_support::sameImage(*image, *expected));
    }
}

TEST(Rank, OneBitTakesTheIndexOfTheBrighterEntry) {
    const auto filtered = [](Effect effect, DibBGRA zero, DibBGRA one) {
        const DibPtr image = blankImage(3, 1, 1);
        setTable(*image, {zero, one});
        setPixelValue(*image, 0, 0, 1);
        EXPECT_TRUE(effect(nullptr, nullptr, image.get(), 1, 0));
        return std::vector<std::uint32_t>{pixelValue(*image, 0, 0), pixelValue(*image, 1, 0),
                                          pixelValue(*image, 2, 0)};
    };
    const DibBGRA black{0, 0, 0, 0};
    const DibBGRA white{255, 255, 255, 0};
    EXPECT_EQ(filtered(DibEffectBrightMax, white, black), (Row{0, 0, 0}));
    EXPECT_EQ(filtered(DibEffectBrightMax, black, white), (Row{1, 1, 0}));
    EXPECT_EQ(filtered(DibEffectBrightMax, white, white), (Row{1, 1, 0}));
    EXPECT_EQ(filtered(DibEffectBrightMin, white, black), (Row{1, 1, 0}));
    EXPECT_EQ(filtered(DibEffectBrightMin, black, white), (Row{0, 0, 0}));
    EXPECT_EQ(filtered(DibEffectBrightMin, white, white), (Row{0, 0, 0}));
}

TEST(Rank, FourBitExtremesReadThePixelsOfAByteExchanged) {
    const DibPtr image = blankImage(4, 1, 4);  // a grey ramp
    setPixelValue(*image, 0, 0, 9);
    setPixelValue(*image, 3, 0, 1);
    EXPECT_TRUE(DibEffectBrightMax(nullptr, nullptr, image.get(), 1, 0));
    // Read as 0, 9, 1, 0.
    EXPECT_EQ(image->ScanLine(0)[0], 0x99);
    EXPECT_EQ(image->ScanLine(0)[1], 0x91);

    // Read as 2, 9, 3, 5.
    EXPECT_EQ(ranked(DibEffectBrightMin, 4, {9, 2, 5, 3}), (Row{2, 2, 3, 3}));

    const DibPtr middle = blankImage(2, 1, 4);
    setPixelValue(*middle, 0, 0, 9);
    EXPECT_TRUE(DibEffectBrightMiddle(nullptr, nullptr, middle.get(), 1, 0));
    EXPECT_EQ(middle->ScanLine(0)[0], 0x90);  // nine six times of nine, then three times
}

TEST(Rank, AllBlackKeepsTheCarriedAlpha) {
    const DibPtr image = blankImage(3, 2, 32);
    for (int x = 0; x < 3; ++x) setPixelValue(*image, x, 0, 0x33000000);
    EXPECT_TRUE(DibEffectBrightMax(nullptr, nullptr, image.get(), 1, 0));
    for (int y = 0; y < 2; ++y) {
        for (int x = 0; x < 3; ++x) EXPECT_EQ(pixelValue(*image, x, y), 0xFE000000U);
    }

    const DibPtr spot = blankImage(5, 1, 32);
    setPixelValue(*spot, 1, 0, 0x44000001);
    EXPECT_TRUE(DibEffectBrightMax(nullptr, nullptr, spot.get(), 1, 0));
    EXPECT_EQ(pixelValue(*spot, 2, 0), 0x44000001U);
    EXPECT_EQ(pixelValue(*spot, 3, 0), 0x44000000U);
    EXPECT_EQ(pixelValue(*spot, 4, 0), 0x44000000U);

    const DibPtr wide = blankImage(2, 1, 32);
    EXPECT_TRUE(DibEffectBrightMax(nullptr, nullptr, wide.get(), 300, 0));
    EXPECT_EQ(pixelValue(*wide, 0, 0), 0xD3000000U);  // the low byte of ~300
}

TEST(Rank, AllWhiteStaysWhiteUnderTheMinimum) {
    const DibPtr image = blankImage(4, 1, 32);
    for (int x = 0; x < 4; ++x) setPixelValue(*image, x, 0, 0x12FFFFFF);
    setPixelValue(*image, 0, 0, 0x77FEFFFF);
    EXPECT_TRUE(DibEffectBrightMin(nullptr, nullptr, image.get(), 1, 0));
    EXPECT_EQ(pixelValue(*image, 0, 0), 0x77FEFFFFU);
    EXPECT_EQ(pixelValue(*image, 1, 0), 0x77FEFFFFU);
    EXPECT_EQ(pixelValue(*image, 2, 0), 0x77FFFFFFU);
    EXPECT_EQ(pixelValue(*image, 3, 0), 0x77FFFFFFU);
}

TEST(Rank, ASingleBrightPixel) {
    for (const int depth : {8, 16, 24, 32}) {
        const std::uint32_t bright = depth == 8 ? 200 : depth == 16 ? 0x7FFF : 0xC0C0C0;
        const DibPtr image = blankImage(5, 5, depth);
        setPixelValue(*image, 2, 2, bright);
        const DibPtr middle(image->Clone());
        EXPECT_TRUE(DibEffectBrightMax(nullptr, nullptr, image.get(), 1, 0));
        for (int y = 0; y < 5; ++y) {
            for (int x = 0; x < 5; ++x) {
                const bool isNear = x >= 1 && x <= 3 && y >= 1 && y <= 3;
                EXPECT_EQ(pixelValue(*image, x, y) & 0xFFFFFF, isNear ? bright : 0U);
            }
        }
        EXPECT_TRUE(DibEffectBrightMiddle(nullptr, nullptr, middle.get(), 1, 0));
        for (int y = 0; y < 5; ++y) {
            for (int x = 0; x < 5; ++x) EXPECT_EQ(pixelValue(*middle, x, y), 0U);
        }
    }
}

TEST(Rank, WrappingSpreadsACornerToTheOthers) {
    const DibPtr image = blankImage(6, 6, 24);
    setPixelValue(*image, 0, 0, 0xFFFFFF);
    EXPECT_TRUE(DibEffectBrightMax(nullptr, nullptr, image.get(), 1, DIB_WRAP_X | DIB_WRAP_Y));
    for (const int x : {0, 1, 5}) {
        for (const int y : {0, 1, 5}) EXPECT_EQ(pixelValue(*image, x, y), 0xFFFFFFU);
    }
    EXPECT_EQ(pixelValue(*image, 2, 0), 0U);
    EXPECT_EQ(pixelValue(*image, 5, 4), 0U);
}

TEST(Rank, SixteenBitWeightsExchangeTheOuterFields) {
    const DibPtr image = blankImage(2, 1, 16);
    setPixelValue(*image, 0, 0, 20 << 10);  // 37 x 20 = 740
    setPixelValue(*image, 1, 0, 11);        // 73 x 11 = 803
    EXPECT_TRUE(DibEffectBrightMax(nullptr, nullptr, image.get(), 1, 0));
    EXPECT_EQ(pixelValue(*image, 0, 0), 11U);
    EXPECT_EQ(pixelValue(*image, 1, 0), 11U);
}

// Blue and red exchange their weights between the middle of indexed colours and that of direct ones, so 10 of
// blue and 15 of red exchange their places.
TEST(Rank, TheMiddleWeighsIndexedAndDirectColorsApart) {
    const std::vector<DibBGRA> table{{0, 0, 0, 0}, {10, 0, 0, 0}, {0, 0, 15, 0}};
    // 73 x 10 = 730, 37 x 15 = 555
    EXPECT_EQ(ranked(DibEffectBrightMiddle, 8, {1, 2, 0}, 0, table), (Row{1, 2, 0}));
    EXPECT_EQ(ranked(DibEffectBrightMiddle, 8, {1, 0, 2}, 0, table), (Row{1, 2, 2}));
    // 37 x 10 = 370, 73 x 15 = 1095
    EXPECT_EQ(ranked(DibEffectBrightMiddle, 32, {0x7700000A, 0x220F0000, 0x33000000}),
              (Row{0x7700000A, 0x7700000A, 0x33000000}));
}

TEST(Rank, OfEquallyBrightPixelsTheFirstVisitedIsTaken) {
    for (const Effect extreme : {Effect{DibEffectBrightMax}, Effect{DibEffectBrightMin}}) {
        // 37 x 146 of blue, 146 x 37 of green; wrapped, the left pixel looks at the right one first.
        EXPECT_EQ(ranked(extreme, 24, {0x000092, 0x002500}), (Row{0x92, 0x92}));
        EXPECT_EQ(ranked(extreme, 24, {0x000092, 0x002500}, DIB_WRAP_X), (Row{0x2500, 0x92}));
        // Bit 15 has no brightness but belongs to the pixel.
        EXPECT_EQ(ranked(extreme, 16, {0x8000, 0}), (Row{0x8000, 0x8000}));
    }
    // The sixth of nine equals closes the second row of the square.
    EXPECT_EQ(ranked(DibEffectBrightMiddle, 16, {0x8000, 0}), (Row{0, 0}));
}

TEST(Rank, FiveOnesOfNineAreTheMajority) {
    const auto centerOf = [](const std::vector<int>& ones) {
        const DibPtr image = blankImage(3, 3, 1);
        setTable(*image, {{255, 255, 255, 0}, {0, 0, 0, 0}});
        for (const int place : ones) setPixelValue(*image, place % 3, place / 3, 1);
        EXPECT_TRUE(DibEffectBrightMiddle(nullptr, nullptr, image.get(), 1, 0));
        return pixelValue(*image, 1, 1);
    };
    // The centre, place 4, has one vote like the others.
    EXPECT_EQ(centerOf({0, 1, 2, 6, 8}), 1U);
    EXPECT_EQ(centerOf({0, 2, 4, 6, 8}), 1U);
    EXPECT_EQ(centerOf({0, 2, 6, 8}), 0U);
    EXPECT_EQ(centerOf({0, 2, 4, 8}), 0U);
}

TEST(Rank, MiddleOfNineIsTheFourthDarkest) {
    const DibPtr image = blankImage(3, 3, 8);
    for (int i = 0; i < 9; ++i)
        setPixelValue(*image, i % 3, i / 3, static_cast<std::uint32_t>(1 + i * 4 % 9));
    EXPECT_TRUE(DibEffectBrightMiddle(nullptr, nullptr, image.get(), 1, 0));
    EXPECT_EQ(pixelValue(*image, 1, 1), 4U);
}

TEST(Rank, TheSortIsStableAndStopsAtItsRank) {
    dib::bmidinfo entries[] = {{0, 5}, {1, 9}, {2, 5}, {3, 9}, {4, 7}};
    EXPECT_EQ(dib::bright_sort(entries, 5, 2)->value, 4U);
    EXPECT_EQ(entries[0].value, 1U);
    EXPECT_EQ(entries[1].value, 3U);
    EXPECT_EQ(dib::bright_sort(entries, 5, 3)->value, 0U);
    EXPECT_EQ(entries[4].value, 2U);

    dib::bmidinfo untouched[] = {{0, 1}, {1, 2}};
    dib::bright_sort(untouched, 2, -1);
    EXPECT_EQ(untouched[0].value, 0U);
}

}  // namespace

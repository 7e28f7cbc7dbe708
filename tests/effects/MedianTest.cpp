// Each way to the median by itself: where several apply they give the same, and each handles what the others
// never see.
#include <gtest/gtest.h>

#include <vector>

#include "dib/Kernels.h"
#include "effects/rank/MedianHugeRadius.h"
#include "effects/rank/MedianLargeRadius.h"
#include "effects/rank/MedianSmallRadius.h"
#include "tests/reference/RankReference.h"
#include "tests/support/EffectChecks.h"
#include "tests/support/TestImages.h"

namespace {

using testing_support::DibPtr;
using testing_support::pixelValue;
using testing_support::randomImage;
using testing_support::sameImage;
using testing_support::setPixelValue;

using ByteTiles = dib::MedianLargeRadius<std::uint8_t>;
using WordTiles = dib::MedianLargeRadius<std::uint16_t>;

template <class Median>
bool run(DibStream& image, int radius, unsigned int flags, dib::Progress progress = {nullptr, nullptr}) {
    return dib::filterImage<dib::Depth1, dib::Depth4, dib::Depth8, dib::Depth16, dib::Depth24, dib::Depth32>(
        progress, &image, Median(radius, flags));
}

enum class Values { kRandom, kFlat, kTwo, kRising };
constexpr Values kValues[] = {Values::kRandom, Values::kFlat, Values::kTwo, Values::kRising};

DibPtr pictureOf(Values values, int width, int height, int depth) {
    DibPtr image = randomImage(width, height, depth, 9);
    const std::uint32_t mask = depth == 32 ? ~0U : (1U << depth) - 1;
    testing_support::Random random(static_cast<std::uint64_t>(depth));
    for (int y = 0; values != Values::kRandom && y < std::abs(height); ++y) {
        for (int x = 0; x < width; ++x) {
            std::uint32_t value = 0x5A5A5A5A;
            // At 24 and 32 bits both are of one brightness.
            if (values == Values::kTwo) value = random.below(2) == 0 ? 73 << 16 : 37U + (36U << 16);
            if (values == Values::kRising) value = static_cast<std::uint32_t>(x / 2) * 0x010101U;
            setPixelValue(*image, x, y, value & mask);
        }
    }
    return image;
}

TEST(Median, BothEqualThePlainLoopsAtSmallRadii) {
    for (const int depth : testing_support::kDepths) {
        for (const int radius : {1, 2, 5, 7}) {
            for (unsigned flags = 0; flags < 4; ++flags) {
                const DibPtr expected = randomImage(19, flags < 2 ? 17 : -6, depth, flags);
                const DibPtr small(expected->Clone());
                const DibPtr large(expected->Clone());
                reference::brightMiddle(*expected, radius, flags);
                EXPECT_TRUE(run<dib::MedianSmallRadius>(*small, radius, flags));
                EXPECT_TRUE(run<dib::MedianHugeRadius>(*large, radius, flags));
                EXPECT_TRUE(sameImage(*small, *expected)) << depth << " " << radius << " " << flags;
                EXPECT_TRUE(sameImage(*large, *expected)) << depth << " " << radius << " " << flags;
            }
        }
    }
}

TEST(Median, TilesAndRowsEqualThePlainLoopsAtRadius8) {
    for (const int depth : testing_support::kDepths) {
        for (const Values values : {Values::kRandom, Values::kTwo}) {
            const unsigned flags = values == Values::kTwo ? 3 : 0;
            const DibPtr expected = pictureOf(values, 20, flags != 0 ? 19 : -19, depth);
            const DibPtr rows(expected->Clone());
            const DibPtr tiles(expected->Clone());
            reference::brightMiddle(*expected, 8, flags);
            EXPECT_TRUE(run<dib::MedianHugeRadius>(*rows, 8, flags));
            EXPECT_TRUE(run<ByteTiles>(*tiles, 8, flags));
            EXPECT_TRUE(sameImage(*rows, *expected)) << depth << " " << static_cast<int>(values);
            EXPECT_TRUE(sameImage(*tiles, *expected)) << depth << " " << static_cast<int>(values);
        }
    }
}

// Several tiles in both directions, of which the last are smaller; squares larger than the picture.
TEST(Median, TilesEqualRows) {
    const testing_support::Size sizes[] = {{1, 1}, {3, -200}, {131, 67}};
    for (const int depth : testing_support::kDepths) {
        for (const testing_support::Size size : sizes) {
            for (const Values values : kValues) {
                for (unsigned flags = 0; flags < 4; ++flags) {
                    const int radius = flags == 2 ? 33 : 11;
                    const DibPtr rows = pictureOf(values, size.width, size.height, depth);
                    const DibPtr bytes(rows->Clone());
                    const DibPtr words(rows->Clone());
                    EXPECT_TRUE(run<dib::MedianHugeRadius>(*rows, radius, flags));
                    EXPECT_TRUE(run<ByteTiles>(*bytes, radius, flags));
                    EXPECT_TRUE(run<WordTiles>(*words, radius, flags));
                    EXPECT_TRUE(sameImage(*bytes, *rows)) << depth << " " << size.width << " " << flags;
                    EXPECT_TRUE(sameImage(*words, *rows)) << depth << " " << size.width << " " << flags;
                }
            }
        }
    }
}

TEST(Median, TilesOfMoreThan256ColumnsEqualRows) {
    for (const int depth : {8, 24}) {
        const DibPtr rows = randomImage(140, 300, depth, 2);
        const DibPtr tiles(rows->Clone());
        EXPECT_TRUE(run<dib::MedianHugeRadius>(*rows, 128, 1));
        EXPECT_TRUE(run<WordTiles>(*tiles, 128, 1));
        EXPECT_TRUE(sameImage(*tiles, *rows));
    }
}

TEST(Median, TilesAreTheSameAtEveryLevel) {
    const DibPtr image = randomImage(90, 70, 24, 8);
    const DibPtr expected(image->Clone());
    EXPECT_TRUE(run<dib::MedianHugeRadius>(*expected, 12, 2));
    for (const dib::KernelLevel level : dib::kKernelLevels) {
        dib::limitKernelLevel(level);
        const DibPtr bytes(image->Clone());
        const DibPtr words(image->Clone());
        EXPECT_TRUE(run<ByteTiles>(*bytes, 12, 2));
        EXPECT_TRUE(run<WordTiles>(*words, 12, 2));
        EXPECT_TRUE(sameImage(*bytes, *expected));
        EXPECT_TRUE(sameImage(*words, *expected));
    }
    dib::limitKernelLevel(dib::bestKernelLevel());
}

// A band is worked out ahead of its rows, which callers see only when their turn comes.
TEST(Median, TilesReportAndStoreRowByRow) {
    const DibPtr before = randomImage(70, 150, 24, 3);
    const DibPtr whole(before->Clone());
    EXPECT_TRUE(run<ByteTiles>(*whole, 9, 0));
    for (const int last : {1, 49, 50, 51, 149, 150}) {
        const DibPtr image(before->Clone());
        struct Calls {
            int left;
            std::vector<float> fractions;
        } calls{last, {}};
        const auto stop = [](float done, void* user) {
            auto& state = *static_cast<Calls*>(user);
            state.fractions.push_back(done);
            return --state.left > 0;
        };
        EXPECT_FALSE(run<ByteTiles>(*image, 9, 0, {stop, &calls}));
        ASSERT_EQ(calls.fractions.size(), static_cast<std::size_t>(last));
        EXPECT_EQ(calls.fractions.back(), static_cast<float>(last) / 150.0F);
        for (int y = 0; y < 150; ++y) {
            DibStream& like = y < last ? *whole : *before;
            for (int x = 0; x < 70; ++x) EXPECT_EQ(pixelValue(*image, x, y), pixelValue(like, x, y));
        }
    }
}

TEST(Median, TilesSurviveFailingAllocations) {
    EXPECT_GE(testing_support::expectSurvivesFailingAllocations(
                  [](DibProgressCallback callback, void* user, DibStream* image) {
                      return run<WordTiles>(*image, 20, 0, {callback, user});
                  },
                  {8, 24}),
              13);
}

TEST(Median, SmallRadiusTakesTheSixthBrightestOfNine) {
    const DibPtr image = testing_support::blankImage(3, 3, 24);
    for (int i = 0; i < 9; ++i) setPixelValue(*image, i % 3, i / 3, static_cast<std::uint32_t>(10 * (9 - i)));
    EXPECT_TRUE(run<dib::MedianSmallRadius>(*image, 1, 0));
    EXPECT_EQ(pixelValue(*image, 1, 1), 40U);
}

TEST(Median, HugeRadiusTakesTheSixthBrightestOfNine) {
    const DibPtr image = testing_support::blankImage(3, 3, 24);
    for (int i = 0; i < 9; ++i) setPixelValue(*image, i % 3, i / 3, static_cast<std::uint32_t>(10 * (9 - i)));
    EXPECT_TRUE(run<dib::MedianHugeRadius>(*image, 1, 0));
    EXPECT_EQ(pixelValue(*image, 1, 1), 40U);
}

TEST(Median, RankIsOneStepDarkerThanTheMedian) {
    EXPECT_EQ(dib::medianRank(1, 8), 5U);
    EXPECT_EQ(dib::medianRank(7, 24), 113U);
    EXPECT_EQ(dib::medianRank(1, 1), 4U);
    EXPECT_EQ(dib::medianRank(23169, 24), 1073651461U);
}

dib::Raster rasterOf(int width, int height) {
    dib::Raster raster;
    EXPECT_TRUE(dib::admitImage(testing_support::blankImage(width, height, 8).get(), raster));
    return raster;
}

TEST(TileShape, DividesThePictureEvenly) {
    const dib::TileShape small = dib::tileShape(rasterOf(1920, 1080), 10);
    EXPECT_EQ(small.width, 64);
    EXPECT_EQ(small.height, 64);  // 17 bands
    EXPECT_EQ(small.columns(), 84);
    const dib::TileShape middle = dib::tileShape(rasterOf(1920, 1080), 64);
    EXPECT_EQ(middle.width, 128);
    EXPECT_EQ(middle.height, 120);
    EXPECT_EQ(middle.columns(), 256);
    const dib::TileShape large = dib::tileShape(rasterOf(1920, 1080), 400);
    EXPECT_EQ(large.width, 384);
    EXPECT_EQ(large.height, 216);
    EXPECT_EQ(large.rows(), 1016);
    const dib::TileShape single = dib::tileShape(rasterOf(65, 1), 10);
    EXPECT_EQ(single.width, 33);
    EXPECT_EQ(single.height, 1);
}

TEST(TileShape, BytesHoldTilesOfUpTo256Columns) {
    EXPECT_TRUE(ByteTiles::holds({128, 120, 64}));
    EXPECT_FALSE(ByteTiles::holds({128, 120, 65}));
    EXPECT_FALSE(ByteTiles::holds({120, 129, 64}));
    EXPECT_TRUE(WordTiles::holds({512, 256, 1792}));
    EXPECT_FALSE(WordTiles::holds({512, 256, 1793}));
}

TEST(TileShape, TilesAreLessWorkUnlessMostOfThemIsBeyondTheEdges) {
    const auto isLess = [](int width, int height, int radius) {
        const dib::Raster raster = rasterOf(width, height);
        return dib::tileShape(raster, radius).isLessWorkThanRows(raster);
    };
    EXPECT_TRUE(isLess(1920, 1080, 8));
    EXPECT_TRUE(isLess(1920, 1080, 1000));
    EXPECT_TRUE(isLess(300, 200, 500));
    EXPECT_TRUE(isLess(30, 30, 20));
    EXPECT_FALSE(isLess(1000, 8, 50));
    EXPECT_FALSE(isLess(100, 100, 500));
    EXPECT_FALSE(isLess(1, 1, 23169));
}

void numberKeys(const DibPtr& image, dib::TableKeys& keys) {
    const dib::FullCopy source(*image);
    dib::Raster raster;
    ASSERT_TRUE(dib::admitImage(image.get(), raster));
    dib::MedianInput input;
    ASSERT_TRUE(input.prepare(source, raster));
    keys.number(input);
}

TEST(TableKeys, NumberTheBrightnessesFromDarkToBright) {
    const DibPtr image = testing_support::blankImage(1, 1, 4);
    image->SetMonoPalette();
    setPixelValue(*image, 0, 0, 3);
    dib::TableKeys keys;
    ASSERT_NO_FATAL_FAILURE(numberKeys(image, keys));
    EXPECT_EQ(keys.count(), 16);
    EXPECT_EQ(keys.see(0), 0);
    EXPECT_EQ(keys.see(15), 15);
    keys.update();
    EXPECT_EQ(keys.indexOf(15), 15);
    EXPECT_FALSE(keys.several(15));
    EXPECT_FALSE(keys.anySeveral());
}

TEST(TableKeys, KnowWhetherSeveralIndicesShareAKey) {
    const DibPtr image = testing_support::blankImage(1, 1, 8);
    image->Header->biClrUsed = 1;  // the other entries read as black, as this one is
    dib::TableKeys keys;
    ASSERT_NO_FATAL_FAILURE(numberKeys(image, keys));
    EXPECT_EQ(keys.count(), 1);
    EXPECT_EQ(keys.see(200), 0);
    keys.update();
    EXPECT_EQ(keys.indexOf(0), 200);
    EXPECT_FALSE(keys.anySeveral());
    EXPECT_EQ(keys.see(7), 0);
    keys.update();
    EXPECT_TRUE(keys.several(0));
    EXPECT_TRUE(keys.anySeveral());
}

TEST(LevelValues, KnowWhetherALevelHasOneValue) {
    dib::LevelValues values;
    ASSERT_TRUE(values.prepare(3));
    EXPECT_FALSE(values.several(1));
    values.note(1, 0);
    values.note(1, 0);
    EXPECT_FALSE(values.several(1));
    EXPECT_EQ(values.value(1), 0U);
    values.note(2, 7);
    values.note(2, 8);
    values.note(2, 7);
    EXPECT_TRUE(values.several(2));
    EXPECT_FALSE(values.several(0));
}

}  // namespace

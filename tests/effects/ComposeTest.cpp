#include <DibEffect.h>
#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstring>
#include <vector>

#include "dib/Kernels.h"
#include "tests/effects/ComposeTestSupport.h"
#include "tests/reference/ComposeReference.h"
#include "tests/support/EffectChecks.h"
#include "tests/support/FailingMalloc.h"
#include "tests/support/TestImages.h"

namespace compose_test {
namespace {

using testing_support::blankImage;
using testing_support::DibPtr;
using testing_support::pixelValue;
using testing_support::plainImage;
using testing_support::ProgressLog;
using testing_support::randomImage;
using testing_support::sameImage;
using testing_support::setPixelValue;

bool compose(DibStream* image, DibStream* second, float opacity, unsigned int mode) {
    return DibEffectCompose(nullptr, nullptr, image, second, opacity, mode);
}

// A byte of the first image after `other` was blended in.
std::uint32_t blended(std::uint32_t old, std::uint32_t other, float opacity) {
    const DibPtr image = plainImage(1, 1, 8, old);
    const DibPtr second = plainImage(1, 1, 8, other);
    EXPECT_TRUE(compose(image.get(), second.get(), opacity, kStretch));
    return pixelValue(*image, 0, 0);
}

TEST(Compose, HalfBlackOverWhiteIs126) {
    for (const unsigned int mode : kModes) {
        for (const int depth : kAccepted) {
            const DibPtr image = plainImage(3, 2, depth, 0xFFFFFFFF);
            const DibPtr black = blankImage(3, 2, depth);
            EXPECT_TRUE(compose(image.get(), black.get(), 0.5F, mode));
            const std::uint32_t expected = depth == 8 ? 126U : depth == 24 ? 0x7E7E7EU : 0x7E7E7E7EU;
            EXPECT_EQ(pixelValue(*image, 2, 1), expected);
        }
    }
    EXPECT_EQ(blended(0, 255, 0.5F), 127U);  // 255 x 128 >> 8
}

TEST(Compose, FullOpacityShowsTheSecondImageAlone) {
    EXPECT_EQ(blended(255, 0, 1), 0U);
    EXPECT_EQ(blended(0, 255, 1), 254U);
    EXPECT_EQ(blended(255, 255, 1), 254U);
    EXPECT_EQ(blended(9, 100, 1), 99U);
    EXPECT_EQ(blended(9, 1, 1), 0U);
}

TEST(Compose, OpacityZeroTurns255Into254) {
    EXPECT_EQ(blended(255, 0, 0), 254U);
    EXPECT_EQ(blended(1, 200, 0), 0U);
    EXPECT_EQ(blended(0, 200, 0), 0U);
}

TEST(Compose, OnlyTheLowByteOfTheWeightCounts) {
    // White over black shows the weight a as 255 a >> 8, which is a - 1 from 1 on.
    EXPECT_EQ(blended(0, 255, 2.0F), 253U);         // 510: 254
    EXPECT_EQ(blended(255, 0, 2.0F), 0U);           // 255 x 1 >> 8
    EXPECT_EQ(blended(0, 255, 256.0F / 255), 0U);   // 256: 0
    EXPECT_EQ(blended(0, 255, 300.0F / 255), 43U);  // 300: 44
    EXPECT_EQ(blended(0, 255, -1.0F / 255), 0U);    // -0.5 is truncated to 0
    EXPECT_EQ(blended(0, 255, -0.5F), 128U);        // -127: 129
    EXPECT_EQ(blended(0, 255, -1.0F), 1U);          // -254.5 is truncated to -254: 2
    EXPECT_EQ(blended(0, 255, 1e6F), 191U);         // 255000000: 192
    EXPECT_EQ(blended(0, 255, 8421504.0F), 127U);   // 2147483520: 128
}

TEST(Compose, ForeignOpacities) {
    EXPECT_EQ(blended(0, 255, 8421505.0F), 254U);  // 2147483648 ends at 2147483647
    EXPECT_EQ(blended(0, 255, INFINITY), 254U);
    EXPECT_EQ(blended(0, 255, 3e38F), 254U);
    EXPECT_EQ(blended(0, 255, -INFINITY), 0U);
    EXPECT_EQ(blended(0, 255, -3e38F), 0U);
    EXPECT_EQ(blended(255, 0, -INFINITY), 254U);
    EXPECT_EQ(blended(0, 255, std::nanf("")), 0U);
    EXPECT_EQ(blended(255, 0, std::nanf("")), 254U);
}

TEST(Compose, TheProductIsSingleTheSumDouble) {
    // 0.49999997 + 0.5 would be 1 in single precision.
    EXPECT_EQ(blended(255, 0, 0.0019607842F), 254U);
    EXPECT_EQ(blended(255, 0, 0.0019607844F), 253U);
    // 0.503921568 x 255 is 128.49999994, in single precision 128.5: 129.
    EXPECT_EQ(blended(0, 255, 0.50392157F), 128U);
}

TEST(Compose, EqualsThePlainLoops) {
    for (const int secondDepth : testing_support::kDepths) {
        for (const testing_support::Size size : testing_support::kSizes) {
            for (const int height : {size.height, -size.height}) {
                for (const unsigned int mode : {0U, 1U, 2U}) {
                    SCOPED_TRACE(::testing::Message() << "second image " << size.width << " x " << height
                                                      << " at " << secondDepth << " bits, mode " << mode);
                    const DibPtr second = randomImage(size.width, height, secondDepth, 11);
                    const DibPtr unchanged(second->Clone());
                    testing_support::expectEqualsReference(
                        [&](DibProgressCallback callback, void* user, DibStream* image) {
                            return DibEffectCompose(callback, user, image, second.get(), 0.3F, mode);
                        },
                        [&](DibStream& image) { reference::compose(image, *second, 0.3F, mode); }, kAccepted);
                    EXPECT_TRUE(sameImage(*second, *unchanged));
                    if (HasFailure()) return;
                }
            }
        }
    }
}

TEST(Compose, EveryWeightOfEveryByte) {
    const DibPtr first = blankImage(256, 256, 8);
    const DibPtr second = blankImage(256, 256, 8);
    for (int y = 0; y < 256; ++y) {
        for (int x = 0; x < 256; ++x) {
            setPixelValue(*first, x, y, static_cast<std::uint32_t>(x));
            setPixelValue(*second, x, y, static_cast<std::uint32_t>(y));
        }
    }
    for (const dib::KernelLevel level : dib::kKernelLevels) {
        dib::limitKernelLevel(level);
        for (int a = 0; a < 256; ++a) {
            const DibPtr image(first->Clone());
            const DibPtr expected(first->Clone());
            const float opacity = static_cast<float>(a) / 255;
            EXPECT_TRUE(compose(image.get(), second.get(), opacity, kStretch));
            reference::compose(*expected, *second, opacity, kStretch);
            ASSERT_TRUE(sameImage(*image, *expected)) << a;
        }
    }
}

TEST(Compose, TilesRepeatColumnsAndRows) {
    const DibPtr tile = blankImage(2, -2, 24);
    const std::uint32_t values[2][2] = {{0x020406, 0x080A0C}, {0x0E1012, 0x141618}};
    for (int y = 0; y < 2; ++y) {
        for (int x = 0; x < 2; ++x) setPixelValue(*tile, x, y, values[y][x]);
    }
    for (const int height : {5, -5}) {
        const DibPtr image = blankImage(5, height, 24);
        EXPECT_TRUE(compose(image.get(), tile.get(), 1, kTile));
        constexpr int kPlace[] = {0, 1, 0, 1, 0};
        for (int y = 0; y < 5; ++y) {
            for (int x = 0; x < 5; ++x) {
                // 255 v >> 8 is v - 1.
                EXPECT_EQ(pixelValue(*image, x, y), values[kPlace[y]][kPlace[x]] - 0x010101U)
                    << x << " " << y;
            }
        }
    }
}

TEST(Compose, ALargerTileIsCut) {
    const DibPtr tile = blankImage(4, 3, 8);
    for (int x = 0; x < 4; ++x) setPixelValue(*tile, x, 0, static_cast<std::uint32_t>(10 + x));
    const DibPtr image = blankImage(2, 1, 8);
    EXPECT_TRUE(compose(image.get(), tile.get(), 1, kTile));
    EXPECT_EQ(pixelValue(*image, 0, 0), 9U);
    EXPECT_EQ(pixelValue(*image, 1, 0), 10U);
}

TEST(Compose, StretchingResizesTheSecondImage) {
    // 24 bits: the outer columns of a bilinear result are those of the source.
    const DibPtr second = blankImage(2, 1, 24);
    setPixelValue(*second, 0, 0, 0x0A0A0A);
    setPixelValue(*second, 1, 0, 0xC8C8C8);
    const DibPtr image = blankImage(9, 6, 24);
    EXPECT_TRUE(compose(image.get(), second.get(), 1, kStretch));
    EXPECT_EQ(pixelValue(*image, 0, 3), 0x090909U);
    EXPECT_EQ(pixelValue(*image, 8, 3), 0xC7C7C7U);
    EXPECT_EQ(second->Header->biWidth, 2);
    EXPECT_EQ(second->Header->biHeight, 1);

    // Exactly half the size is the mean of four.
    const DibPtr four = blankImage(2, 2, 32);
    setPixelValue(*four, 0, 0, 0x04040404);
    setPixelValue(*four, 1, 1, 0x40404040);
    const DibPtr one = blankImage(1, 1, 32);
    EXPECT_TRUE(compose(one.get(), four.get(), 1, kStretch));
    EXPECT_EQ(pixelValue(*one, 0, 0), 0x10101010U);
}

TEST(Compose, AnotherDepthIsConvertedFirst) {
    const DibPtr red = plainImage(2, 2, 24, 0xFF0000);
    // With the grey table: (37 blue + 146 green + 73 red) >> 8 is 72.
    const DibPtr grey = blankImage(2, 2, 8);
    EXPECT_TRUE(compose(grey.get(), red.get(), 1, kTile));
    EXPECT_EQ(pixelValue(*grey, 1, 1), 71U);
    EXPECT_EQ(red->Header->biBitCount, 24);

    const DibPtr indexed = plainImage(2, 2, 8, 3);
    unsigned char* entry = reinterpret_cast<unsigned char*>(indexed->Header) + 40 + 4 * 3;
    entry[0] = 11, entry[1] = 21, entry[2] = 31;
    const DibPtr colors = blankImage(2, 2, 24);
    EXPECT_TRUE(compose(colors.get(), indexed.get(), 1, kStretch));
    EXPECT_EQ(pixelValue(*colors, 0, 0), 0x1E140AU);
}

TEST(Compose, IndicesAreBlendedAsNumbers) {
    const DibPtr first = plainImage(1, 1, 8, 10);
    const DibPtr second = plainImage(1, 1, 8, 200);
    // Colour tables play no part, even if they do not match the indices.
    std::memset(reinterpret_cast<unsigned char*>(second->Header) + 40, 0, 1024);
    const auto header = testing_support::headerBytes(*first);
    EXPECT_TRUE(compose(first.get(), second.get(), 0.5F, kStretch));
    EXPECT_EQ(pixelValue(*first, 0, 0), 104U);  // (10 x 127 + 200 x 128) >> 8
    EXPECT_EQ(testing_support::headerBytes(*first), header);
}

TEST(Compose, AlphaIsBlendedLikeTheColors) {
    const DibPtr image = plainImage(1, 1, 32, 0xC8000000);
    const DibPtr second = plainImage(1, 1, 32, 0x64000000);
    EXPECT_TRUE(compose(image.get(), second.get(), 0.5F, kTile));
    EXPECT_EQ(pixelValue(*image, 0, 0), 0x95000000U);  // (200 x 127 + 100 x 128) >> 8
}

TEST(Compose, FillBytesAreNotTouched) {
    for (const unsigned int mode : kModes) {
        for (const int depth : {8, 24}) {
            const DibPtr image = randomImage(5, 3, depth, 5);
            const DibPtr before(image->Clone());
            const DibPtr second = randomImage(5, 3, depth, 6);
            EXPECT_TRUE(compose(image.get(), second.get(), 0.7F, mode));
            for (int y = 0; y < 3; ++y) {
                for (unsigned i = 5U * static_cast<unsigned>(depth) / 8; i < image->GetPitch(); ++i) {
                    EXPECT_EQ(image->ScanLine(y)[i], before->ScanLine(y)[i]);
                }
            }
        }
    }
}

TEST(Compose, RowsCountFromTheTopInEitherOrder) {
    const DibPtr bottomUp = randomImage(4, 3, 24, 8);
    const DibPtr topDown = randomImage(4, -3, 24, 8);
    for (int y = 0; y < 3; ++y)
        std::memcpy(topDown->ScanLine(y), bottomUp->ScanLine(y), bottomUp->GetPitch());
    for (const unsigned int mode : kModes) {
        const DibPtr one = randomImage(4, 3, 24, 9);
        const DibPtr other(one->Clone());
        EXPECT_TRUE(compose(one.get(), bottomUp.get(), 0.6F, mode));
        EXPECT_TRUE(compose(other.get(), topDown.get(), 0.6F, mode));
        EXPECT_TRUE(sameImage(*one, *other));
    }
}

TEST(Compose, AnImageIsBlendedIntoItself) {
    for (const unsigned int mode : kModes) {
        for (const int depth : kAccepted) {
            const DibPtr image = randomImage(67, 9, depth, 10);
            const DibPtr copy(image->Clone());
            const DibPtr expected(image->Clone());
            reference::compose(*expected, *copy, 0.4F, mode);
            EXPECT_TRUE(compose(image.get(), image.get(), 0.4F, mode));
            EXPECT_TRUE(sameImage(*image, *expected));
        }
    }
}

TEST(Compose, ImagesThatShareABlockAreBlendedByteAfterByte) {
    const DibPtr header = blankImage(51, 1, 8);
    for (const int shift : {-60, -52, -51, -50, -17, -2, -1, 1, 2, 17, 50, 51, 52, 60}) {
        std::vector<unsigned char> block(200);
        for (std::size_t i = 0; i < block.size(); ++i) block[i] = static_cast<unsigned char>(i * 37);
        std::vector<unsigned char> expected = block;
        unsigned char* bytes = expected.data() + 70;
        for (int i = 0; i < 51; ++i) {
            bytes[i] = static_cast<unsigned char>((bytes[i] * 127 + bytes[i + shift] * 128) >> 8);
        }
        DibStream image;
        DibStream second;
        ASSERT_TRUE(image.SetDib(header->Header, 0, block.data() + 70, 0));
        ASSERT_TRUE(second.SetDib(header->Header, 0, block.data() + 70 + shift, 0));
        EXPECT_TRUE(compose(&image, &second, 0.5F, kTile));
        EXPECT_EQ(block, expected) << shift;
    }
}

TEST(Compose, OtherModesBlendNothing) {
    const DibPtr second = randomImage(3, 3, 1, 3);
    DibStream empty;
    for (const unsigned int mode : {2U, 3U, 256U, UINT_MAX}) {
        for (const int depth : kAccepted) {
            const DibPtr image = randomImage(4, 4, depth, 1);
            const DibPtr before(image->Clone());
            for (DibStream* other : {second.get(), &empty, static_cast<DibStream*>(nullptr)}) {
                EXPECT_TRUE(compose(image.get(), other, 0.5F, mode));
            }
            EXPECT_TRUE(sameImage(*image, *before));
        }
        // The depth of the first image is checked first.
        const DibPtr refused = randomImage(4, 4, 16, 1);
        EXPECT_FALSE(compose(refused.get(), second.get(), 0.5F, mode));
        EXPECT_FALSE(compose(&empty, second.get(), 0.5F, mode));
    }
}

TEST(Compose, Refusals) {
    const DibPtr second = randomImage(3, 3, 24, 3);
    for (const unsigned int mode : kModes) {
        testing_support::expectRefusals(
            [&](DibProgressCallback callback, void* user, DibStream* image) {
                return DibEffectCompose(callback, user, image, second.get(), 0.5F, mode);
            },
            kAccepted);
    }
}

TEST(Compose, SecondImagesWithoutPixels) {
    const DibPtr image = randomImage(4, 4, 24, 1);
    const DibPtr before(image->Clone());
    const auto expectRefused = [&](DibStream* second) {
        for (const unsigned int mode : kModes) {
            EXPECT_FALSE(compose(image.get(), second, 0.5F, mode));
        }
    };
    expectRefused(nullptr);
    DibStream empty;
    expectRefused(&empty);
    for (const int depth : testing_support::kDepths) {
        const DibPtr headerOnly = randomImage(4, 4, depth, 1);
        headerOnly->BufferFree();
        expectRefused(headerOnly.get());
        const DibPtr pixelsOnly = randomImage(4, 4, depth, 1);
        pixelsOnly->HeaderFree();
        expectRefused(pixelsOnly.get());
        const DibPtr odd = randomImage(4, 4, depth, 1);
        odd->Header->biHeight = 0;
        expectRefused(odd.get());
        odd->Header->biHeight = 4;
        for (const int width : {0, -4}) {
            odd->Header->biWidth = width;
            expectRefused(odd.get());
        }
        odd->Header->biWidth = INT_MAX;
        if (depth >= 8) expectRefused(odd.get());
        odd->Header->biWidth = 1;
        odd->Header->biBitCount = 2;
        expectRefused(odd.get());
        odd->Header->biBitCount = static_cast<std::uint16_t>(depth);
    }
    EXPECT_TRUE(sameImage(*image, *before));
    EXPECT_EQ(image->ErrorCode, 0);
}

TEST(Compose, AFirstImageWithoutColumnsHasNothingToBlend) {
    const DibPtr second = randomImage(3, 3, 24, 3);
    const DibPtr image = randomImage(4, 4, 32, 1);
    const DibPtr before(image->Clone());
    image->Header->biWidth = 0;
    for (const unsigned int mode : kModes) EXPECT_TRUE(compose(image.get(), second.get(), 0.5F, mode));
    image->Header->biWidth = 4;
    EXPECT_TRUE(sameImage(*image, *before));
}

TEST(Compose, TheCallbackIsNeverCalled) {
    const DibPtr image = randomImage(4, 4, 24, 1);
    const DibPtr second = randomImage(3, 3, 8, 3);
    ProgressLog log;
    log.cancelAt = 0;
    for (const unsigned int mode : {0U, 1U, 2U}) {
        EXPECT_TRUE(DibEffectCompose(ProgressLog::callback, &log, image.get(), second.get(), 0.5F, mode));
    }
    EXPECT_TRUE(log.fractions.empty());
}

TEST(Compose, FailingAllocations) {
    for (const unsigned int mode : kModes) {
        for (const int secondDepth : testing_support::kDepths) {
            const DibPtr second = randomImage(6, 4, secondDepth, 3);
            const DibPtr unchanged(second->Clone());
            second->ErrorCode = 5;
            const int failures = testing_support::expectSurvivesFailingAllocations(
                [&](DibProgressCallback callback, void* user, DibStream* image) {
                    return DibEffectCompose(callback, user, image, second.get(), 0.5F, mode);
                },
                kAccepted);
            EXPECT_GE(failures, 6);
            EXPECT_TRUE(sameImage(*second, *unchanged));
            EXPECT_EQ(second->ErrorCode, 5);
        }
    }
}

}  // namespace
}  // namespace compose_test

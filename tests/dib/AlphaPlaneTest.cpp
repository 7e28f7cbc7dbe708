// The alpha bytes of an image as an image of their own, and back.
#include <DibStream.h>
#include <gtest/gtest.h>

#include <cstring>

#include "dib/ColorTable.h"
#include "tests/dib/ContainerSupport.h"
#include "tests/support/FailingMalloc.h"
#include "tests/support/TestImages.h"

namespace container_support {
namespace {

using testing_support::DibPtr;

TEST(AlphaPlane, CreateAlphaDibTakesTheAlphaBytes) {
    for (const int height : {3, -3}) {
        const DibPtr image = testing_support::randomImage(5, height, 32, 4);
        const DibPtr alpha(image->CreateAlphaDib());
        ASSERT_NE(alpha, nullptr);
        EXPECT_EQ(alpha->RefCount, 1U);
        EXPECT_EQ(alpha->Header->biBitCount, 8);
        EXPECT_EQ(alpha->Header->biWidth, 5);
        EXPECT_EQ(alpha->Header->biHeight, height);
        expectGrey(*alpha, 256, 1);
        for (int y = 0; y < 3; ++y) {
            for (int x = 0; x < 5; ++x) EXPECT_EQ(*alpha->Pixel(x, y), image->Pixel(x, y)[3]);
        }
    }
    for (const int bits : {1, 4, 8, 16, 24}) {
        EXPECT_EQ(testing_support::blankImage(2, 2, bits)->CreateAlphaDib(), nullptr);
    }
    DibStream dib;
    EXPECT_EQ(dib.CreateAlphaDib(), nullptr);
    ASSERT_TRUE(dib.Create(2, 2, 32));
    dib.BufferFree();
    EXPECT_EQ(dib.CreateAlphaDib(), nullptr);
    unsigned char pixels[4] = {};
    dib.SetBuffer(pixels, 0);
    dib.Header->biWidth = 30000;
    dib.Header->biHeight = 30000;
    EXPECT_EQ(dib.CreateAlphaDib(), nullptr) << "such a pixel block cannot exist";
    dib.Header->biHeight = 0;
    EXPECT_EQ(dib.CreateAlphaDib(), nullptr);
}

TEST(AlphaPlane, SetAlphaPlaneCopiesBufferRows) {
    for (const int height : {3, -3}) {
        for (const int alphaHeight : {3, -3}) {
            const DibPtr image = testing_support::randomImage(5, height, 32, 4);
            const DibPtr before(image->Clone());
            const DibPtr alpha = testing_support::randomImage(5, alphaHeight, 8, 5);
            ASSERT_TRUE(image->SetAlphaPlane(alpha.get()));
            for (std::size_t row = 0; row < 3; ++row) {
                for (std::size_t x = 0; x < 5; ++x) {
                    EXPECT_EQ(image->Buffer[row * 20 + x * 4 + 3], alpha->Buffer[row * 8 + x]);
                    EXPECT_EQ(
                        std::memcmp(image->Buffer + row * 20 + x * 4, before->Buffer + row * 20 + x * 4, 3),
                        0);
                }
            }
        }
    }
}

TEST(AlphaPlane, SetAlphaPlaneRefusesOtherImages) {
    const DibPtr image = testing_support::randomImage(5, 3, 32, 4);
    const DibPtr before(image->Clone());
    EXPECT_FALSE(image->SetAlphaPlane(nullptr));
    EXPECT_FALSE(image->SetAlphaPlane(testing_support::blankImage(4, 3, 8).get()));
    EXPECT_FALSE(image->SetAlphaPlane(testing_support::blankImage(5, 4, 8).get()));
    EXPECT_FALSE(image->SetAlphaPlane(testing_support::blankImage(5, -2, 8).get()));
    for (const int bits : {1, 4, 16, 24, 32}) {
        EXPECT_FALSE(image->SetAlphaPlane(testing_support::blankImage(5, 3, bits).get()));
    }
    EXPECT_FALSE(image->SetAlphaPlane(image.get()));
    DibStream empty;
    EXPECT_FALSE(image->SetAlphaPlane(&empty));
    EXPECT_TRUE(testing_support::sameImage(*image, *before));

    const DibPtr alpha = testing_support::blankImage(5, 3, 8);
    EXPECT_FALSE(empty.SetAlphaPlane(alpha.get()));
    for (const int bits : {1, 4, 8, 16, 24}) {
        EXPECT_FALSE(testing_support::blankImage(5, 3, bits)->SetAlphaPlane(alpha.get()));
    }
    alpha->BufferFree();
    EXPECT_FALSE(image->SetAlphaPlane(alpha.get()));
    // Sizes that no pixel block can have; the blocks here are far too small for them.
    unsigned char few[4] = {7, 7, 7, 7};
    for (const auto& [width, height] : {std::pair{30000, 30000}, {-1, 1}, {1, INT32_MIN}, {INT32_MAX, 1}}) {
        HeaderBlock huge(width, height, 32);
        HeaderBlock hugeGrey(width, height, 8);
        DibStream colors;
        DibStream greys;
        colors.SetDib(huge.header(), 0, few, 0);
        greys.SetDib(hugeGrey.header(), 0, few, 0);
        EXPECT_FALSE(colors.SetAlphaPlane(&greys));
        EXPECT_EQ(colors.ErrorCode, 0);
        EXPECT_EQ(few[3], 7);
    }
    // No rows, nothing to do.
    unsigned char pixels[4] = {};
    HeaderBlock none(5, 0, 32);
    HeaderBlock noneGrey(5, 0, 8);
    DibStream a;
    DibStream b;
    a.SetDib(none.header(), 0, pixels, 0);
    b.SetDib(noneGrey.header(), 0, pixels, 0);
    EXPECT_TRUE(a.SetAlphaPlane(&b));
}

TEST(AlphaPlane, SurvivesEveryFailingAllocation) {
    const DibPtr colors = testing_support::randomImage(5, 3, 32, 1);
    DibStream* alpha = nullptr;
    EXPECT_EQ(testing_support::forEachFailingAllocation([] {}, [&] { alpha = colors->CreateAlphaDib(); },
                                                        [&](bool failureMet) {
                                                            EXPECT_EQ(alpha == nullptr, failureMet);
                                                            if (alpha != nullptr) alpha->Release();
                                                        }),
              3);
}

}  // namespace
}  // namespace container_support

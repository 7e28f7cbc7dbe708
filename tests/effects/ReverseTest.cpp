#include <DibEffect.h>
#include <gtest/gtest.h>

#include "dib/Kernels.h"
#include "tests/reference/EffectReference.h"
#include "tests/support/EffectChecks.h"
#include "tests/support/TestImages.h"

namespace {

using testing_support::blankImage;
using testing_support::DibPtr;
using testing_support::ProgressLog;
using testing_support::randomImage;

bool runReverse(DibProgressCallback callback, void* user, DibStream* image) {
    return DibEffectReverse(callback, user, image);
}

TEST(Reverse, InvertsEveryByteOfTheBlock) {
    testing_support::expectEqualsReference(runReverse, reference::reverse, {1, 4, 8, 16, 24, 32});
}

TEST(Reverse, TwiceRestoresTheImageAndColorTableStays) {
    for (const int depth : testing_support::kDepths) {
        const DibPtr image = randomImage(17, -5, depth, 3);
        const DibPtr before(image->Clone());
        EXPECT_TRUE(DibEffectReverse(nullptr, nullptr, image.get()));
        EXPECT_FALSE(testing_support::sameImage(*image, *before));
        EXPECT_EQ(testing_support::headerBytes(*image), testing_support::headerBytes(*before));
        EXPECT_TRUE(DibEffectReverse(nullptr, nullptr, image.get()));
        EXPECT_TRUE(testing_support::sameImage(*image, *before));
    }
}

TEST(Reverse, RowFillIsInvertedToo) {
    const DibPtr image = blankImage(1, 2, 24);
    image->Buffer[0] = 0x12;
    EXPECT_TRUE(DibEffectReverse(nullptr, nullptr, image.get()));
    EXPECT_EQ(testing_support::pixelBytes(*image),
              (std::vector<unsigned char>{0xED, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}));
}

TEST(Reverse, AnyDepthIsAccepted) {
    const DibPtr image = blankImage(8, 1, 8);
    image->Header->biBitCount = 2;  // pitch 4
    EXPECT_TRUE(DibEffectReverse(nullptr, nullptr, image.get()));
    EXPECT_EQ((std::vector<unsigned char>(image->Buffer, image->Buffer + 8)),
              (std::vector<unsigned char>{255, 255, 255, 255, 0, 0, 0, 0}));
}

TEST(Reverse, DepthsAbove32FillTheirPitchToo) {
    for (const int depth : {48, 64}) {
        const DibPtr image = blankImage(16, 1, 8);
        image->Header->biBitCount = static_cast<unsigned short>(depth);
        image->Header->biWidth = 1;  // pitch 8
        EXPECT_TRUE(DibEffectReverse(nullptr, nullptr, image.get()));
        for (int i = 0; i < 16; ++i) EXPECT_EQ(image->Buffer[i], i < 8 ? 255 : 0) << depth << ", " << i;
    }
}

TEST(Reverse, NothingIsReportedAndNothingToDoIsSuccess) {
    ProgressLog log;
    log.cancelAt = 0;
    const DibPtr image = randomImage(3, 3, 8, 1);
    EXPECT_TRUE(DibEffectReverse(ProgressLog::callback, &log, image.get()));
    EXPECT_TRUE(log.fractions.empty());

    DibStream empty;
    EXPECT_TRUE(DibEffectReverse(nullptr, nullptr, &empty));
    image->Header->biHeight = 0;
    EXPECT_TRUE(DibEffectReverse(nullptr, nullptr, image.get()));
    image->Header->biHeight = 3;
    image->Header->biWidth = 0x7FFFFFFF;  // cannot exist
    EXPECT_TRUE(DibEffectReverse(nullptr, nullptr, image.get()));
}

TEST(Reverse, ImagesThatCannotBeInverted) {
    EXPECT_FALSE(DibEffectReverse(nullptr, nullptr, nullptr));
    const DibPtr image = randomImage(3, 3, 8, 1);
    image->BufferFree();
    EXPECT_FALSE(DibEffectReverse(nullptr, nullptr, image.get()));
}

TEST(Reverse, RecordOverloadIsAlwaysTrue) {
    DEReverseInfo info{0xDEADBEEF};
    EXPECT_TRUE(DibEffectReverse(nullptr, nullptr, nullptr, &info));
    EXPECT_TRUE(DibEffectReverse(nullptr, nullptr, nullptr, static_cast<DEReverseInfo*>(nullptr)));
    const DibPtr image = randomImage(3, 3, 8, 1);
    const DibPtr expected(image->Clone());
    reference::reverse(*expected);
    EXPECT_TRUE(DibEffectReverse(nullptr, nullptr, image.get(), &info));
    EXPECT_TRUE(testing_support::sameImage(*image, *expected));
    EXPECT_EQ(info.tag, 0xDEADBEEF);
}

TEST(Reverse, BytesBeyondTheRowsStay) {
    const DibPtr image = blankImage(4, 4, 8);
    image->Header->biHeight = 2;  // biSizeImage still says 16
    EXPECT_TRUE(DibEffectReverse(nullptr, nullptr, image.get()));
    EXPECT_EQ(image->Buffer[7], 255);
    EXPECT_EQ(image->Buffer[8], 0);
}

}  // namespace

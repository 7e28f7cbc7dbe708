#include <DibStream.h>
#include <gtest/gtest.h>

#include "tests/support/FailingMalloc.h"

namespace {

TEST(Container, NewObjectIsEmpty) {
    DibStream dib;
    EXPECT_EQ(dib.RefCount, 1U);
    EXPECT_EQ(dib.Header, nullptr);
    EXPECT_EQ(dib.Buffer, nullptr);
    EXPECT_EQ(dib.HeaderOwner, 0U);
    EXPECT_EQ(dib.BufferOwner, 0U);
    EXPECT_EQ(dib.ErrorCode, 0);
    EXPECT_EQ(dib.GetPitch(), 0U);
    EXPECT_EQ(dib.GetImageSize(), 0);
    EXPECT_EQ(dib.Pixel(0, 0), nullptr);
}

TEST(Container, CreateSurvivesEveryFailingAllocation) {
    DibStream* dib = nullptr;
    bool created = false;
    const int failures = testing_support::forEachFailingAllocation(
        [&] { dib = new DibStream; }, [&] { created = dib->Create(5, -3, 8); },
        [&](bool failureMet) {
            EXPECT_EQ(created, !failureMet);
            EXPECT_EQ(dib->ErrorCode, failureMet ? DIB_ERROR_MEMORY : DIB_OK);
            EXPECT_EQ(dib->Header == nullptr, failureMet);
            EXPECT_EQ(dib->HeaderOwner, failureMet ? 0U : 6U);
            dib->Release();
        });
    EXPECT_EQ(failures, 2);
}

}  // namespace

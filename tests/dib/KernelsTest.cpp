// Levels of instructions by their names.
#include <DibKernels.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "dib/Kernels.h"

namespace {

class Kernels : public testing::Test {
protected:
    ~Kernels() override { dib::limitKernelLevel(dib::bestKernelLevel()); }
};

TEST_F(Kernels, AreLimitedByName) {
    ASSERT_TRUE(DibLimitKernels("baseline"));
    EXPECT_EQ(dib::kernelLevel(), dib::KernelLevel::kBaseline);
    EXPECT_STREQ(DibKernelsInUse(), "baseline");
    ASSERT_TRUE(DibLimitKernels("avx2"));
    EXPECT_EQ(dib::kernelLevel(), std::min(dib::KernelLevel::kAvx2, dib::bestKernelLevel()));
    ASSERT_TRUE(DibLimitKernels("avx512"));
    EXPECT_EQ(dib::kernelLevel(), dib::bestKernelLevel());
}

TEST_F(Kernels, StayAsTheyAreForOtherNames) {
    ASSERT_TRUE(DibLimitKernels("baseline"));
    for (const char* name : {"", "AVX2", "avx", "avx5120", "neon"})
        EXPECT_FALSE(DibLimitKernels(name)) << name;
    EXPECT_FALSE(DibLimitKernels(nullptr));
    EXPECT_STREQ(DibKernelsInUse(), "baseline");
}

}  // namespace

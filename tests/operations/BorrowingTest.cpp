// Chains borrow the caller's pixels until a step changes them.
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "tests/operations/Operations.h"
#include "tests/support/FailingMalloc.h"
#include "tests/support/PeakMemory.h"
#include "tests/support/System.h"
#include "tests/support/TestImages.h"

namespace operations_test {

namespace {

using testing_support::DibPtr;
using testing_support::randomImage;
using testing_support::sameImage;
using testing_support::setPixelValue;

// Bytes that nobody can change: a write ends the program.
class ReadOnlyCopy {
public:
    ReadOnlyCopy(const void* bytes, std::size_t count)
        : bytes_(testing_support::makeReadOnly(bytes, count)), size_(count) {
        if (bytes_ == nullptr) std::abort();
    }
    ~ReadOnlyCopy() { testing_support::freeReadOnly(bytes_, size_); }
    ReadOnlyCopy(const ReadOnlyCopy&) = delete;
    ReadOnlyCopy& operator=(const ReadOnlyCopy&) = delete;

    void* get() const { return bytes_; }

private:
    void* bytes_;
    std::size_t size_;
};

// Lends blocks that cannot be changed to images.
class Lender {
public:
    explicit Lender(DibStream& image)
        : header_(testing_support::headerBytes(image).data(), testing_support::headerBytes(image).size()),
          pixels_(image.Buffer, static_cast<std::size_t>(image.GetImageSize())) {}

    void lendTo(DibStream& image) const { ASSERT_TRUE(image.SetDib(header_.get(), 0, pixels_.get(), 0)); }

    // `DibApplyOptions::open`
    static bool open(void* lender, const char*, DibStream* image, DibFileResult*, DibProgressCallback,
                     void*) {
        static_cast<const Lender*>(lender)->lendTo(*image);
        return true;
    }

private:
    ReadOnlyCopy header_;
    ReadOnlyCopy pixels_;
};

// Steps that may change nothing, beside the samples of all operations.
std::vector<std::string> manyChains() {
    std::vector<std::string> chains = {"rotate:0",      "motion-blur:1", "median:0",
                                       "diffuse:0",     "half half",     "wave:60,0",
                                       "whirl:0",       "resize:100%",   "fit:9000x9000",
                                       "crop:0,0,100%", "border:0",      "resize:100%,filter=nearest",
                                       "fill:100%",     "canvas:100%"};
    for (const DibOperation* operation : all()) {
        chains.emplace_back(operation->example);
        chains.insert(chains.end(), std::begin(operation->samples), std::end(operation->samples));
        const DibParameter* last = nullptr;
        for (const DibParameter* parameter : DibList(operation->parameters)) last = parameter;
        if (last != nullptr && std::strcmp(last->name, "classic") == 0) {
            const std::string example = operation->example;
            chains.push_back(example + (example.find(':') == std::string::npos ? ":" : ",") + "classic");
        }
    }
    return chains;
}

void expectLentPixelsStay(DibStream& original, const std::string& chain) {
    const Lender lender(original);
    const DibPtr second = randomImage(13, 7, 24, 2);
    Lender secondLender(*second);
    DibApplyOptions options;
    options.open = &Lender::open;
    options.context = &secondLender;
    DibStream lent;
    lender.lendTo(lent);
    unsigned char* const pixels = lent.Buffer;
    const bool isDone = DibApply(&lent, chain.c_str(), &options);
    if (!isDone) {
        EXPECT_TRUE(sameImage(lent, original));
        EXPECT_EQ(lent.Buffer, pixels);
        return;
    }
    EXPECT_NE(lent.Buffer, pixels);
    EXPECT_EQ(lent.BufferOwner, 6U);
    EXPECT_EQ(lent.HeaderOwner, 6U);
    options.inPlace = true;
    EXPECT_TRUE(DibApply(&original, chain.c_str(), &options));
    EXPECT_TRUE(sameImage(lent, original));
}

TEST(OperationBorrowing, NeverChangesLentPixels) {
    for (const std::string& chain : manyChains()) {
        for (const int bitCount : testing_support::kDepths) {
            SCOPED_TRACE(chain + " at " + std::to_string(bitCount));
            const DibPtr image = randomImage(61, bitCount == 8 ? -11 : 11, bitCount, 5);
            expectLentPixelsStay(*image, chain);
        }
    }
}

TEST(OperationBorrowing, NeverChangesLentPixelsOfOneAlphaOrOneColour) {
    for (const std::string& chain : manyChains()) {
        SCOPED_TRACE(chain);
        const DibPtr opaque = randomImage(31, 21, 32, 5);
        const DibPtr dot = randomImage(1, 1, 32, 5);
        const DibPtr flat = testing_support::blankImage(31, 21, 24);
        for (int y = 0; y < 21; ++y) {
            for (int x = 0; x < 31; ++x)
                setPixelValue(*opaque, x, y,
                              (testing_support::pixelValue(*opaque, x, y) & 0xFFFFFFU) | 0xC8000000U);
        }
        expectLentPixelsStay(*opaque, chain);
        expectLentPixelsStay(*dot, chain);
        expectLentPixelsStay(*flat, chain);
    }
}

// The picture has 1 MiB; what these steps make is smaller.
TEST(OperationBorrowing, CopiesNoPixelsForStepsThatMakeNewOnes) {
    for (const char* chain : {"crop:5,5,20x20", "resize:50%", "fit:100x100", "half", "bpp:8", "canvas:50%",
                              "resize:10x10 gamma:2"}) {
        SCOPED_TRACE(chain);
        const DibPtr image = randomImage(512, 512, 32, 3);
        testing_support::resetLargestAllocation();
        ASSERT_TRUE(DibApply(image.get(), chain));
        EXPECT_LT(testing_support::largestAllocation(), 1U << 20);
    }
}

// Rotating reads the lent pixels beside the new ones; a third picture would be 16 MiB more.
TEST(OperationBorrowing, EffectsHoldOnePictureMore) {
    if (!testing_support::kMeasuresMemory) GTEST_SKIP();
    const DibPtr image = testing_support::blankImage(2048, 2048, 32);
    const std::size_t growth = testing_support::peakGrowth([&] { DibApply(image.get(), "rotate:90"); });
    EXPECT_LT(growth, std::size_t{24} << 20);
}

TEST(OperationBorrowing, SurvivesFailingAllocations) {
    const DibPtr original = randomImage(41, 31, 24, 4);
    const Lender lender(*original);
    DibPtr expected = randomImage(41, 31, 24, 4);
    constexpr const char* kChain = "rotate:20 median:1 crop:1,1,80%x80% gamma:2 resize:50%";
    DibOperationResult result;
    ASSERT_TRUE(DibApply(expected.get(), kChain));
    DibStream image;
    bool isDone = false;
    const int failures = testing_support::forEachFailingAllocation(
        [&] { lender.lendTo(image); }, [&] { isDone = DibApply(&image, kChain, nullptr, &result); },
        [&](bool failureMet) {
            EXPECT_TRUE(isDone || failureMet) << result.reason;
            EXPECT_TRUE(isDone || result.code == DIB_ERROR_MEMORY) << result.reason;
            EXPECT_TRUE(sameImage(image, isDone ? *expected : *original));
            image.Clear();
        });
    EXPECT_GT(failures, 10);
}

}  // namespace

}  // namespace operations_test

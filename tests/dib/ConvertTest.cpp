#include <DibStream.h>
#include <gtest/gtest.h>

#include <cstring>
#include <tuple>

#include "dib/ChangeDepth.h"
#include "dib/ColorTable.h"
#include "dib/Kernels.h"
#include "tests/reference/ConvertReference.h"
#include "tests/support/FailingMalloc.h"
#include "tests/support/TestImages.h"

namespace {

using testing_support::blankImage;
using testing_support::DibPtr;
using testing_support::kDepths;
using testing_support::kSizes;
using testing_support::pixelBytes;
using testing_support::pixelValue;
using testing_support::randomImage;
using testing_support::sameImage;
using testing_support::setPixelValue;

constexpr unsigned int kAllFlags[] = {0, 1, 2, 3, 0x10000, 0x10001, 0x100002, 0xFFFF0002};

// Every test of a class runs at each instruction-set level.
class AtLevel {
public:
    explicit AtLevel(dib::KernelLevel level) { dib::limitKernelLevel(level); }
    ~AtLevel() { dib::limitKernelLevel(dib::bestKernelLevel()); }
    AtLevel(const AtLevel&) = delete;
    AtLevel& operator=(const AtLevel&) = delete;
};
constexpr dib::KernelLevel kLevels[] = {dib::KernelLevel::kBaseline, dib::KernelLevel::kAvx2};

void expectLikeReference(const DibStream& source, DibStream& image, int bitCount, unsigned int flags) {
    DibStream expected;
    ASSERT_TRUE(reference::changeBpp(source, bitCount, flags, expected));
    ASSERT_TRUE(image.ChangeBpp(bitCount, flags));
    EXPECT_TRUE(sameImage(expected, image)) << "to " << bitCount << " bits, flags " << flags;
    EXPECT_EQ(image.HeaderOwner, 6U);
    EXPECT_EQ(image.BufferOwner, 6U);
    EXPECT_EQ(image.ErrorCode, 0);
}

TEST(Convert, EveryPairOfDepthsMatchesTheReference) {
    for (const auto level : kLevels) {
        const AtLevel limited(level);
        for (const auto size : kSizes) {
            for (const int height : {size.height, -size.height}) {
                for (const int from : kDepths) {
                    for (const int to : kDepths) {
                        for (const unsigned int flags : kAllFlags) {
                            const DibPtr image = randomImage(size.width, height, from, flags + 7);
                            const DibPtr source(image->Clone());
                            expectLikeReference(*source, *image, to, flags);
                            if (HasFatalFailure() || HasNonfatalFailure()) {
                                FAIL() << "from " << size.width << " x " << height << " x " << from;
                            }
                        }
                    }
                }
            }
        }
    }
}

// Rows longer than the strips in which they are read.
TEST(Convert, LongRowsMatchTheReference) {
    for (const auto level : kLevels) {
        const AtLevel limited(level);
        for (const int from : kDepths) {
            for (const int to : kDepths) {
                for (const unsigned int flags : {0U, 1U, 2U}) {
                    const DibPtr image = randomImage(4099, 3, from, 5);
                    const DibPtr source(image->Clone());
                    expectLikeReference(*source, *image, to, flags);
                }
            }
        }
    }
}

// A borrowed header block larger than 40 bytes with a table shorter than the depth can address, exactly as
// long as announced so that any read beyond it is found.
TEST(Convert, ShortTablesReadAsBlackBeyondTheirEnd) {
    for (const int from : {1, 4, 8}) {
        for (const unsigned int used : {1U, 2U, 5U, 16U, 200U, 1000U}) {
            for (const unsigned int headerSize : {40U, 56U, 124U}) {
                const DibPtr pixels = randomImage(37, 5, from, used);
                std::vector<unsigned char> block(headerSize + 4 * used);
                testing_support::Random random(used);
                for (auto& byte : block) byte = static_cast<unsigned char>(random.next());
                std::memcpy(block.data(), pixels->Header, 40);
                auto* header = reinterpret_cast<BITMAPINFOHEADER*>(block.data());
                header->biSize = headerSize;
                header->biClrUsed = used;
                for (const int to : kDepths) {
                    for (const unsigned int flags : {0U, 1U, 2U}) {
                        const auto before = block;
                        DibStream image;
                        image.SetDib(block.data(), 0, pixels->Buffer, 0);
                        DibStream source;
                        source.SetDib(block.data(), 0, pixels->Buffer, 0);
                        expectLikeReference(source, image, to, flags);
                        EXPECT_EQ(image.Header->biSize, 40U);
                        EXPECT_EQ(block, before);
                    }
                }
            }
        }
    }
}

TEST(Convert, PackedFormsMatchTheReferenceAndLeaveTheImageAlone) {
    for (const auto level : kLevels) {
        const AtLevel limited(level);
        for (const auto size : kSizes) {
            for (const int height : {size.height, -size.height}) {
                for (const int depth : kDepths) {
                    const DibPtr image = randomImage(size.width, height, depth, 11);
                    const DibPtr before(image->Clone());
                    const auto colors = reference::pixelsOf(*image);
                    const auto greys = reference::greysOf(*image);
                    const dib::MallocPtr<unsigned char> packed8(image->Create8Bit());
                    const dib::MallocPtr<unsigned char> packed24(image->Create24Bit());
                    const dib::MallocPtr<unsigned char> packed32(image->Create32Bit());
                    ASSERT_TRUE(packed8 != nullptr && packed24 != nullptr && packed32 != nullptr);
                    EXPECT_EQ(std::memcmp(packed8.get(), greys.data(), greys.size()), 0);
                    EXPECT_EQ(std::memcmp(packed32.get(), colors.data(), 4 * colors.size()), 0);
                    for (std::size_t i = 0; i < colors.size(); ++i) {
                        ASSERT_EQ(std::memcmp(&packed24[3 * i], &colors[i], 3), 0);
                    }
                    EXPECT_TRUE(sameImage(*before, *image));
                }
            }
        }
    }
}

// Literal values.

DibPtr oneColor(int width, int height, std::uint32_t color) {
    DibPtr image = blankImage(width, height, 24);
    for (int y = 0; y < std::abs(height); ++y) {
        for (int x = 0; x < width; ++x) setPixelValue(*image, x, y, color);
    }
    return image;
}

DibBGRA entry(const DibStream& image, int index) { return dib::colorTable(image.Header)[index]; }

std::uint32_t entryValue(const DibStream& image, int index) {
    const DibBGRA e = entry(image, index);
    return std::uint32_t{e.blue} | std::uint32_t{e.green} << 8 | std::uint32_t{e.red} << 16 |
           std::uint32_t{e.alpha} << 24;
}

TEST(Convert, UnknownDepthsChangeNothing) {
    const DibPtr image = randomImage(3, 2, 24, 1);
    const DibPtr before(image->Clone());
    for (const int depth : {12, 0, -8, 2, 15, 33, 64}) EXPECT_FALSE(image->ChangeBpp(depth, 0));
    EXPECT_TRUE(sameImage(*before, *image));
    EXPECT_EQ(image->ErrorCode, 0);
}

TEST(Convert, ImagesWithoutPixelsOrHeaderAreRefused) {
    const DibPtr pixels = randomImage(3, 2, 8, 1);
    DibStream empty;
    DibStream headerOnly;
    headerOnly.Header = pixels->Header;
    DibStream pixelsOnly;
    pixelsOnly.SetBuffer(pixels->Buffer, 0);
    for (DibStream* image : {&empty, &headerOnly, &pixelsOnly}) {
        for (const int depth : kDepths) EXPECT_FALSE(image->ChangeBpp(depth, 2));
        EXPECT_FALSE(image->ChangeTo1Bit(0));
        EXPECT_FALSE(image->ChangeTo4Bit(0));
        EXPECT_FALSE(image->ChangeTo8Bit(1));
        EXPECT_FALSE(image->ChangeTo16Bit(0));
        EXPECT_FALSE(image->ChangeTo24Bit(0));
        EXPECT_FALSE(image->ChangeTo32Bit(0));
        EXPECT_FALSE(image->MedianCut4(0));
        EXPECT_FALSE(image->MedianCut8(0));
        EXPECT_EQ(image->Create8Bit(), nullptr);
        EXPECT_EQ(image->Create24Bit(), nullptr);
        EXPECT_EQ(image->Create32Bit(), nullptr);
        EXPECT_EQ(image->ErrorCode, 0);
    }
}

TEST(Convert, UnsupportedSourceDepthIsRefusedWithoutACode) {
    const DibPtr image = randomImage(3, 2, 24, 1);
    image->Header->biBitCount = 12;
    const auto before = pixelBytes(*image);
    EXPECT_EQ(image->Create24Bit(), nullptr);
    for (const int depth : kDepths) EXPECT_FALSE(image->ChangeBpp(depth, 0));
    EXPECT_EQ(image->ErrorCode, 0);
    EXPECT_EQ(pixelBytes(*image), before);
}

// Sizes that no block of the working depth can have count as short memory; nothing is read.
TEST(Convert, ImpossibleSizesAreRefused) {
    const DibPtr tiny = randomImage(8, 8, 1, 1);
    for (const auto& [width, height] : {std::pair{-1, 8}, {40000, 40000}, {8, INT32_MIN}, {INT32_MAX, 8}}) {
        BITMAPINFOHEADER header = *tiny->Header;
        header.biWidth = width;
        header.biHeight = height;
        header.biBitCount = 32;
        DibStream image;
        image.SetDib(&header, 0, tiny->Buffer, 0);
        for (const int depth : kDepths) {
            image.ErrorCode = 0;
            EXPECT_FALSE(image.ChangeBpp(depth, 2));
            EXPECT_EQ(image.ErrorCode, 2);
            EXPECT_EQ(image.Header, &header);
            EXPECT_EQ(image.Buffer, tiny->Buffer);
        }
        EXPECT_EQ(image.Create8Bit(), nullptr);
    }
}

TEST(Convert, NoRowsLeaveAnEmptyImageLikeCreate) {
    const DibPtr tiny = randomImage(8, 8, 24, 1);
    BITMAPINFOHEADER header = *tiny->Header;
    header.biHeight = 0;
    header.biSizeImage = 0;
    for (const int depth : {1, 4, 8, 16, 24}) {
        for (const unsigned int flags : {0U, 1U, 2U}) {
            DibStream image;
            image.SetDib(&header, 0, tiny->Buffer, 0);
            EXPECT_FALSE(image.ChangeBpp(depth, flags));
            EXPECT_EQ(image.ErrorCode, 2);
            EXPECT_EQ(image.Header, nullptr);
            EXPECT_EQ(image.Buffer, nullptr);
        }
    }
}

TEST(Convert, NoRowsStayNoRowsAt32Bits) {
    const DibPtr tiny = randomImage(8, 8, 24, 1);
    BITMAPINFOHEADER header = *tiny->Header;
    header.biHeight = 0;
    header.biSizeImage = 0;
    DibStream image;
    image.SetDib(&header, 0, tiny->Buffer, 0);
    EXPECT_TRUE(image.ChangeTo32Bit(0));
    EXPECT_EQ(image.Header->biBitCount, 32);
    EXPECT_EQ(image.GetImageSize(), 0);
    EXPECT_EQ(image.ErrorCode, 0);
}

TEST(Convert, SixteenBitWhiteBecomes248) {
    const DibPtr image = blankImage(1, 1, 16);
    setPixelValue(*image, 0, 0, 0x7FFF);
    ASSERT_TRUE(image->ChangeTo24Bit(0));
    EXPECT_EQ(pixelValue(*image, 0, 0), 0xF8F8F8U);
}

TEST(Convert, SixteenBitChannelsLieBlueLowest) {
    const DibPtr image = blankImage(3, 1, 16);
    setPixelValue(*image, 0, 0, 0x001F);
    setPixelValue(*image, 1, 0, 0x03E0);
    setPixelValue(*image, 2, 0, 0xFC00);  // bit 15 is ignored
    ASSERT_TRUE(image->ChangeTo32Bit(0));
    EXPECT_EQ(pixelValue(*image, 0, 0), 0xFF0000F8U);
    EXPECT_EQ(pixelValue(*image, 1, 0), 0xFF00F800U);
    EXPECT_EQ(pixelValue(*image, 2, 0), 0xFFF80000U);
}

TEST(Convert, AlphaIsKeptFrom32BitsAndOpaqueFromOthers) {
    const DibPtr image = blankImage(1, 1, 32);
    setPixelValue(*image, 0, 0, 0x12345678);
    ASSERT_TRUE(image->ChangeTo32Bit(0));
    EXPECT_EQ(pixelValue(*image, 0, 0), 0x12345678U);
    ASSERT_TRUE(image->ChangeTo24Bit(0));
    EXPECT_EQ(pixelValue(*image, 0, 0), 0x345678U);
    ASSERT_TRUE(image->ChangeTo32Bit(0));
    EXPECT_EQ(pixelValue(*image, 0, 0), 0xFF345678U);
}

TEST(Convert, GreyWeighsTheChannels) {
    const DibPtr image = blankImage(4, 1, 24);
    setPixelValue(*image, 0, 0, 0x0000FF);
    setPixelValue(*image, 1, 0, 0x00FF00);
    setPixelValue(*image, 2, 0, 0xFF0000);
    setPixelValue(*image, 3, 0, 0xFFFFFF);
    ASSERT_TRUE(image->ChangeTo8Bit(0));
    EXPECT_EQ(pixelValue(*image, 0, 0), 36U);
    EXPECT_EQ(pixelValue(*image, 1, 0), 145U);
    EXPECT_EQ(pixelValue(*image, 2, 0), 72U);
    EXPECT_EQ(pixelValue(*image, 3, 0), 255U);
    EXPECT_EQ(entryValue(*image, 77), 0x004D4D4DU);
}

TEST(Convert, SignOfTheHeightIsKept) {
    for (const int height : {3, -3}) {
        for (const int depth : kDepths) {
            const DibPtr image = randomImage(5, height, 24, 1);
            ASSERT_TRUE(image->ChangeBpp(depth, 0));
            EXPECT_EQ(image->Header->biHeight, height);
            EXPECT_EQ(image->Header->biWidth, 5);
            EXPECT_EQ(image->Header->biBitCount, depth);
        }
    }
}

TEST(Convert, SameDepthIsRebuiltAllTheSame) {
    const DibPtr image = randomImage(5, 3, 24, 1);
    image->Header->biXPelsPerMeter = 2835;
    const auto* oldBuffer = image->Buffer;
    const DibPtr before(image->Clone());
    ASSERT_TRUE(image->ChangeBpp(24, 0));
    EXPECT_NE(image->Buffer, oldBuffer);
    EXPECT_EQ(image->Header->biXPelsPerMeter, 0);
    EXPECT_EQ(pixelValue(*image, 4, 2), pixelValue(*before, 4, 2));
}

TEST(Convert, FourBitGreyPutsTheLastOddPixelInTheHighNibble) {
    const DibPtr image = blankImage(3, 1, 24);
    setPixelValue(*image, 0, 0, 0x101010);
    setPixelValue(*image, 1, 0, 0x2F2F2F);
    setPixelValue(*image, 2, 0, 0xFFFFFF);
    ASSERT_TRUE(image->ChangeTo4Bit(1));
    EXPECT_EQ(image->Buffer[0], 0x12);
    EXPECT_EQ(image->Buffer[1], 0xF0);
    EXPECT_EQ(entryValue(*image, 1), 0x00111111U);
    EXPECT_EQ(entryValue(*image, 15), 0x00FFFFFFU);
}

TEST(Convert, OrderedDitherHasACubeAndAGreyTail) {
    const DibPtr image = oneColor(8, -8, 0x808080);
    ASSERT_TRUE(image->ChangeTo8Bit(1));
    EXPECT_EQ(entryValue(*image, 0), 0U);
    EXPECT_EQ(entryValue(*image, 1), 0x00330000U);  // red is the fastest
    EXPECT_EQ(entryValue(*image, 6), 0x00003300U);
    EXPECT_EQ(entryValue(*image, 36), 0x00000033U);
    EXPECT_EQ(entryValue(*image, 215), 0x00FFFFFFU);
    EXPECT_EQ(entryValue(*image, 216), 0x00D8D8D8U);
    EXPECT_EQ(entryValue(*image, 255), 0x00FFFFFFU);
    // 128 = 2 x 51 + 26: level 3 where the threshold is below 26, level 2 elsewhere. Indices 43 x level.
    EXPECT_EQ(pixelValue(*image, 0, 0), 129U);  // threshold 0
    EXPECT_EQ(pixelValue(*image, 0, 1), 86U);   // 38
    EXPECT_EQ(pixelValue(*image, 1, 0), 129U);  // 25
    EXPECT_EQ(pixelValue(*image, 5, 6), 86U);   // 35
    EXPECT_EQ(pixelValue(*image, 5, 2), 86U);   // 36
    EXPECT_EQ(pixelValue(*image, 2, 0), 129U);  // 6
    EXPECT_EQ(pixelValue(*image, 1, 4), 86U);   // 27
    int raised = 0;
    for (int y = 0; y < 8; ++y) {
        for (int x = 0; x < 8; ++x) raised += pixelValue(*image, x, y) == 129 ? 1 : 0;
    }
    EXPECT_EQ(raised, 33);
}

TEST(Convert, DitherRowsCountFromTheStartOfTheBuffer) {
    const DibPtr image = oneColor(1, 2, 0x808080);  // bottom-up: buffer row 1 is picture row 0
    ASSERT_TRUE(image->ChangeTo8Bit(1));
    EXPECT_EQ(pixelValue(*image, 0, 1), 129U);
    EXPECT_EQ(pixelValue(*image, 0, 0), 86U);
}

TEST(Convert, SixteenBitRemainderIsCarriedAcrossRows) {
    const DibPtr image = oneColor(1, -4, 0x070503);
    ASSERT_TRUE(image->ChangeTo16Bit(1));
    // Sums: blue 3, 6, 9, 4; green 5, 10, 7, 12; red 7, 14, 13, 12. Each of 8 and above gives a field of 1.
    EXPECT_EQ(pixelValue(*image, 0, 0), 0x0000U);
    EXPECT_EQ(pixelValue(*image, 0, 1), 0x0420U);
    EXPECT_EQ(pixelValue(*image, 0, 2), 0x0401U);
    EXPECT_EQ(pixelValue(*image, 0, 3), 0x0420U);
}

TEST(Convert, SixteenBitRemainderStopsAt255) {
    const DibPtr image = blankImage(3, 1, 24);
    setPixelValue(*image, 0, 0, 0x0000FF);
    setPixelValue(*image, 1, 0, 0x0000FF);
    setPixelValue(*image, 2, 0, 0x000001);
    ASSERT_TRUE(image->ChangeTo16Bit(1));
    EXPECT_EQ(pixelValue(*image, 0, 0), 31U);
    EXPECT_EQ(pixelValue(*image, 1, 0), 31U);
    EXPECT_EQ(pixelValue(*image, 2, 0), 1U);  // 1 + 7
}

TEST(Convert, SixteenBitTruncatesOtherwise) {
    for (const unsigned int flags : {0U, 2U, 0x10000U}) {
        const DibPtr image = oneColor(1, 1, 0xFF8807);
        ASSERT_TRUE(image->ChangeTo16Bit(flags));
        EXPECT_EQ(pixelValue(*image, 0, 0), 0x7E20U);
    }
}

int whitePixels(DibStream& image) {
    int white = 0;
    for (int y = 0; y < std::abs(image.Header->biHeight); ++y) {
        for (int x = 0; x < image.Header->biWidth; ++x) white += static_cast<int>(pixelValue(image, x, y));
    }
    return white;
}

TEST(Convert, ErrorDiffusionOfUniformGreys) {
    const DibPtr black = oneColor(50, 40, 0);
    ASSERT_TRUE(black->ChangeTo1Bit(0));
    EXPECT_EQ(whitePixels(*black), 0);
    EXPECT_EQ(entryValue(*black, 0), 0U);
    EXPECT_EQ(entryValue(*black, 1), 0x00FFFFFFU);

    const DibPtr white = oneColor(50, 40, 0xFFFFFF);
    ASSERT_TRUE(white->ChangeTo1Bit(0));
    EXPECT_EQ(whitePixels(*white), 2000);

    const DibPtr grey = oneColor(50, 40, 0x808080);
    ASSERT_TRUE(grey->ChangeTo1Bit(0));
    EXPECT_NEAR(whitePixels(*grey), 1000, 50);
}

TEST(Convert, ErrorDiffusionByHand) {
    // 100: black, error 100, 800 to the right: 100 + 800 / 42 = 119 black, then 100 + (8 x 119 + 4 x 100) /
    // 42 = 132 white.
    const DibPtr image = oneColor(3, 1, 0x646464);
    ASSERT_TRUE(image->ChangeTo1Bit(0));
    EXPECT_EQ(image->Buffer[0], 0x20);
}

TEST(Convert, FillBytesAreZero) {
    for (const int depth : {1, 4, 8, 16, 24}) {
        for (const unsigned int flags : {0U, 2U}) {
            const DibPtr image = oneColor(1, 2, 0xFFFFFF);
            ASSERT_TRUE(image->ChangeBpp(depth, flags));
            EXPECT_EQ(image->Buffer[3], 0);
            EXPECT_EQ(image->Buffer[7], 0);
        }
    }
}

// Every allocation failing: the result is false with code 2, and the image is either as before (its working
// pixels could not be made) or empty (the new image could not be made).
struct FailureCase {
    int from;
    int to;
    unsigned int flags;
    int unchanged;  // failures that leave the image as it was; they come first
    int emptied;
};

class ConvertFailure : public ::testing::TestWithParam<FailureCase> {};

TEST_P(ConvertFailure, LeavesThePromisedState) {
    const FailureCase& param = GetParam();
    DibStream* image = nullptr;
    DibStream* before = nullptr;
    bool result = false;
    int unchanged = 0;
    int emptied = 0;
    testing_support::forEachFailingAllocation(
        [&] {
            image = randomImage(13, -5, param.from, 3).release();
            before = image->Clone();
        },
        [&] { result = image->ChangeBpp(param.to, param.flags); },
        [&](bool failureMet) {
            EXPECT_EQ(result, !failureMet);
            EXPECT_EQ(image->ErrorCode, failureMet ? 2 : 0);
            if (failureMet && image->Header == nullptr) {
                EXPECT_EQ(image->Buffer, nullptr);
                EXPECT_EQ(image->HeaderOwner, 0U);
                EXPECT_EQ(image->BufferOwner, 0U);
                ++emptied;
            } else if (failureMet) {
                EXPECT_TRUE(sameImage(*before, *image));
                EXPECT_EQ(emptied, 0);
                ++unchanged;
            }
            image->Release();
            before->Release();
        });
    EXPECT_EQ(unchanged, param.unchanged);
    EXPECT_EQ(emptied, param.emptied);
}

// The new pixels fail first, then the header. The diffusion also needs its rows of errors, the quantizer its
// colours and boxes; only then are the old blocks released.
INSTANTIATE_TEST_SUITE_P(EveryOperation, ConvertFailure,
                         ::testing::Values(FailureCase{24, 32, 0, 2, 0}, FailureCase{24, 24, 0, 1, 1},
                                           FailureCase{8, 24, 0, 1, 1}, FailureCase{24, 16, 0, 1, 1},
                                           FailureCase{24, 16, 1, 1, 1}, FailureCase{24, 8, 0, 1, 1},
                                           FailureCase{24, 8, 1, 1, 1}, FailureCase{24, 4, 0, 1, 1},
                                           FailureCase{24, 1, 0, 2, 1}, FailureCase{1, 8, 2, 10, 2},
                                           FailureCase{1, 4, 2, 10, 2}));

TEST(Convert, PackedFormsSurviveEveryFailingAllocation) {
    using Producer = unsigned char* (DibStream::*)();
    for (const Producer produce :
         {&DibStream::Create8Bit, &DibStream::Create24Bit, &DibStream::Create32Bit}) {
        DibStream* image = nullptr;
        unsigned char* packed = nullptr;
        const int failures = testing_support::forEachFailingAllocation(
            [&] { image = randomImage(13, -5, 4, 3).release(); }, [&] { packed = (image->*produce)(); },
            [&](bool failureMet) {
                EXPECT_EQ(packed == nullptr, failureMet);
                EXPECT_EQ(image->ErrorCode, failureMet ? 2 : 0);
                std::free(packed);
                image->Release();
            });
        EXPECT_EQ(failures, 1);
    }
}

}  // namespace

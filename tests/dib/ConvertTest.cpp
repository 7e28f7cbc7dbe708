#include <DibStream.h>
#include <gtest/gtest.h>

#include <cstring>
#include <tuple>

#include "dib/Kernels.h"
#include "dib/Memory.h"
#include "tests/reference/ConvertReference.h"
#include "tests/support/FailingMalloc.h"
#include "tests/support/TestImages.h"

namespace {

using testing_support::DibPtr;
using testing_support::kDepths;
using testing_support::kSizes;
using testing_support::pixelBytes;
using testing_support::randomImage;
using testing_support::sameImage;

constexpr unsigned int kAllFlags[] = {0, 1, 2, 3, 0x10000, 0x10001, 0x100002, 0xFFFF0002};

// Every test of a class runs at each instruction-set level.
class AtLevel {
public:
    explicit AtLevel(dib::KernelLevel level) { dib::limitKernelLevel(level); }
    ~AtLevel() { dib::limitKernelLevel(dib::bestKernelLevel()); }
    AtLevel(const AtLevel&) = delete;
    AtLevel& operator=(const AtLevel&) = delete;
};

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
    for (const auto level : dib::kKernelLevels) {
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
    for (const auto level : dib::kKernelLevels) {
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
                const auto* fixed = reinterpret_cast<const unsigned char*>(pixels->Header);
                std::vector<unsigned char> block;
                block.reserve(headerSize + 4 * used);
                block.assign(fixed, fixed + 40);
                testing_support::Random random(used);
                while (block.size() < headerSize + 4 * used)
                    block.push_back(static_cast<unsigned char>(random.next()));
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
    for (const auto level : dib::kKernelLevels) {
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

// Rows of width 0 are no pixels either, however many of them a header announces.
TEST(Convert, NoColumnsLeaveAnEmptyImageLikeCreate) {
    const DibPtr tiny = randomImage(8, 8, 24, 1);
    for (const int height : {3, -3, INT32_MAX, -INT32_MAX}) {
        for (const int from : kDepths) {
            for (const int to : {1, 4, 8, 16, 24}) {
                for (const unsigned int flags : {0U, 1U, 2U}) {
                    std::vector<unsigned char> block(40 + 4 * 256);
                    std::memcpy(block.data(), tiny->Header, 40);
                    auto* header = reinterpret_cast<BITMAPINFOHEADER*>(block.data());
                    header->biWidth = 0;
                    header->biHeight = height;
                    header->biBitCount = static_cast<std::uint16_t>(from);
                    header->biSizeImage = 0;
                    DibStream image;
                    image.SetDib(header, 0, tiny->Buffer, 0);
                    EXPECT_FALSE(image.ChangeBpp(to, flags));
                    EXPECT_EQ(image.ErrorCode, 2);
                    EXPECT_EQ(image.Header, nullptr);
                    EXPECT_EQ(image.Buffer, nullptr);
                }
            }
        }
    }
}

TEST(Convert, NoPixelsStayNoPixelsAt32Bits) {
    const DibPtr tiny = randomImage(8, 8, 24, 1);
    for (const auto& [width, height] : {std::pair{8, 0}, {0, 3}, {0, -INT32_MAX}, {0, 0}}) {
        BITMAPINFOHEADER header = *tiny->Header;
        header.biWidth = width;
        header.biHeight = height;
        header.biSizeImage = 0;
        DibStream image;
        image.SetDib(&header, 0, tiny->Buffer, 0);
        EXPECT_TRUE(image.ChangeTo32Bit(0));
        EXPECT_EQ(image.Header->biBitCount, 32);
        EXPECT_EQ(image.Header->biWidth, width);
        EXPECT_EQ(image.Header->biHeight, height);
        EXPECT_EQ(image.GetImageSize(), 0);
        EXPECT_EQ(image.ErrorCode, 0);
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

// The same from blocks that belong to someone else: after a failure they are still there, or the object is
// empty, and they are never freed or written.
class BorrowedConvertFailure : public ::testing::TestWithParam<FailureCase> {};

TEST_P(BorrowedConvertFailure, LeavesThePromisedState) {
    const FailureCase& param = GetParam();
    const DibPtr owner = randomImage(13, -5, param.from, 3);
    const DibPtr before(owner->Clone());
    DibStream* image = nullptr;
    bool result = false;
    int unchanged = 0;
    int emptied = 0;
    testing_support::forEachFailingAllocation(
        [&] {
            image = new DibStream;
            image->SetDib(owner->Header, 0, owner->Buffer, 0);
        },
        [&] { result = image->ChangeBpp(param.to, param.flags); },
        [&](bool failureMet) {
            EXPECT_EQ(result, !failureMet);
            EXPECT_EQ(image->ErrorCode, failureMet ? 2 : 0);
            EXPECT_EQ(image->HeaderOwner, failureMet ? 0U : 6U);
            EXPECT_EQ(image->BufferOwner, failureMet ? 0U : 6U);
            if (failureMet && image->Header == nullptr) {
                EXPECT_EQ(image->Buffer, nullptr);
                ++emptied;
            } else if (failureMet) {
                EXPECT_EQ(image->Header, owner->Header);
                EXPECT_EQ(image->Buffer, owner->Buffer);
                ++unchanged;
            }
            image->Release();
        });
    EXPECT_TRUE(sameImage(*before, *owner));
    EXPECT_EQ(unchanged, param.unchanged);
    EXPECT_EQ(emptied, param.emptied);
}

// The 65 pixels have as many colours, so the quantizer makes 65 boxes in a tree of 129 nodes, beside the
// packed pixels, its four working blocks and the two tables of the indices.
INSTANTIATE_TEST_SUITE_P(Sources, BorrowedConvertFailure,
                         ::testing::Values(FailureCase{24, 8, 2, 136, 2}, FailureCase{8, 1, 0, 2, 1}));

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

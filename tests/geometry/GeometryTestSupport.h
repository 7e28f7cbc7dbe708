// Comparing geometry operations with the plain loops over every depth, size, row order and kernel level.
#ifndef TESTS_GEOMETRY_GEOMETRY_TEST_SUPPORT_H
#define TESTS_GEOMETRY_GEOMETRY_TEST_SUPPORT_H

#include <gtest/gtest.h>

#include <functional>
#include <vector>

#include "dib/Kernels.h"
#include "dib/Memory.h"
#include "tests/reference/GeometryReference.h"
#include "tests/support/FailingMalloc.h"
#include "tests/support/TestImages.h"

namespace geometry_test {

using testing_support::blankImage;
using testing_support::DibPtr;
using testing_support::kDepths;
using testing_support::kSizes;
using testing_support::pixelValue;
using testing_support::Random;
using testing_support::randomImage;
using testing_support::sameImage;
using testing_support::setPixelValue;

// Runs `check` at every kernel level of this machine.
inline void atEveryLevel(const std::function<void()>& check) {
    for (const auto level : dib::kKernelLevels) {
        dib::limitKernelLevel(level);
        check();
    }
    dib::limitKernelLevel(dib::bestKernelLevel());
}

// Runs `check` on a random image of every depth, size and row order.
inline void forEachImage(const std::function<void(DibStream&)>& check) {
    std::uint64_t seed = 1;
    for (const int depth : kDepths) {
        for (const auto& size : kSizes) {
            for (const int sign : {1, -1}) {
                const DibPtr dib = randomImage(size.width, sign * size.height, depth, ++seed);
                check(*dib);
                if (::testing::Test::HasFatalFailure()) return;
            }
        }
    }
}

// The result of an operation on a copy of an image equals the reference's, or both refuse and the copy is
// still the image.
inline void expectSame(DibStream& dib, const std::function<bool(DibStream&)>& operate,
                       const reference::Result& expected, const char* what) {
    const DibPtr copy(dib.Clone());
    const bool done = operate(*copy);
    const BITMAPINFOHEADER& h = *dib.Header;
    ASSERT_EQ(done, expected.has_value())
        << what << ' ' << h.biWidth << 'x' << h.biHeight << 'x' << h.biBitCount;
    if (!done) {
        ASSERT_TRUE(sameImage(*copy, dib)) << what;
        return;
    }
    ASSERT_TRUE(expected->equals(*copy))
        << what << " of " << h.biWidth << 'x' << h.biHeight << 'x' << h.biBitCount;
    ASSERT_EQ(copy->HeaderOwner, 6U);
    ASSERT_EQ(copy->BufferOwner, 6U);
}

// An operation that fails at its n-th allocation, for every n: it reports `code` and the image stays.
// Returns how many allocations can fail.
inline int expectSurvivesFailures(int width, int height, int depth, int code,
                                  const std::function<bool(DibStream&)>& operate) {
    DibStream* dib = nullptr;
    bool done = false;
    const reference::Image original(*randomImage(width, height, depth, 5));
    return testing_support::forEachFailingAllocation(
        [&] { dib = randomImage(width, height, depth, 5).release(); }, [&] { done = operate(*dib); },
        [&](bool failureMet) {
            EXPECT_EQ(done, !failureMet);
            EXPECT_EQ(dib->ErrorCode, failureMet ? code : 0);
            if (failureMet) {
                EXPECT_TRUE(original.equals(*dib));
            }
            dib->Release();
        });
}

struct Target {
    int width;
    int height;
};

// One row of 24 bits with the given blue values.
inline DibPtr blueRow(const std::vector<int>& blues) {
    DibPtr dib = blankImage(static_cast<int>(blues.size()), 1, 24);
    for (std::size_t x = 0; x < blues.size(); ++x) {
        setPixelValue(*dib, static_cast<int>(x), 0, static_cast<std::uint32_t>(blues[x]));
    }
    return dib;
}
inline std::vector<int> blues(DibStream& dib) {
    std::vector<int> values;
    for (int x = 0; x < dib.Header->biWidth; ++x) values.push_back(static_cast<int>(pixelValue(dib, x, 0)));
    return values;
}
// One column of 24 bits from the first buffer row on.
inline DibPtr blueColumn(const std::vector<int>& blues) {
    DibPtr dib = blankImage(1, -static_cast<int>(blues.size()), 24);
    for (std::size_t y = 0; y < blues.size(); ++y) {
        setPixelValue(*dib, 0, static_cast<int>(y), static_cast<std::uint32_t>(blues[y]));
    }
    return dib;
}

// An image around foreign blocks with a short colour table: the pixels of `like`, `entries` table entries.
// The block ends right after them, so that a sanitizer sees every access beyond.
struct Borrowed {
    dib::MallocPtr<unsigned char> header;
    DibStream dib;

    Borrowed(const DibStream& like, std::size_t entries, std::uint32_t headerBytes = 40)
        : header(dib::allocateZeroed<unsigned char>(headerBytes + 4 * entries)) {
        auto* info = reinterpret_cast<BITMAPINFOHEADER*>(header.get());
        *info = *like.Header;
        info->biSize = headerBytes;
        info->biClrUsed = static_cast<std::uint32_t>(entries);
        for (std::size_t i = 0; i < 4 * entries; ++i) {
            header[headerBytes + i] = static_cast<unsigned char>(i + 1);
        }
        dib.SetDib(header.get(), 0, like.Buffer, 0);
    }
};

}  // namespace geometry_test

#endif

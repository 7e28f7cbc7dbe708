// Images for tests: random pictures at every depth and row order, and exact comparison.
#ifndef TESTS_SUPPORT_TEST_IMAGES_H
#define TESTS_SUPPORT_TEST_IMAGES_H

#include <DibStream.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace testing_support {

struct ReleaseDib {
    void operator()(DibStream* dib) const { dib->Release(); }
};
using DibPtr = std::unique_ptr<DibStream, ReleaseDib>;

// The depths and sizes that comparisons with the reference run over.
inline constexpr int kDepths[] = {1, 4, 8, 16, 24, 32};
struct Size {
    int width;
    int height;
};
inline constexpr Size kSizes[] = {{1, 1}, {1, 7}, {7, 1}, {2, 2}, {3, 3}, {17, 5}, {64, 48}};

// A small deterministic generator: the same numbers on every machine.
class Random {
public:
    explicit Random(std::uint64_t seed) : state_(seed * 0x9E3779B97F4A7C15ULL + 1) {}
    std::uint32_t next();
    // 0 to count - 1.
    int below(int count) { return static_cast<int>(next() % static_cast<std::uint32_t>(count)); }
    // low to high inclusive.
    int between(int low, int high) { return low + below(high - low + 1); }
    float real(float low, float high);

private:
    std::uint64_t state_;
};

// An image whose pixel block (row fill bytes included) and colour table are random. A negative height makes
// it top-down. Never null.
DibPtr randomImage(int width, int height, int bitCount, std::uint64_t seed);
// An image of zero bytes and, up to 8 bits, a grey table.
DibPtr blankImage(int width, int height, int bitCount);
// The same with every pixel of one value.
DibPtr plainImage(int width, int height, int bitCount, std::uint32_t value);

// The bytes of the pixel block / of the header block with its announced colour table.
std::vector<unsigned char> pixelBytes(const DibStream& dib);
std::vector<unsigned char> headerBytes(const DibStream& dib);

// Header, colour table and every pixel byte are equal, row fill bytes included.
::testing::AssertionResult sameImage(const DibStream& a, const DibStream& b);

// The value of a pixel as stored: index, 16-bit word, or bytes blue, green, red(, alpha) from the low end.
std::uint32_t pixelValue(DibStream& dib, int x, int y);
void setPixelValue(DibStream& dib, int x, int y, std::uint32_t value);
// Of every pixel.
void fillImage(DibStream& dib, std::uint32_t value);

// Records progress calls; cancels at call number `cancelAt` (counted from 0; negative never cancels).
struct ProgressLog {
    std::vector<float> fractions;
    int cancelAt = -1;
    static bool callback(float fraction, void* user) {
        auto* log = static_cast<ProgressLog*>(user);
        log->fractions.push_back(fraction);
        return static_cast<int>(log->fractions.size()) - 1 != log->cancelAt;
    }
};

}  // namespace testing_support

#endif

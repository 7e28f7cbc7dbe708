#include "tests/support/TestImages.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "dib/ColorTable.h"
#include "dib/ImageSize.h"

namespace testing_support {

std::uint32_t Random::next() {
    // xorshift64*
    state_ ^= state_ >> 12;
    state_ ^= state_ << 25;
    state_ ^= state_ >> 27;
    return static_cast<std::uint32_t>((state_ * 0x2545F4914F6CDD1DULL) >> 32);
}

float Random::real(float low, float high) {
    return low + (high - low) * (static_cast<float>(next() >> 8) / static_cast<float>(1 << 24));
}

DibPtr blankImage(int width, int height, int bitCount) {
    DibPtr dib(new DibStream);
    if (!dib->Create(width, height, bitCount)) {
        std::fprintf(stderr, "no image of %d x %d x %d\n", width, height, bitCount);
        std::abort();
    }
    dib->SetMonoPalette();
    std::memset(dib->Buffer, 0, static_cast<std::size_t>(dib->GetImageSize()));
    return dib;
}

DibPtr plainImage(int width, int height, int bitCount, std::uint32_t value) {
    DibPtr dib = blankImage(width, height, bitCount);
    fillImage(*dib, value);
    return dib;
}

DibPtr randomImage(int width, int height, int bitCount, std::uint64_t seed) {
    DibPtr dib = blankImage(width, height, bitCount);
    Random random(seed);
    const auto imageBytes = static_cast<std::size_t>(dib->GetImageSize());
    for (std::size_t i = 0; i < imageBytes; ++i) dib->Buffer[i] = static_cast<unsigned char>(random.next());
    const std::size_t entries = dib::addressableEntries(bitCount);
    DibBGRA* table = dib::colorTable(dib->Header);
    for (std::size_t i = 0; i < entries; ++i) {
        const std::uint32_t color = random.next();
        std::memcpy(&table[i], &color, sizeof color);
    }
    return dib;
}

std::vector<unsigned char> pixelBytes(const DibStream& dib) {
    if (dib.Buffer == nullptr || dib.Header == nullptr) return {};
    return {dib.Buffer, dib.Buffer + dib::admitSize(*dib.Header).imageBytes};
}

std::vector<unsigned char> headerBytes(const DibStream& dib) {
    if (dib.Header == nullptr) return {};
    const auto* start = reinterpret_cast<const unsigned char*>(dib.Header);
    return {start, start + dib::kHeaderBytes + dib::announcedEntries(*dib.Header) * dib::kEntryBytes};
}

std::uint32_t pixelValue(DibStream& dib, int x, int y) {
    const unsigned char* at = dib.Pixel(x, y);
    std::uint32_t value = 0;
    switch (dib.Header->biBitCount) {
        case 1: return (at[0] >> (7 - (x & 7))) & 1U;
        case 4: return (x & 1) != 0 ? at[0] & 15U : at[0] >> 4U;
        default: std::memcpy(&value, at, dib.Header->biBitCount / 8U); return value;
    }
}

void setPixelValue(DibStream& dib, int x, int y, std::uint32_t value) {
    unsigned char* at = dib.Pixel(x, y);
    const auto replace = [at](unsigned mask, unsigned shift, std::uint32_t bits) {
        *at = static_cast<unsigned char>((*at & ~(mask << shift)) | ((bits & mask) << shift));
    };
    switch (dib.Header->biBitCount) {
        case 1: replace(1, 7U - (static_cast<unsigned>(x) & 7U), value); break;
        case 4: replace(15, (x & 1) != 0 ? 0 : 4, value); break;
        default: std::memcpy(at, &value, dib.Header->biBitCount / 8U);
    }
}

void fillImage(DibStream& dib, std::uint32_t value) {
    for (int y = 0; y < std::abs(dib.Header->biHeight); ++y) {
        for (int x = 0; x < dib.Header->biWidth; ++x) setPixelValue(dib, x, y, value);
    }
}

}  // namespace testing_support

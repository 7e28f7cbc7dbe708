// Small PNG, JPEG and TIFF files that announce what they do not hold: they end soon and cost little memory.
#include <DibCodec.h>

#include <cstring>
#include <ctime>

#include "tests/formats/CodecTest.h"
#include "tests/formats/TiffBuilder.h"
#include "tests/support/Sanitizer.h"

namespace codec_test {
namespace {

// The largest memory in use since it was last reset, in bytes.
std::size_t peakMemory() {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.rfind("VmHWM:", 0) == 0) return std::stoul(line.substr(6)) * 1024;
    }
    return 0;
}
void resetPeakMemory() { std::ofstream("/proc/self/clear_refs") << "5"; }

constexpr bool kMeasures = !testing_support::kAddressSanitizer;  // every block is written to there

Loaded loadWithin(const Bytes& bytes, double seconds, std::size_t memory) {
    const TemporaryFile file("", bytes);
    Loaded loaded;
    loaded.image->ErrorCode = kUntouched;
    resetPeakMemory();
    const std::size_t before = peakMemory();
    const std::clock_t start = std::clock();
    loaded.result = LoadPNG(file.path(), loaded.image.get(), nullptr, nullptr);
    loaded.code = loaded.image->ErrorCode;
    if (kMeasures) {
        EXPECT_LT(static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC, seconds);
        EXPECT_LT(peakMemory() - before, memory);
    }
    return loaded;
}
constexpr double kSeconds = 2;
constexpr std::size_t kMemory = 64 << 20;
Loaded loadWithin(const Bytes& bytes) { return loadWithin(bytes, kSeconds, kMemory); }

// PNG.

std::uint32_t checksum(const Bytes& bytes) {
    std::uint32_t sum = 0xFFFFFFFF;
    for (const unsigned char byte : bytes) {
        sum ^= byte;
        for (int bit = 0; bit < 8; ++bit) sum = sum >> 1 ^ ((sum & 1) != 0 ? 0xEDB88320U : 0U);
    }
    return ~sum;
}
Bytes chunk(const std::string& kind, const Bytes& data) {
    ByteWriter checked;
    checked.text(kind).raw(data);
    ByteWriter chunk;
    chunk.be32(static_cast<std::uint32_t>(data.size())).raw(checked.bytes).be32(checksum(checked.bytes));
    return chunk.bytes;
}
Bytes pngOf(std::uint32_t width, std::uint32_t height, unsigned bits, unsigned colorType, unsigned interlace,
            const Bytes& pixels, const Bytes& more = {}) {
    ByteWriter head;
    head.be32(width).be32(height).u8(bits).u8(colorType).u8(0).u8(0).u8(interlace);
    ByteWriter file;
    file.raw({0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'}).raw(chunk("IHDR", head.bytes)).raw(more);
    return file.raw(chunk("IDAT", pixels)).raw(chunk("IEND", {})).bytes;
}

// Zlib streams without a checksum: `blocks` times 258 x 4096 zero bytes from about 1 KiB each. The codes are
// fixed: a zero byte, then runs of 258 at distance 1.
class BitWriter {
public:
    void bits(std::uint32_t value, int count) {
        for (int i = 0; i < count; ++i) {
            if (used_ == 0) bytes.push_back(0);
            bytes.back() = static_cast<unsigned char>(bytes.back() | (value >> i & 1) << used_);
            used_ = (used_ + 1) % 8;
        }
    }
    // Huffman codes come with their highest bit first.
    void code(std::uint32_t value, int count) {
        for (int i = count; i-- > 0;) bits(value >> i & 1, 1);
    }
    Bytes bytes;

private:
    int used_ = 0;
};
Bytes zeros(std::size_t count) {
    BitWriter stream;
    stream.bytes = {0x78, 0x9C};
    stream.bits(1, 1);
    stream.bits(1, 2);
    stream.code(0x30, 8);
    for (std::size_t made = 1; made < count; made += 258) {
        stream.code(0xC5, 8);
        stream.code(0, 5);
    }
    stream.code(0, 7);
    // The sum of zeros, as many as there are.
    const auto sum = static_cast<std::uint32_t>((1 + 258 * ((count - 1 + 257) / 258)) % 65521);
    ByteWriter file;
    return file.raw(stream.bytes).be16(sum).be16(1).bytes;
}
// A black row of one pixel and its filter.
Bytes onePixel() { return {0x78, 0x9C, 0x63, 0x60, 0x00, 0x00, 0x00, 0x02, 0x00, 0x01}; }

TEST(PlatformHostile, PngSizesWithoutPixels) {
    EXPECT_TRUE(loadWithin(pngOf(1, 1, 8, 0, 0, onePixel())).result);
    for (const unsigned interlace : {0U, 1U}) {
        for (const unsigned colorType : {0U, 2U, 6U}) {
            for (const std::uint32_t side : {20000U, 65535U, 0x7FFFFFFFU, 0xFFFFFFFFU, 0U}) {
                SCOPED_TRACE(side);
                const Loaded loaded = loadWithin(pngOf(side, side, 8, colorType, interlace, onePixel()));
                EXPECT_FALSE(loaded.result);
                EXPECT_EQ(loaded.image->Header, nullptr);
            }
            EXPECT_FALSE(loadWithin(pngOf(1, 0x7FFFFFFF, 8, colorType, interlace, onePixel())).result);
            EXPECT_FALSE(loadWithin(pngOf(0x7FFFFFFF, 1, 8, colorType, interlace, onePixel())).result);
        }
    }
}

TEST(PlatformHostile, PngAncillaryChunksAreNotUnpacked) {
    const Bytes packed = zeros(200 << 20);
    ASSERT_LT(packed.size(), 2U << 20);
    const auto with = [&](const std::string& kind, const std::string& head) {
        ByteWriter data;
        data.text(head).raw(packed);
        return pngOf(1, 1, 8, 0, 0, onePixel(), chunk(kind, data.bytes));
    };
    using std::string_literals::operator""s;
    for (const Bytes& file : {with("zTXt", "k\0\0"s), with("iCCP", "k\0\0"s), with("iTXt", "k\0\1\0\0\0"s)}) {
        EXPECT_TRUE(loadWithin(file).result);
    }
    // Any number of them.
    ByteWriter many;
    const Bytes text = chunk("tEXt", {'k', 0, 'v'});
    for (int i = 0; i < 100000; ++i) many.raw(text);
    EXPECT_TRUE(loadWithin(pngOf(1, 1, 8, 0, 0, onePixel(), many.bytes)).result);
}

TEST(PlatformHostile, PngPixelsBehindTheLastRowAreNotUnpacked) {
    EXPECT_TRUE(loadWithin(pngOf(1, 1, 8, 0, 0, zeros(200 << 20))).result);
}

TEST(PlatformHostile, PngChunksMayClaimAnyLength) {
    for (const char* kind : {"tEXt", "IDAT", "PLTE", "tRNS"}) {
        ByteWriter file;
        file.raw(pngOf(1, 1, 8, 3, 0, onePixel()));
        file.bytes.resize(33);
        for (const std::uint32_t length : {0x7FFFFFFFU, 0xFFFFFFFFU, 0x10000000U}) {
            ByteWriter claiming = file;
            claiming.be32(length).text(kind).fill(50);
            EXPECT_FALSE(loadWithin(claiming.bytes).result) << kind;
        }
    }
}

// JPEG.

Bytes segment(unsigned marker, const Bytes& data) {
    ByteWriter segment;
    return segment.u8(0xFF).u8(marker).be16(static_cast<std::uint32_t>(data.size()) + 2).raw(data).bytes;
}
// A picture of `components` with tables that know but one code, a single 0 bit: no difference, end of block.
Bytes jpegStart(unsigned frame, unsigned width, unsigned height, unsigned components) {
    ByteWriter head;
    head.u8(8).be16(height).be16(width).u8(components);
    for (unsigned i = 1; i <= components; ++i) head.u8(i).u8(0x11).u8(0);
    Bytes one(18);
    one[1] = 1;
    Bytes other = one;
    other[0] = 0x10;
    ByteWriter file;
    Bytes quantizer(65, 1);
    quantizer[0] = 0;
    return file.raw({0xFF, 0xD8})
        .raw(segment(0xDB, quantizer))
        .raw(segment(frame, head.bytes))
        .raw(segment(0xC4, one))
        .raw(segment(0xC4, other))
        .bytes;
}
Bytes scanOf(unsigned component, unsigned first, unsigned last, unsigned approximation, std::size_t bytes) {
    ByteWriter scan;
    scan.raw(segment(0xDA, {1, static_cast<unsigned char>(component), 0, static_cast<unsigned char>(first),
                            static_cast<unsigned char>(last), static_cast<unsigned char>(approximation)}));
    return scan.fill(bytes).bytes;
}
constexpr unsigned kBaseline = 0xC0;
constexpr unsigned kProgressive = 0xC2;
constexpr unsigned kArithmetic = 0xC9;
constexpr unsigned kProgressiveArithmetic = 0xCA;

TEST(PlatformHostile, JpegSizesWithoutPixels) {
    ByteWriter good;
    good.raw(jpegStart(kBaseline, 8, 8, 1)).raw(scanOf(1, 0, 63, 0, 1)).raw({0xFF, 0xD9});
    const Loaded loaded = loadWithin(good.bytes);
    ASSERT_TRUE(loaded.result);
    EXPECT_EQ(rowBytes(*loaded.image, 7), Bytes(8, 128));

    for (const unsigned frame : {kBaseline, kProgressive, kArithmetic, kProgressiveArithmetic}) {
        for (const unsigned side : {20000U, 65500U, 65535U, 0U}) {
            for (const bool ended : {false, true}) {
                SCOPED_TRACE(frame * 100000 + side);
                ByteWriter file;
                file.raw(jpegStart(frame, side, side, 1))
                    .raw(scanOf(1, 0, frame == kProgressive ? 0 : 63, 0, 100));
                if (ended) file.raw({0xFF, 0xD9});
                EXPECT_FALSE(loadWithin(file.bytes).result);
            }
        }
    }
}

TEST(PlatformHostile, JpegScansAreCounted) {
    for (const int scans : {10, 5000, 60000}) {
        ByteWriter file;
        file.raw(jpegStart(kProgressive, 1000, 1000, 1)).raw(scanOf(1, 0, 0, 0, 1954));
        for (int i = 1; i < scans; ++i) file.raw(scanOf(1, 1, 5, 0, 1954));
        file.raw({0xFF, 0xD9});
        EXPECT_EQ(loadWithin(file.bytes, 20, kMemory).result, scans == 10) << scans;
    }
}

// TIFF.

TEST(PlatformHostile, TiffSizesWithoutPixels) {
    for (const std::uint32_t side : {20000U, 40000U, 65535U, 0x7FFFFFFFU, 0xFFFFFFFFU}) {
        for (const unsigned compression : {1U, 3U, 4U, 5U, 8U, 32773U}) {
            for (const unsigned orientation : {1U, 6U}) {
                SCOPED_TRACE(std::to_string(side) + " " + std::to_string(compression));
                for (const unsigned bits : {1U, 8U}) {
                    TiffBuilder file(side, side, bits, 1, 1, Bytes(100));
                    const Loaded loaded = loadWithin(
                        file.set(259, {compression}).set(274, {orientation}).set(278, {side}).bytes());
                    EXPECT_FALSE(loaded.result);
                }
                TiffBuilder ycbcr(side, side, 8, 3, 6, Bytes(100));
                EXPECT_FALSE(
                    loadWithin(ycbcr.set(259, {compression}).set(274, {orientation}).bytes()).result);
                TiffBuilder tiled(side, side, 8, 3, 2, Bytes(100));
                EXPECT_FALSE(loadWithin(tiled.set(259, {compression}).tiles(256, 256).bytes()).result);
            }
        }
    }
}

TEST(PlatformHostile, TiffPiecesMayBeAnySize) {
    for (const std::uint32_t side : {0U, 1U, 16U, 16384U, 0x10000U, 0x100000U, 0xFFFFFFF0U, 0xFFFFFFFFU}) {
        for (const unsigned compression : {1U, 5U, 8U, 32773U}) {
            for (const bool planar : {false, true}) {
                SCOPED_TRACE(side);
                TiffBuilder tiled(2, 2, 8, 3, 2, Bytes(100));
                tiled.set(259, {compression}).set(284, {planar ? 2U : 1U}).tiles(side, side);
                tiled.pieces.resize(3, Bytes(100));
                loadWithin(tiled.bytes());
                TiffBuilder strips(2, 2, 8, 3, 2, Bytes(12, 7));
                strips.set(278, {side}).set(284, {planar ? 2U : 1U}).pieces.resize(3, Bytes(12));
                loadWithin(strips.bytes());
            }
        }
    }
    // More strips than there are places for their offsets.
    EXPECT_FALSE(loadWithin(TiffBuilder(1, 60000000, 8, 1, 1, Bytes(100)).set(278, {1}).bytes()).result);
}

TEST(PlatformHostile, TiffFieldsMayHoldAnything) {
    const Bytes good = TiffBuilder(2, 2, 8, 3, 2, Bytes(12)).bytes();
    ASSERT_TRUE(loadWithin(good).result);
    // Every number of every field, and its count, as large as it can be.
    for (std::size_t entry = 22; entry + 12 <= good.size(); entry += 12) {
        for (const std::uint32_t value : {0U, 1U, 0x7FFFU, 0xFFFFU, 0x7FFFFFFFU, 0xFFFFFFFFU}) {
            for (const std::size_t part : {4U, 8U}) {
                Bytes changed = good;
                for (std::size_t i = 0; i < 4; ++i) {
                    changed[entry + part + i] = static_cast<unsigned char>(value >> (8 * i));
                }
                const Loaded loaded = loadWithin(changed);
                EXPECT_EQ(loaded.image->Header != nullptr && loaded.image->Buffer != nullptr, loaded.result);
            }
        }
    }
    // Directories that lead back to themselves, or nowhere.
    for (const std::uint32_t offset : {8U, 20U, 0xFFFFFFFFU}) {
        Bytes looping = good;
        const std::size_t next = 20 + 2 + 12 * looping[20];
        for (std::size_t i = 0; i < 4; ++i) looping[next + i] = static_cast<unsigned char>(offset >> (8 * i));
        EXPECT_TRUE(loadWithin(looping).result);
        for (std::size_t i = 0; i < 4; ++i) looping[4 + i] = static_cast<unsigned char>(offset >> (8 * i));
        const bool found = loadWithin(looping).result;
        EXPECT_EQ(found, offset == 20);
    }
}

TEST(PlatformHostile, TiffSamplesMayBeMany) {
    const Loaded loaded = loadWithin(TiffBuilder(1, 1, 8, 65535, 2, Bytes(65535, 9)).bytes());
    EXPECT_TRUE(loaded.result);
    EXPECT_FALSE(loadWithin(TiffBuilder(20000, 20000, 8, 65535, 2, Bytes(100)).bytes()).result);
}

}  // namespace
}  // namespace codec_test

// Files that hold less than they announce: they take little memory, and what they lack is 0, never old
// memory.
#include "formats/NewImage.h"

#include <DibCodec.h>
#include <DibPSDLoader.h>

#include <algorithm>

#include "dib/ImageSize.h"
#include "formats/Hdr.h"
#include "formats/Ilbm.h"
#include "formats/Ppm.h"
#include "formats/Tga.h"
#include "formats/Tim.h"
#include "tests/formats/CodecTest.h"
#include "tests/formats/TiffBuilder.h"
#include "tests/support/PeakMemory.h"

namespace codec_test {
namespace {

using formats::NewImage;

constexpr unsigned char kOld = 0xA5;

TEST(NewImage, FillAndRowsThatWereNotReadAreZero) {
    const Bytes one(1);
    formats::ByteReader file(one.data(), one.size());
    const testing_support::FillNewBlocks fill(kOld);
    for (const int height : {3, -3}) {
        for (const bool fromEnd : {false, true}) {
            DibStream image;
            {
                NewImage rows(&image);
                ASSERT_TRUE(rows.create(file, 3, height, 24, 1));
                ASSERT_EQ(image.Buffer[0], kOld);
                unsigned char* first = image.Buffer + (fromEnd ? 24 : 0);
                std::fill_n(first, 12, 7);
                rows.read(first);
                unsigned char* second = image.Buffer + 12;
                std::fill_n(second, 12, 8);
                rows.readPart(second, 2);
            }
            Bytes expected = {7, 7, 7, 7, 7, 7, 7, 7, 7, 0, 0, 0, 8, 8};
            expected.resize(36);
            if (fromEnd) std::swap_ranges(expected.begin(), expected.begin() + 12, expected.begin() + 24);
            EXPECT_EQ(Bytes(image.Buffer, image.Buffer + 36), expected);
        }
    }
}

TEST(NewImage, SeveralRowsAreReadAtOnce) {
    const Bytes one(1);
    formats::ByteReader file(one.data(), one.size());
    const testing_support::FillNewBlocks fill(kOld);
    DibStream image;
    {
        NewImage rows(&image);
        ASSERT_TRUE(rows.create(file, 4, 4, 8, 1));
        rows.read(image.Buffer, 3);
    }
    EXPECT_EQ(Bytes(image.Buffer, image.Buffer + 16),
              (Bytes{kOld, kOld, kOld, kOld, kOld, kOld, kOld, kOld,  //
                     kOld, kOld, kOld, kOld, 0, 0, 0, 0}));
}

TEST(NewImage, ReplacedImagesAreLeftAlone) {
    const Bytes one(1);
    formats::ByteReader file(one.data(), one.size());
    DibStream image;
    unsigned char other[16];
    std::fill_n(other, sizeof other, kOld);
    {
        NewImage rows(&image);
        EXPECT_FALSE(rows.isIntact());
        ASSERT_TRUE(rows.create(file, 2, 2, 32, 1));
        EXPECT_TRUE(rows.isIntact());
        BITMAPINFOHEADER* header = image.CreateHeader(2, 2, 32);
        ASSERT_TRUE(image.SetDib(header, 6, other, 0));
        EXPECT_FALSE(rows.isIntact());
    }
    EXPECT_EQ(Bytes(other, other + 16), Bytes(16, kOld));
    {
        NewImage rows(&image);
        ASSERT_TRUE(rows.create(file, 2, 2, 32, 1));
        image.Clear();
        EXPECT_FALSE(rows.isIntact());
    }
    EXPECT_EQ(image.Buffer, nullptr);
    {
        NewImage rows(&image);
        ASSERT_TRUE(rows.create(file, 2, 2, 32, 1));
        image.Header->biWidth = 3;
        EXPECT_FALSE(rows.isIntact());
    }
}

TEST(NewImage, CreatesAsCreateDoes) {
    const Bytes one(1);
    formats::ByteReader file(one.data(), one.size());
    for (const std::uint64_t fewestBytes : {std::uint64_t{0}, std::uint64_t{1}}) {
        DibStream image;
        NewImage rows(&image);
        ASSERT_TRUE(rows.create(file, 3, -2, 8, fewestBytes));
        DibStream same;
        ASSERT_TRUE(same.Create(3, -2, 8));
        EXPECT_EQ(testing_support::headerBytes(image), testing_support::headerBytes(same));
        EXPECT_EQ(image.HeaderOwner, 6U);
        EXPECT_EQ(image.BufferOwner, 6U);
        struct Refused {
            int width;
            int height;
            int bitCount;
        };
        for (const Refused size : {Refused{0, 1, 8}, {1, 0, 8}, {-1, 1, 8}, {1, 1, 12}, {46341, 46341, 8}}) {
            image.ErrorCode = 0;
            EXPECT_FALSE(rows.create(file, size.width, size.height, size.bitCount, fewestBytes));
            EXPECT_EQ(image.ErrorCode, 2);
            EXPECT_EQ(image.Header, nullptr);
            EXPECT_EQ(image.Buffer, nullptr);
            EXPECT_EQ(image.HeaderOwner, 0U);
            EXPECT_EQ(image.BufferOwner, 0U);
        }
    }
}

TEST(NewImage, EveryAllocationMayFail) {
    const Bytes one(1);
    formats::ByteReader file(one.data(), one.size());
    for (const std::uint64_t fewestBytes : {std::uint64_t{0}, std::uint64_t{1}}) {
        DibPtr image;
        bool created = false;
        const int failures = testing_support::forEachFailingAllocation(
            [&] { image.reset(new DibStream); },
            [&] { created = NewImage(image.get()).create(file, 3, 3, 8, fewestBytes); },
            [&](bool failureMet) {
                EXPECT_EQ(created, !failureMet);
                EXPECT_EQ(image->ErrorCode, failureMet ? 2 : 0);
                EXPECT_EQ(image->Header == nullptr, failureMet);
                EXPECT_EQ(image->Buffer == nullptr, failureMet);
                image.reset();
            });
        EXPECT_EQ(failures, 2);
    }
}

// Headers of every format, each followed by nothing.

struct Announcement {
    const char* name;
    bool (*load)(std::FILE* file, DibStream* image);
    Bytes (*file)(unsigned width, unsigned height);
};

template <bool (*kCodec)(std::FILE*, DibStream*, DibProgressCallback, void*)>
bool loadBy(std::FILE* file, DibStream* image) {
    return kCodec(file, image, nullptr, nullptr);
}
bool loadBmp(std::FILE* file, DibStream* image) { return image->LoadFileInner(file, 63); }

template <unsigned kType, unsigned kBits, unsigned kMapBits = 0, unsigned kDescriptor = 0>
Bytes tga(unsigned width, unsigned height) {
    ByteWriter file;
    file.u8(0).u8(kMapBits != 0 ? 1 : 0).u8(kType).le16(0).le16(kMapBits != 0 ? 1 : 0).u8(kMapBits).le32(0);
    return file.le16(width).le16(height).u8(kBits).u8(kDescriptor).fill(kMapBits / 8).bytes;
}
template <unsigned kMode>
Bytes tim(unsigned width, unsigned height) {
    return ByteWriter().le32(0x10).le32(kMode).le32(0).le32(0).le16(width >> (2 - kMode)).le16(height).bytes;
}
template <char kKind>
Bytes ppm(unsigned width, unsigned height) {
    return bytesOf(std::string("P") + kKind + "\n" + std::to_string(width) + " " + std::to_string(height) +
                   "\n255\n");
}
Bytes hdr(unsigned width, unsigned height) {
    return bytesOf("#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n-Y " + std::to_string(height) + " +X " +
                   std::to_string(width) + "\n");
}
template <unsigned kPlanes, unsigned kCompression, bool kHasBody>
Bytes ilbm(unsigned width, unsigned height) {
    ByteWriter file;
    file.text("FORM").be32(kHasBody ? 48 : 40).text("ILBM").text("BMHD").be32(20);
    file.be16(width).be16(height).be32(0).u8(kPlanes).u8(0).u8(kCompression).fill(9);
    if (kHasBody) file.text("BODY").be32(0);
    return file.bytes;
}
template <unsigned kBits, unsigned kCompression>
Bytes bmp(unsigned width, unsigned height) {
    ByteWriter file;
    file.text("BM").le32(0).le32(0).le32(0).le32(40).le32(width).le32(height).le16(1).le16(kBits);
    return file.le32(kCompression).fill(20).fill(kBits <= 8 ? 4U << kBits : 0).bytes;
}

constexpr Announcement kAnnouncements[] = {
    {"TGA 8", loadBy<LoadTGA>, tga<3, 8>},
    {"TGA 16", loadBy<LoadTGA>, tga<2, 16>},
    {"TGA 24", loadBy<LoadTGA>, tga<2, 24>},
    {"TGA 24 top-down", loadBy<LoadTGA>, tga<2, 24, 0, 0x20>},
    {"TGA 32", loadBy<LoadTGA>, tga<2, 32>},
    {"TGA with a map of 24 bits", loadBy<LoadTGA>, tga<1, 8, 24>},
    {"TGA with a map of 32 bits", loadBy<LoadTGA>, tga<1, 8, 32>},
    {"TGA packets 8", loadBy<LoadTGA>, tga<9, 8, 24>},
    {"TGA packets 8 with a map that is not read", loadBy<LoadTGA>, tga<9, 8, 16>},
    {"TGA packets 16", loadBy<LoadTGA>, tga<10, 16>},
    {"TGA packets 24", loadBy<LoadTGA>, tga<10, 24>},
    {"TGA packets 24 top-down", loadBy<LoadTGA>, tga<10, 24, 0, 0x20>},
    {"TGA packets 32", loadBy<LoadTGA>, tga<10, 32>},
    {"TIM 4", loadBy<LoadTIM>, tim<0>},
    {"TIM 8", loadBy<LoadTIM>, tim<1>},
    {"TIM 16", loadBy<LoadTIM>, tim<2>},
    {"PGM of digits", loadBy<LoadPPM>, ppm<'2'>},
    {"PPM of digits", loadBy<LoadPPM>, ppm<'3'>},
    {"PGM", loadBy<LoadPPM>, ppm<'5'>},
    {"PPM", loadBy<LoadPPM>, ppm<'6'>},
    {"HDR", loadBy<LoadHDR>, hdr},
    {"ILBM 0", loadBy<LoadIFF>, ilbm<0, 0, true>},
    {"ILBM 1", loadBy<LoadIFF>, ilbm<1, 0, true>},
    {"ILBM 4", loadBy<LoadIFF>, ilbm<4, 0, true>},
    {"ILBM 8", loadBy<LoadIFF>, ilbm<8, 0, true>},
    {"ILBM 24", loadBy<LoadIFF>, ilbm<24, 0, true>},
    {"ILBM 24 packets", loadBy<LoadIFF>, ilbm<24, 1, true>},
    {"ILBM 24 without a body", loadBy<LoadIFF>, ilbm<24, 0, false>},
    {"BMP 24", loadBmp, bmp<24, 0>},
    {"BMP 8 in runs", loadBmp, bmp<8, 1>},
};

// Sizes with fill bytes after the rows, from one that is small to the largest there are.
constexpr std::size_t kMostGrowth = testing_support::kMeasuresMemory ? 1U << 20 : SIZE_MAX;
constexpr testing_support::Size kAnnounced[] = {{401, 401},    {1001, 1000},   {2001, 5000},  {5001, 4400},
                                                {9999, 16000}, {26753, 26754}, {32767, 21843}};

TEST(AnnouncedSize, TakesLittleMemory) {
    for (const Announcement& format : kAnnouncements) {
        for (const auto [width, height] : kAnnounced) {
            SCOPED_TRACE(std::string(format.name) + " " + std::to_string(width) + "x" +
                         std::to_string(height));
            const Bytes bytes = format.file(static_cast<unsigned>(width), static_cast<unsigned>(height));
            const dib::FilePtr file = testing_support::openBytes(bytes);
            DibStream image;
            ::testing::internal::CaptureStderr();
            const std::size_t growth = testing_support::peakGrowth([&] { format.load(file.get(), &image); });
            ::testing::internal::GetCapturedStderr();
            EXPECT_LT(growth, kMostGrowth);
            if (image.Header == nullptr) continue;
            // Blank to the last byte.
            ASSERT_NE(image.Buffer, nullptr);
            const std::size_t size = dib::admitSize(*image.Header).imageBytes;
            for (std::size_t at = 0; at < size; at += size / 97 + 1) ASSERT_EQ(image.Buffer[at], 0) << at;
            for (std::size_t at = 1; at <= 4; ++at) EXPECT_EQ(image.Buffer[size - at], 0);
        }
    }
}

// A file from the platform's library.
TEST(AnnouncedSize, TakesLittleMemoryInTiff) {
    for (const auto [width, height] : kAnnounced) {
        for (const unsigned samples : {1U, 3U, 4U}) {
            SCOPED_TRACE(std::to_string(width) + " " + std::to_string(samples));
            const TemporaryFile file(
                ".tif", TiffBuilder(static_cast<unsigned>(width), static_cast<unsigned>(height), 8, samples,
                                    samples == 1 ? 1 : 2)
                            .bytes());
            DibStream image;
            const auto load = [&] { EXPECT_FALSE(LoadTIFF(file.path(), &image, nullptr, nullptr)); };
            if (samples == 1) load();  // the code of the libraries comes into memory, too
            EXPECT_LT(testing_support::peakGrowth(load), kMostGrowth);
        }
    }
}

// Files that are cut, damaged or cancelled show the same picture, whatever the heap held before.

struct Attempt {
    bool loaded;
    int code;
    Bytes header;
    Bytes pixels;
    bool operator==(const Attempt&) const = default;
};

Attempt attempt(Codec codec, const Bytes& bytes, int cancelAt, unsigned char heap) {
    ProgressLog log;
    log.cancelAt = cancelAt;
    DibStream image;
    image.ErrorCode = kUntouched;
    bool loaded = false;
    {
        const dib::FilePtr file = testing_support::openBytes(bytes);
        const testing_support::FillNewBlocks fill(heap);
        loaded = codec(file.get(), &image, ProgressLog::callback, &log);
    }
    if (image.Header == nullptr) return {loaded, image.ErrorCode, {}, {}};
    return {loaded, image.ErrorCode, testing_support::headerBytes(image), testing_support::pixelBytes(image)};
}

void expectNoOldMemory(Codec codec, const Bytes& bytes, int cancelAt = -1) {
    EXPECT_TRUE(attempt(codec, bytes, cancelAt, 0x5A) == attempt(codec, bytes, cancelAt, 0xA5));
}

bool loadPsd(std::FILE* file, DibStream* image, DibProgressCallback callback, void* user) {
    DibPSDLoader loader(image);
    loader.SetCallback(callback, user);
    return loader.Load(file);
}
bool loadBmp(std::FILE* file, DibStream* image, DibProgressCallback, void*) { return loadBmp(file, image); }

TEST(OldMemory, IsNeverShown) {
    struct Format {
        const char* seeds;
        Codec load;
    };
    constexpr Format kFormats[] = {{"bmp", loadBmp}, {"hdr", LoadHDR}, {"ilbm", LoadIFF}, {"ppm", LoadPPM},
                                   {"psd", loadPsd}, {"tga", LoadTGA}, {"tim", LoadTIM}};
    ::testing::internal::CaptureStderr();
    for (const Format& format : kFormats) {
        int seeds = 0;
        for (const auto& seed : std::filesystem::directory_iterator(testing_support::sourceFolder() +
                                                                    "/fuzz/seeds/" + format.seeds)) {
            SCOPED_TRACE(seed.path().string());
            // Those that fuzzers found are many, and some announce large pictures.
            if (seed.path().filename().string().starts_with("found-")) continue;
            ++seeds;
            const Bytes whole = testing_support::readFileBytes(seed.path());
            forEveryTruncation(whole, [&](const Bytes& cut, std::size_t length) {
                SCOPED_TRACE(length);
                expectNoOldMemory(format.load, cut);
            });
            forEveryExtremeByte(whole, 64, [&](const Bytes& damaged, std::size_t at, unsigned value) {
                SCOPED_TRACE(std::to_string(at) + " " + std::to_string(value));
                expectNoOldMemory(format.load, damaged);
            });
            for (int cancelAt = 0; cancelAt < 6; ++cancelAt) expectNoOldMemory(format.load, whole, cancelAt);
        }
        EXPECT_GT(seeds, 0) << format.seeds;
    }
    ::testing::internal::GetCapturedStderr();
}

// The first row, half of the second, and nothing of the third.
TEST(OldMemory, MissingPixelsAreZero) {
    const testing_support::FillNewBlocks fill(kOld);
    const Loaded tgaFile = load(LoadTGA, ByteWriter().raw(tga<2, 24>(2, 3)).fill(9, 7).bytes);
    EXPECT_FALSE(tgaFile.result);
    EXPECT_EQ(testing_support::pixelBytes(*tgaFile.image),
              (Bytes{7, 7, 7, 7, 7, 7, 0, 0, 7, 7, 7, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
    const Loaded packets = load(LoadTGA, ByteWriter().raw(tga<10, 24>(2, 3)).u8(0x82).fill(3, 7).bytes);
    EXPECT_FALSE(packets.result);
    EXPECT_EQ(testing_support::pixelBytes(*packets.image),
              (Bytes{7, 7, 7, 7, 7, 7, 0, 0, 7, 7, 7, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
    const Loaded grey = load(LoadPPM, ByteWriter().raw(ppm<'5'>(2, 3)).fill(3, 7).bytes);
    EXPECT_FALSE(grey.result);
    EXPECT_EQ(testing_support::pixelBytes(*grey.image), (Bytes{0, 0, 0, 0, 7, 0, 0, 0, 7, 7, 0, 0}));
    const Loaded colors = load(LoadPPM, ByteWriter().raw(ppm<'6'>(2, 3)).fill(9, 7).bytes);
    EXPECT_FALSE(colors.result);
    EXPECT_EQ(testing_support::pixelBytes(*colors.image),
              (Bytes{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 7, 7, 7, 7, 7, 7, 0, 0}));
    const Loaded digits = load(LoadPPM, ByteWriter().raw(ppm<'3'>(2, 2)).text("7 7 7 7 7 7 7 7 ").bytes);
    EXPECT_FALSE(digits.result);
    EXPECT_EQ(testing_support::pixelBytes(*digits.image),
              (Bytes{0, 7, 7, 0, 0, 0, 0, 0, 7, 7, 7, 7, 7, 7, 0, 0}));
    const Loaded timFile = load(LoadTIM, ByteWriter().raw(tim<2>(2, 3)).fill(6, 0x7F).bytes);
    EXPECT_TRUE(timFile.result);
    EXPECT_EQ(testing_support::pixelBytes(*timFile.image),
              (Bytes{0, 0, 0, 0, 0x7F, 0x7F, 0, 0, 0x7F, 0x7F, 0x7F, 0x7F}));
    const Loaded stranger = load(LoadTGA, tga<9, 8, 16>(2, 2));
    EXPECT_FALSE(stranger.result);
    EXPECT_EQ(testing_support::pixelBytes(*stranger.image), Bytes(8));
    // Announced and never shown.
    const Loaded announced = load(LoadIFF, ByteWriter().raw(ilbm<8, 0, false>(2, 2)).fill(20).bytes);
    EXPECT_FALSE(announced.result);
    EXPECT_EQ(testing_support::pixelBytes(*announced.image), Bytes(8));
}

}  // namespace
}  // namespace codec_test

#include <webp/encode.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "tests/plugins/PluginDoorTest.h"
#include "tests/support/ByteFile.h"

namespace {

using codec_test::Bytes;
using door_test::opened;
using plugin_test::PluginsInUse;
using testing_support::ByteWriter;

struct Encoded {
    std::uint8_t* data = nullptr;
    std::size_t size = 0;
    ~Encoded() { WebPFree(data); }
    Bytes bytes() const { return {data, data + size}; }
};

// Blue, green, red and alpha from the top.
Bytes lossless(const Bytes& pixels, int width) {
    Encoded out;
    const int height = static_cast<int>(pixels.size()) / width / 4;
    out.size = WebPEncodeLosslessBGRA(pixels.data(), width, height, width * 4, &out.data);
    return out.bytes();
}
Bytes opaque(const Bytes& pixels, int width) {
    Encoded out;
    const int height = static_cast<int>(pixels.size()) / width / 3;
    out.size = WebPEncodeLosslessBGR(pixels.data(), width, height, width * 3, &out.data);
    return out.bytes();
}

Bytes chunk(const std::string& name, const Bytes& data) {
    ByteWriter out;
    out.text(name).le32(static_cast<std::uint32_t>(data.size())).raw(data);
    if (data.size() % 2 != 0) out.raw({0});
    return out.bytes;
}
Bytes riff(std::initializer_list<Bytes> chunks) {
    Bytes all;
    for (const Bytes& each : chunks) all.insert(all.end(), each.begin(), each.end());
    ByteWriter out;
    out.text("RIFF").le32(static_cast<std::uint32_t>(all.size()) + 4).text("WEBP");
    return out.raw(all).bytes;
}
// Sides of up to 256.
Bytes extended(unsigned char flags, int width, int height) {
    return chunk("VP8X", {flags, 0, 0, 0, static_cast<unsigned char>(width - 1), 0, 0,
                          static_cast<unsigned char>(height - 1), 0, 0});
}
// The bitstream of a still file.
Bytes stream(const Bytes& file) { return {file.begin() + 12, file.end()}; }

const Bytes kClear = {1, 2, 3, 255, 4, 5, 6, 128, 7, 8, 9, 0, 10, 11, 12, 200};
const Bytes kOpaque = {1, 2, 3, 40, 50, 60, 255, 0, 128, 9, 9, 9};

TEST(WebpDoor, LosslessPicturesAreExact) {
    const PluginsInUse plugins;
    const Bytes bytes = lossless(kClear, 2);
    const door_test::Opened load = opened(bytes);
    ASSERT_TRUE(load.isLoaded) << load.result.reason;
    EXPECT_STREQ(load.result.format->name, "webp");
    EXPECT_EQ(load.image->Header->biBitCount, 32);
    // Clear pixels have no colour any more.
    EXPECT_EQ(codec_test::pixelsOf(*load.image),
              (Bytes{1, 2, 3, 255, 4, 5, 6, 128, 0, 0, 0, 0, 10, 11, 12, 200}));
    door_test::expectOneFromEverySource(bytes, ".webp");
    door_test::expectLoadProgress(bytes, 3);

    const door_test::Opened plain = opened(opaque(kOpaque, 2));
    ASSERT_TRUE(plain.isLoaded) << plain.result.reason;
    EXPECT_EQ(plain.image->Header->biBitCount, 24);
    EXPECT_EQ(codec_test::pixelsOf(*plain.image), kOpaque);
    DibFileInfo info;
    ASSERT_TRUE(DibProbeMemory(bytes.data(), bytes.size(), &info));
    EXPECT_STREQ(info.compression, "lossless");
    EXPECT_EQ(info.bitCount, 32);
    EXPECT_TRUE(info.hasAlpha);
}

TEST(WebpDoor, LossyPicturesAreNear) {
    const PluginsInUse plugins;
    Encoded out;
    const Bytes grey(std::size_t{40} * 30 * 3, 120);
    out.size = WebPEncodeBGR(grey.data(), 40, 30, 120, 90, &out.data);
    const door_test::Opened load = opened(out.bytes());
    ASSERT_TRUE(load.isLoaded) << load.result.reason;
    EXPECT_EQ(load.image->Header->biWidth, 40);
    EXPECT_EQ(load.image->Header->biHeight, 30);
    for (const unsigned char byte : codec_test::pixelsOf(*load.image)) EXPECT_NEAR(byte, 120, 2);
    door_test::expectOneFromEverySource(out.bytes(), ".webp");
}

TEST(WebpDoor, ProfileExifAndXmpAreKept) {
    const PluginsInUse plugins;
    const Bytes bytes =
        riff({extended(0x2C, 2, 2), chunk("ICCP", {5, 6, 7}), stream(opaque(kOpaque, 2)),
              chunk("EXIF", codec_test::bytesOf("II*")), chunk("XMP ", codec_test::bytesOf("<x/>"))});
    const door_test::Opened load = opened(bytes);
    ASSERT_TRUE(load.isLoaded) << load.result.reason;
    const DibMetadata& metadata = load.result.metadata;
    EXPECT_EQ(Bytes(metadata.colorProfile.data, metadata.colorProfile.data + metadata.colorProfile.size),
              (Bytes{5, 6, 7}));
    EXPECT_EQ(Bytes(metadata.exif.data, metadata.exif.data + metadata.exif.size), codec_test::bytesOf("II*"));
    EXPECT_EQ(Bytes(metadata.xmp.data, metadata.xmp.data + metadata.xmp.size), codec_test::bytesOf("<x/>"));
    EXPECT_EQ(codec_test::pixelsOf(*load.image), kOpaque);
}

// As JPEG files: by the EXIF block, which may start with the mark of those.
TEST(WebpDoor, ExifTurnsThePicture) {
    const PluginsInUse plugins;
    const Bytes pixels = {1, 2, 3, 4, 5, 6};                         // two pixels side by side, blue first
    const Bytes block = {'I',  'I', 42, 0, 8, 0, 0, 0, 2,  0,        // two entries
                         0x12, 1,   3,  0, 1, 0, 0, 0, 6,  0, 0, 0,  // orientation 6
                         0x1A, 1,   5,  0, 1, 0, 0, 0, 34, 0, 0, 0,  // columns per inch
                         44,   1,   0,  0, 2, 0, 0, 0};              // 300 / 2
    Bytes marked = codec_test::bytesOf(std::string("Exif\0\0", 6));
    marked.insert(marked.end(), block.begin(), block.end());
    for (const Bytes& exif : {block, marked}) {
        const Bytes bytes = riff({extended(0x08, 2, 1), stream(opaque(pixels, 2)), chunk("EXIF", exif)});
        DibFileInfo info;
        DibFileResult result;
        ASSERT_TRUE(DibProbeMemory(bytes.data(), bytes.size(), &info, nullptr, &result)) << result.reason;
        EXPECT_EQ(info.width, 1);
        EXPECT_EQ(info.height, 2);
        EXPECT_EQ(result.metadata.yResolution, 150);
        const door_test::Opened load = opened(bytes);
        ASSERT_TRUE(load.isLoaded) << load.result.reason;
        ASSERT_EQ(load.image->Header->biWidth, 1);
        EXPECT_EQ(load.result.metadata.orientation, 1);
        const unsigned char* top = load.image->ScanLine(0);  // from the top
        EXPECT_EQ(Bytes(top, top + 3), (Bytes{1, 2, 3}));
        DibLoadOptions options;
        options.appliesOrientation = false;
        const door_test::Opened stored = opened(bytes, options);
        ASSERT_TRUE(stored.isLoaded) << stored.result.reason;
        EXPECT_EQ(stored.image->Header->biWidth, 2);
        EXPECT_EQ(stored.result.metadata.orientation, 6);
        EXPECT_EQ(codec_test::pixelsOf(*stored.image), pixels);
        // What the block says is kept.
        DibSaveOptions saving;
        saving.format = "webp";
        saving.metadata = &stored.result.metadata;
        EXPECT_EQ(DibSaveLosses(stored.image.get(), "webp", &saving), 0);
        DibBytes again;
        ASSERT_TRUE(DibSaveMemory(&again, stored.image.get(), &saving));
        EXPECT_EQ(opened(Bytes(again.data, again.data + again.size)).image->Header->biHeight, 2);
    }
    // A block beyond the end of the file is none.
    Bytes cut = riff({extended(0x08, 2, 1), stream(opaque(pixels, 2)), chunk("EXIF", block)});
    cut.resize(cut.size() - 10);
    const door_test::Opened load = opened(cut);
    ASSERT_TRUE(load.isLoaded) << load.result.reason;
    EXPECT_EQ(load.image->Header->biWidth, 2);
}

Bytes animation() {
    const Bytes still = stream(lossless(kClear, 2));
    // At (2, 0) of 4 x 3 pixels, 2 x 2 large.
    Bytes frame = {1, 0, 0, 0, 0, 0, 1, 0, 0, 1, 0, 0, 100, 0, 0, 0};
    frame.insert(frame.end(), still.begin(), still.end());
    return riff(
        {extended(0x12, 4, 3), chunk("ANIM", Bytes(6, 0)), chunk("ANMF", frame), chunk("ANMF", frame)});
}

TEST(WebpDoor, OfAnimationsTheFirstPictureIsShownOnItsCanvas) {
    const PluginsInUse plugins;
    const door_test::Opened load = opened(animation());
    ASSERT_TRUE(load.isLoaded) << load.result.reason;
    EXPECT_EQ(load.image->Header->biBitCount, 32);
    const Bytes none(8, 0);
    EXPECT_EQ(codec_test::rowBytes(*load.image, 0),
              (Bytes{0, 0, 0, 0, 0, 0, 0, 0, 1, 2, 3, 255, 4, 5, 6, 128}));
    EXPECT_EQ(codec_test::rowBytes(*load.image, 1),
              (Bytes{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 10, 11, 12, 200}));
    EXPECT_EQ(codec_test::rowBytes(*load.image, 2), Bytes(16, 0));
    EXPECT_EQ(load.note(0), "of an animation the first picture is shown");
    door_test::expectOneFromEverySource(animation(), ".webp");
}

TEST(WebpDoor, DamagedFilesEndInAResult) {
    const PluginsInUse plugins;
    for (const Bytes& bytes : {lossless(kClear, 2), animation()}) {
        for (std::size_t length = 0; length < bytes.size(); ++length) {
            const Bytes cut(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(length));
            const door_test::Opened load = opened(cut, door_test::named("x.webp"));
            EXPECT_EQ(load.isLoaded, load.reason().empty()) << length;
        }
        door_test::expectExtremeBytesAreSurvived(bytes, "x.webp");
        plugin_test::expectFailingAllocationsAreSurvived(bytes);
    }
    EXPECT_EQ(opened(codec_test::bytesOf("RIFF\1\1\1\1WEBP")).reason(), "the file ends inside its header");
    EXPECT_FALSE(opened(codec_test::bytesOf("RIFF\1\1\1\1WAVEfmt ")).isLoaded);
}

Bytes noiseOf(std::size_t bytes) {
    Bytes noise(bytes);
    std::uint32_t seed = 1;
    for (unsigned char& byte : noise) {
        seed = seed * 1664525 + 1013904223;
        byte = static_cast<unsigned char>(seed >> 24);
    }
    return noise;
}

// The decoder gets the bytes in pieces of a few rows when somebody watches.
TEST(WebpDoor, ProgressMovesInSmallSteps) {
    const PluginsInUse plugins;
    constexpr int kWidth = 80;
    constexpr int kHeight = 1200;
    Bytes pictures[] = {noiseOf(std::size_t{kWidth} * kHeight * 4), Bytes(std::size_t{kWidth} * kHeight * 4)};
    for (std::size_t i = 0; i < pictures[1].size(); ++i)
        pictures[1][i] = static_cast<unsigned char>(i % 4 == 3 ? 255 : i / 4 % kWidth + pictures[0][i] / 32);
    for (const Bytes& pixels : pictures) {
        Encoded lossy;
        lossy.size = WebPEncodeBGRA(pixels.data(), kWidth, kHeight, kWidth * 4, 75, &lossy.data);
        for (const Bytes& file : {lossless(pixels, kWidth), lossy.bytes()}) {
            door_test::ProgressLog log;
            DibStream watched;
            ASSERT_TRUE(DibLoadMemory(file.data(), file.size(), &watched, nullptr, nullptr,
                                      door_test::ProgressLog::callback, &log));
            const std::vector<float>& done = log.fractions;
            // libwebp decodes an eighth of a lossless picture at once.
            const auto first = std::ranges::find_if(done, [](float fraction) { return fraction > 0; });
            ASSERT_NE(first, done.end());
            EXPECT_LE(*first, file[15] == 'L' ? 0.17F : 0.05F);
            for (auto next = first + 1; next < done.end(); ++next)
                EXPECT_LE((*next - *(next - 1)) * kHeight, 64);
            EXPECT_TRUE(testing_support::sameImage(watched, *opened(file).image));
        }
    }
}

TEST(WebpDoor, RowsOfCutFilesAreKept) {
    const PluginsInUse plugins;
    const Bytes noise = noiseOf(std::size_t{64} * 200 * 3);
    const Bytes bytes = opaque(noise, 64);
    const Bytes cut(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(bytes.size() / 2));
    EXPECT_NE(opened(cut).reason().find("the file ends before its pixels do (in row "), std::string::npos)
        << opened(cut).reason();
    const door_test::Opened kept = opened(cut, door_test::keepingDamaged());
    ASSERT_TRUE(kept.isLoaded) << kept.result.reason;
    EXPECT_EQ(codec_test::rowBytes(*kept.image, 20),
              Bytes(noise.begin() + 20 * 192, noise.begin() + 21 * 192));
}

struct Saved {
    bool isSaved = false;
    Bytes bytes;
    DibFileResult result;
};
Saved saved(const DibStream& image, DibSaveOptions options = {}) {
    options.format = "webp";
    DibBytes block;
    Saved file;
    file.isSaved = DibSaveMemory(&block, &image, &options, &file.result);
    if (file.isSaved) file.bytes.assign(block.data, block.data + block.size);
    return file;
}

TEST(WebpSave, EveryPixelIsKept) {
    const PluginsInUse plugins;
    for (const int bitCount : {24, 32}) {
        const auto image = testing_support::randomImage(17, 5, bitCount, 3);
        for (const int level : {-1, 0, 9}) {
            DibSaveOptions options;
            options.compressionLevel = level;
            const Saved file = saved(*image, options);
            ASSERT_TRUE(file.isSaved) << file.result.reason;
            EXPECT_EQ(file.result.noteCount, 0);
            const door_test::Opened load = opened(file.bytes);
            ASSERT_TRUE(load.isLoaded) << load.result.reason;
            EXPECT_EQ(load.image->Header->biBitCount, bitCount);
            EXPECT_EQ(codec_test::pixelsOf(*load.image), codec_test::pixelsOf(*image)) << level;
        }
    }
}

// Alpha that is 255 everywhere is alpha all the same, packed either way.
TEST(WebpSave, OpaqueAlphaIsKept) {
    const PluginsInUse plugins;
    const auto image = testing_support::blankImage(6, 3, 32);
    for (std::size_t i = 0; i < std::size_t{6} * 3 * 4; ++i)
        image->Buffer[i] = static_cast<unsigned char>(i % 4 == 3 ? 255 : 40 + i);
    for (const bool isLossy : {false, true}) {
        DibSaveOptions options;
        options.isLossy = isLossy;
        const door_test::Opened load = opened(saved(*image, options).bytes);
        ASSERT_TRUE(load.isLoaded) << load.result.reason;
        EXPECT_EQ(load.image->Header->biBitCount, 32);
        for (int i = 0; i < 6 * 3; ++i) EXPECT_EQ(load.image->Buffer[4 * i + 3], 255);
    }
}

TEST(WebpSave, AQualityChangesPixelsALittle) {
    const PluginsInUse plugins;
    const auto image = testing_support::blankImage(64, 48, 32);
    for (std::size_t i = 0; i < std::size_t{64} * 48 * 4; ++i)
        image->Buffer[i] = static_cast<unsigned char>(i % 4 == 3 ? 255 - i / 4 % 64 : 100 + i / 256);
    std::size_t last = 0;
    for (const int quality : {10, 90}) {
        DibSaveOptions options;
        options.isLossy = true;
        options.quality = quality;
        const Saved file = saved(*image, options);
        ASSERT_TRUE(file.isSaved) << file.result.reason;
        EXPECT_EQ(
            door_test::notesOf(file.result),
            "pixels change a little, as webp files pack them (quality " + std::to_string(quality) + ");");
        EXPECT_GE(file.bytes.size(), last);
        last = file.bytes.size();
        const door_test::Opened load = opened(file.bytes);
        ASSERT_TRUE(load.isLoaded) << load.result.reason;
        for (std::size_t i = 0; i < std::size_t{64} * 48 * 4; ++i) {
            EXPECT_NEAR(load.image->Buffer[i], image->Buffer[i], i % 4 == 3 ? 0 : 20) << i;
        }
    }
}

TEST(WebpSave, OtherDepthsShowTheSame) {
    const PluginsInUse plugins;
    for (const int bitCount : {1, 4, 8, 16}) {
        const auto image = testing_support::randomImage(9, 4, bitCount, 5);
        const Saved file = saved(*image);
        ASSERT_TRUE(file.isSaved) << file.result.reason;
        EXPECT_EQ(door_test::notesOf(file.result), bitCount == 16
                                                       ? "16 bits a pixel become 24;"
                                                       : "the palette and its indices are not kept;");
        DibSaveOptions ppm;
        ppm.format = "ppm";
        DibBytes block;
        ASSERT_TRUE(DibSaveMemory(&block, image.get(), &ppm));
        const door_test::Opened inPpm = opened(Bytes(block.data, block.data + block.size));
        ASSERT_TRUE(inPpm.image->ChangeTo24Bit(0));
        const door_test::Opened load = opened(file.bytes);
        EXPECT_EQ(codec_test::pixelsOf(*load.image), codec_test::pixelsOf(*inPpm.image)) << bitCount;
    }
}

TEST(WebpSave, ProfileAndExifAreKept) {
    const PluginsInUse plugins;
    DibMetadata metadata;
    Bytes profile(21, 7);
    std::memcpy(profile.data() + 16, "RGB ", 4);
    const auto keep = [](DibBytes& block, const Bytes& bytes) {
        block.data = static_cast<unsigned char*>(std::malloc(bytes.size()));
        std::memcpy(block.data, bytes.data(), bytes.size());
        block.size = bytes.size();
    };
    const Bytes exif = {'I', 'I', '*', 0, 8, 0, 0, 0, 0, 0, 0, 0, 0, 0};
    keep(metadata.colorProfile, profile);
    keep(metadata.exif, exif);
    for (const int bitCount : {24, 32}) {
        for (const bool isLossy : {false, true}) {
            const auto image = testing_support::randomImage(5, 3, bitCount, 1);
            DibSaveOptions options;
            options.metadata = &metadata;
            options.isLossy = isLossy;
            const Saved file = saved(*image, options);
            ASSERT_TRUE(file.isSaved) << file.result.reason;
            const door_test::Opened load = opened(file.bytes);
            ASSERT_TRUE(load.isLoaded) << load.result.reason;
            const DibMetadata& read = load.result.metadata;
            EXPECT_EQ(Bytes(read.colorProfile.data, read.colorProfile.data + read.colorProfile.size),
                      profile);
            EXPECT_EQ(Bytes(read.exif.data, read.exif.data + read.exif.size), exif);
            EXPECT_EQ(load.image->Header->biBitCount, bitCount);
            EXPECT_TRUE(isLossy || codec_test::pixelsOf(*load.image) == codec_test::pixelsOf(*image));
        }
    }
    std::memcpy(metadata.colorProfile.data + 16, "GRAY", 4);
    metadata.xResolution = 300;
    DibSaveOptions options;
    options.metadata = &metadata;
    EXPECT_EQ(door_test::notesOf(saved(*testing_support::randomImage(5, 3, 24, 1), options).result),
              "the colour profile is not kept: it is not for RGB pixels;the resolution is not kept;");
}

TEST(WebpSave, ProgressCancelsAndLimitsHold) {
    const PluginsInUse plugins;
    const auto image = testing_support::randomImage(40, 60, 24, 1);
    DibSaveOptions options;
    options.format = "webp";
    door_test::ProgressLog log;
    DibBytes bytes;
    ASSERT_TRUE(
        DibSaveMemory(&bytes, image.get(), &options, nullptr, door_test::ProgressLog::callback, &log));
    EXPECT_GT(log.fractions.size(), 60U);
    EXPECT_EQ(log.fractions.front(), 0.0F);
    EXPECT_EQ(log.fractions.back(), 1.0F);
    EXPECT_TRUE(std::ranges::is_sorted(log.fractions));
    struct Calls {
        int left;
        static bool count(float /*fraction*/, void* user) { return --static_cast<Calls*>(user)->left > 0; }
    };
    for (int most = 1; most <= static_cast<int>(log.fractions.size()); ++most) {
        Calls calls{most};
        DibFileResult result;
        DibBytes none;
        EXPECT_FALSE(DibSaveMemory(&none, image.get(), &options, &result, Calls::count, &calls));
        EXPECT_EQ(result.code, 9) << most;
        EXPECT_EQ(calls.left, 0);
        EXPECT_EQ(none.data, nullptr);
    }
    const Saved wide = saved(*testing_support::blankImage(16384, 1, 24));
    EXPECT_EQ(wide.result.code, 8);
    EXPECT_STREQ(wide.result.reason, "webp files hold at most 16383x16383 pixels");
    EXPECT_TRUE(saved(*testing_support::blankImage(16383, 1, 24)).isSaved);
}

TEST(WebpSave, FailingAllocationsAreSurvived) {
    const PluginsInUse plugins;
    const auto image = testing_support::randomImage(7, 5, 32, 1);
    DibMetadata metadata;
    metadata.orientation = 6;  // makes an EXIF block
    DibSaveOptions options;
    options.format = "webp";
    options.metadata = &metadata;
    ASSERT_TRUE(
        DibIsFormatAvailable(DibFindFormat("webp")));  // from now on, the system's loader is not needed
    bool isMet = true;
    int failures = 0;
    for (int n = 0; isMet; ++n) {
        DibFileResult result;
        DibBytes bytes;
        bool isSaved = false;
        {
            const testing_support::FailNthAllocation failing(n);
            isSaved = DibSaveMemory(&bytes, image.get(), &options, &result);
            isMet = failing.failed();
        }
        if (isSaved) {
            EXPECT_TRUE(opened(Bytes(bytes.data, bytes.data + bytes.size)).isLoaded) << n;
        } else {
            EXPECT_TRUE(isMet);
            EXPECT_EQ(result.code, 2) << n << ": " << result.reason;
            ++failures;
        }
    }
    EXPECT_GT(failures, 3);
}

TEST(WebpSave, AMissingPluginIsNamed) {
    const PluginsInUse plugins;
    DibStream::SetDllFilePath("/nonexistent");
    const Saved file = saved(*testing_support::blankImage(2, 2, 24));
    EXPECT_FALSE(file.isSaved);
    EXPECT_EQ(file.result.code, 7);
    EXPECT_STREQ(file.result.reason, "the plug-in for webp files is missing: /nonexistent/vexlibwebp.bundle");
}

TEST(WebpDoor, AMissingPluginIsNamed) { plugin_test::expectMissingPlugin(lossless(kClear, 2), "webp"); }

}  // namespace

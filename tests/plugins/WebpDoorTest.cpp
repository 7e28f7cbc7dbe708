#include <webp/encode.h>

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

TEST(WebpDoor, ProfileAndExifAreKept) {
    const PluginsInUse plugins;
    const Bytes bytes = riff({extended(0x28, 2, 2), chunk("ICCP", {5, 6, 7}), stream(opaque(kOpaque, 2)),
                              chunk("EXIF", codec_test::bytesOf("II*"))});
    const door_test::Opened load = opened(bytes);
    ASSERT_TRUE(load.isLoaded) << load.result.reason;
    const DibMetadata& metadata = load.result.metadata;
    EXPECT_EQ(Bytes(metadata.colorProfile.data, metadata.colorProfile.data + metadata.colorProfile.size),
              (Bytes{5, 6, 7}));
    EXPECT_EQ(Bytes(metadata.exif.data, metadata.exif.data + metadata.exif.size), codec_test::bytesOf("II*"));
    EXPECT_EQ(codec_test::pixelsOf(*load.image), kOpaque);
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

TEST(WebpDoor, AMissingPluginIsNamed) { plugin_test::expectMissingPlugin(lossless(kClear, 2), "webp"); }

}  // namespace

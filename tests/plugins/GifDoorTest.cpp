#include "tests/plugins/PluginDoorTest.h"
#include "tests/support/ByteFile.h"

namespace {

using codec_test::Bytes;
using door_test::opened;
using plugin_test::PluginsInUse;
using testing_support::ByteWriter;

struct Canvas {
    int width;
    int height;
};
struct Place {
    int left;
    int top;
    int width;
    int height;
};

// Pixels as codes of 9 bits, without any that stands for several.
Bytes codes(const Bytes& pixels) {
    Bytes out;
    unsigned bits = 0;
    int count = 0;
    const auto put = [&](unsigned code) {
        for (bits |= code << count, count += 9; count >= 8; count -= 8, bits >>= 8)
            out.push_back(static_cast<unsigned char>(bits));
    };
    put(256);
    for (const unsigned char pixel : pixels) put(pixel);
    put(257);
    out.push_back(static_cast<unsigned char>(bits));
    return out;
}

// Entry i of the four of a colour table is (10 i + first, 10 i + 1, 10 i + 2).
Bytes table(int first) {
    Bytes bytes;
    for (int i = 0; i < 4; ++i) {
        for (const int channel : {first, 1, 2}) bytes.push_back(static_cast<unsigned char>(10 * i + channel));
    }
    return bytes;
}

Bytes header(const Canvas& canvas, bool hasTable = true) {
    ByteWriter out;
    out.text("GIF89a")
        .le16(static_cast<std::uint32_t>(canvas.width))
        .le16(static_cast<std::uint32_t>(canvas.height));
    out.raw({static_cast<unsigned char>(hasTable ? 0x81 : 0x01), 0, 0});
    if (hasTable) out.raw(table(0));
    return out.bytes;
}
Bytes transparency(unsigned char index) { return {0x21, 0xF9, 4, 1, 0, 0, index, 0}; }
Bytes picture(const Place& place, const Bytes& pixels, int flags = 0, const Bytes& colors = {}) {
    ByteWriter out;
    out.raw({0x2C});
    for (const int side : {place.left, place.top, place.width, place.height})
        out.le16(static_cast<std::uint32_t>(side));
    out.raw({static_cast<unsigned char>(flags)}).raw(colors).raw({8});
    // In short blocks: a file that is cut has the first of them.
    const Bytes data = codes(pixels);
    for (std::size_t start = 0; start < data.size(); start += 4) {
        const std::size_t end = std::min(start + 4, data.size());
        out.raw({static_cast<unsigned char>(end - start)});
        out.raw(Bytes(data.begin() + static_cast<std::ptrdiff_t>(start),
                      data.begin() + static_cast<std::ptrdiff_t>(end)));
    }
    return out.raw({0}).bytes;
}
Bytes file(std::initializer_list<Bytes> parts) {
    Bytes all;
    for (const Bytes& part : parts) all.insert(all.end(), part.begin(), part.end());
    all.push_back(0x3B);
    return all;
}

TEST(GifDoor, IndicesAndPaletteStayAsTheyAre) {
    const PluginsInUse plugins;
    const Bytes bytes = file({header({3, 2}), picture({0, 0, 3, 2}, {3, 1, 2, 0, 0, 3})});
    const door_test::Opened load = opened(bytes);
    ASSERT_TRUE(load.isLoaded) << load.result.reason;
    EXPECT_STREQ(load.result.format->name, "gif");
    EXPECT_EQ(load.image->Header->biBitCount, 8);
    EXPECT_EQ(load.image->Header->biClrUsed, 4U);
    EXPECT_EQ(codec_test::pixelsOf(*load.image), (Bytes{3, 1, 2, 0, 0, 3}));
    const auto* colors = reinterpret_cast<const unsigned char*>(load.image->Header + 1);
    EXPECT_EQ(Bytes(colors, colors + 16), (Bytes{2, 1, 0, 0, 12, 11, 10, 0, 22, 21, 20, 0, 32, 31, 30, 0}));
    EXPECT_EQ(load.result.noteCount, 0);
    door_test::expectOneFromEverySource(bytes, ".gif");
    door_test::expectLoadProgress(bytes, 4);
    DibFileInfo info;
    ASSERT_TRUE(DibProbeMemory(bytes.data(), bytes.size(), &info));
    EXPECT_STREQ(info.compression, "lzw");
    EXPECT_EQ(info.storedBits, 2);
    EXPECT_FALSE(info.hasAlpha);
}

TEST(GifDoor, CommentsAreNoted) {
    const PluginsInUse plugins;
    const Bytes comment = {0x21, 0xFE, 2, 'h', 'i', 0};
    const Bytes shown = picture({0, 0, 3, 1}, {3, 2, 1});
    EXPECT_EQ(opened(file({header({3, 1}), comment, shown})).note(0), "the comment is not kept");
    EXPECT_EQ(opened(file({header({3, 1}), shown, comment})).note(0), "the comment is not kept");
    EXPECT_EQ(opened(file({header({3, 1}), shown})).result.noteCount, 0);
}

TEST(GifDoor, ATransparentColorGives32Bits) {
    const PluginsInUse plugins;
    const Bytes bytes = file({header({3, 1}), transparency(2), picture({0, 0, 3, 1}, {3, 2, 1})});
    const door_test::Opened load = opened(bytes);
    ASSERT_TRUE(load.isLoaded) << load.result.reason;
    EXPECT_EQ(codec_test::pixelsOf(*load.image), (Bytes{32, 31, 30, 255, 22, 21, 20, 0, 12, 11, 10, 255}));
    EXPECT_EQ(load.note(0), "the palette has transparency: its indices became 32-bit colours");
    door_test::expectOneFromEverySource(bytes, ".gif");
}

TEST(GifDoor, ThePictureLiesOnItsCanvas) {
    const PluginsInUse plugins;
    const door_test::Opened inside = opened(file({header({3, 2}), picture({1, 1, 1, 1}, {3})}));
    ASSERT_TRUE(inside.isLoaded) << inside.result.reason;
    Bytes expected(24, 0);
    expected[16] = 32;
    expected[17] = 31;
    expected[18] = 30;
    expected[19] = 255;
    EXPECT_EQ(codec_test::pixelsOf(*inside.image), expected);
    const door_test::Opened larger = opened(file({header({0, 0}), picture({0, 0, 2, 1}, {1, 3})}));
    ASSERT_TRUE(larger.isLoaded) << larger.result.reason;
    EXPECT_EQ(codec_test::pixelsOf(*larger.image), (Bytes{1, 3}));
}

TEST(GifDoor, TablesOfPicturesAndOfNone) {
    const PluginsInUse plugins;
    const door_test::Opened own = opened(file({header({1, 1}), picture({0, 0, 1, 1}, {0}, 0x81, table(7))}));
    ASSERT_TRUE(own.isLoaded) << own.result.reason;
    EXPECT_EQ(reinterpret_cast<const unsigned char*>(own.image->Header + 1)[2], 7) << "red";
    const door_test::Opened none = opened(file({header({1, 1}, false), picture({0, 0, 1, 1}, {200})}));
    ASSERT_TRUE(none.isLoaded) << none.result.reason;
    EXPECT_EQ(none.image->Header->biClrUsed, 256U);
    EXPECT_EQ(reinterpret_cast<const unsigned char*>(none.image->Header + 1)[801], 200);
}

TEST(GifDoor, InterlacedRowsComeInFourPasses) {
    const PluginsInUse plugins;
    // Stored in the order 0, 8, 4, 2, 6, 1, 3, 5, 7.
    const Bytes bytes = file({header({1, 9}), picture({0, 0, 1, 9}, {0, 8, 4, 2, 6, 1, 3, 5, 7}, 0x40)});
    EXPECT_EQ(codec_test::pixelsOf(*opened(bytes).image), (Bytes{0, 1, 2, 3, 4, 5, 6, 7, 8}));
}

TEST(GifDoor, OfAnimationsTheFirstPictureIsShown) {
    const PluginsInUse plugins;
    const door_test::Opened load = opened(
        file({header({1, 1}), picture({0, 0, 1, 1}, {1}), transparency(0), picture({0, 0, 1, 1}, {2})}));
    ASSERT_TRUE(load.isLoaded) << load.result.reason;
    EXPECT_EQ(codec_test::pixelsOf(*load.image), Bytes{1});
    EXPECT_EQ(load.note(0), "of several pictures the first is shown");
}

TEST(GifDoor, DamagedFilesEndInAResult) {
    const PluginsInUse plugins;
    const Bytes bytes = file({header({4, 3}), transparency(2), picture({0, 0, 4, 3}, Bytes(12, 1))});
    for (std::size_t length = 0; length + 1 < bytes.size(); ++length) {
        const Bytes cut(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(length));
        const door_test::Opened load = opened(cut, door_test::named("x.gif"));
        EXPECT_EQ(load.isLoaded, load.reason().empty()) << length;
        EXPECT_TRUE(!load.isLoaded || length + 4 > bytes.size()) << length;
        const door_test::Opened kept = opened(cut, door_test::keepingDamaged());
        EXPECT_TRUE(kept.isLoaded || kept.result.noteCount == 0) << length << ": " << kept.note(0);
    }
    EXPECT_EQ(opened(file({header({1, 1})})).reason(), "the file holds no picture");
    const Bytes huge = file({header({65535, 65535}), picture({0, 0, 1, 1}, {1})});
    EXPECT_EQ(opened(huge).reason(),
              "the picture of 65535x65535 pixels needs 4294836225 pixels; the limit of pixels is 2147483648");
    door_test::expectExtremeBytesAreSurvived(bytes, "x.gif");
    plugin_test::expectFailingAllocationsAreSurvived(bytes);
    const Bytes cut(bytes.begin(), bytes.end() - 8);
    const door_test::Opened kept = opened(cut, door_test::keepingDamaged());
    ASSERT_TRUE(kept.isLoaded) << kept.result.reason;
    EXPECT_EQ(codec_test::rowBytes(*kept.image, 0)[3], 255);
}

TEST(GifDoor, AMissingPluginIsNamed) {
    plugin_test::expectMissingPlugin(codec_test::bytesOf("GIF89a"), "gif");
}

}  // namespace

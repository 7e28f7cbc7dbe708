// EXR files that are cut short or changed: each ends in a picture or in a refusal, and costs nothing else.
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <random>
#include <utility>

#include "tests/formats/CodecTest.h"
#include "tests/plugins/ExrFile.h"

namespace {

using exr_test::Bytes;
using exr_test::colors;
using exr_test::FileContents;
using exr_test::kCompressions;
using exr_test::NamedCompression;
using exr_test::pixels;
using exr_test::sampleAt;
using exr_test::Window;
using exr_test::withTiles;
using exr_test::withWindow;

// A small file of each compression in lines and in tiles.
template <typename Judge>
void forEveryLayout(const Judge& judge) {
    for (const NamedCompression& compression : kCompressions) {
        for (const int tileSide : {0, 8}) {
            FileContents layout = colors(13, 20, Imf::HALF);
            layout.tileSide = tileSide;
            layout.compression = compression.compression;
            SCOPED_TRACE(std::string(compression.name) + " tiles " + std::to_string(tileSide));
            judge(write(layout, sampleAt));
        }
    }
}

// Every byte of these files is needed: the last is a sample of the last chunk.
TEST(ExrHostileTest, CutFilesAreRefused) {
    forEveryLayout([](const Bytes& whole) {
        ASSERT_EQ(pixels(whole).size(), 13U * 20 * 4);
        codec_test::forEveryTruncation(whole, [&](const Bytes& cut, std::size_t length) {
            EXPECT_TRUE(pixels(cut).empty()) << length << " of " << whole.size();
        });
    });
}

TEST(ExrHostileTest, FlippedBitsEndInAResult) {
    forEveryLayout([](const Bytes& whole) {
        int refused = 0;
        for (std::size_t bit = 0; bit < whole.size() * 8; bit += bit < 2800 ? 3 : 61) {
            Bytes flipped = whole;
            flipped[bit / 8] = static_cast<unsigned char>(flipped[bit / 8] ^ 1U << bit % 8);
            const Bytes seen = pixels(flipped);
            if (seen.empty()) ++refused;
            // Behind the header, which ends before, nothing says how large the picture is.
            if (bit / 8 > 400 && !seen.empty()) {
                EXPECT_EQ(seen.size(), 13U * 20 * 4);
            }
        }
        EXPECT_GT(refused, 50);
    });
}

// Some places at a time, so that what one check notices another has let through.
TEST(ExrHostileTest, ReplacedBytesEndInAResult) {
    std::mt19937 random(11);
    constexpr unsigned char kEnds[] = {0x00, 0x01, 0x7F, 0x80, 0xFF};
    forEveryLayout([&](const Bytes& whole) {
        int refused = 0;
        for (int round = 0; round < 400; ++round) {
            Bytes changed = whole;
            for (int count = 1 + round % 3; count > 0; --count) {
                const std::uint32_t number = static_cast<std::uint32_t>(random());
                changed[number / 8 % changed.size()] =
                    number % 8 < 5 ? kEnds[number % 8] : static_cast<unsigned char>(random());
            }
            if (pixels(changed).empty()) ++refused;
        }
        EXPECT_GT(refused, 20);
        EXPECT_LT(refused, 400);
    });
}

constexpr int kMost = std::numeric_limits<int>::max();

TEST(ExrHostileTest, SizesAreRefusedBeforeMemoryIsAsked) {
    for (const NamedCompression& compression : kCompressions) {
        for (const int tileSide : {0, 16}) {
            FileContents layout = colors(4, 4, Imf::HALF);
            layout.tileSide = tileSide;
            layout.compression = compression.compression;
            const Bytes small = write(layout, sampleAt);
            ASSERT_FALSE(pixels(withWindow(small, layout.data)).empty());
            testing_support::resetLargestAllocation();
            for (const Window& window :
                 {Window{0, 0, 30000, 30000}, Window{0, 0, 3, kMost - 1}, Window{0, 0, kMost - 1, 3},
                  Window{-kMost, -kMost, kMost, kMost}, Window{-kMost - 1, 0, kMost, 0}, Window{0, 0, -1, 0},
                  Window{5, 5, 4, 4}, Window{0, 0, 3, 20000}}) {
                EXPECT_TRUE(pixels(withWindow(small, window)).empty())
                    << compression.name << " " << tileSide << " " << window.right << " " << window.bottom;
            }
            EXPECT_LT(testing_support::largestAllocation(), 100000U);
        }
    }
}

// Of 8 bytes a pixel; the samples of a tile are stored only as far as the picture reaches.
TEST(ExrHostileTest, TilesOutOfProportionAreRefusedBeforeMemoryIsAsked) {
    FileContents layout = colors(16, 16, Imf::HALF);
    layout.tileSide = 16;
    const Bytes small = write(layout, sampleAt);
    const Bytes shown = pixels(small);
    ASSERT_EQ(shown.size(), 16U * 16 * 4);
    for (const auto& [columns, rows] :
         {std::pair{17U, 40U}, std::pair{1024U, 1024U}, std::pair{2048U, 2048U}, std::pair{262144U, 16U}}) {
        EXPECT_EQ(pixels(withTiles(small, columns, rows)), shown) << columns << " x " << rows;
    }
    testing_support::resetLargestAllocation();
    for (const auto& [columns, rows] :
         {std::pair{2049U, 2048U}, std::pair{2048U, 2049U}, std::pair{262144U, 17U}, std::pair{8U, 262145U},
          std::pair{8192U, 16384U}, std::pair{0x7FFFFFFFU, 1U}, std::pair{1U, 0x7FFFFFFFU},
          std::pair{0xFFFFFFFFU, 1U}, std::pair{16U, 0xFFFFFFFFU}, std::pair{0U, 16U}, std::pair{16U, 0U}}) {
        for (const Bytes::value_type mode : Bytes{0, 1, 2}) {
            EXPECT_TRUE(pixels(withTiles(small, columns, rows, mode)).empty())
                << columns << " x " << rows << " mode " << int{mode};
        }
    }
    EXPECT_LT(testing_support::largestAllocation(), 100000U);
}

// Of 16 bytes a pixel: four times 1200 x 1200 pixels are as many as 2400 x 2400.
TEST(ExrHostileTest, TilesMayBeFourTimesAsLargeAsThePicture) {
    FileContents layout = colors(1200, 1200, Imf::FLOAT);
    layout.tileSide = 1200;
    const Bytes large = write(layout, [](std::size_t, int, int) { return 1.0F; });
    const auto isStarted = [](const Bytes& bytes) {
        codec_test::ProgressLog log;
        log.cancelAt = 0;
        plugins::Picture picture;
        EXPECT_FALSE(exr_test::read(bytes, picture, &log));
        return !log.fractions.empty();
    };
    EXPECT_TRUE(isStarted(large));
    EXPECT_TRUE(isStarted(withTiles(large, 2400, 2400)));
    EXPECT_FALSE(isStarted(withTiles(large, 2401, 2400)));
    EXPECT_FALSE(isStarted(withTiles(large, 2400, 2401)));
}

TEST(ExrHostileTest, LevelsThatTheFileCannotHoldAreRefused) {
    FileContents layout = colors(64, 64, Imf::HALF);
    layout.tileSide = 64;
    layout.compression = Imf::ZIP_COMPRESSION;
    const Bytes one = write(layout, [](std::size_t, int, int) { return 1.0F; });
    ASSERT_FALSE(pixels(one).empty());
    // 49 levels, one tile each but for those of full width or height.
    EXPECT_TRUE(pixels(withTiles(one, 1, 1, 2)).empty());
    testing_support::resetLargestAllocation();
    EXPECT_TRUE(pixels(withTiles(withWindow(one, {0, 0, 30000, 15}), 1, 1, 2)).empty());
    EXPECT_TRUE(pixels(withTiles(withWindow(one, {0, 0, 30000, 15}), 1, 1, 1)).empty());
    EXPECT_TRUE(pixels(withTiles(one, 64, 64, 3)).empty()) << "no mode";
    EXPECT_LT(testing_support::largestAllocation(), 100000U);
}

// Of each part OpenEXR's classes make a table of chunks, also of those that nobody reads.
TEST(ExrHostileTest, FurtherPartsThatTheFileCannotHoldAreRefused) {
    const Bytes parts = exr_test::writeTwoParts(colors(9, 20, Imf::FLOAT), sampleAt);
    ASSERT_FALSE(pixels(withWindow(parts, {0, 0, 0, 0}, true)).empty());
    testing_support::resetLargestAllocation();
    for (const int bottom : {20000, 1000000, 1 << 26, kMost - 1}) {
        EXPECT_TRUE(pixels(withWindow(parts, {0, 0, 0, bottom}, true)).empty()) << bottom;
    }
    EXPECT_LT(testing_support::largestAllocation(), 100000U);
}

// OpenEXR's classes would allocate what an attribute of a type that they do not know is said to take.
TEST(ExrHostileTest, AttributesLongerThanTheFileAreRefusedBeforeMemoryIsAsked) {
    constexpr std::size_t kFirstAttribute = 8;
    const std::string named = std::string("note") + '\0' + "thing" + '\0';
    const auto at = [](Bytes& bytes) { return bytes.begin() + kFirstAttribute; };
    forEveryLayout([&](const Bytes& whole) {
        for (const Bytes::value_type highest : Bytes{0x00, 0x10, 0x70, 0x7F, 0x80, 0xFF}) {
            const unsigned char length[] = {0, 0, 0x80, highest};
            Bytes bytes = whole;
            bytes.insert(at(bytes), std::begin(length), std::end(length));
            bytes.insert(at(bytes), named.begin(), named.end());
            testing_support::resetLargestAllocation();
            EXPECT_TRUE(pixels(bytes).empty());
            EXPECT_LT(testing_support::largestAllocation(), 100000U) << int{highest};
        }
    });
}

// OpenEXR's classes take as many bytes as the type has and would find the next attribute in the midst of a
// value: after these there is one that claims 1.6 GB.
TEST(ExrHostileTest, ValuesOfAnotherLengthThanTheirTypeAreRefusedBeforeMemoryIsAsked) {
    struct Case {
        const char* type;
        Bytes value;
        unsigned char length;
    };
    const Bytes whole = write(colors(13, 20, Imf::HALF), sampleAt);
    for (const Case& c :
         {Case{"float", {0, 0, 0, 0}, 5}, Case{"int", {0, 0, 0, 0}, 3}, Case{"box2i", Bytes(16), 17},
          Case{"v2f", Bytes(8), 7}, Case{"floatvector", Bytes(4), 5}, Case{"tiledesc", Bytes(9), 10},
          Case{"stringvector", {1, 0, 0, 0, 'a', 9, 0, 0, 0}, 9}, Case{"chlist", {0}, 2},
          Case{"chlist", {'R', 0, 1, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 0}, 18}}) {
        testing_support::ByteWriter out;
        out.raw(Bytes(whole.begin(), whole.begin() + 8)).text("note").raw({0}).text(c.type);
        out.raw({0, c.length, 0, 0, 0}).raw(c.value);
        out.text("n").raw({0}).text("t").raw({0, 0, 0x63, 0x72, 0x64});
        out.raw(Bytes(whole.begin() + 8, whole.end()));
        testing_support::resetLargestAllocation();
        EXPECT_TRUE(pixels(out.bytes).empty());
        EXPECT_LT(testing_support::largestAllocation(), 100000U) << c.type;
    }
}

}  // namespace

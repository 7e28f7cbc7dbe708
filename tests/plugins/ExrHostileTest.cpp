// EXR files that are cut short or changed: each ends in a picture or in a refusal, and costs nothing else.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "tests/formats/CodecTest.h"
#include "tests/plugins/ExrFile.h"

namespace {

using exr_test::Bytes;
using exr_test::colors;
using exr_test::FileSpec;
using exr_test::kCompressions;
using exr_test::NamedCompression;
using exr_test::pixels;
using exr_test::sampleAt;

// A small file of each compression in lines and in tiles.
template <typename Judge>
void forEveryLayout(const Judge& judge) {
    for (const NamedCompression& compression : kCompressions) {
        for (const int tileSide : {0, 8}) {
            FileSpec layout = colors(13, 20, Imf::HALF);
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

}  // namespace

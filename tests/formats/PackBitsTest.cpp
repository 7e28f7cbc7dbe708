#include "formats/PackBits.h"

#include <memory>

#include "tests/formats/CodecTest.h"

namespace codec_test {
namespace {

using formats::ByteReader;
using formats::PackBits;
using formats::PackBitsEnd;

struct Result {
    PackBitsEnd end;
    Bytes out;
    std::size_t left;
    std::int64_t position;
};
Result unpack(const Bytes& packed, std::size_t count) {
    const auto source = std::make_unique<ByteReader>(packed.data(), packed.size());
    PackBits bits(*source);
    Bytes out(count);
    const PackBitsEnd end = bits.unpack(out);
    out.resize(bits.unpacked());
    return {end, out, bits.left(), source->position()};
}

TEST(PackBits, PacketsThatEndWithTheOutput) {
    for (const auto& [packed, expected] : {std::pair<Bytes, Bytes>{{2, 5, 6, 7}, {5, 6, 7}},
                                           {{0xFE, 9}, {9, 9, 9}},
                                           {{0x80, 0, 1, 0x80, 0xFF, 2}, {1, 2, 2}},
                                           {{}, {}}}) {
        const Result result = unpack(packed, expected.size());
        EXPECT_EQ(result.end, PackBitsEnd::kWhole);
        EXPECT_EQ(result.out, expected);
        EXPECT_EQ(result.position, static_cast<std::int64_t>(packed.size()));
    }
    // What follows is not read.
    EXPECT_EQ(unpack({0, 1, 0x80, 3}, 1).position, 2);
}

TEST(PackBits, SourcesThatEndEarly) {
    EXPECT_EQ(unpack({}, 1).end, PackBitsEnd::kShort);
    // A packet of which bytes are missing gives none; what the source had of it is used up.
    for (const Bytes& packed : {Bytes{0, 1, 1, 1}, Bytes{0, 1, 0xFF}, Bytes{0, 1, 0x80}}) {
        const Result result = unpack(packed, 3);
        EXPECT_EQ(result.end, PackBitsEnd::kShort);
        EXPECT_EQ(result.out, (Bytes{1}));
        EXPECT_EQ(result.left, 0U);
        EXPECT_EQ(result.position, static_cast<std::int64_t>(packed.size()));
    }
}

TEST(PackBits, PacketsThatOverrunTheOutput) {
    const Result run = unpack({0xFD, 9}, 3);
    EXPECT_EQ(run.end, PackBitsEnd::kOverrun);
    EXPECT_EQ(run.out, (Bytes{9, 9, 9}));
    EXPECT_EQ(run.left, 1U);
    EXPECT_EQ(unpack({0x81, 9}, 3).left, 125U);
    const Result literal = unpack({4, 1, 2, 3, 4, 5}, 3);
    EXPECT_EQ(literal.end, PackBitsEnd::kOverrun);
    EXPECT_EQ(literal.left, 2U);
    EXPECT_EQ(literal.position, 4);
}

TEST(PackBits, TheRestOfAPacketIsTakenOnOrDropped) {
    const Bytes packed = {4, 1, 2, 3, 4, 5, 0xFD, 6, 0, 7};
    const auto source = std::make_unique<ByteReader>(packed.data(), packed.size());
    PackBits bits(*source);
    Bytes out(3);
    EXPECT_EQ(bits.unpack(out), PackBitsEnd::kOverrun);
    EXPECT_EQ(bits.unpack(out), PackBitsEnd::kOverrun);
    EXPECT_EQ(out, (Bytes{4, 5, 6}));
    EXPECT_EQ(bits.left(), 3U);
    bits.drop();
    Bytes last(1);
    EXPECT_EQ(bits.unpack(last), PackBitsEnd::kWhole);
    EXPECT_EQ(last, (Bytes{7}));

    const auto again = std::make_unique<ByteReader>(packed.data(), packed.size());
    PackBits dropping(*again);
    EXPECT_EQ(dropping.unpack(out), PackBitsEnd::kOverrun);
    dropping.drop();
    EXPECT_EQ(again->position(), 6);
}

// One byte after the other, as the packing is defined.
Bytes plainly(const Bytes& packed) {
    Bytes out;
    for (std::size_t i = 0; i < packed.size();) {
        const int code = static_cast<signed char>(packed[i++]);
        if (code >= 0) {
            for (int k = 0; k <= code; ++k) out.push_back(packed[i++]);
        } else if (code > -128) {
            out.insert(out.end(), static_cast<std::size_t>(1 - code), packed[i++]);
        }
    }
    return out;
}

TEST(PackBits, LongStreamsMatchThePlainLoopInPiecesOfAnyLength) {
    testing_support::Random random(3);
    Bytes packed;
    while (packed.size() < 100000) {
        const int code = random.between(0, 3) == 0 ? random.between(-128, 127) : random.between(-9, 9);
        packed.push_back(static_cast<unsigned char>(code));
        for (int k = 0; k < (code >= 0 ? code + 1 : code > -128 ? 1 : 0); ++k)
            packed.push_back(static_cast<unsigned char>(random.next()));
    }
    const Bytes expected = plainly(packed);
    const dib::FilePtr file = testing_support::openBytes(packed);
    const auto source = std::make_unique<ByteReader>(file.get());
    PackBits bits(*source);
    for (std::size_t done = 0; done < expected.size();) {
        Bytes out(
            std::min<std::size_t>(static_cast<std::size_t>(random.between(0, 900)), expected.size() - done));
        ASSERT_NE(bits.unpack(out), PackBitsEnd::kShort);
        ASSERT_TRUE(std::equal(out.begin(), out.end(), expected.begin() + static_cast<std::ptrdiff_t>(done)));
        done += out.size();
    }
}

TEST(PackBits, RowsInMemoryMustUnpackWhole) {
    testing_support::Random random(5);
    int whole = 0;
    for (int round = 0; round < 20000; ++round) {
        Bytes packed(static_cast<std::size_t>(random.between(0, 9)));
        // Short packets, so that some rows are whole.
        for (unsigned char& byte : packed) byte = static_cast<unsigned char>(random.between(-3, 4));
        if (random.between(0, 9) == 0) packed.push_back(0x80);
        for (std::size_t count = 0; count < 8; ++count) {
            Bytes out(count + 1);
            const bool unpacks = formats::unpackRow(packed.data(), packed.size(), out.data(), count);
            const Result stream = unpack(packed, count);
            ASSERT_EQ(stream.end == PackBitsEnd::kWhole &&
                          stream.position == static_cast<std::int64_t>(packed.size()),
                      unpacks);
            whole += unpacks ? 1 : 0;
        }
    }
    EXPECT_GT(whole, 1000);
}

Bytes packed(const Bytes& row) {
    Bytes out(formats::packedBound(row.size()));
    out.resize(formats::packRow(row.data(), row.size(), out.data()));
    return out;
}

TEST(PackBits, ThreeEqualBytesAreARun) {
    EXPECT_EQ(packed({}), Bytes());
    EXPECT_EQ(packed({7}), (Bytes{0, 7}));
    EXPECT_EQ(packed({7, 7}), (Bytes{1, 7, 7}));
    EXPECT_EQ(packed({7, 7, 7}), (Bytes{0xFE, 7}));
    EXPECT_EQ(packed({1, 2, 2, 3, 3, 3, 3, 4}), (Bytes{2, 1, 2, 2, 0xFD, 3, 0, 4}));
    EXPECT_EQ(packed(Bytes(129, 5)), (Bytes{0x81, 5, 0, 5}));
    Bytes rising(129);
    for (std::size_t i = 0; i < rising.size(); ++i) rising[i] = static_cast<unsigned char>(i);
    EXPECT_EQ(packed(rising).size(), 131U);
    EXPECT_EQ(packed(rising)[0], 127);
}

TEST(PackBits, PackedRowsComeBack) {
    testing_support::Random random(6);
    for (int round = 0; round < 2000; ++round) {
        Bytes row(static_cast<std::size_t>(random.between(1, 400)));
        const int values = random.between(1, 4);
        for (unsigned char& byte : row) byte = static_cast<unsigned char>(random.below(values));
        const Bytes bytes = packed(row);
        ASSERT_LE(bytes.size(), formats::packedBound(row.size()));
        Bytes back(row.size());
        ASSERT_TRUE(formats::unpackRow(bytes.data(), bytes.size(), back.data(), back.size()));
        ASSERT_EQ(back, row);
    }
}

}  // namespace
}  // namespace codec_test

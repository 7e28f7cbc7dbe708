#include "formats/ByteReader.h"

#include <functional>
#include <memory>

#include "tests/formats/CodecTest.h"

namespace codec_test {
namespace {

using formats::ByteReader;

// Byte i of the sources, which does not repeat from block to block.
unsigned char byteAt(std::size_t i) { return static_cast<unsigned char>(i * 7 + i / 253); }

Bytes counting(std::size_t count) {
    Bytes bytes(count);
    for (std::size_t i = 0; i < count; ++i) bytes[i] = byteAt(i);
    return bytes;
}

// Runs a check over every kind of source of the same bytes: memory, a file, and a pipe that ends.
void forEverySource(const Bytes& bytes, const std::function<void(ByteReader& reader, bool isPipe)>& check) {
    {
        SCOPED_TRACE("memory");
        const auto reader = std::make_unique<ByteReader>(bytes.data(), bytes.size());
        check(*reader, false);
    }
    for (const ByteReader::Buffering buffering :
         {ByteReader::Buffering::kBlocks, ByteReader::Buffering::kExact}) {
        SCOPED_TRACE(buffering == ByteReader::Buffering::kExact ? "exact" : "blocks");
        {
            const dib::FilePtr file(std::tmpfile());
            ASSERT_TRUE(dib::writeBytes(file.get(), bytes.data(), bytes.size()));
            std::rewind(file.get());
            const auto reader = std::make_unique<ByteReader>(file.get(), buffering);
            check(*reader, buffering == ByteReader::Buffering::kExact);
        }
        {
            SCOPED_TRACE("pipe");
            int ends[2];
            ASSERT_TRUE(testing_support::makePipe(ends));
            ASSERT_LT(bytes.size(), 60000U);  // which a pipe holds
            ASSERT_TRUE(testing_support::writeAll(ends[1], bytes.data(), bytes.size()));
            testing_support::closeDescriptor(ends[1]);
            const dib::FilePtr file(testing_support::openDescriptor(ends[0], "rb"));
            const auto reader = std::make_unique<ByteReader>(file.get(), buffering);
            check(*reader, true);
        }
    }
}

TEST(ByteReader, BytesComeInOrderHoweverTheyAreAskedFor) {
    const Bytes bytes = counting(50000);
    forEverySource(bytes, [&](ByteReader& reader, bool) {
        EXPECT_EQ(reader.position(), 0);
        EXPECT_EQ(reader.byte(), byteAt(0));
        const ByteReader::Bytes ahead = reader.ahead(300);
        ASSERT_GE(ahead.size, 300U);
        EXPECT_EQ(ahead.data[299], byteAt(300));
        reader.consume(2);
        EXPECT_EQ(reader.position(), 3);
        const unsigned char* taken = reader.take(5);
        ASSERT_NE(taken, nullptr);
        EXPECT_EQ(Bytes(taken, taken + 5), Bytes(bytes.begin() + 3, bytes.begin() + 8));
        Bytes copied(40000);
        EXPECT_EQ(reader.copy(copied.data(), copied.size()), 40000U);
        EXPECT_EQ(copied, Bytes(bytes.begin() + 8, bytes.begin() + 40008));
        EXPECT_EQ(reader.position(), 40008);
        EXPECT_TRUE(reader.pass(9000));
        EXPECT_EQ(reader.byte(), byteAt(49008));
        EXPECT_FALSE(reader.pass(992));
        EXPECT_EQ(reader.position(), 50000);
        EXPECT_EQ(reader.byte(), -1);
    });
}

TEST(ByteReader, TheEndCutsWhatIsAskedFor) {
    const Bytes bytes = counting(10);
    forEverySource(bytes, [&](ByteReader& reader, bool) {
        EXPECT_EQ(reader.take(11), nullptr);
        EXPECT_EQ(reader.ahead(11).size, 10U);
        Bytes copied(20);
        EXPECT_EQ(reader.copy(copied.data(), 20), 10U);
        EXPECT_EQ(Bytes(copied.begin(), copied.begin() + 10), bytes);
        EXPECT_FALSE(reader.read(copied.data(), 1));
        EXPECT_TRUE(reader.read(copied.data(), 0));
        EXPECT_EQ(reader.ahead(1).size, 0U);
        EXPECT_EQ(reader.byte(), -1);
    });
}

TEST(ByteReader, SeeksAnywhereButBackwardsInPipes) {
    const Bytes bytes = counting(50000);
    forEverySource(bytes, [&](ByteReader& reader, bool isPipe) {
        EXPECT_TRUE(reader.seek(45000));
        EXPECT_EQ(reader.position(), 45000);
        EXPECT_EQ(reader.byte(), byteAt(45000));
        EXPECT_TRUE(reader.skip(10));
        EXPECT_EQ(reader.byte(), byteAt(45011));
        EXPECT_EQ(reader.seek(5), !isPipe);
        if (isPipe) return;
        EXPECT_EQ(reader.byte(), byteAt(5));
        EXPECT_FALSE(reader.seek(-1));
        // Beyond the end there is nothing, and the way back.
        EXPECT_TRUE(reader.seek(std::int64_t{1} << 40));
        EXPECT_EQ(reader.position(), std::int64_t{1} << 40);
        EXPECT_EQ(reader.byte(), -1);
        EXPECT_EQ(reader.remaining(), 0);
        EXPECT_EQ(reader.ahead(4).size, 0U);
        Bytes copied(ByteReader::kBufferBytes);
        EXPECT_EQ(reader.copy(copied.data(), copied.size()), 0U);
        EXPECT_TRUE(reader.seek(49999));
        EXPECT_EQ(reader.byte(), byteAt(49999));
        EXPECT_EQ(reader.byte(), -1);
    });
}

TEST(ByteReader, TheSizeIsKnownOfFilesAndMemory) {
    NEEDS_CALL_STREAMS();
    const Bytes bytes = counting(100);
    const ByteReader memory(bytes.data(), bytes.size());
    EXPECT_EQ(ByteReader(bytes.data(), bytes.size()).size(), 100);
    for (const ByteReader::Buffering buffering :
         {ByteReader::Buffering::kBlocks, ByteReader::Buffering::kExact}) {
        const dib::FilePtr file = testing_support::openBytes(bytes);
        ByteReader reader(file.get(), buffering);
        EXPECT_EQ(reader.byte(), byteAt(0));
        EXPECT_EQ(reader.size(), 100);
        EXPECT_EQ(reader.remaining(), 99);
        EXPECT_EQ(reader.byte(), byteAt(1));
        EXPECT_EQ(reader.remaining(), 98);

        EndlessStream endless{"", "x"};
        const dib::FilePtr pipe = endless.open();
        ByteReader stream(pipe.get(), buffering);
        EXPECT_LT(stream.size(), 0);
        EXPECT_EQ(stream.remaining(), 0);
        EXPECT_EQ(stream.byte(), 'x');
    }
}

TEST(ByteReader, StartsWhereTheFileStandsAndLeavesItWhereReadingStopped) {
    const Bytes bytes = counting(100);
    const dib::FilePtr file = testing_support::openBytes(bytes);
    std::fseek(file.get(), 10, SEEK_SET);
    ByteReader blocks(file.get());
    EXPECT_EQ(blocks.position(), 10);
    EXPECT_EQ(blocks.byte(), byteAt(10));
    EXPECT_EQ(blocks.size(), 100);
    blocks.leave();
    EXPECT_EQ(std::ftell(file.get()), 11);
    EXPECT_EQ(blocks.byte(), byteAt(11));
    std::fseek(file.get(), 20, SEEK_SET);
    // Nothing is read that is not asked for.
    ByteReader exact(file.get(), ByteReader::Buffering::kExact);
    EXPECT_EQ(exact.byte(), byteAt(20));
    EXPECT_EQ(std::ftell(file.get()), 21);
    Bytes copied(30);
    EXPECT_TRUE(exact.read(copied.data(), 30));
    EXPECT_EQ(std::ftell(file.get()), 51);
    EXPECT_EQ(exact.position(), 31);
}

TEST(ByteReader, Lines) {
    const Bytes bytes = bytesOf("one\n\nlonger line\nlast");
    forEverySource(bytes, [&](ByteReader& reader, bool) {
        char line[8];
        for (const char* expected : {"one\n", "\n", "longer ", "line\n", "last"}) {
            ASSERT_TRUE(reader.line(line, sizeof line));
            EXPECT_STREQ(line, expected);
        }
        EXPECT_FALSE(reader.line(line, sizeof line));
        EXPECT_STREQ(line, "");
    });
}

TEST(ByteReader, RowsGoWhereTheyBelong) {
    const Bytes bytes = counting(50);
    forEverySource(bytes, [&](ByteReader& reader, bool) {
        EXPECT_EQ(reader.byte(), byteAt(0));
        Bytes rows(4 * 8, 0xEE);
        // From the last row of four on, 5 bytes of each 8.
        EXPECT_EQ(reader.readRows(&rows[24], -8, 5, 4), 20U);
        for (std::size_t row = 0; row < 4; ++row) {
            for (std::size_t x = 0; x < 8; ++x)
                EXPECT_EQ(rows[24 - 8 * row + x], x < 5 ? byteAt(1 + 5 * row + x) : 0xEE);
        }
        EXPECT_EQ(reader.position(), 21);
        EXPECT_EQ(reader.byte(), byteAt(21));
        EXPECT_EQ(reader.readRows(rows.data(), 8, 8, 4), 28U);
        EXPECT_EQ(rows[27], byteAt(49));
    });
}

}  // namespace
}  // namespace codec_test

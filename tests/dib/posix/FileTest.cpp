// Rows that are read and written past the buffer of their stream.
#include "dib/File.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <optional>
#include <thread>
#include <vector>

#include "tests/support/ByteFile.h"

namespace {

using Bytes = std::vector<unsigned char>;

// Three rows of two bytes, from the last to the first.
const Bytes kBlock = {1, 2, 3, 4, 5, 6};
bool writeTurned(std::FILE* file) { return dib::writeRows(file, kBlock.data() + 4, -2, 2, 3); }

TEST(BytesLeft, CountFromThePositionToTheEnd) {
    const dib::FilePtr file(std::tmpfile());
    EXPECT_EQ(dib::bytesLeft(file.get()), 0U);
    ASSERT_GE(std::fputs("abcdef", file.get()), 0);
    std::rewind(file.get());
    EXPECT_EQ(dib::bytesLeft(file.get()), 6U);
    EXPECT_EQ(std::fgetc(file.get()), 'a');
    EXPECT_EQ(dib::bytesLeft(file.get()), 5U);
    EXPECT_EQ(std::fgetc(file.get()), 'b');
    ASSERT_EQ(std::fseek(file.get(), 9, SEEK_SET), 0);
    EXPECT_EQ(dib::bytesLeft(file.get()), std::nullopt) << "beyond the end";
}

TEST(BytesLeft, MemoryStreamsHaveAnEndAndPipesHaveNone) {
    Bytes block = {1, 2, 3, 4, 5};
    const dib::FilePtr memory(fmemopen(block.data(), block.size(), "rb"));
    EXPECT_EQ(std::fgetc(memory.get()), 1);
    EXPECT_EQ(dib::bytesLeft(memory.get()), 4U);
    EXPECT_EQ(std::fgetc(memory.get()), 2);
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    const dib::FilePtr reading(fdopen(ends[0], "rb"));
    const dib::FilePtr writing(fdopen(ends[1], "wb"));
    EXPECT_EQ(dib::bytesLeft(reading.get()), std::nullopt);
}

TEST(WriteRows, StandBetweenWhatTheStreamWritesBeforeAndAfter) {
    const Bytes written = testing_support::writtenBytes([](std::FILE* file) {
        EXPECT_EQ(std::fputs("ab", file) >= 0, true);
        EXPECT_TRUE(writeTurned(file));
        EXPECT_EQ(std::ftell(file), 8);
        EXPECT_EQ(std::fputs("cd", file) >= 0, true);
        EXPECT_EQ(std::ftell(file), 10);
    });
    EXPECT_EQ(written, (Bytes{'a', 'b', 5, 6, 3, 4, 1, 2, 'c', 'd'}));
}

TEST(WriteRows, ReplaceBytesInTheMiddleOfAFile) {
    const Bytes written = testing_support::writtenBytes([](std::FILE* file) {
        EXPECT_TRUE(std::fputs("abcdefghij", file) >= 0);
        EXPECT_EQ(std::fseek(file, 1, SEEK_SET), 0);
        EXPECT_TRUE(writeTurned(file));
        EXPECT_EQ(std::ftell(file), 7);
        EXPECT_TRUE(std::fputs("X", file) >= 0);
        EXPECT_EQ(std::fseek(file, 0, SEEK_END), 0);
    });
    EXPECT_EQ(written, (Bytes{'a', 5, 6, 3, 4, 1, 2, 'X', 'i', 'j'}));
}

TEST(WriteRows, MemoryStreamsTakeThemToo) {
    Bytes block(8, 9);
    const dib::FilePtr file(fmemopen(block.data(), block.size(), "wb"));
    EXPECT_TRUE(std::fputs("a", file.get()) >= 0);
    EXPECT_TRUE(writeTurned(file.get()));
    EXPECT_EQ(std::fflush(file.get()), 0);
    EXPECT_EQ(Bytes(block.begin(), block.begin() + 7), (Bytes{'a', 5, 6, 3, 4, 1, 2}));
}

TEST(WriteRows, NoneAreNoWrite) {
    const Bytes written = testing_support::writtenBytes([](std::FILE* file) {
        EXPECT_TRUE(dib::writeRows(file, kBlock.data(), 2, 2, 0));
        EXPECT_TRUE(dib::writeRows(file, kBlock.data(), 0, 0, 3));
    });
    EXPECT_TRUE(written.empty());
}

// More rows than one call takes, through a pipe that holds less than all of them.
TEST(WriteRows, ManyRowsThroughAPipe) {
    Bytes block(2500 * 100);
    for (std::size_t i = 0; i < block.size(); ++i) block[i] = static_cast<unsigned char>(i * 7 + i / 100);
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    Bytes received;
    std::thread reader([&] {
        unsigned char part[999];
        for (ssize_t n; (n = read(ends[0], part, sizeof part)) > 0;) {
            received.insert(received.end(), part, part + n);
        }
    });
    {
        const dib::FilePtr file(fdopen(ends[1], "wb"));
        EXPECT_TRUE(dib::writeRows(file.get(), block.data(), 100, 100, 2500));
    }
    reader.join();
    close(ends[0]);
    EXPECT_EQ(received, block);
}

// A file that may not grow further takes a part of a row at first.
TEST(WriteRows, ShortWritesAreErrors) {
    rlimit old{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &old), 0);
    const auto oldHandler = std::signal(SIGXFSZ, SIG_IGN);
    for (const rlim_t room : {0U, 1U, 3U, 5U, 6U}) {
        const dib::FilePtr file(std::tmpfile());
        rlimit limited = old;
        limited.rlim_cur = room;
        ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limited), 0);
        EXPECT_EQ(writeTurned(file.get()), room == 6) << room;
        ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &old), 0);
    }
    std::signal(SIGXFSZ, oldHandler);
    const dib::FilePtr full(std::fopen("/dev/full", "wb"));
    EXPECT_FALSE(writeTurned(full.get()));
}

// "abcdefghij" in every kind of stream; reads three rows of two bytes after the first, the last row first.
void expectTurnedRows(std::FILE* file) {
    Bytes block(8, 9);
    EXPECT_EQ(std::fgetc(file), 'a');
    EXPECT_EQ(dib::readRows(file, block.data() + 6, -3, 2, 3), 6U);
    EXPECT_EQ(block, (Bytes{'f', 'g', 9, 'd', 'e', 9, 'b', 'c'}));
    EXPECT_EQ(std::fgetc(file), 'h');
    // Two bytes are left: one row and nothing of the others.
    EXPECT_EQ(dib::readRows(file, block.data() + 6, -3, 2, 3), 2U);
    EXPECT_EQ(block, (Bytes{'f', 'g', 9, 'd', 'e', 9, 'i', 'j'}));
    EXPECT_EQ(dib::readRows(file, block.data(), 3, 2, 3), 0U);
    EXPECT_EQ(std::fgetc(file), EOF);
}

constexpr char kLetters[] = "abcdefghij";

TEST(ReadRows, StandBetweenWhatTheStreamReadsBeforeAndAfter) {
    const dib::FilePtr file(std::tmpfile());
    EXPECT_TRUE(std::fputs(kLetters, file.get()) >= 0);
    std::rewind(file.get());
    expectTurnedRows(file.get());
    EXPECT_EQ(std::ftell(file.get()), 10);
}

TEST(ReadRows, MemoryStreamsAndPipesGiveThemToo) {
    char letters[] = "abcdefghij";
    const dib::FilePtr memory(fmemopen(letters, 10, "rb"));
    expectTurnedRows(memory.get());

    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    ASSERT_EQ(write(ends[1], kLetters, 10), 10);
    close(ends[1]);
    const dib::FilePtr stream(fdopen(ends[0], "rb"));
    expectTurnedRows(stream.get());
}

TEST(ReadRows, ThePartOfARowThatIsThereIsRead) {
    const dib::FilePtr file(std::tmpfile());
    EXPECT_TRUE(std::fputs(kLetters, file.get()) >= 0);
    std::rewind(file.get());
    Bytes block(9, 9);
    EXPECT_EQ(dib::readRows(file.get(), block.data() + 5, -5, 4, 2), 8U);
    EXPECT_EQ(dib::readRows(file.get(), block.data() + 5, -5, 4, 2), 2U);
    EXPECT_EQ(block, (Bytes{'e', 'f', 'g', 'h', 9, 'i', 'j', 'c', 'd'}));
    EXPECT_EQ(dib::readRows(file.get(), block.data(), -1, 0, 5), 0U);
}

// More rows than one call takes.
TEST(ReadRows, ManyRows) {
    Bytes written(2500 * 100);
    for (std::size_t i = 0; i < written.size(); ++i) written[i] = static_cast<unsigned char>(i * 7 + i / 100);
    const dib::FilePtr file(std::tmpfile());
    ASSERT_TRUE(dib::writeBytes(file.get(), written.data(), written.size()));
    std::rewind(file.get());
    Bytes read(written.size());
    EXPECT_EQ(dib::readRows(file.get(), read.data() + 2499 * 100, -100, 100, 2500), written.size());
    for (std::size_t row = 0; row < 2500; ++row) {
        ASSERT_TRUE(std::equal(&read[row * 100], &read[row * 100] + 100, &written[(2499 - row) * 100]))
            << row;
    }
}

}  // namespace

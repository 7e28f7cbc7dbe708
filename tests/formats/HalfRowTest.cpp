// Files that end inside a row, kept through DibFile.h: what does not come is 0.
#include "tests/formats/DoorCodecTest.h"

namespace door_test {
namespace {

using testing_support::randomImage;

Bytes rowOf(DibStream& image, int row) { return codec_test::rowBytes(image, row); }

// Every byte is that of the whole picture or 0, and one row at most has some of both.
void expectPartOf(DibStream& kept, DibStream& whole) {
    ASSERT_EQ(kept.Header->biWidth, whole.Header->biWidth);
    ASSERT_EQ(kept.Header->biHeight, whole.Header->biHeight);
    int halfRows = 0;
    for (int y = 0; y < std::abs(whole.Header->biHeight); ++y) {
        const Bytes row = rowOf(kept, y);
        const Bytes expected = rowOf(whole, y);
        const bool isHalf = row != expected && row != Bytes(row.size(), 0);
        halfRows += isHalf ? 1 : 0;
        for (std::size_t i = 0; i < row.size(); ++i) EXPECT_TRUE(row[i] == expected[i] || row[i] == 0);
    }
    EXPECT_LE(halfRows, 1);
}

TEST(HalfRows, HaveWhatCameAndZeros) {
    const struct {
        const char* format;
        int bitCount;
        bool runLengths;
    } kCases[] = {{"bmp", 24, false}, {"bmp", 32, false}, {"bmp", 8, true},   {"bmp", 1, false},
                  {"tga", 24, false}, {"tga", 32, false}, {"tga", 8, false},  {"tga", 24, true},
                  {"ppm", 24, false}, {"pgm", 8, false},  {"pam", 32, false}, {"tim", 16, false},
                  {"tim", 8, false},  {"iff", 24, true},  {"iff", 8, true}};
    for (const auto& row : kCases) {
        SCOPED_TRACE(std::string(row.format) + " " + std::to_string(row.bitCount));
        const DibPtr image = randomImage(23, 11, row.bitCount, 4);
        DibSaveOptions options;
        options.format = row.format;
        options.runLengths = row.runLengths;
        DibBytes saved;
        ASSERT_TRUE(DibSaveMemory(&saved, image.get(), &options));
        DibLoadOptions keeping = keepingDamaged();
        keeping.format = row.format;
        const Bytes file(saved.data, saved.data + saved.size);
        const Opened whole = opened(file, keeping);
        ASSERT_TRUE(whole.isLoaded) << whole.result.reason;
        int kept = 0;
        for (std::size_t length = file.size() / 2; length + 1 < file.size(); ++length) {
            const Opened cut =
                opened({file.begin(), file.begin() + static_cast<std::ptrdiff_t>(length)}, keeping);
            if (!cut.isLoaded) continue;
            ++kept;
            expectPartOf(*cut.image, *whole.image);
        }
        EXPECT_GT(kept, 5);
    }
}

}  // namespace
}  // namespace door_test

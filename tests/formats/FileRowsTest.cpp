#include "formats/FileRows.h"

#include <cstring>

#include "dib/Kernels.h"
#include "formats/ChannelMasks.h"
#include "tests/formats/DoorTest.h"

namespace door_test {
namespace {

// White, the words 1 to 3 in each channel, and the highest bit, which is none of a colour.
const std::uint16_t kWords[] = {0x7FFF, 1 | 2 << 5 | 3 << 10, 0x8000};
const Bytes kScaled = {255, 255, 255, 8, 16, 25, 0, 0, 0};

DibPtr wordsImage() {
    DibPtr image(new DibStream);
    EXPECT_TRUE(image->Create(3, 1, 16));
    std::memcpy(image->Buffer, kWords, sizeof kWords);
    return image;
}

TEST(FileRows, ScaleAllWordsExactly) {
    std::vector<std::uint16_t> words(dib::kStripPixels);
    const auto* row = reinterpret_cast<const unsigned char*>(words.data());
    for (const auto level : {dib::KernelLevel::kBaseline, dib::bestKernelLevel()}) {
        dib::limitKernelLevel(level);
        for (std::size_t first = 0; first < 0x10000; first += words.size()) {
            for (std::size_t i = 0; i < words.size(); ++i) words[i] = static_cast<std::uint16_t>(first + i);
            for (const auto form : {dib::Packed::kBgr, dib::Packed::kBgra}) {
                const std::size_t bytes = dib::bytesOf(form);
                Bytes made(bytes * words.size());
                formats::convertFileRow(row, 16, made.data(), form, words.size(), {});
                Bytes expected(made.size());
                formats::spreadChannels(row, 2, expected.data(), static_cast<int>(bytes), words.size(),
                                        formats::k555);
                ASSERT_EQ(made, expected) << first;
            }
        }
    }
    dib::limitKernelLevel(dib::bestKernelLevel());
}

TEST(FileRows, GreyIsThatOfScaledColors) {
    const std::uint16_t words[] = {0x7FFF, 0x7C00, 0};
    Bytes grey(3);
    formats::convertFileRow(reinterpret_cast<const unsigned char*>(words), 16, grey.data(),
                            dib::Packed::kGrey, 3, {});
    EXPECT_EQ(grey, (Bytes{255, 72, 0}));
}

// Each format that holds no words of 16 bits.
TEST(FileRows, FilesKeepWhiteOfWordsWhite) {
    const DibPtr image = wordsImage();
    for (const char* format : {"ppm", "iff", "png", "tiff"}) {
        const Opened load = opened(saved(*image, format));
        ASSERT_TRUE(load.isLoaded) << format << ": " << load.reason();
        ASSERT_EQ(load.image->Header->biBitCount, 24) << format;
        const unsigned char* row = load.image->ScanLine(0);
        EXPECT_EQ(Bytes(row, row + 9), kScaled) << format;
    }
    DibStream white;
    ASSERT_TRUE(white.Create(8, 8, 16));
    std::memset(white.Buffer, 0xFF, white.Header->biSizeImage);
    const Opened jpeg = opened(saved(white, "jpeg"));
    ASSERT_TRUE(jpeg.isLoaded) << jpeg.reason();
    EXPECT_EQ(Bytes(jpeg.image->ScanLine(3), jpeg.image->ScanLine(3) + 3), (Bytes{255, 255, 255}));
}

}  // namespace
}  // namespace door_test

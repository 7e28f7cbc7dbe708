// Palettes in files of their own.
#include <DibPalette.h>
#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include "tests/support/FailingMalloc.h"
#include "tests/support/Paths.h"
#include "tests/support/System.h"
#include "tests/support/TestImages.h"

namespace palette_test {

namespace {

using testing_support::DibPtr;
using Entries = std::vector<std::uint32_t>;

// The entries of an image's table, red highest.
Entries entriesOf(const DibStream& image) {
    const std::vector<unsigned char> header = testing_support::headerBytes(image);
    Entries entries;
    for (std::size_t at = 40; at + 4 <= header.size(); at += 4) {
        entries.push_back(header[at] | std::uint32_t{header[at + 1]} << 8 |
                          std::uint32_t{header[at + 2]} << 16);
    }
    return entries;
}

struct Loaded {
    bool isLoaded;
    Entries entries;
    DibFileResult result;
};
Loaded load(const std::string& file) {
    DibStream image;
    Loaded loaded;
    loaded.isLoaded = DibLoadPaletteMemory(file.data(), file.size(), &image, &loaded.result);
    EXPECT_EQ(image.ErrorCode, loaded.result.code);
    if (!loaded.isLoaded) {
        EXPECT_EQ(image.Header, nullptr);
        return loaded;
    }
    loaded.entries = entriesOf(image);
    EXPECT_EQ(image.Header->biBitCount, 8);
    EXPECT_EQ(image.Header->biHeight, 1);
    EXPECT_EQ(image.Header->biWidth, static_cast<int>(loaded.entries.size()));
    for (int x = 0; x < image.Header->biWidth; ++x)
        EXPECT_EQ(testing_support::pixelValue(image, x, 0), static_cast<std::uint32_t>(x));
    return loaded;
}

TEST(PaletteFile, GimpLinesAreColoursWithNames) {
    const Loaded loaded = load(
        "GIMP Palette\nName: Sunset\nColumns: 4\n# comment\n  0   0   0\tBlack\n255 128   1\n\n16 32 48 a "
        "b\n");
    EXPECT_EQ(loaded.entries, (Entries{0x000000, 0xFF8001, 0x102030}));
    EXPECT_EQ(load("GIMP Palette\r\n1 2 3").entries, (Entries{0x010203}));
}

TEST(PaletteFile, JascHasTheNumberOfColours) {
    EXPECT_EQ(load("JASC-PAL\r\n0100\r\n2\r\n255 128 1\r\n16 32 48\r\nmore").entries,
              (Entries{0xFF8001, 0x102030}));
    EXPECT_EQ(load("JASC-PAL\n0100\n1\n1 2 3 255\n").entries, (Entries{0x010203}));
}

TEST(PaletteFile, ActIsTriplesOfBytes) {
    std::string file;
    for (int i = 0; i < 256; ++i) file += {static_cast<char>(i), static_cast<char>(255 - i), '\x07'};
    const Loaded all = load(file);
    ASSERT_EQ(all.entries.size(), 256U);
    EXPECT_EQ(all.entries[2], 0x02FD07U);
    const Loaded some = load(file + std::string("\0\x03\xFF\xFF", 4));
    EXPECT_EQ(some.entries, (Entries{0x00FF07, 0x01FE07, 0x02FD07}));
    EXPECT_EQ(some.result.noteCount, 0);
    const Loaded transparent = load(file + std::string("\0\x03\0\x02", 4));
    ASSERT_EQ(transparent.result.noteCount, 1);
    EXPECT_STREQ(transparent.result.notes[0].text, "colour 2 is transparent in the file, which is not kept");
    EXPECT_EQ(load(file + std::string("\0\0\xFF\xFF", 4)).entries.size(), 256U);
}

TEST(PaletteFile, KeepsTheFirst256Colours) {
    std::string lines;
    for (int i = 0; i < 300; ++i) lines += std::to_string(i % 256) + " 0 0\n";
    for (const std::string& start : {std::string("GIMP Palette\n"), std::string("JASC-PAL\n0100\n300\n")}) {
        const Loaded loaded = load(start + lines);
        EXPECT_EQ(loaded.entries.size(), 256U);
        ASSERT_EQ(loaded.result.noteCount, 1);
        EXPECT_STREQ(loaded.result.notes[0].text,
                     "the file has more than 256 colours: the first 256 are kept");
    }
}

struct Refused {
    std::string file;
    int code;
    const char* reason;
};

TEST(PaletteFile, RefusesWhatIsNoPalette) {
    const std::string act(768, '\1');
    const Refused kCases[] = {
        {"", 7, "this is no palette of GIMP, JASC or Adobe"},
        {"GIMP Palett", 7, "this is no palette of GIMP, JASC or Adobe"},
        {std::string(767, 'x'), 7, "this is no palette of GIMP, JASC or Adobe"},
        {std::string(773, 'x'), 7, "this is no palette of GIMP, JASC or Adobe"},
        {"GIMP Palette\n#\n", 4, "the file has no colours"},
        {"GIMP Palette\n1 2 3\n1 2\n", 6, "line 3 is not a colour of three numbers from 0 to 255"},
        {"GIMP Palette\n1 2 256\n", 6, "line 2 is not a colour of three numbers from 0 to 255"},
        {"GIMP Palette\n-1 2 3\n", 6, "line 2 is not a colour of three numbers from 0 to 255"},
        {"JASC-PAL\n0100\n", 4, "the file ends inside its header"},
        {"JASC-PAL\n0100\nx\n", 6, "line 3 does not give the number of colours"},
        {"JASC-PAL\n0100\n0\n", 6, "line 3 does not give the number of colours"},
        {"JASC-PAL\n0100\n2\n1 2 3\n", 4, "the file ends after 1 of 2 colours"},
        {"JASC-PAL\n0100\n2000000000\n1 2 3\n", 4, "the file ends after 1 of 2000000000 colours"},
        {"JASC-PAL\n0100\n1\nred\n", 6, "line 4 is not a colour of three numbers from 0 to 255"},
        {act + std::string("\1\1\xFF\xFF", 4), 6, "the file announces 257 colours"},
    };
    for (const Refused& refused : kCases) {
        const Loaded loaded = load(refused.file);
        EXPECT_FALSE(loaded.isLoaded) << refused.reason;
        EXPECT_EQ(loaded.result.code, refused.code) << refused.reason;
        EXPECT_STREQ(loaded.result.reason, refused.reason);
        EXPECT_EQ(loaded.result.noteCount, 0);
    }
    DibStream image;
    EXPECT_FALSE(DibLoadPalette("absent.gpl", &image));
    EXPECT_EQ(image.ErrorCode, DIB_ERROR_OPEN);
    EXPECT_FALSE(DibLoadPaletteMemory(nullptr, 0, &image));
    EXPECT_FALSE(DibLoadPaletteMemory("", 0, nullptr));
}

// Cut anywhere, and with any byte changed, a file gives a palette or a reason.
TEST(PaletteFile, SurvivesDamage) {
    const std::string act(772, '\0');
    for (const std::string& whole : {std::string("GIMP Palette\nName: A\n1 2 3\n4 5 6\n"),
                                     std::string("JASC-PAL\n0100\n2\n1 2 3\n4 5 6\n"), act}) {
        for (std::size_t i = 0; i < whole.size(); ++i) {
            for (const std::string& damaged :
                 {whole.substr(0, i), whole.substr(0, i) + '\xFF' + whole.substr(i + 1)}) {
                const Loaded loaded = load(damaged);
                EXPECT_EQ(loaded.isLoaded, loaded.result.reason[0] == '\0');
                EXPECT_EQ(loaded.isLoaded, !loaded.entries.empty());
            }
        }
    }
}

DibPtr threeColors() {
    DibPtr image = testing_support::blankImage(2, 1, 4);
    image->Header->biClrUsed = 3;
    const unsigned char table[] = {1, 2, 3, 0, 255, 128, 0, 0, 9, 8, 7, 0};
    std::memcpy(reinterpret_cast<unsigned char*>(image->Header) + 40, table, sizeof table);
    return image;
}

std::string savedAs(const char* format) {
    DibBytes bytes;
    DibFileResult result;
    EXPECT_TRUE(DibSavePaletteMemory(&bytes, threeColors().get(), format, &result)) << result.reason;
    return {reinterpret_cast<const char*>(bytes.data), bytes.size};
}

TEST(PaletteFile, WritesAllThreeKinds) {
    EXPECT_EQ(savedAs("gpl"),
              "GIMP Palette\nName: Palette\nColumns: 16\n#\n  3   2   1\tUntitled\n"
              "  0 128 255\tUntitled\n  7   8   9\tUntitled\n");
    EXPECT_EQ(savedAs("PAL"), "JASC-PAL\r\n0100\r\n3\r\n3 2 1\r\n0 128 255\r\n7 8 9\r\n");
    const std::string act = savedAs("act");
    ASSERT_EQ(act.size(), 772U);
    EXPECT_EQ(act.substr(0, 9), std::string("\3\2\1\0\x80\xFF\7\x08\x09", 9));
    EXPECT_EQ(act.substr(768), std::string("\0\3\xFF\xFF", 4));
    for (const char* format : {"gpl", "pal", "act"})
        EXPECT_EQ(load(savedAs(format)).entries, (Entries{0x030201, 0x0080FF, 0x070809})) << format;
    DibBytes whole;
    ASSERT_TRUE(DibSavePaletteMemory(&whole, testing_support::blankImage(1, 1, 8).get(), "act"));
    EXPECT_EQ(whole.size, 768U);
}

TEST(PaletteFile, IsSavedByTheExtensionOfItsPath) {
    const std::string path = testing_support::temporaryPath("saved.gpl");
    ASSERT_TRUE(DibSavePalette(path.c_str(), threeColors().get()));
    DibStream image;
    ASSERT_TRUE(DibLoadPalette(path.c_str(), &image));
    EXPECT_EQ(entriesOf(image), (Entries{0x030201, 0x0080FF, 0x070809}));
    DibFileResult result;
    EXPECT_FALSE(DibSavePalette("palette.txt", threeColors().get(), nullptr, &result));
    EXPECT_EQ(result.code, DIB_ERROR_UNSUPPORTED);
    EXPECT_STREQ(result.reason, "no palette format has the name \"txt\": gpl, pal and act");
    EXPECT_FALSE(DibSavePalette("/nonexistent/a.gpl", threeColors().get(), nullptr, &result));
    EXPECT_EQ(result.code, DIB_ERROR_OPEN);
    testing_support::forEveryDeadFile(
        [&](const char* dead) { return DibSavePalette(dead, threeColors().get(), "gpl", &result); },
        [&](bool isSaved, const char* dead) {
            EXPECT_FALSE(isSaved) << dead;
            EXPECT_EQ(result.code, DIB_ERROR_WRITE) << dead;
        });
    EXPECT_FALSE(DibSavePalette(path.c_str(), testing_support::blankImage(1, 1, 24).get(), nullptr, &result));
    EXPECT_EQ(result.code, DIB_ERROR_MISMATCH);
    EXPECT_STREQ(result.reason, "the image has no palette");
    EXPECT_FALSE(DibSavePalette("", threeColors().get()));
    EXPECT_FALSE(DibSavePalette(path.c_str(), nullptr));
    EXPECT_FALSE(DibSavePaletteMemory(nullptr, threeColors().get(), "gpl"));
}

TEST(PaletteFile, SurvivesFailingAllocations) {
    const std::string file = savedAs("gpl");
    DibStream* image = nullptr;
    DibBytes* bytes = nullptr;
    bool isLoaded = false;
    bool isSaved = false;
    const DibPtr from = threeColors();
    const int failures = testing_support::forEachFailingAllocation(
        [&] {
            image = new DibStream;
            bytes = new DibBytes;
        },
        [&] {
            isLoaded = DibLoadPaletteMemory(file.data(), file.size(), image);
            isSaved = DibSavePaletteMemory(bytes, from.get(), "gpl");
        },
        [&](bool failureMet) {
            EXPECT_EQ(isLoaded && isSaved, !failureMet);
            EXPECT_EQ(image->Header != nullptr, isLoaded);
            EXPECT_EQ(bytes->data != nullptr, isSaved);
            delete bytes;
            image->Release();
        });
    EXPECT_GT(failures, 4);
}

}  // namespace

}  // namespace palette_test

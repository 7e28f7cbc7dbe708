// Real sample files outside the tree: a folder with an index, and expected pictures beside some of the files.
// Tests that walk it skip themselves where the folder is absent.
#ifndef TESTS_SUPPORT_SAMPLES_H
#define TESTS_SUPPORT_SAMPLES_H

#include <DibStream.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace testing_support {

// The folder named by the environment variable DIB_SAMPLES, or ../shared/samples beside the source tree;
// empty when there is no INDEX.tsv in it.
std::filesystem::path samplesFolder();

// A row of the index.
struct Sample {
    std::filesystem::path path;  // of the file itself, absolute
    std::string source;          // the collection that it comes from
    std::string variant;         // how the index describes the file's inside
    int width = 0;               // as the index has it (without sign); 0 when unknown
    int height = 0;
    std::string readBy;     // decoders that read it, and those that fail, separated by commas
    std::string refusedBy;  //
    std::string agreement;  // "exact N" when N decoders give the same picture
};

// Whether several independent decoders, one of which converts for tests, show one picture.
bool isAgreedOn(const Sample& sample);

// Every file of one format ("bmp", "tga", "pnm", "psd", "ilbm", "tim", "hdr", ...), in the order of the
// index.
std::vector<Sample> samplesOf(std::string_view format);

// A picture as 8-bit red, green, blue, top row first.
struct Picture {
    int width = 0;
    int height = 0;
    std::vector<unsigned char> rgb;
};

// A binary PPM or PGM of 8 bits; nothing when it is none.
std::optional<Picture> readPnm(const std::filesystem::path& path);

// What `<name>.ppm` beside a sample shows; nothing when there is no such file.
std::optional<Picture> expectedPicture(const Sample& sample);

// What an image of any depth shows: palettes applied, 5-bit channels scaled to 8 bits, alpha dropped.
Picture pictureOf(DibStream& dib);

// Whether two pictures have one size and no sample further apart than `tolerance`.
::testing::AssertionResult samePicture(const Picture& actual, const Picture& expected, int tolerance = 0);

}  // namespace testing_support

#endif

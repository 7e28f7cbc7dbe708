#include "tests/support/Samples.h"
#include "tests/support/Paths.h"

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>

#include "dib/ColorTable.h"
#include "tests/support/TestImages.h"

namespace testing_support {

namespace {

std::vector<std::string> splitTabs(const std::string& line) {
    std::vector<std::string> fields(1);
    for (const char c : line) {
        if (c == '\t') {
            fields.emplace_back();
        } else {
            fields.back().push_back(c);
        }
    }
    return fields;
}

// A number of the index as an int; 0 for "?" and for what does not fit.
int indexNumber(const std::string& text) {
    std::istringstream in(text);
    int number = 0;
    return in >> number ? std::abs(number) : 0;
}

}  // namespace

std::filesystem::path samplesFolder() {
    const char* named = std::getenv("DIB_SAMPLES");
    const std::filesystem::path folder =
        named != nullptr
            ? std::filesystem::path(named)
            : std::filesystem::path(testing_support::sourceFolder()).parent_path() / "shared" / "samples";
    std::error_code none;
    return std::filesystem::is_regular_file(folder / "INDEX.tsv", none) ? folder : std::filesystem::path();
}

bool isAgreedOn(const Sample& sample) {
    return sample.readBy.rfind("im", 0) == 0 &&
           (sample.agreement.rfind("exact", 0) == 0 || sample.agreement.rfind("within1", 0) == 0);
}

std::vector<Sample> samplesOf(std::string_view format) {
    const std::filesystem::path folder = samplesFolder();
    if (folder.empty()) return {};
    std::vector<Sample> samples;
    std::ifstream index(folder / "INDEX.tsv");
    for (std::string line; std::getline(index, line);) {
        std::vector<std::string> row = splitTabs(line);
        if (row.size() < 14 || row[0] != format) continue;
        samples.push_back({folder / row[4], row[1], row[9], indexNumber(row[7]), indexNumber(row[8]), row[11],
                           row[12], row[13]});
    }
    return samples;
}

std::optional<Picture> readPnm(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::string magic;
    Picture picture;
    int most = 0;
    file >> magic >> picture.width >> picture.height >> most;
    if (!file || (magic != "P6" && magic != "P5") || most != 255) return {};
    file.get();  // the single byte of white space before the samples
    const std::vector<unsigned char> samples{std::istreambuf_iterator<char>(file),
                                             std::istreambuf_iterator<char>()};
    const std::size_t channels = magic == "P6" ? 3 : 1;
    const std::size_t pixels =
        static_cast<std::size_t>(picture.width) * static_cast<std::size_t>(picture.height);
    if (samples.size() < pixels * channels) return {};
    picture.rgb.resize(pixels * 3);
    for (std::size_t i = 0; i < pixels * 3; ++i) picture.rgb[i] = samples[channels == 3 ? i : i / 3];
    return picture;
}

std::optional<Picture> expectedPicture(const Sample& sample) {
    return readPnm(sample.path.string() + ".ppm");
}

Picture pictureOf(DibStream& dib) {
    Picture picture;
    if (dib.Header == nullptr || dib.Buffer == nullptr) return picture;
    const int bits = dib.Header->biBitCount;
    const auto table = dib::readColorTable(*dib.Header);
    const auto scaled = [](std::uint32_t fiveBits) { return ((fiveBits & 31U) * 255 + 15) / 31; };
    picture.width = dib.Header->biWidth;
    picture.height = std::abs(dib.Header->biHeight);
    for (int y = 0; y < picture.height; ++y) {
        for (int x = 0; x < picture.width; ++x) {
            std::uint32_t color = pixelValue(dib, x, y);
            if (bits <= 8) {
                color = static_cast<std::uint32_t>(table[color].blue | table[color].green << 8 |
                                                   table[color].red << 16);
            } else if (bits == 16) {
                color = scaled(color) | scaled(color >> 5) << 8 | scaled(color >> 10) << 16;
            }
            for (const int shift : {16, 8, 0}) {
                picture.rgb.push_back(static_cast<unsigned char>(color >> shift));
            }
        }
    }
    return picture;
}

::testing::AssertionResult samePicture(const Picture& actual, const Picture& expected, int tolerance) {
    if (actual.width != expected.width || actual.height != expected.height) {
        return ::testing::AssertionFailure() << actual.width << " x " << actual.height << " against "
                                             << expected.width << " x " << expected.height;
    }
    if (actual.rgb.size() != expected.rgb.size()) {
        return ::testing::AssertionFailure()
               << actual.rgb.size() << " samples against " << expected.rgb.size();
    }
    for (std::size_t i = 0; i < actual.rgb.size(); ++i) {
        if (std::abs(int{actual.rgb[i]} - int{expected.rgb[i]}) <= tolerance) continue;
        const std::size_t pixel = i / 3;
        const auto width = static_cast<std::size_t>(actual.width);
        return ::testing::AssertionFailure()
               << "x " << pixel % width << " y " << pixel / width << " channel " << i % 3 << ": "
               << int{actual.rgb[i]} << " against " << int{expected.rgb[i]};
    }
    return ::testing::AssertionSuccess();
}

}  // namespace testing_support

// Real files of many makers: none does harm, and those whose picture is known show it, but for what each
// codec promises to read otherwise.
#include <DibCodec.h>

#include <algorithm>

#include "tests/formats/CodecTest.h"

namespace codec_test {
namespace {

using testing_support::expectedPicture;
using testing_support::Picture;
using testing_support::pictureOf;
using testing_support::samePicture;
using testing_support::Sample;
using PathLoader = bool (*)(const char*, DibStream*, DibProgressCallback, void*);

bool contains(const std::string& text, const char* part) { return text.find(part) != std::string::npos; }

// Loads every sample; `judge` sees the result, the first bytes of the file and, if known, what it shows.
struct Result {
    const Sample& sample;
    std::string name;
    Bytes file;
    bool loaded;
    DibStream& image;
    std::optional<Picture> expected;
};
void forEverySample(const char* format, PathLoader load, const std::function<void(Result&)>& judge) {
    if (testing_support::samplesFolder().empty()) GTEST_SKIP() << "no sample files";
    int walked = 0;
    for (const Sample& sample : testing_support::samplesOf(format)) {
        SCOPED_TRACE(sample.path.string());
        ::testing::internal::CaptureStderr();
        DibStream image;
        const bool loaded = load(sample.path.string().c_str(), &image, nullptr, nullptr);
        ::testing::internal::GetCapturedStderr();
        if (loaded) {
            EXPECT_NE(image.Header, nullptr);
            EXPECT_NE(image.Buffer, nullptr);
        }
        Result result{
            sample, sample.path.filename().string(), testing_support::readFileBytes(sample.path), loaded,
            image,  expectedPicture(sample)};
        if (result.file.size() < 32) result.file.resize(32);
        ++walked;
        judge(result);
    }
    EXPECT_GT(walked, 0);
}

Picture mirrored(Picture picture) {
    const auto row = static_cast<std::size_t>(picture.width);
    for (std::size_t start = 0; start < picture.rgb.size(); start += 3 * row) {
        for (std::size_t left = 0, right = row - 1; left < right; ++left, --right) {
            for (std::size_t i = 0; i < 3; ++i) {
                std::swap(picture.rgb[start + 3 * left + i], picture.rgb[start + 3 * right + i]);
            }
        }
    }
    return picture;
}

TEST(CodecSamples, Tga) {
    forEverySample(
        "tga",
        [](const char* path, DibStream* image, DibProgressCallback callback, void* user) {
            return LoadTGA(path, image, callback, user);
        },
        [](Result& result) {
            const unsigned type = result.file[2];
            const unsigned mapBits = result.file[7];
            const unsigned bits = result.file[16];
            const bool color = bits == 16 || bits == 24 || bits == 32;
            const bool mapped = bits == 8 && result.file[1] != 0;
            const bool readable = (type == 1 && mapped && (mapBits == 24 || mapBits == 32)) ||
                                  (type == 9 && mapped && mapBits == 24) ||
                                  ((type == 2 || type == 10) && color) || (type == 3 && bits == 8);
            if (!result.expected) {
                EXPECT_TRUE(readable || !result.loaded);
                return;
            }
            EXPECT_EQ(result.loaded, readable);
            // The index of a map's first entry is not applied.
            if (!readable || contains(result.name, "cmfirst")) return;
            const bool rightToLeft = (result.file[17] & 0x10) != 0;
            EXPECT_TRUE(samePicture(pictureOf(result.image),
                                    rightToLeft ? mirrored(*result.expected) : *result.expected,
                                    bits == 16 ? 1 : 0));
        });
}

// One collection has a PNG file per picture, for all origins and both ways of storing it.
TEST(CodecSamples, TgaAsPng) {
    const std::filesystem::path pictures = testing_support::samplesFolder() / "ref" / "python-pillow+Pillow" /
                                           "Tests" / "images" / "tga" / "common";
    if (!std::filesystem::exists(pictures)) GTEST_SKIP() << "no sample files";
    int compared = 0;
    for (const Sample& sample : testing_support::samplesOf("tga")) {
        if (sample.path.parent_path().filename() != "common") continue;
        SCOPED_TRACE(sample.path.string());
        DibStream image;
        if (!LoadTGA(sample.path.string().c_str(), &image, nullptr, nullptr)) continue;
        const std::string name = sample.path.filename().string();
        const std::string shown = name.substr(0, name.find('_', name.find('_') + 1)) + ".png";
        DibStream expected;
        ASSERT_TRUE(LoadPNG((pictures / shown).string().c_str(), &expected, nullptr, nullptr));
        EXPECT_TRUE(samePicture(pictureOf(image), pictureOf(expected)));
        for (int i = 0; image.Header->biBitCount == 32 && i < 200 * 32; ++i) {
            ASSERT_EQ(image.Pixel(i % 200, i / 200)[3], expected.Pixel(i % 200, i / 200)[3]) << i;
        }
        ++compared;
    }
    EXPECT_EQ(compared, 15);
}

TEST(CodecSamples, Pnm) {
    forEverySample(
        "pnm",
        [](const char* path, DibStream* image, DibProgressCallback callback, void* user) {
            return LoadPPM(path, image, callback, user);
        },
        [](Result& result) {
            const std::string first(result.file.begin(), result.file.begin() + 3);
            const bool known = first == "P6\n" || first == "P5\n" || first == "P3\n" || first == "P2\n";
            if (!known) {
                EXPECT_FALSE(result.loaded);
                EXPECT_EQ(result.image.ErrorCode, 7);
            }
            // A comment after the size counts as the line of the largest sample.
            if (!known || !result.expected || contains(result.name, "comment-after-magic")) return;
            EXPECT_TRUE(result.loaded);
            EXPECT_TRUE(samePicture(pictureOf(result.image), *result.expected));
        });
}

TEST(CodecSamples, Tim) {
    forEverySample(
        "tim",
        [](const char* path, DibStream* image, DibProgressCallback callback, void* user) {
            return LoadTIM(path, image, callback, user);
        },
        [](Result& result) {
            const bool readable = (result.file[4] & 7) <= 2;
            EXPECT_TRUE(readable || result.image.ErrorCode == 7);
            if (!result.expected) return;
            EXPECT_EQ(result.loaded, readable);
            // Tables keep 5-bit parts in the high bits of a byte, where the expectation has them scaled.
            const int tolerance =
                result.image.Header != nullptr && result.image.Header->biBitCount <= 8 ? 7 : 1;
            if (!readable) return;
            EXPECT_TRUE(samePicture(pictureOf(result.image), *result.expected, tolerance));
        });
}

// Whether the colours of an ILBM file fill an odd number of bytes.
bool hasOddColors(const Bytes& file) {
    const Bytes name = bytesOf("CMAP");
    const auto at = std::search(file.begin(), file.end(), name.begin(), name.end());
    return file.end() - at > 8 && at[7] % 2 != 0;
}

TEST(CodecSamples, Ilbm) {
    forEverySample(
        "ilbm",
        [](const char* path, DibStream* image, DibProgressCallback callback, void* user) {
            return LoadIFF(path, image, callback, user);
        },
        [](Result& result) {
            EXPECT_TRUE(!result.loaded || contains(result.sample.variant, "FORM ILBM"));
            if (!result.expected) return;
            // Pixels that stand for changes of colour or half brightness are indices here.
            const bool otherColors = contains(result.name, "ham") || contains(result.name, "ehb");
            // Chunks of odd length lead astray, and few planes do not keep their pixels.
            const bool astray = hasOddColors(result.file) || contains(result.name, "oddchunk");
            if (otherColors || astray || result.image.Header == nullptr) return;
            EXPECT_TRUE(result.loaded);
            if (result.image.Header->biBitCount < 8) return;
            EXPECT_TRUE(samePicture(pictureOf(result.image), *result.expected));
        });
}

bool loadHdr(const char* path, DibStream* image, DibProgressCallback callback, void* user) {
    return LoadHDR(path, image, callback, user);
}

TEST(CodecSamples, Hdr) {
    forEverySample("hdr", loadHdr, [](Result& result) {
        const bool readable = contains(result.sample.variant, "fmt=32-bit_rle_rgbe") &&
                              contains(result.sample.variant, "res=\"-Y") &&
                              contains(result.sample.variant, "+X");
        EXPECT_TRUE(readable || !result.loaded);
        if (readable && contains(result.sample.variant, "rle=new") && !contains(result.name, "truncated")) {
            EXPECT_TRUE(result.loaded);
        }
    });
}

TEST(CodecSamples, HdrPacketsAndFlatPixelsShowTheSame) {
    const std::filesystem::path folder = testing_support::samplesFolder() / "gen" / "files";
    if (!std::filesystem::exists(folder / "hdr-flat-67x45.hdr")) GTEST_SKIP() << "no sample files";
    DibStream flat;
    ASSERT_TRUE(loadHdr((folder / "hdr-flat-67x45.hdr").string().c_str(), &flat, nullptr, nullptr));
    for (const char* name : {"hdr-rgbe-magic.hdr", "hdr-orient-mYpX.hdr"}) {
        DibStream packed;
        ASSERT_TRUE(loadHdr((folder / name).string().c_str(), &packed, nullptr, nullptr)) << name;
        EXPECT_TRUE(samePicture(pictureOf(packed), pictureOf(flat))) << name;
    }
}

}  // namespace
}  // namespace codec_test

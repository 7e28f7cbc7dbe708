#include <DibCodec.h>
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>
#include <random>

#include "plugins/exr/Reader.h"
#include "tests/formats/CodecTest.h"
#include "tests/plugins/ExrFile.h"
#include "tests/plugins/LeaksAllowed.h"
#include "tests/support/Paths.h"

namespace {

using codec_test::ProgressLog;
using codec_test::TemporaryFile;
using exr_test::Bytes;
using exr_test::ChannelContents;
using exr_test::colors;
using exr_test::expectedPixels;
using exr_test::FileContents;
using exr_test::kCompressions;
using exr_test::NamedCompression;
using exr_test::pixels;
using exr_test::read;
using exr_test::sampleAt;
using plugin_test::LeaksAllowed;
using plugins::Picture;

FileContents onePixel(const std::vector<ChannelContents>& channels) {
    FileContents layout;
    layout.channels = channels;
    return layout;
}

// 0.18, 0.5, 1 and 0, by the place in the list.
float gradesAt(std::size_t channel, int /*x*/, int /*y*/) {
    constexpr float kGrades[] = {0.18F, 0.5F, 1.0F, 0.0F};
    return kGrades[channel];
}

TEST(ExrTest, ChannelsByName) {
    constexpr Imf::PixelType kHalf = Imf::HALF;
    constexpr Imf::PixelType kFloat = Imf::FLOAT;
    struct Case {
        std::vector<ChannelContents> channels;
        Bytes pixel;
    };
    for (const Case& c : {
             Case{{{"A", kHalf}, {"B", kHalf}, {"G", kHalf}, {"R", kHalf}}, {186, 255, 0, 117}},
             Case{{{"A", kFloat}, {"B", kFloat}, {"G", kHalf}, {"R", kHalf}}, {186, 255, 0, 117}},
             Case{{{"B", kHalf}, {"G", kHalf}, {"R", kHalf}}, {117, 186, 255, 255}},
             Case{{{"R", kHalf}}, {0, 0, 117, 255}},
             Case{{{"B", kFloat}, {"G", kFloat}}, {117, 186, 0, 255}},
             Case{{{"A", kHalf}}, {0, 0, 0, 117}},
             Case{{{"A", kHalf}, {"Y", kHalf}}, {186, 186, 186, 117}},
             Case{{{"Y", kHalf}}, {117}},
             Case{{{"Y", kFloat}}, {117}},
             Case{{{"Y", kHalf}, {"Z", kFloat}}, {117}},
             Case{{{"G", kHalf}, {"Y", kFloat}}, {0, 117, 0, 255}},
             Case{{{"G", kHalf}, {"Z", Imf::UINT}, {"diffuse.R", kFloat}}, {0, 117, 0, 255}},
             Case{{{"left.B", kHalf}, {"left.G", kHalf}, {"left.R", kFloat}, {"left.A", kHalf}},
                  {117, 186, 255, 0}},
             Case{{{"a.G", kHalf}, {"b.c.B", kHalf}, {"b.c.G", kHalf}, {"b.c.R", kHalf}}, {186, 255, 0, 255}},
         }) {
        EXPECT_EQ(pixels(write(onePixel(c.channels), gradesAt)), c.pixel) << c.channels[0].name;
    }
}

TEST(ExrTest, LuminanceAloneIsGrey) {
    FileContents layout = onePixel({{"Y", Imf::HALF}});
    layout.data = {0, 0, 1, 1};
    Picture picture;
    ASSERT_TRUE(read(write(layout, [](std::size_t, int x, int y) { return x == 1 && y == 0 ? 1.0F : 0.5F; }),
                     picture));
    EXPECT_EQ(picture.header().biBitCount, 8);
    EXPECT_EQ(picture.header().biClrUsed, 256U);
    EXPECT_EQ(picture.row(0)[0], 186);
    EXPECT_EQ(picture.row(0)[1], 255);
    EXPECT_EQ(picture.row(1)[1], 186);
    EXPECT_EQ(picture.row(1) + 4, picture.row(0)) << "bottom-up";
}

// RY and BY are (R - Y) / Y and (B - Y) / Y, and Y is 0.2126 R + 0.7152 G + 0.0722 B.
TEST(ExrTest, LuminanceAndChromaAreColors) {
    FileContents layout = onePixel({{"BY", Imf::HALF, 2}, {"RY", Imf::HALF, 2}, {"Y", Imf::HALF}});
    layout.data = {2, 4, 9, 11};
    const auto sampler = [](std::size_t channel, int, int) {
        constexpr float kRed = 1.0F;
        constexpr float kBlue = 0.18F;
        constexpr float kGreen = 0.5F;
        constexpr float kLuminance = 0.2126F * kRed + 0.7152F * kGreen + 0.0722F * kBlue;
        return channel == 0   ? (kBlue - kLuminance) / kLuminance
               : channel == 1 ? (kRed - kLuminance) / kLuminance
                              : kLuminance;
    };
    Picture picture;
    ASSERT_TRUE(read(write(layout, sampler), picture));
    EXPECT_EQ(picture.header().biBitCount, 32);
    EXPECT_EQ(picture.header().biWidth, 8);
    for (std::size_t y = 0; y < 8; ++y) {
        for (std::size_t x = 0; x < 8; ++x) {
            const unsigned char* pixel = picture.row(y) + 4 * x;
            EXPECT_EQ(Bytes(pixel, pixel + 4), (Bytes{117, 186, 255, 255})) << x << ' ' << y;
        }
    }
    layout.channels.insert(layout.channels.begin(), {"A", Imf::HALF});
    ASSERT_TRUE(read(write(layout, [&](std::size_t channel, int x,
                                       int y) { return channel == 0 ? 0.5F : sampler(channel - 1, x, y); }),
                     picture));
    EXPECT_EQ(Bytes(picture.row(7), picture.row(7) + 4), (Bytes{117, 186, 255, 186}));
}

TEST(ExrTest, WhatIsNoPictureIsRefused) {
    const auto refuses = [](const std::vector<ChannelContents>& channels) {
        FileContents layout = onePixel(channels);
        layout.data = {0, 0, 1, 1};
        return pixels(write(layout, gradesAt)).empty();
    };
    EXPECT_TRUE(refuses({{"Z", Imf::FLOAT}}));
    EXPECT_TRUE(refuses({{"diffuse.R", Imf::FLOAT}})) << "a layer without green and blue";
    EXPECT_TRUE(refuses({{"a.G", Imf::FLOAT}, {"a.R", Imf::FLOAT}, {"b.B", Imf::FLOAT}})) << "of two layers";
    EXPECT_TRUE(refuses({{"a.B", Imf::UINT}, {"a.G", Imf::HALF}, {"a.R", Imf::HALF}})) << "whole numbers";
    EXPECT_TRUE(refuses({{"RY", Imf::HALF, 2}, {"Y", Imf::HALF}})) << "half of chroma";
    EXPECT_TRUE(refuses({{"BY", Imf::HALF}, {"RY", Imf::HALF}, {"Y", Imf::HALF}})) << "chroma of every pixel";
    EXPECT_TRUE(refuses({{"BY", Imf::HALF, 2}, {"RY", Imf::HALF, 2}})) << "no luminance";
    EXPECT_TRUE(refuses({{"G", Imf::HALF}, {"R", Imf::UINT}})) << "whole numbers";
    EXPECT_TRUE(refuses({{"A", Imf::UINT}, {"R", Imf::HALF}})) << "whole numbers";
    EXPECT_TRUE(refuses({{"R", Imf::HALF, 2}})) << "a lower resolution";
    EXPECT_FALSE(refuses({{"R", Imf::HALF}, {"Z", Imf::HALF, 2}})) << "it is not shown";
    const Bytes deep = exr_test::writeDeep();
    ASSERT_FALSE(deep.empty());
    EXPECT_TRUE(pixels(deep).empty());
    EXPECT_TRUE(pixels({}).empty());
    EXPECT_TRUE(pixels(Bytes(1000, 0x20)).empty());
}

TEST(ExrTest, SamplesOutsideTheCurve) {
    const float values[] = {-1.0F,
                            2.0F,
                            std::numeric_limits<float>::infinity(),
                            -std::numeric_limits<float>::infinity(),
                            std::numeric_limits<float>::quiet_NaN(),
                            65504.0F,
                            6e-8F,
                            0.0F};
    for (const Imf::PixelType type : {Imf::HALF, Imf::FLOAT}) {
        FileContents layout = onePixel({{"Y", type}});
        layout.data = {0, 0, 7, 0};
        const Bytes seen = pixels(write(layout, [&](std::size_t, int x, int) { return values[x]; }));
        EXPECT_EQ(seen, (Bytes{0, 255, 255, 0, 0, 255, 0, 0})) << type;
    }
}

// The samples are many times as long as the file, but the file is accepted.
TEST(ExrTest, PicturesOfOneColor) {
    for (const NamedCompression& compression : kCompressions) {
        for (const int tileSide : {0, 512}) {
            FileContents layout = onePixel({{"Y", Imf::FLOAT}});
            layout.data = {0, 0, 511, 511};
            layout.compression = compression.compression;
            layout.tileSide = tileSide;
            const Bytes seen = pixels(write(layout, [](std::size_t, int, int) { return 0.0F; }));
            EXPECT_EQ(seen, Bytes(std::size_t{512} * 512)) << compression.name << " tiles " << tileSide;
        }
    }
}

TEST(ExrTest, EveryCompressionInLinesAndTiles) {
    for (const NamedCompression& compression : kCompressions) {
        for (const Imf::PixelType type : {Imf::HALF, Imf::FLOAT}) {
            for (const int tileSide : {0, 16}) {
                for (const auto& [width, height] : {std::pair{67, 45}, std::pair{1, 1}, std::pair{3, 270}}) {
                    FileContents layout = colors(width, height, type);
                    layout.compression = compression.compression;
                    layout.tileSide = tileSide;
                    const Bytes bytes = write(layout, sampleAt);
                    EXPECT_EQ(pixels(bytes), expectedPixels(bytes))
                        << compression.name << " " << type << " tiles " << tileSide << " " << width;
                }
            }
        }
    }
}

// Chunks that no compression makes shorter are stored as they are, also between others that are compressed.
TEST(ExrTest, ChunksOfNoise) {
    std::mt19937 random(3);
    const auto noise = [&](std::size_t, int, int y) {
        return y / 32 % 2 == 0 ? 0.25F : std::bit_cast<float>(static_cast<std::uint32_t>(random()));
    };
    for (const NamedCompression& compression : kCompressions) {
        for (const Imf::PixelType type : {Imf::HALF, Imf::FLOAT}) {
            FileContents layout = colors(20, 128, type);
            layout.compression = compression.compression;
            const Bytes bytes = write(layout, noise);
            EXPECT_EQ(pixels(bytes), expectedPixels(bytes)) << compression.name << " " << type;
        }
    }
}

TEST(ExrTest, TheDataWindowIsThePicture) {
    for (const exr_test::Window& data :
         {exr_test::Window{-7, -5, 12, 9}, exr_test::Window{100, 200, 108, 230}, exr_test::Window{2, 3, 4, 5},
          exr_test::Window{-200, -300, 20, -280}}) {
        for (const int tileSide : {0, 8}) {
            for (const bool isBottomUp : {false, true}) {
                FileContents layout = colors(16, 16, Imf::HALF);
                layout.data = data;
                layout.tileSide = tileSide;
                layout.isBottomUp = isBottomUp;
                layout.compression = Imf::ZIP_COMPRESSION;
                const Bytes bytes = write(layout, sampleAt);
                Picture picture;
                ASSERT_TRUE(read(bytes, picture)) << data.left << " " << tileSide;
                EXPECT_EQ(picture.header().biWidth, data.right - data.left + 1);
                EXPECT_EQ(picture.header().biHeight, data.bottom - data.top + 1);
                EXPECT_EQ(pixels(bytes), expectedPixels(bytes)) << data.left << " " << tileSide << isBottomUp;
            }
        }
    }
}

TEST(ExrTest, OfLevelsTheLargestAndOfPartsTheFirst) {
    for (const Imf::LevelMode levels : {Imf::MIPMAP_LEVELS, Imf::RIPMAP_LEVELS}) {
        FileContents layout = colors(33, 21, Imf::HALF);
        layout.tileSide = 8;
        layout.levels = levels;
        const Bytes bytes = write(layout, sampleAt);
        EXPECT_EQ(pixels(bytes), expectedPixels(bytes)) << levels;
    }
    const Bytes parts = exr_test::writeTwoParts(colors(9, 20, Imf::FLOAT), sampleAt);
    EXPECT_EQ(pixels(parts), expectedPixels(parts));
    EXPECT_EQ(pixels(parts).size(), 9U * 20 * 4);
}

TEST(ExrTest, ProgressIsToldAfterEachLineAndCanStop) {
    for (const int tileSide : {0, 2}) {
        FileContents layout = colors(5, 4, Imf::HALF);
        layout.tileSide = tileSide;
        layout.compression = Imf::ZIP_COMPRESSION;
        const Bytes bytes = write(layout, sampleAt);
        ProgressLog all;
        Picture picture;
        ASSERT_TRUE(read(bytes, picture, &all));
        EXPECT_EQ(all.fractions, (std::vector<float>{0.25F, 0.5F, 0.75F, 1.0F}));
        for (int stop = 0; stop < 4; ++stop) {
            ProgressLog log;
            log.cancelAt = stop;
            Picture stopped;
            EXPECT_FALSE(read(bytes, stopped, &log));
            EXPECT_EQ(log.fractions.size(), static_cast<std::size_t>(stop) + 1);
        }
    }
}

// OpenEXR itself loses blocks when memory runs out while it reads a header; those before it starts are the
// picture's.
TEST(ExrTest, EveryAllocationMayFail) {
    const LeaksAllowed leaks;
    for (const int tileSide : {0, 8}) {
        for (const Imf::Compression compression :
             {Imf::NO_COMPRESSION, Imf::ZIP_COMPRESSION, Imf::PIZ_COMPRESSION, Imf::DWAA_COMPRESSION}) {
            FileContents layout = colors(5, 40, Imf::HALF);
            layout.compression = compression;
            layout.tileSide = tileSide;
            const Bytes bytes = write(layout, sampleAt);
            EXPECT_FALSE(pixels(bytes).empty());  // what is made once is made
            bool reached = true;
            long failures = 0;
            for (long n = 0; reached; ++n) {
                const dib::FilePtr opened = testing_support::openBytes(bytes);
                const long before = testing_support::liveAllocations();
                bool result = false;
                {
                    const testing_support::FailNthAllocation failure(n);
                    Picture picture;
                    result = plugins::exr::read(opened.get(), picture, nullptr, nullptr);
                    reached = failure.failed();
                }
                EXPECT_EQ(result, !reached) << n;
                if (n < 2) {
                    EXPECT_EQ(testing_support::liveAllocations(), before) << n;
                }
                if (reached) ++failures;
            }
            EXPECT_GT(failures, 20);
        }
    }
}

TEST(ExrTest, NothingIsLostByAFailure) {
    for (const int tileSide : {0, 8}) {
        FileContents layout = colors(13, 20, Imf::HALF);
        layout.tileSide = tileSide;
        layout.compression = Imf::PIZ_COMPRESSION;
        const Bytes whole = write(layout, sampleAt);
        EXPECT_FALSE(pixels(whole).empty());  // what is made once is made
        for (std::size_t length = 0; length < whole.size(); ++length) {
            const Bytes cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length));
            const long before = testing_support::liveAllocations();
            EXPECT_TRUE(pixels(cut).empty());
            ASSERT_EQ(testing_support::liveAllocations(), before) << length;
        }
        for (int stop = 0; stop < 20; ++stop) {
            ProgressLog log;
            log.fractions.reserve(20);
            log.cancelAt = stop;
            const long before = testing_support::liveAllocations();
            {
                Picture picture;
                EXPECT_FALSE(read(whole, picture, &log));
            }
            ASSERT_EQ(testing_support::liveAllocations(), before) << stop;
        }
    }
}

TEST(ExrTest, TheBundleIsLoadedByTheLibrary) {
    DibStream::SetDllFilePath(testing_support::builtPlugins().c_str());
    const TemporaryFile onDisk(".\xC3\xA4\xE2\x82\xAC.exr", write(colors(2, 1, Imf::HALF), gradesAt));
    DibStream image;
    ProgressLog log;
    ASSERT_TRUE(LoadEXR(onDisk.path(), &image, ProgressLog::callback, &log));
    EXPECT_TRUE(log.fractions.empty()) << "the library passes no progress function on";
    ASSERT_EQ(image.Header->biBitCount, 32);
    EXPECT_EQ(image.Header->biWidth, 2);
    EXPECT_EQ(Bytes(image.Buffer, image.Buffer + 4), (Bytes{186, 255, 0, 117}));
    EXPECT_FALSE(LoadEXR("nowhere.exr", &image, nullptr, nullptr));
    EXPECT_FALSE(LoadEXR(testing_support::temporaryPath().c_str(), &image, nullptr, nullptr)) << "a folder";
    const TemporaryFile plain(".exr", write(colors(1, 1, Imf::HALF), gradesAt));
    ASSERT_TRUE(LoadEXR(plain.widePath().c_str(), &image, nullptr, nullptr));
    EXPECT_EQ(image.Header->biWidth, 1);
    DibStream::SetDllFilePath("");
}

}  // namespace

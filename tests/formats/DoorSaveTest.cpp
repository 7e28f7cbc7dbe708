// Saving: whole or not at all, by name or format, and what is said of losses.
#include <cmath>
#include <cstring>
#include <fstream>
#include <limits>
#include <optional>

#include "tests/formats/DoorTest.h"

namespace door_test {
namespace {

namespace fs = std::filesystem;
using codec_test::TemporaryFile;
using testing_support::randomImage;

TEST(DoorSave, EveryTargetGetsTheSameBytes) {
    const DibPtr image = randomImage(33, 21, 24, 5);
    const DibPtr before(image->Clone());
    for (const DibFormat* format : writableFormats()) {
        SCOPED_TRACE(format->name);
        const Bytes expected = saved(*image, format->name);
        ASSERT_FALSE(expected.empty());

        const TemporaryFile byName("." + std::string(format->extensions[0]));
        DibFileResult result;
        EXPECT_TRUE(DibSaveFile(byName.path(), image.get(), nullptr, &result)) << result.reason;
        EXPECT_EQ(result.format, format);
        EXPECT_EQ(byName.bytes(), expected);
        EXPECT_TRUE(DibSaveFile(byName.widePath().c_str(), image.get()));
        EXPECT_EQ(byName.bytes(), expected);

        DibSaveOptions options;
        options.format = format->extensions[0];
        const TemporaryFile byFormat(".out");
        EXPECT_TRUE(DibSaveFile(byFormat.path(), image.get(), &options));
        EXPECT_EQ(byFormat.bytes(), expected);

        EXPECT_EQ(testing_support::writtenBytes(
                      [&](std::FILE* file) { EXPECT_TRUE(DibSaveStream(file, image.get(), &options)); }),
                  expected);
        Bytes called;
        const auto append = [](void* context, const void* from, std::size_t bytes) {
            const auto* first = static_cast<const unsigned char*>(from);
            auto& to = *static_cast<Bytes*>(context);
            to.insert(to.end(), first, first + bytes);
            return true;
        };
        EXPECT_TRUE(DibSaveStream(DibWriter{append, &called}, image.get(), &options));
        EXPECT_EQ(called, expected);
    }
    EXPECT_TRUE(testing_support::sameImage(*image, *before));
    EXPECT_EQ(image->ErrorCode, 0);
}

TEST(DoorSave, WhatCannotBeSavedHasAReason) {
    const DibPtr image = randomImage(4, 4, 24, 5);
    DibFileResult result;
    const auto expect = [&](bool isSaved, int code, const char* reason) {
        EXPECT_FALSE(isSaved);
        EXPECT_EQ(result.code, code);
        EXPECT_STREQ(result.reason, reason);
    };
    const DibStream empty;
    DibSaveOptions options;
    DibBytes bytes;
    expect(DibSaveFile("x.png", &empty, nullptr, &result), 6, "the image has no pixels");
    expect(DibSaveFile("x.png", nullptr, nullptr, &result), 6, "the image has no pixels");
    expect(DibSaveFile(static_cast<const char*>(nullptr), image.get(), nullptr, &result), 3,
           "there is nothing to write to");
    expect(DibSaveFile(static_cast<const wchar_t*>(nullptr), image.get(), nullptr, &result), 3,
           "there is nothing to write to");
    expect(DibSaveMemory(nullptr, image.get(), nullptr, &result), 3, "there is nothing to write to");
    expect(DibSaveStream(static_cast<std::FILE*>(nullptr), image.get(), nullptr, &result), 3,
           "there is nothing to write to");
    expect(DibSaveStream(DibWriter{nullptr, nullptr}, image.get(), nullptr, &result), 3,
           "there is nothing to write to");
    expect(DibSaveMemory(&bytes, image.get(), nullptr, &result), 7, "no format is given");
    expect(
        DibSaveFile("folder.png/picture", image.get(), nullptr, &result), 7,
        "'folder.png/picture' has no extension: name a format, or a file name that ends in .png, .tif ...");
    expect(DibSaveFile("picture.", image.get(), nullptr, &result), 7,
           "'picture.' has no extension: name a format, or a file name that ends in .png, .tif ...");
    expect(DibSaveFile("", image.get(), nullptr, &result), 3, "the path is empty");
    expect(DibSaveFile(L"", image.get(), nullptr, &result), 3, "the path is empty");
    expect(DibSaveFile("picture.xyz", image.get(), nullptr, &result), 7,
           "no format has the extension \"xyz\"");
    options.format = "webp2";
    expect(DibSaveFile("picture.png", image.get(), &options, &result), 7, "no format has the name webp2");
    expect(DibSaveFile("picture.psd", image.get(), nullptr, &result), 7, "psd files cannot be written");
    expect(DibSaveFile("/nonexistent/picture.png", image.get(), nullptr, &result), 3,
           "the file cannot be created: No such file or directory");
}

TEST(DoorSave, AFolderIsNamed) {
    const DibPtr image = randomImage(4, 4, 24, 5);
    const std::string folder = testing_support::temporaryPath("folder.png");
    fs::create_directory(folder);
    const std::string reason = "'" + folder + "' is a folder";
    DibSaveOptions options;
    for (const char* format : {static_cast<const char*>(nullptr), "tga"}) {
        options.format = format;
        DibFileResult result;
        EXPECT_FALSE(DibSaveFile(folder.c_str(), image.get(), &options, &result));
        EXPECT_EQ(result.code, 3);
        EXPECT_EQ(result.reason, reason);
        EXPECT_FALSE(
            DibSaveFile(std::wstring(folder.begin(), folder.end()).c_str(), image.get(), &options, &result));
        EXPECT_EQ(result.reason, reason);
    }
    EXPECT_TRUE(fs::is_empty(folder));
    fs::remove(folder);
}

TEST(DoorSave, ProgressRisesToOneAndCancelLeavesTheOldFile) {
    const DibPtr image = randomImage(61, 47, 24, 5);
    const Bytes old = codec_test::bytesOf("old");
    for (const DibFormat* format : writableFormats()) {
        SCOPED_TRACE(format->name);
        const TemporaryFile file("." + std::string(format->extensions[0]), old);
        ProgressLog log;
        const TemporaryFile other("." + std::string(format->extensions[0]));
        ASSERT_TRUE(DibSaveFile(other.path(), image.get(), nullptr, nullptr, ProgressLog::callback, &log));
        EXPECT_EQ(log.fractions.front(), 0.F);
        EXPECT_EQ(log.fractions.back(), 1.F);
        EXPECT_TRUE(std::is_sorted(log.fractions.begin(), log.fractions.end()));
        for (int at = 0; at < static_cast<int>(log.fractions.size()); ++at) {
            ProgressLog cancelling{{}, at};
            DibFileResult result;
            EXPECT_FALSE(
                DibSaveFile(file.path(), image.get(), nullptr, &result, ProgressLog::callback, &cancelling));
            EXPECT_EQ(result.code, 9);
            EXPECT_STREQ(result.reason, "cancelled");
            EXPECT_EQ(file.bytes(), old);
        }
    }
}

TEST(DoorSave, FilesThatExistCanBeKept) {
    const DibPtr image = randomImage(4, 4, 24, 5);
    DibSaveOptions options;
    options.keepsExisting = true;
    const TemporaryFile file(".png");
    fs::remove(file.path());
    EXPECT_TRUE(DibSaveFile(file.path(), image.get(), &options));
    const Bytes first = file.bytes();
    DibFileResult result;
    EXPECT_FALSE(DibSaveFile(file.path(), randomImage(5, 5, 24, 6).get(), &options, &result));
    EXPECT_EQ(result.code, 3);
    EXPECT_STREQ(result.reason, "the file cannot be created: File exists");
    EXPECT_EQ(file.bytes(), first);
    // One that appears before the save ends.
    const TemporaryFile late(".png");
    fs::remove(late.path());
    const auto appear = [](float, void* path) {
        std::ofstream(static_cast<const char*>(path)) << "late";
        return true;
    };
    EXPECT_FALSE(
        DibSaveFile(late.path(), image.get(), &options, &result, appear, const_cast<char*>(late.path())));
    EXPECT_EQ(result.code, 5);
    EXPECT_STREQ(result.reason, "the file cannot be put in its place: File exists");
    EXPECT_EQ(late.bytes(), Bytes({'l', 'a', 't', 'e'}));
}

TEST(DoorSave, OptionsOutOfTheirRangeAreRefused) {
    const DibPtr image = randomImage(5, 5, 24, 5);
    const auto expectRefused = [&](DibSaveOptions options, const char* reason) {
        options.format = "png";
        DibBytes bytes;
        DibFileResult result;
        EXPECT_FALSE(DibSaveMemory(&bytes, image.get(), &options, &result));
        EXPECT_EQ(result.code, 8);
        EXPECT_STREQ(result.reason, reason);
        EXPECT_EQ(bytes.data, nullptr);
        EXPECT_EQ(DibSaveLosses(image.get(), "png", &options, &result), 0);
        EXPECT_EQ(result.code, 8);
        EXPECT_STREQ(result.reason, reason);
    };
    expectRefused({.size = 0}, "the size of the options is 0, but must be 48 or more");
    expectRefused({.quality = 0}, "quality is 0, but must be 1 to 100");
    expectRefused({.quality = 300}, "quality is 300, but must be 1 to 100");
    expectRefused({.compressionLevel = -2}, "compression level is -2, but must be -1 to 9");
    expectRefused({.compressionLevel = 42}, "compression level is 42, but must be -1 to 9");
    expectRefused({.tiffCompression = static_cast<DibTiffCompression>(4)},
                  "TIFF compression is 4, but must be 0 to 3");
    const auto expectMetadataRefused = [&](double x, double y, int orientation, const char* reason) {
        DibMetadata metadata;
        metadata.xResolution = x;
        metadata.yResolution = y;
        metadata.orientation = orientation;
        expectRefused({.metadata = &metadata}, reason);
    };
    const double infinite = std::numeric_limits<double>::infinity();
    const char* const kX = "x resolution is ";
    const char* const kY = "y resolution is ";
    const std::string range = ", but must be a finite number of 0 or more";
    expectMetadataRefused(-1, 72, 1, (kX + ("-1" + range)).c_str());
    expectMetadataRefused(infinite, 72, 1, (kX + ("inf" + range)).c_str());
    expectMetadataRefused(72, std::nan(""), 1, (kY + ("nan" + range)).c_str());
    expectMetadataRefused(72, -infinite, 1, (kY + ("-inf" + range)).c_str());
    expectMetadataRefused(0, 0, 0, "orientation is 0, but must be 1 to 8");
    expectMetadataRefused(0, 0, 9, "orientation is 9, but must be 1 to 8");
    EXPECT_FALSE(saved(*image, "png").empty());
}

// One result for opening and saving.
TEST(DoorSave, MetadataOfTheResultAreJudgedToo) {
    const DibPtr image = randomImage(5, 5, 24, 5);
    DibFileResult result;
    result.metadata.orientation = 300;
    DibSaveOptions options;
    options.format = "png";
    options.metadata = &result.metadata;
    DibBytes bytes;
    EXPECT_FALSE(DibSaveMemory(&bytes, image.get(), &options, &result));
    EXPECT_EQ(result.code, 8);
    EXPECT_STREQ(result.reason, "orientation is 300, but must be 1 to 8");
    EXPECT_EQ(result.metadata.orientation, 300) << "it is the caller's";
}

TEST(DoorSave, DeadTargetsAreTold) {
    const DibPtr image = randomImage(40, 30, 24, 5);
    for (const DibFormat* format : writableFormats()) {
        SCOPED_TRACE(format->name);
        DibSaveOptions options;
        options.format = format->name;
        DibFileResult result;
        codec_test::forEveryDeadFile(
            [&](const char* path) { return DibSaveFile(path, image.get(), &options, &result); },
            [&](bool isSaved, const char*) {
                EXPECT_FALSE(isSaved);
                EXPECT_EQ(result.code, 5) << result.reason;
            });
        const auto refusing = [](void*, const void*, std::size_t) { return false; };
        EXPECT_FALSE(DibSaveStream(DibWriter{refusing, nullptr}, image.get(), &options, &result));
        EXPECT_EQ(result.code, 5);
        EXPECT_STREQ(result.reason, "the stream cannot be written");
    }
}

TEST(DoorSave, EveryFailingAllocationLeavesNothing) {
    const DibPtr image = randomImage(31, 17, 24, 3);
    for (const DibFormat* format : writableFormats()) {
        SCOPED_TRACE(format->name);
        DibSaveOptions options;
        options.format = format->name;
        DibFileResult result;
        DibBytes bytes;
        bool isSaved = false;
        const int met = testing_support::forEachFailingAllocation(
            [] {}, [&] { isSaved = DibSaveMemory(&bytes, image.get(), &options, &result); },
            [&](bool failureMet) {
                EXPECT_EQ(isSaved, !failureMet);
                EXPECT_EQ(result.code == 0, !failureMet) << result.code;
                EXPECT_EQ(bytes.data == nullptr, failureMet);
                bytes = DibBytes();
                result = {};
            });
        EXPECT_GE(met, 1);
    }
}

TEST(DoorSave, EveryFailingAllocationLeavesTheOldFile) {
    const DibPtr image = randomImage(31, 17, 24, 3);
    const Bytes old = codec_test::bytesOf("old");
    for (const DibFormat* format : writableFormats()) {
        SCOPED_TRACE(format->name);
        const Bytes expected = saved(*image, format->name);
        std::optional<TemporaryFile> file;
        DibFileResult result;
        bool isSaved = false;
        const int met = testing_support::forEachFailingAllocation(
            [&] { file.emplace("." + std::string(format->extensions[0]), old); },
            [&] { isSaved = DibSaveFile(file->path(), image.get(), nullptr, &result); },
            [&](bool failureMet) {
                EXPECT_EQ(isSaved, !failureMet);
                EXPECT_EQ(result.code, failureMet ? 2 : 0) << result.reason;
                EXPECT_EQ(file->bytes(), failureMet ? old : expected);
                file.reset();
                result = {};
            });
        EXPECT_GE(met, 1);
    }
}

// One result serves for opening and saving, and the resolution goes along.
TEST(DoorSave, MetadataOfTheResultIsKept) {
    const DibPtr image = randomImage(8, 8, 24, 5);
    DibFileResult result;
    result.metadata.xResolution = result.metadata.yResolution = 254;
    DibSaveOptions options;
    options.metadata = &result.metadata;
    const TemporaryFile file(".bmp");
    EXPECT_EQ(DibSaveLosses(image.get(), "ppm", &options, &result), 1);
    EXPECT_STREQ(result.notes[0].text, "the resolution is not kept");
    ASSERT_TRUE(DibSaveFile(file.path(), image.get(), &options, &result));
    EXPECT_EQ(result.metadata.xResolution, 254);
    DibStream loaded;
    ASSERT_TRUE(DibLoadFile(file.path(), &loaded, nullptr, &result));
    EXPECT_NEAR(result.metadata.xResolution, 254, 0.1);
}

TEST(DoorSave, LossesCanBeRefused) {
    const DibPtr image = randomImage(8, 8, 32, 5);
    DibFileResult result;
    EXPECT_EQ(DibSaveLosses(image.get(), "psd", nullptr, &result), 0);
    EXPECT_EQ(result.code, 7);
    EXPECT_EQ(DibSaveLosses(nullptr, "png", nullptr, &result), 0);
    EXPECT_EQ(result.code, 6);

    const DibSaveOptions options = {.format = "ppm", .refusesLosses = true};
    DibBytes bytes;
    EXPECT_FALSE(DibSaveMemory(&bytes, image.get(), &options, &result));
    EXPECT_EQ(result.code, 8);
    EXPECT_STREQ(result.reason, "transparency is not kept");
    ASSERT_EQ(result.noteCount, 2);
    EXPECT_STREQ(result.notes[0].text, "transparency is not kept");
    EXPECT_STREQ(result.notes[1].text, "32 bits a pixel become 24");
}

// Takes some blocks and then fails.
struct Sink {
    std::size_t blocks;
    std::vector<std::size_t> sizes;

    static bool write(void* context, const void*, std::size_t bytes) {
        auto& sink = *static_cast<Sink*>(context);
        if (sink.sizes.size() == sink.blocks) return false;
        sink.sizes.push_back(bytes);
        return true;
    }
};

TEST(DoorSave, StreamsAreWrittenInBlocks) {
    const DibPtr image = testing_support::plainImage(1000, 1000, 24, 7);
    const DibSaveOptions options = {.format = "ppm"};
    const std::size_t rest = 17 + 3000000 - 2 * 1048576;  // "P6\n1000 1000\n255\n"
    DibFileResult result;
    ProgressLog whole;
    Sink sink{9, {}};
    ASSERT_TRUE(DibSaveStream(DibWriter{Sink::write, &sink}, image.get(), &options, &result,
                              ProgressLog::callback, &whole));
    EXPECT_EQ(sink.sizes, (std::vector<std::size_t>{1048576, 1048576, rest}));
    EXPECT_TRUE(std::is_sorted(whole.fractions.begin(), whole.fractions.end()));

    Sink full{1, {}};
    EXPECT_FALSE(DibSaveStream(DibWriter{Sink::write, &full}, image.get(), &options, &result));
    EXPECT_EQ(result.code, 5);
    EXPECT_EQ(full.sizes.size(), 1U);

    // The last calls are those after the first block, after the second one, and at the end.
    ProgressLog cancelling;
    cancelling.cancelAt = static_cast<int>(whole.fractions.size()) - 3;
    Sink slow{9, {}};
    EXPECT_FALSE(DibSaveStream(DibWriter{Sink::write, &slow}, image.get(), &options, &result,
                               ProgressLog::callback, &cancelling));
    EXPECT_EQ(result.code, 9);
    EXPECT_STREQ(result.reason, "cancelled");
    EXPECT_EQ(slow.sizes.size(), 1U);
}

// Nothing was lost in a file that does not exist.
TEST(DoorSave, OtherFailuresHaveNoNotes) {
    const DibPtr image = randomImage(8, 8, 32, 5);
    DibFileResult result;
    const auto expectFailure = [&](bool isSaved, int code) {
        EXPECT_FALSE(isSaved);
        EXPECT_EQ(result.code, code);
        EXPECT_EQ(result.noteCount, 0) << result.notes[0].text;
    };
    const DibSaveOptions options = {.format = "ppm"};
    ProgressLog log;
    log.cancelAt = 1;
    DibBytes bytes;
    expectFailure(DibSaveMemory(&bytes, image.get(), &options, &result, ProgressLog::callback, &log), 9);
    const DibWriter full = {[](void*, const void*, std::size_t) { return false; }, nullptr};
    expectFailure(DibSaveStream(full, image.get(), &options, &result), 5);
    expectFailure(DibSaveFile("/nonexistent/x.ppm", image.get(), nullptr, &result), 3);

    const DibPtr wide = randomImage(65536, 1, 4, 5);
    DibMetadata metadata;
    metadata.xResolution = 72;
    for (const char* format : {"tga", "jpeg"}) {
        const DibSaveOptions large = {.format = format, .metadata = &metadata};
        expectFailure(DibSaveMemory(&bytes, wide.get(), &large, &result), 8);
        EXPECT_EQ(DibSaveLosses(wide.get(), format, &large, &result), 0);
        expectFailure(false, 8);
    }
}

}  // namespace
}  // namespace door_test

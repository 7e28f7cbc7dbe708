// Opening: where the bytes come from, which format they have, what the options refuse.
#include <algorithm>
#include <cstring>
#include <thread>

#include "tests/formats/DoorTest.h"

namespace door_test {
namespace {

using codec_test::TemporaryFile;
using testing_support::pixelBytes;
using testing_support::randomImage;
using testing_support::sameImage;

// A picture of 3 x 2 pixels as a PPM file.
Bytes smallPpm() { return codec_test::bytesOf("P6\n3 2\n255\nabcdefghijklmnopqr"); }

std::string nameWith(const DibFormat& format) { return std::string("picture.") + format.extensions[0]; }

// Hands out a file in small pieces.
struct Pieces {
    Bytes bytes;
    std::size_t at = 0;
    std::size_t most = 7;

    static std::size_t read(void* context, void* out, std::size_t bytes) {
        auto& pieces = *static_cast<Pieces*>(context);
        const std::size_t part = std::min({bytes, pieces.most, pieces.bytes.size() - pieces.at});
        std::memcpy(out, pieces.bytes.data() + pieces.at, part);
        pieces.at += part;
        return part;
    }
};

TEST(DoorLoad, EverySourceGivesTheSamePicture) {
    const DibPtr image = randomImage(61, 47, 24, 5);
    for (const DibFormat* format : writableFormats()) {
        SCOPED_TRACE(format->name);
        const Bytes bytes = saved(*image, format->name);
        ASSERT_FALSE(bytes.empty());
        const std::string name = nameWith(*format);
        const DibLoadOptions options = named(name);
        const Opened expected = opened(bytes, options);
        ASSERT_TRUE(expected.isLoaded) << expected.reason();
        EXPECT_EQ(expected.result.format, format);
        EXPECT_EQ(expected.image->ErrorCode, 0);

        const TemporaryFile file("." + std::string(format->extensions[0]), bytes);
        DibStream image2;
        EXPECT_TRUE(DibLoadFile(file.path(), &image2));
        EXPECT_TRUE(sameImage(image2, *expected.image));
        DibStream wide;
        EXPECT_TRUE(DibLoadFile(file.widePath().c_str(), &wide));
        EXPECT_TRUE(sameImage(wide, *expected.image));

        const dib::FilePtr seekable(std::fopen(file.path(), "rb"));
        DibStream streamed;
        EXPECT_TRUE(DibLoadStream(seekable.get(), &streamed, &options));
        EXPECT_TRUE(sameImage(streamed, *expected.image));

        Pieces pieces{bytes};
        DibStream called;
        EXPECT_TRUE(DibLoadStream(DibReader{Pieces::read, &pieces}, &called, &options));
        EXPECT_TRUE(sameImage(called, *expected.image));
    }
}

TEST(DoorLoad, PipesAndFilesInTheMiddleAreReadToTheirEnd) {
    const Bytes bytes = smallPpm();
    const DibPtr expected = std::move(opened(bytes).image);

    int ends[2];
    ASSERT_TRUE(testing_support::makePipe(ends));
    ASSERT_TRUE(testing_support::writeAll(ends[1], bytes.data(), bytes.size()));
    testing_support::closeDescriptor(ends[1]);
    const dib::FilePtr reading(testing_support::openDescriptor(ends[0], "rb"));
    DibStream piped;
    EXPECT_TRUE(DibLoadStream(reading.get(), &piped));
    EXPECT_TRUE(sameImage(piped, *expected));

    Bytes prefixed = codec_test::bytesOf("prefix");
    prefixed.insert(prefixed.end(), bytes.begin(), bytes.end());
    const TemporaryFile file(".bin", prefixed);
    const dib::FilePtr inTheMiddle(std::fopen(file.path(), "rb"));
    std::fseek(inTheMiddle.get(), 6, SEEK_SET);
    DibStream behind;
    EXPECT_TRUE(DibLoadStream(inTheMiddle.get(), &behind));
    EXPECT_TRUE(sameImage(behind, *expected));
}

// Zeros without end.
struct Endless {
    int calls = 0;
    static std::size_t read(void* context, void* out, std::size_t count) {
        ++static_cast<Endless*>(context)->calls;
        std::memset(out, 0, count);
        return count;
    }
};

TEST(DoorLoad, EndlessStreamsOfNoFormatAreRefusedAtOnce) {
    NEEDS_CALL_STREAMS();
    const char* const accepted[] = {"png", nullptr};
    DibLoadOptions onlyPng = named("x.tga");
    onlyPng.formats = accepted;
    DibLoadOptions small = named("x.tga");
    small.mostBytes = 100000;
    const struct {
        DibLoadOptions options;
        int calls;
        int code;
        const char* reason;
    } kCases[] = {{DibLoadOptions(), 1, 7, "the format of the file is not known"},
                  {onlyPng, 1, 8, "tga files are not among the accepted formats"},
                  {small, 2, 8, "the stream is too long; the limit of bytes is 100000"}};
    for (const auto& row : kCases) {
        Endless zeros;
        DibStream image;
        DibFileResult result;
        EXPECT_FALSE(DibLoadStream(DibReader{Endless::read, &zeros}, &image, &row.options, &result));
        EXPECT_EQ(zeros.calls, row.calls);
        EXPECT_EQ(result.code, row.code);
        EXPECT_STREQ(result.reason, row.reason);
    }
}

TEST(DoorLoad, TheContentDecidesThenTheName) {
    const DibPtr image = randomImage(20, 10, 24, 1);
    const TemporaryFile wrongName(".jpg", saved(*image, "png"));
    Opened found;
    EXPECT_TRUE(DibLoadFile(wrongName.path(), found.image.get(), nullptr, &found.result));
    EXPECT_STREQ(found.result.format->name, "png");

    // A header of zeros has no content to go by.
    const Bytes nothing(100, 0);
    EXPECT_EQ(opened(nothing).reason(), "the format of the file is not known");
    EXPECT_EQ(opened(nothing).result.code, 7);
    EXPECT_EQ(opened(nothing).result.format, nullptr);
    const Opened guessed = opened(nothing, named("folder/x.TGA"));
    EXPECT_STREQ(guessed.result.format->name, "tga");
    EXPECT_FALSE(guessed.isLoaded);
    EXPECT_EQ(opened({}).reason(), "there is no block of memory");
    const unsigned char byte = 0;
    DibFileResult result;
    DibStream empty;
    EXPECT_FALSE(DibLoadMemory(&byte, 0, &empty, nullptr, &result));
    EXPECT_STREQ(result.reason, "the file is empty");
    EXPECT_EQ(result.code, 4);
}

TEST(DoorLoad, WhatIsNotThereHasAReason) {
    DibStream image;
    DibFileResult result;
    const auto expect = [&](bool isLoaded, int code, const char* reason) {
        EXPECT_FALSE(isLoaded);
        EXPECT_EQ(result.code, code);
        EXPECT_STREQ(result.reason, reason);
    };
    expect(DibLoadFile("/nonexistent/file", &image, nullptr, &result), 3,
           "the file cannot be opened: No such file or directory");
    EXPECT_EQ(image.ErrorCode, 3);
    expect(DibLoadFile(L"/nonexistent/file", &image, nullptr, &result), 3,
           "the file cannot be opened: No such file or directory");
    expect(DibLoadFile("/", &image, nullptr, &result), 4, "this is a folder, not a file");
    expect(DibLoadFile("", &image, nullptr, &result), 3, "the path is empty");
    expect(DibLoadFile(static_cast<const char*>(nullptr), &image, nullptr, &result), 3, "the path is empty");
    expect(DibLoadFile(static_cast<const wchar_t*>(nullptr), &image, nullptr, &result), 3,
           "the path is empty");
    expect(DibLoadMemory(nullptr, 5, &image, nullptr, &result), 3, "there is no block of memory");
    expect(DibLoadStream(static_cast<std::FILE*>(nullptr), &image, nullptr, &result), 3,
           "there is no open file");
    expect(DibLoadStream(DibReader{nullptr, nullptr}, &image, nullptr, &result), 3,
           "there is no function to read with");
    expect(DibLoadFile("x.png", nullptr, nullptr, &result), 6, "there is no image to load into");
    EXPECT_FALSE(DibLoadFile("/nonexistent/file", &image));
    EXPECT_FALSE(DibProbeFile("/nonexistent/file", nullptr));
}

TEST(DoorLoad, OptionsRefuseWithTheirNames) {
    const Bytes file = smallPpm();
    const char* pngOnly[] = {"png", "jpg", nullptr};
    DibLoadOptions options;
    options.formats = pngOnly;
    EXPECT_EQ(opened(file, options).reason(), "ppm files are not among the accepted formats");
    EXPECT_EQ(opened(file, options).result.code, 8);
    const char* withPpm[] = {"png", "ppm", nullptr};
    options.formats = withPpm;
    EXPECT_TRUE(opened(file, options).isLoaded);

    options = {};
    options.mostPixels = 5;
    EXPECT_EQ(opened(file, options).reason(),
              "the picture of 3x2 pixels needs 6 pixels; the limit of pixels is 5");
    options.mostPixels = 6;
    options.mostBytes = 23;
    EXPECT_EQ(opened(file, options).reason(),
              "the picture of 3x2 pixels needs 24 bytes; the limit of bytes is 23");
    EXPECT_EQ(opened(file, options).result.code, 8);
    options.mostBytes = 24;
    EXPECT_TRUE(opened(file, options).isLoaded);

    Pieces pieces{file};
    DibStream image;
    DibFileResult result;
    EXPECT_FALSE(DibLoadStream(DibReader{Pieces::read, &pieces}, &image, &options, &result));
    EXPECT_STREQ(result.reason, "the stream is too long; the limit of bytes is 24");

    options = {};
    options.page = 1;
    EXPECT_EQ(opened(file, options).reason(), "there is no page 1: the file has 1");
}

// A program that was built with an older header has shorter options: the rest are defaults.
TEST(DoorLoad, ShorterOptionsAreCompleted) {
    DibLoadOptions options;
    options.format = "png";
    options.size = offsetof(DibLoadOptions, format);
    EXPECT_TRUE(opened(smallPpm(), options).isLoaded);
    options.size = sizeof options;
    EXPECT_FALSE(opened(smallPpm(), options).isLoaded);
    options.format = "ppm";
    options.size = sizeof options + 100;  // those of a newer header
    EXPECT_TRUE(opened(smallPpm(), options).isLoaded);
}

TEST(DoorLoad, OptionsOutOfTheirRangeAreRefused) {
    const auto expectRefused = [](const DibLoadOptions& options, const char* reason) {
        const Opened load = opened(smallPpm(), options);
        EXPECT_FALSE(load.isLoaded);
        EXPECT_EQ(load.result.code, 8);
        EXPECT_EQ(load.reason(), reason);
        EXPECT_EQ(load.image->Header, nullptr);
        DibFileInfo info;
        DibFileResult result;
        EXPECT_FALSE(DibProbeFile("/nonexistent/file", &info, &options, &result));
        EXPECT_EQ(result.code, 8);
        EXPECT_STREQ(result.reason, reason);
    };
    const char* unknown[] = {"png", "pgn", nullptr};
    expectRefused({.size = 0}, "the size of the options is 0, but must be 72 or more");
    expectRefused({.size = 71}, "the size of the options is 71, but must be 72 or more");
    expectRefused({.formats = unknown}, "formats contains \"pgn\", which no format is named");
    expectRefused({.mostLayers = -1}, "limit of layers is -1, but must be 0 or more");
    expectRefused({.damage = static_cast<DibDamagePolicy>(2)}, "damage is 2, but must be 0 to 1");
    expectRefused({.alpha = static_cast<DibAlphaPolicy>(-1)}, "alpha is -1, but must be 0 to 1");
    expectRefused({.page = -1}, "page is -1, but must be 0 or more");
    expectRefused({.layer = -2}, "layer is -2, but must be -1 or more");
    expectRefused({.level = -1}, "level is -1, but must be 0 or more");
}

// A stream that fails after its bytes.
struct Failing {
    Bytes bytes;
    std::size_t at = 0;
    int why = EIO;

    std::size_t next(void* out, std::size_t count) {
        const std::size_t part = std::min(count, bytes.size() - at);
        std::copy_n(bytes.data() + at, part, static_cast<unsigned char*>(out));
        at += part;
        if (part == 0) errno = why;
        return part;
    }
    static std::ptrdiff_t readCookie(void* context, char* out, std::size_t count) {
        const std::size_t part = static_cast<Failing*>(context)->next(out, count);
        return part > 0 ? static_cast<std::ptrdiff_t>(part) : -1;
    }
    static std::size_t read(void* context, void* out, std::size_t count) {
        const std::size_t part = static_cast<Failing*>(context)->next(out, count);
        return part > 0 ? part : DibReader::kFailed;
    }
    dib::FilePtr open() { return dib::FilePtr(testing_support::openCalls(this, readCookie)); }
};

TEST(DoorLoad, AFailedReadIsNotTheEndOfTheFile) {
    NEEDS_CALL_STREAMS();
    DibFileResult result;
    const auto expect = [&](bool isLoaded, const char* reason) {
        EXPECT_FALSE(isLoaded);
        EXPECT_EQ(result.code, 4);
        EXPECT_STREQ(result.reason, reason);
    };
    const Bytes whole = smallPpm();
    // At every byte; the file is whole at the last one, but nobody knows.
    for (std::size_t length = 0; length <= whole.size(); ++length) {
        SCOPED_TRACE(length);
        const Bytes start(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length));
        const bool hasRow = length >= 11 + 9 && length < 11 + 18;
        const char* reason = hasRow ? "reading failed: Input/output error (in row 2 of 2)"
                                    : "reading failed: Input/output error";
        DibStream image;
        Failing stream{start};
        expect(DibLoadStream(stream.open().get(), &image, nullptr, &result), reason);
        EXPECT_EQ(image.Header, nullptr);
        Failing function{start};
        expect(DibLoadStream(DibReader{Failing::read, &function}, &image, nullptr, &result), reason);
        Failing broken{start, 0, EBADMSG};
        expect(DibLoadStream(DibReader{Failing::read, &broken}, &image, nullptr, &result),
               hasRow ? "reading failed: Bad message (in row 2 of 2)" : "reading failed: Bad message");
    }
    Failing part{Bytes(whole.begin(), whole.end() - 1)};
    DibStream image;
    const DibLoadOptions keeping = {.damage = DIB_DAMAGE_KEEP};
    EXPECT_TRUE(DibLoadStream(DibReader{Failing::read, &part}, &image, &keeping, &result));
    ASSERT_EQ(result.noteCount, 1);
    EXPECT_STREQ(result.notes[0].text, "reading failed: Input/output error: 1 of 2 rows were read");

    // Files that can be opened, but not read.
    DibFileInfo info;
    expect(DibLoadFile("/proc/self/mem", &image, nullptr, &result), "reading failed: Input/output error");
    expect(DibProbeFile("/proc/self/mem", &info, nullptr, &result), "reading failed: Input/output error");
    const DibLoadOptions tga = {.format = "tga"};
    expect(DibLoadFile("/proc/self/mem", &image, &tga, &result), "reading failed: Input/output error");
    const dib::FilePtr folder(std::fopen("/", "rb"));
    expect(DibLoadStream(folder.get(), &image, nullptr, &result), "reading failed: Is a directory");
}

// An error of earlier reads is not one of this call.
TEST(DoorLoad, OldErrorsOfAStreamDoNotCount) {
    const TemporaryFile file(".ppm", smallPpm());
    const dib::FilePtr stream(std::fopen(file.path(), "rb"));
    std::fputc('x', stream.get());  // cannot be written
    ASSERT_NE(std::ferror(stream.get()), 0);
    DibStream image;
    DibFileResult result;
    EXPECT_TRUE(DibLoadStream(stream.get(), &image, nullptr, &result)) << result.reason;
}

TEST(DoorLoad, AFailureLeavesTheImage) {
    const DibPtr image = randomImage(9, 8, 16, 4);
    const DibPtr before(image->Clone());
    Bytes file = smallPpm();
    file.pop_back();
    DibFileResult result;
    EXPECT_FALSE(DibLoadMemory(file.data(), file.size(), image.get(), nullptr, &result));
    EXPECT_TRUE(sameImage(*image, *before));
    EXPECT_EQ(image->ErrorCode, result.code);
    EXPECT_EQ(result.code, 4);
    EXPECT_NE(std::string(result.reason).find("(in row 2 of 2)"), std::string::npos) << result.reason;
}

TEST(DoorLoad, DamagedFilesKeepTheirRowsOnRequest) {
    Bytes file = smallPpm();
    file.pop_back();
    DibLoadOptions options;
    options.damage = DIB_DAMAGE_KEEP;
    const Opened kept = opened(file, options);
    EXPECT_TRUE(kept.isLoaded);
    EXPECT_EQ(kept.result.code, 0);
    EXPECT_EQ(kept.reason(), "");
    ASSERT_EQ(kept.result.noteCount, 1);
    EXPECT_EQ(kept.result.notes[0].kind, DIB_NOTE_WARNING);
    EXPECT_NE(kept.note(0).find("1 of 2 rows were read"), std::string::npos) << kept.note(0);
    EXPECT_EQ(codec_test::rowBytes(*kept.image, 0), (Bytes{'c', 'b', 'a', 'f', 'e', 'd', 'i', 'h', 'g'}));
    // Without a row there is nothing to keep.
    const Bytes header = codec_test::bytesOf("P6\n3 2\n255\nabc");
    EXPECT_FALSE(opened(header, options).isLoaded);
}

TEST(DoorLoad, FailuresHaveNoNotes) {
    // Grey of 16 bits is noted when the header is read, before the rows end.
    Bytes file = codec_test::bytesOf("P5\n2 2\n65535\n");
    file.resize(file.size() + 8, 7);
    EXPECT_EQ(opened(file).result.noteCount, 1);
    const auto expectFailure = [](const Opened& load, int code) {
        EXPECT_FALSE(load.isLoaded);
        EXPECT_EQ(load.result.code, code);
        EXPECT_EQ(load.result.noteCount, 0) << load.note(0);
    };
    expectFailure(opened(file, {.mostPixels = 3}), 8);
    file.pop_back();
    expectFailure(opened(file), 4);
    file.resize(file.size() - 6);
    expectFailure(opened(file, {.damage = DIB_DAMAGE_KEEP}), 4);
}

TEST(DoorLoad, ProgressRisesToOneAndCancels) {
    const DibPtr image = randomImage(61, 47, 24, 5);
    for (const DibFormat* format : writableFormats()) {
        SCOPED_TRACE(format->name);
        const Bytes bytes = saved(*image, format->name);
        const std::string name = nameWith(*format);
        const DibLoadOptions options = named(name);
        ProgressLog log;
        DibStream loaded;
        ASSERT_TRUE(DibLoadMemory(bytes.data(), bytes.size(), &loaded, &options, nullptr,
                                  ProgressLog::callback, &log));
        ASSERT_GE(log.fractions.size(), 2U);
        EXPECT_EQ(log.fractions.front(), 0.F);
        EXPECT_EQ(log.fractions.back(), 1.F);
        EXPECT_TRUE(std::is_sorted(log.fractions.begin(), log.fractions.end()));
        const int calls = static_cast<int>(log.fractions.size());
        for (int at = 0; at < calls; ++at) {
            ProgressLog cancelling{{}, at};
            DibStream unchanged;
            DibFileResult result;
            EXPECT_FALSE(DibLoadMemory(bytes.data(), bytes.size(), &unchanged, &options, &result,
                                       ProgressLog::callback, &cancelling));
            EXPECT_EQ(result.code, 9);
            EXPECT_STREQ(result.reason, "cancelled");
            EXPECT_EQ(unchanged.Header, nullptr);
            EXPECT_EQ(static_cast<int>(cancelling.fractions.size()), at + 1);
        }
    }
}

TEST(DoorLoad, AlphaOfZeroEverywhereIsOpaque) {
    DibPtr image = testing_support::plainImage(4, 3, 32, 0x00112233);
    const Bytes invisible = saved(*image, "png");
    const Opened guessed = opened(invisible);
    ASSERT_TRUE(guessed.isLoaded);
    EXPECT_EQ(testing_support::pixelValue(*guessed.image, 3, 2), 0xFF112233U);
    ASSERT_EQ(guessed.result.noteCount, 1);
    EXPECT_EQ(guessed.result.notes[0].kind, DIB_NOTE_ASSUMPTION);
    EXPECT_EQ(guessed.note(0), "alpha is 0 everywhere, so it was taken for unused and made opaque");

    DibLoadOptions stored;
    stored.alpha = DIB_ALPHA_STORED;
    const Opened kept = opened(invisible, stored);
    EXPECT_EQ(testing_support::pixelValue(*kept.image, 3, 2), 0x00112233U);
    EXPECT_EQ(kept.result.noteCount, 0);

    testing_support::setPixelValue(*image, 3, 2, 0x01112233);
    const Opened visible = opened(saved(*image, "png"));
    EXPECT_EQ(testing_support::pixelValue(*visible.image, 0, 0), 0x00112233U);
    EXPECT_EQ(visible.result.noteCount, 0);
}

TEST(DoorLoad, EveryFailingAllocationIsCode2) {
    const DibPtr image = randomImage(31, 17, 24, 3);
    for (const DibFormat* format : writableFormats()) {
        SCOPED_TRACE(format->name);
        const Bytes bytes = saved(*image, format->name);
        const std::string name = nameWith(*format);
        const DibLoadOptions options = named(name);
        DibPtr target;
        DibFileResult result;
        bool isLoaded = false;
        const int met = testing_support::forEachFailingAllocation(
            [&] { target.reset(new DibStream); },
            [&] { isLoaded = DibLoadMemory(bytes.data(), bytes.size(), target.get(), &options, &result); },
            [&](bool failureMet) {
                EXPECT_EQ(isLoaded, !failureMet);
                EXPECT_EQ(result.code == 0, !failureMet);
                EXPECT_EQ(result.reason[0] == '\0', !failureMet);
                EXPECT_EQ(target->Header == nullptr, failureMet);
                target.reset();
                result = {};
            });
        EXPECT_GE(met, 2);
    }
}

TEST(DoorLoad, ThreadsShareNothing) {
    const DibPtr image = randomImage(40, 30, 24, 3);
    std::vector<std::thread> threads;
    std::vector<int> good(4, 0);
    for (std::size_t t = 0; t < good.size(); ++t) {
        threads.emplace_back([&, t] {
            for (const DibFormat* format : writableFormats()) {
                const std::string name = nameWith(*format);
                good[t] += opened(saved(*image, format->name), named(name)).isLoaded ? 1 : 0;
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(good, std::vector<int>(4, static_cast<int>(writableFormats().size())));
}

}  // namespace
}  // namespace door_test

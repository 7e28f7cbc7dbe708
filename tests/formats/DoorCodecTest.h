// What every codec does for the functions of DibFile.h, checked with its files.
#ifndef TESTS_FORMATS_DOOR_CODEC_TEST_H
#define TESTS_FORMATS_DOOR_CODEC_TEST_H

#include <functional>
#include <string>

#include "tests/formats/DoorTest.h"

namespace door_test {

inline Opened opened(const Bytes& bytes, const DibLoadOptions& options, ProgressLog& log) {
    Opened opened;
    opened.isLoaded = DibLoadMemory(bytes.data(), bytes.size(), opened.image.get(), &options, &opened.result,
                                    ProgressLog::callback, &log);
    return opened;
}

inline DibLoadOptions keepingDamaged() {
    DibLoadOptions options;
    options.damage = DIB_DAMAGE_KEEP;
    return options;
}

// The texts of all notes, each ended by a semicolon.
inline std::string notesOf(const DibFileResult& result) {
    std::string notes;
    for (int i = 0; i < result.noteCount; ++i) notes += std::string(result.notes[i].text) + ";";
    return notes;
}

// Gives a few bytes at a time.
struct Trickle {
    const Bytes& bytes;
    std::size_t at = 0;
    static std::size_t read(void* context, void* out, std::size_t count) {
        auto& trickle = *static_cast<Trickle*>(context);
        const std::size_t part = std::min({count, trickle.bytes.size() - trickle.at, std::size_t{7}});
        std::copy_n(trickle.bytes.begin() + static_cast<std::ptrdiff_t>(trickle.at), part,
                    static_cast<unsigned char*>(out));
        trickle.at += part;
        return part;
    }
};

// A path, an open file and a function give the picture that memory gives, and probing what loading gives.
inline void expectOneFromEverySource(const Bytes& bytes, const std::string& extension,
                                     const DibLoadOptions& options = {}) {
    const Opened memory = opened(bytes, options);
    ASSERT_TRUE(memory.isLoaded) << memory.result.reason;
    const codec_test::TemporaryFile file(extension, bytes);
    const auto expectSame = [&](const char* what,
                                const std::function<bool(DibStream*, DibFileResult*)>& load) {
        DibStream image;
        DibFileResult result;
        ASSERT_TRUE(load(&image, &result)) << what << ": " << result.reason;
        EXPECT_TRUE(testing_support::sameImage(image, *memory.image)) << what;
        EXPECT_EQ(notesOf(result), notesOf(memory.result)) << what;
    };
    expectSame("path", [&](DibStream* image, DibFileResult* result) {
        return DibLoadFile(file.path(), image, &options, result);
    });
    expectSame("open file", [&](DibStream* image, DibFileResult* result) {
        return DibLoadStream(dib::openForReading(file.path()).get(), image, &options, result);
    });
    expectSame("function", [&](DibStream* image, DibFileResult* result) {
        Trickle trickle{bytes};
        return DibLoadStream(DibReader{Trickle::read, &trickle}, image, &options, result);
    });
    DibFileInfo info;
    ASSERT_TRUE(DibProbeMemory(bytes.data(), bytes.size(), &info, &options));
    EXPECT_EQ(info.format, memory.result.format);
    if (options.layer >= 0) return;
    EXPECT_EQ(info.width, memory.image->Header->biWidth);
    EXPECT_EQ(info.height, std::abs(memory.image->Header->biHeight));
    EXPECT_EQ(info.isTopDown, memory.image->Header->biHeight < 0);
    EXPECT_EQ(info.bitCount, memory.image->Header->biBitCount);
    const bool hasPalette = info.bitCount <= 8;
    EXPECT_EQ(info.paletteSize, hasPalette ? static_cast<int>(memory.image->Header->biClrUsed) : 0);
}

inline void expectRisingTo1(const std::vector<float>& fractions) {
    ASSERT_FALSE(fractions.empty());
    EXPECT_EQ(fractions.front(), 0.0F);
    EXPECT_TRUE(std::is_sorted(fractions.begin(), fractions.end()));
    EXPECT_EQ(fractions.back(), 1.0F);
}

// Cancels at every call of the callback: the image stays as it was.
inline void expectLoadProgress(const Bytes& bytes, std::size_t fewestCalls,
                               const DibLoadOptions& options = {}) {
    ProgressLog whole;
    ASSERT_TRUE(opened(bytes, options, whole).isLoaded);
    expectRisingTo1(whole.fractions);
    EXPECT_GE(whole.fractions.size(), fewestCalls);
    for (std::size_t call = 0; call < whole.fractions.size(); ++call) {
        ProgressLog log;
        log.cancelAt = static_cast<int>(call);
        const Opened load = opened(bytes, options, log);
        EXPECT_FALSE(load.isLoaded);
        EXPECT_EQ(load.result.code, 9);
        EXPECT_STREQ(load.result.reason, "cancelled");
        EXPECT_EQ(load.image->Header, nullptr);
        EXPECT_EQ(log.fractions.size(), call + 1);
    }
}

// Each failing allocation gives code 2 and leaves the image, or is done without where the codec can. Returns
// how many there were.
inline int failEveryLoad(const Bytes& bytes, const DibLoadOptions& options = {}, bool canDoWithout = false) {
    DibPtr image;
    DibFileResult result;
    bool isLoaded = false;
    return testing_support::forEachFailingAllocation(
        [&] { image.reset(new DibStream); },
        [&] { isLoaded = DibLoadMemory(bytes.data(), bytes.size(), image.get(), &options, &result); },
        [&](bool failureMet) {
            EXPECT_TRUE(isLoaded != failureMet || (isLoaded && canDoWithout)) << result.reason;
            EXPECT_EQ(result.code, isLoaded ? 0 : 2) << result.reason;
            EXPECT_EQ(image->Header == nullptr, !isLoaded);
            image.reset();
            result = {};
        });
}

// Files cut where pixels are: refused with a reason, or kept with a warning and the rows that came. A row
// ends at `start` + y x `rowBytes`.
inline void expectRowsOfCutFiles(const Bytes& bytes, std::size_t start, std::size_t rowBytes) {
    const Opened whole = opened(bytes);
    ASSERT_TRUE(whole.isLoaded) << whole.result.reason;
    const int height = whole.image->Header->biHeight;
    for (std::size_t length = start; length + 1 < start + static_cast<std::size_t>(height) * rowBytes;
         ++length) {
        const Bytes cut(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(length));
        const int rows = static_cast<int>((length - start) / rowBytes);
        const Opened refused = opened(cut);
        EXPECT_FALSE(refused.isLoaded) << length;
        EXPECT_NE(refused.result.code, 0);
        const std::string where =
            "(in row " + std::to_string(rows + 1) + " of " + std::to_string(height) + ")";
        const std::string reason = refused.result.reason;
        EXPECT_EQ(reason.find(where) != std::string::npos, rows > 0) << reason;
        EXPECT_EQ(refused.image->Header, nullptr);

        const Opened kept = opened(cut, keepingDamaged());
        EXPECT_EQ(kept.isLoaded, rows > 0) << length;
        if (!kept.isLoaded) continue;
        EXPECT_EQ(kept.result.code, 0);
        EXPECT_NE(notesOf(kept.result).find(std::to_string(rows) + " of " + std::to_string(height) + " rows"),
                  std::string::npos)
            << notesOf(kept.result);
        for (int y = 0; y < height; ++y) {
            const Bytes row = codec_test::rowBytes(*kept.image, y);
            if (y < rows) {
                EXPECT_EQ(row, codec_test::rowBytes(*whole.image, y)) << y;
            } else if (y > rows) {
                EXPECT_EQ(row, Bytes(row.size(), 0)) << y;
            }
        }
    }
}

// Files with extreme values in their headers are loaded or refused with a reason.
inline void expectExtremeBytesAreSurvived(const Bytes& bytes, const std::string& name,
                                          DibLoadOptions options = {}) {
    options.name = name.c_str();
    options.mostBytes = 1 << 24;
    codec_test::forEveryExtremeByte(bytes, 400, [&](const Bytes& damaged, std::size_t at, unsigned value) {
        for (const DibDamagePolicy policy : {DIB_DAMAGE_REFUSE, DIB_DAMAGE_KEEP}) {
            options.damage = policy;
            const Opened load = opened(damaged, options);
            EXPECT_EQ(load.isLoaded, load.reason().empty()) << at << ": " << value;
            EXPECT_EQ(load.isLoaded, load.image->Header != nullptr) << at << ": " << value;
            EXPECT_TRUE(load.isLoaded || load.result.noteCount == 0) << at << ": " << load.note(0);
        }
    });
}

// Memory and a file get the same bytes; the image is not changed; progress rises and cancels at every call.
inline void expectSaves(const DibStream& image, const char* format, std::size_t fewestCalls) {
    const Bytes pixels = testing_support::pixelBytes(image);
    const Bytes header = testing_support::headerBytes(image);
    DibSaveOptions options;
    options.format = format;
    const Bytes expected = saved(image, format);
    ASSERT_FALSE(expected.empty());
    const codec_test::TemporaryFile file(".saved");
    ProgressLog whole;
    ASSERT_TRUE(DibSaveFile(file.path(), &image, &options, nullptr, ProgressLog::callback, &whole));
    EXPECT_EQ(file.bytes(), expected);
    expectRisingTo1(whole.fractions);
    EXPECT_GE(whole.fractions.size(), fewestCalls);
    for (std::size_t call = 0; call < whole.fractions.size(); ++call) {
        ProgressLog log;
        log.cancelAt = static_cast<int>(call);
        DibBytes bytes;
        DibFileResult result;
        EXPECT_FALSE(DibSaveMemory(&bytes, &image, &options, &result, ProgressLog::callback, &log));
        EXPECT_EQ(result.code, 9);
        EXPECT_EQ(bytes.data, nullptr);
        EXPECT_EQ(log.fractions.size(), call + 1);
    }
    EXPECT_EQ(testing_support::pixelBytes(image), pixels);
    EXPECT_EQ(testing_support::headerBytes(image), header);
}

// Each failing allocation of a save to memory gives code 2. Returns how many there were.
inline int failEverySave(const DibStream& image, const char* format) {
    DibSaveOptions options;
    options.format = format;
    DibBytes bytes;
    DibFileResult result;
    bool isSaved = false;
    return testing_support::forEachFailingAllocation(
        [] {}, [&] { isSaved = DibSaveMemory(&bytes, &image, &options, &result); },
        [&](bool failureMet) {
            EXPECT_EQ(isSaved, !failureMet) << result.reason;
            EXPECT_EQ(result.code, failureMet ? 2 : 0) << result.reason;
            bytes = {};
            result = {};
        });
}

// What a save keeps of pixels and palette: all of them, when the file is loaded again.
inline void expectExactRoundTrip(DibStream& image, const char* format) {
    DibFileResult result;
    const Bytes bytes = saved(image, format, &result);
    ASSERT_FALSE(bytes.empty()) << result.reason;
    const Opened load = opened(bytes, named(format));
    ASSERT_TRUE(load.isLoaded) << load.result.reason;
    EXPECT_EQ(load.image->Header->biBitCount, image.Header->biBitCount);
    ASSERT_EQ(load.image->Header->biWidth, image.Header->biWidth);
    for (int y = 0; y < image.Header->biHeight; ++y) {
        for (int x = 0; x < image.Header->biWidth; ++x) {
            ASSERT_EQ(testing_support::pixelValue(*load.image, x, y),
                      testing_support::pixelValue(image, x, y));
        }
    }
}

}  // namespace door_test

#endif

// What the tests of all codecs share: loading bytes, saving to bytes, paths, failing allocations and damaged
// files.
#ifndef TESTS_FORMATS_CODEC_TEST_H
#define TESTS_FORMATS_CODEC_TEST_H

#include <DibStream.h>
#include <gtest/gtest.h>
#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "tests/support/ByteFile.h"
#include "tests/support/FailingMalloc.h"
#include "tests/support/Paths.h"
#include "tests/support/Samples.h"
#include "tests/support/System.h"
#include "tests/support/TestImages.h"
#include "vexlibs/NativePath.h"

namespace codec_test {

using Bytes = std::vector<unsigned char>;
using testing_support::ByteWriter;
using testing_support::DibPtr;
using testing_support::ProgressLog;
using Codec = bool (*)(std::FILE*, DibStream*, DibProgressCallback, void*);
using PathCodec = bool (*)(const char*, DibStream*, DibProgressCallback, void*);
using WidePathCodec = bool (*)(const wchar_t*, DibStream*, DibProgressCallback, void*);

inline Bytes bytesOf(const std::string& text) { return {text.begin(), text.end()}; }

inline bool load(Codec codec, const Bytes& bytes, DibStream& image, ProgressLog* log = nullptr) {
    const dib::FilePtr file = testing_support::openBytes(bytes);
    return codec(file.get(), &image, log != nullptr ? ProgressLog::callback : nullptr, log);
}

struct Loaded {
    bool result = false;
    int code = 0;
    DibPtr image{new DibStream};
};

// Loads into a new image whose code starts as one that no codec stores.
constexpr int kUntouched = 77;
inline Loaded load(Codec codec, const Bytes& bytes, ProgressLog* log = nullptr) {
    Loaded loaded;
    loaded.image->ErrorCode = kUntouched;
    loaded.result = load(codec, bytes, *loaded.image, log);
    loaded.code = loaded.image->ErrorCode;
    return loaded;
}

// What a codec writes; `result` takes what it returned.
inline Bytes save(Codec codec, DibStream& image, bool* result = nullptr, ProgressLog* log = nullptr) {
    return testing_support::writtenBytes([&](std::FILE* file) {
        const bool saved = codec(file, &image, log != nullptr ? ProgressLog::callback : nullptr, log);
        if (result != nullptr) *result = saved;
    });
}

// The bytes of row y, counted from the top, without fill.
inline Bytes rowBytes(DibStream& image, int y) {
    const auto bits =
        static_cast<std::size_t>(image.Header->biWidth) * static_cast<std::size_t>(image.Header->biBitCount);
    const unsigned char* row = image.ScanLine(y);
    return {row, row + (bits + 7) / 8};
}

// All rows of a bottom-up image from the top of the picture down, without fill.
inline Bytes pixelsOf(DibStream& image) {
    Bytes all;
    for (int y = 0; y < image.Header->biHeight; ++y) {
        const Bytes row = rowBytes(image, y);
        all.insert(all.end(), row.begin(), row.end());
    }
    return all;
}

// The file cut at every length below its own (of long files, at every length of the first and the last bytes
// and at some between).
inline void forEveryTruncation(const Bytes& bytes,
                               const std::function<void(const Bytes& cut, std::size_t length)>& judge) {
    constexpr std::size_t kEdge = 600;
    for (std::size_t length = 0; length < bytes.size(); ++length) {
        if (length > kEdge && length + kEdge < bytes.size() && length % 97 != 0) continue;
        judge(Bytes(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(length)), length);
    }
}

// The file with each of its first bytes in turn at values where signs and limits change.
inline void forEveryExtremeByte(
    const Bytes& bytes, std::size_t count,
    const std::function<void(const Bytes& damaged, std::size_t at, unsigned value)>& judge) {
    for (std::size_t at = 0; at < std::min(bytes.size(), count); ++at) {
        for (const unsigned value : {0x00U, 0x01U, 0x7FU, 0x80U, 0xFFU}) {
            Bytes damaged = bytes;
            damaged[at] = static_cast<unsigned char>(value);
            judge(damaged, at, value);
        }
    }
}

// A file in a folder that is not there, an empty path and a null one: both overloads of a codec answer false
// and leave this code.
inline void expectNoFile(PathCodec narrow, WidePathCodec wide, DibStream& image, int code) {
    for (const char* path : {"/nonexistent/file", "", static_cast<const char*>(nullptr)}) {
        image.ErrorCode = kUntouched;
        EXPECT_FALSE(narrow(path, &image, nullptr, nullptr));
        EXPECT_EQ(image.ErrorCode, code);
    }
    for (const wchar_t* path : {L"/nonexistent/file", L"", static_cast<const wchar_t*>(nullptr)}) {
        image.ErrorCode = kUntouched;
        EXPECT_FALSE(wide(path, &image, nullptr, nullptr));
        EXPECT_EQ(image.ErrorCode, code);
    }
}

// Loads a file once for every allocation that can fail: each failure must give code 2, and the load without
// one succeed. Returns how many allocations there were.
inline int failEveryAllocation(Codec codec, const Bytes& bytes) {
    DibPtr image;
    dib::FilePtr file;
    bool loaded = false;
    return testing_support::forEachFailingAllocation(
        [&] {
            image.reset(new DibStream);
            file = testing_support::openBytes(bytes);
        },
        [&] { loaded = codec(file.get(), image.get(), nullptr, nullptr); },
        [&](bool failureMet) {
            EXPECT_EQ(loaded, !failureMet);
            EXPECT_EQ(image->ErrorCode, failureMet ? 2 : 0);
            image.reset();
            file.reset();
        });
}

// What is left of a save in which an allocation may have failed.
struct SaveAttempt {
    DibPtr image;
    dib::FilePtr file;  // where the codec stopped writing
    bool saved = false;
};

// Saves a picture once for every allocation that can fail. Returns how many allocations there were.
inline int failEverySave(testing_support::Size size, int bitCount,
                         const std::function<bool(std::FILE*, DibStream*)>& save,
                         const std::function<void(const SaveAttempt& attempt, bool failureMet)>& judge) {
    SaveAttempt attempt;
    return testing_support::forEachFailingAllocation(
        [&] {
            attempt.image = testing_support::randomImage(size.width, size.height, bitCount, 2);
            attempt.file.reset(std::tmpfile());
        },
        [&] { attempt.saved = save(attempt.file.get(), attempt.image.get()); },
        [&](bool failureMet) {
            judge(attempt, failureMet);
            attempt = {};
        });
}

// Ends a test where the system has no streams of calls.
#define NEEDS_CALL_STREAMS() \
    if (!testing_support::hasCallStreams()) GTEST_SKIP() << "the C library has no streams of calls"

// A stream without end: the same bytes again and again after a good beginning.
struct EndlessStream {
    std::string start;
    std::string repeated;
    std::size_t position = 0;

    // Valid as long as this object; null where the system has no such streams.
    dib::FilePtr open() {
        const auto read = [](void* cookie, char* out, std::size_t bytes) -> std::ptrdiff_t {
            auto& stream = *static_cast<EndlessStream*>(cookie);
            for (std::size_t i = 0; i < bytes; ++i, ++stream.position) {
                out[i] = stream.position < stream.start.size()
                             ? stream.start[stream.position]
                             : stream.repeated[stream.position % stream.repeated.size()];
            }
            return static_cast<std::ptrdiff_t>(bytes);
        };
        return dib::FilePtr(testing_support::openCalls(this, read));
    }
};

// A file of the test folder, with another name per test; removed with the object.
class TemporaryFile {
public:
    explicit TemporaryFile(const std::string& extension, const Bytes& bytes = {})
        : path_(testing_support::temporaryPath() + "/" +
                ::testing::UnitTest::GetInstance()->current_test_info()->test_suite_name() + "." +
                ::testing::UnitTest::GetInstance()->current_test_info()->name() + "." +
                std::to_string(counter()++) + extension) {
        std::ofstream(vexlibs::pathOf(path_), std::ios::binary)
            .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    }
    ~TemporaryFile() { std::filesystem::remove(vexlibs::pathOf(path_)); }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    const char* path() const { return path_.c_str(); }
    std::wstring widePath() const { return {path_.begin(), path_.end()}; }
    Bytes bytes() const { return testing_support::readFileBytes(vexlibs::pathOf(path_)); }

private:
    static int& counter() {
        static int count = 0;
        return count;
    }
    std::string path_;
};

// Both overloads of a codec for paths write these bytes and answer `result`.
inline void expectWritten(PathCodec narrow, WidePathCodec wide, DibStream& image, const Bytes& expected,
                          bool result = true) {
    const TemporaryFile first(".narrow");
    EXPECT_EQ(narrow(first.path(), &image, nullptr, nullptr), result);
    EXPECT_EQ(first.bytes(), expected);
    const TemporaryFile second(".wide");
    EXPECT_EQ(wide(second.widePath().c_str(), &image, nullptr, nullptr), result);
    EXPECT_EQ(second.bytes(), expected);
}

using testing_support::forEveryDeadFile;

}  // namespace codec_test

#endif

// Operations that open a second picture.
#include <DibEffect.h>

#include <cstdio>
#include <cstring>
#include <fstream>

#include "tests/operations/Operations.h"
#include "tests/support/FailingMalloc.h"
#include "tests/support/Paths.h"
#include "tests/support/TestImages.h"

namespace operations_test {

namespace {

using testing_support::DibPtr;
using testing_support::ProgressLog;
using testing_support::randomImage;
using testing_support::sameImage;

// The path of a file with these bytes, which no other test has.
std::string fileOf(const std::string& name, const std::string& bytes) {
    const std::string path = testing_support::temporaryPath("second-" + name);
    std::ofstream(path, std::ios::binary) << bytes;
    return path;
}

std::string bmpOf(const std::string& name, int bitCount) {
    const std::string path = testing_support::temporaryPath("second-" + name);
    EXPECT_TRUE(randomImage(10, 7, bitCount, 8)->SaveToFile(path.c_str()));
    return path;
}

TEST(SecondPicture, IsBlendedAsByTheClassicCall) {
    for (const int secondBits : {8, 24, 32}) {
        const std::string path = bmpOf("blended.bmp", secondBits);
        const std::string chain = "compose:" + path + ",30%,mode=tile,classic";
        for (const int bitCount : testing_support::kDepths) {
            const DibPtr image = randomImage(41, 31, bitCount, 4);
            const DibPtr expected = randomImage(41, 31, bitCount, 4);
            DibStream second;
            ASSERT_TRUE(DibLoadFile(path.c_str(), &second));
            const bool isDone = DibEffectCompose(nullptr, nullptr, expected.get(), &second, 0.3F, 1);
            EXPECT_EQ(isDone, bitCount == 8 || bitCount >= 24);
            DibOperationResult result;
            EXPECT_EQ(DibApply(image.get(), chain.c_str(), nullptr, &result), isDone) << result.reason;
            EXPECT_TRUE(sameImage(*image, *expected)) << secondBits << " on " << bitCount;
        }
    }
}

TEST(SecondPicture, FailsWithTheReasonOfTheFile) {
    const std::string empty = fileOf("empty.bmp", "");
    const std::string cut = fileOf("cut.bmp", "BM");
    struct Case {
        std::string path;
        int code;
        std::string why;
    };
    const Case kCases[] = {
        {"absent/picture.bmp", DIB_ERROR_OPEN, "the file cannot be opened: No such file or directory"},
        {empty, DIB_ERROR_READ, "the file is empty"},
        {cut, DIB_ERROR_READ, "the file ends inside its header"},
    };
    for (const Case& wrong : kCases) {
        const DibPtr image = randomImage(41, 31, 24, 4);
        const DibPtr before = randomImage(41, 31, 24, 4);
        DibOperationResult result;
        EXPECT_FALSE(DibApply(image.get(), ("invert compose:" + wrong.path).c_str(), nullptr, &result));
        EXPECT_EQ(result.code, wrong.code);
        EXPECT_EQ(result.step, 1);
        EXPECT_EQ(result.reason, "compose: '" + wrong.path + "': " + wrong.why);
        EXPECT_TRUE(sameImage(*image, *before));
    }
}

TEST(SecondPicture, IsOpenedWithTheCallersOptions) {
    const std::string path = bmpOf("limited.bmp", 24);
    const DibLoadOptions load = {.mostPixels = 69};
    const DibApplyOptions options = {.load = &load};
    const DibPtr image = randomImage(41, 31, 24, 4);
    DibOperationResult result;
    EXPECT_FALSE(DibApply(image.get(), ("compose:" + path).c_str(), &options, &result));
    EXPECT_EQ(result.code, DIB_ERROR_MISMATCH);
    EXPECT_NE(std::string(result.reason).find("70 pixels; the limit of pixels is 69"), std::string::npos)
        << result.reason;
}

TEST(SecondPicture, ItsNotesAreHandedOn) {
    // Alpha that is 0 everywhere.
    DibStream transparent;
    ASSERT_TRUE(transparent.Create(3, 2, 32));
    std::memset(transparent.Buffer, 0, 24);
    DibBytes tga;
    DibSaveOptions save;
    save.format = "tga";
    ASSERT_TRUE(DibSaveMemory(&tga, &transparent, &save));
    const std::string path = fileOf("transparent.tga", textOf(tga));
    DibFileResult opened;
    DibStream again;
    ASSERT_TRUE(DibLoadFile(path.c_str(), &again, nullptr, &opened));
    ASSERT_EQ(opened.noteCount, 1);

    const DibPtr image = randomImage(41, 31, 24, 4);
    DibOperationResult result;
    ASSERT_TRUE(DibApply(image.get(), ("compose:" + path + " half").c_str(), nullptr, &result))
        << result.reason;
    ASSERT_EQ(result.noteCount, 1);
    EXPECT_EQ(result.notes[0].kind, opened.notes[0].kind);
    EXPECT_EQ(result.notes[0].text, "second-transparent.tga: " + std::string(opened.notes[0].text));
}

// Opens pictures for a chain that may not read files.
struct Album {
    std::string asked;
    bool isRefused = false;
    bool isEmpty = false;

    static bool open(void* context, const char* name, DibStream* image, DibFileResult* result,
                     DibProgressCallback callback, void* user) {
        auto& album = *static_cast<Album*>(context);
        album.asked = name;
        if (album.isRefused) {
            result->code = DIB_ERROR_OPEN;
            std::snprintf(result->reason, sizeof result->reason, "not in the album");
            return false;
        }
        if (callback != nullptr && !callback(0.5F, user)) return false;
        return album.isEmpty || image->Create(2, 2, 24);
    }
};

TEST(SecondPicture, MayBeOpenedByTheCaller) {
    Album album;
    const DibApplyOptions options = {.open = &Album::open, .context = &album};
    const DibPtr image = randomImage(41, 31, 24, 4);
    EXPECT_TRUE(DibApply(image.get(), "compose:/etc/passwd", &options));
    EXPECT_EQ(album.asked, "/etc/passwd");

    const DibPtr before = randomImage(41, 31, 24, 4);
    const DibPtr kept = randomImage(41, 31, 24, 4);
    DibOperationResult result;
    album.isRefused = true;
    EXPECT_FALSE(DibApply(kept.get(), "compose:x", &options, &result));
    EXPECT_EQ(result.code, DIB_ERROR_OPEN);
    EXPECT_STREQ(result.reason, "compose: 'x': not in the album");
    album = Album();
    album.isEmpty = true;
    EXPECT_FALSE(DibApply(kept.get(), "compose:x", &options, &result));
    EXPECT_STREQ(result.reason, "compose: 'x': there is no picture");
    EXPECT_TRUE(sameImage(*kept, *before));
}

TEST(SecondPicture, OpeningItCanBeCancelled) {
    const std::string path = bmpOf("cancelled.bmp", 24);
    const DibPtr before = randomImage(41, 31, 24, 4);
    ProgressLog whole;
    const DibPtr done = randomImage(41, 31, 24, 4);
    const std::string chain = "compose:" + path;
    ASSERT_TRUE(DibApply(done.get(), chain.c_str(), nullptr, nullptr, ProgressLog::callback, &whole));
    ASSERT_GT(whole.fractions.size(), 3U);
    EXPECT_EQ(whole.fractions.front(), 0.0F);
    EXPECT_EQ(whole.fractions.back(), 1.0F);
    for (int call = 0; call < static_cast<int>(whole.fractions.size()); ++call) {
        const DibPtr image = randomImage(41, 31, 24, 4);
        ProgressLog log{{}, call};
        DibOperationResult result;
        EXPECT_FALSE(DibApply(image.get(), chain.c_str(), nullptr, &result, ProgressLog::callback, &log));
        EXPECT_EQ(result.code, DIB_ERROR_INTERRUPTED) << result.reason;
        EXPECT_TRUE(sameImage(*image, *before));
    }
}

TEST(SecondPicture, SurvivesFailingAllocations) {
    const std::string chain = "compose:" + bmpOf("allocated.bmp", 8) + ",mode=tile";
    const DibPtr before = randomImage(41, 31, 24, 4);
    DibPtr image;
    DibOperationResult result;
    bool isDone = false;
    testing_support::forEachFailingAllocation(
        [&] { image = randomImage(41, 31, 24, 4); },
        [&] { isDone = DibApply(image.get(), chain.c_str(), nullptr, &result); },
        [&](bool failureMet) {
            EXPECT_TRUE(isDone || failureMet) << result.reason;
            EXPECT_EQ(result.code, isDone ? DIB_OK : DIB_ERROR_MEMORY) << result.reason;
            EXPECT_EQ(sameImage(*image, *before), !isDone);
            image.reset();
        });
}

}  // namespace

}  // namespace operations_test

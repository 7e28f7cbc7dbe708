// What a load through a plug-in does, step by step, on a loader that records the steps.
#include "formats/Plugin.h"

#include <DibPlugin.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "tests/formats/CodecTest.h"

namespace codec_test {
namespace {

using Steps = std::vector<std::string>;

// What the plug-in functions below were called with, and what they answer.
struct Call {
    std::string exrPath;
    std::wstring ddsPath;
    bool outPointersWereNull = false;
    DibProgressCallback progress = nullptr;
    void* user = nullptr;
    std::vector<bool> answers;  // of the progress function
};
struct Reply {
    bool result = true;
    BITMAPINFOHEADER* header = nullptr;
    unsigned char* buffer = nullptr;
    std::vector<float> fractions;  // reported before returning
};
Call call;
Reply reply;
Steps steps;

bool answer(BITMAPINFOHEADER** header, unsigned char** buffer, DibProgressCallback progress, void* user) {
    call.outPointersWereNull = *header == nullptr && *buffer == nullptr;
    call.progress = progress;
    call.user = user;
    for (const float fraction : reply.fractions) call.answers.push_back(progress(fraction, user));
    *header = reply.header;
    *buffer = reply.buffer;
    return reply.result;
}
bool exrFunction(const char* path, BITMAPINFOHEADER** header, unsigned char** buffer,
                 DibProgressCallback progress, void* user) {
    steps.emplace_back("call");
    call.exrPath = path;
    return answer(header, buffer, progress, user);
}
bool ddsFunction(const wchar_t* path, BITMAPINFOHEADER** header, unsigned char** buffer,
                 DibProgressCallback progress, void* user) {
    steps.emplace_back("call");
    call.ddsPath = path;
    return answer(header, buffer, progress, user);
}

class RecordingLoader : public formats::PluginLoader {
public:
    explicit RecordingLoader(const DibStream& image) : image_(image) {}
    std::string failingStep;
    const BITMAPINFOHEADER* headerAtRelease = nullptr;

    Bundle open(const char* path) override {
        steps.push_back("open " + std::string(path));
        return failingStep == "open" ? nullptr : &token_;
    }
    bool loadCode(Bundle bundle) override {
        EXPECT_EQ(bundle, &token_);
        steps.emplace_back("load code");
        return failingStep != "load code";
    }
    void* findExport(Bundle bundle, const char* name) override {
        EXPECT_EQ(bundle, &token_);
        steps.push_back("find " + std::string(name));
        if (failingStep == "find") return nullptr;
        return std::strcmp(name, "LoadEXR") == 0 ? reinterpret_cast<void*>(exrFunction)
                                                 : reinterpret_cast<void*>(ddsFunction);
    }
    void release(Bundle bundle) override {
        EXPECT_EQ(bundle, &token_);
        steps.emplace_back("release");
        headerAtRelease = image_.Header;
    }

private:
    const DibStream& image_;
    int token_ = 0;
};

// A loader that allocates nothing itself.
class QuietLoader : public formats::PluginLoader {
public:
    bool wasOpened = false;

    Bundle open(const char* /*path*/) override {
        wasOpened = true;
        return this;
    }
    bool loadCode(Bundle /*bundle*/) override { return true; }
    void* findExport(Bundle /*bundle*/, const char* /*name*/) override {
        return reinterpret_cast<void*>(exrFunction);
    }
    void release(Bundle /*bundle*/) override {}
};

class PluginTest : public ::testing::Test {
protected:
    void SetUp() override {
        DibStream::SetDllFilePath("");
        call = {};
        reply = {};
        steps.clear();
        image.ErrorCode = kUntouched;
    }
    void TearDown() override {
        DibStream::SetDllFilePath("");
        EXPECT_EQ(image.ErrorCode, kUntouched);
    }

    // Lets the plug-in return a picture of 2 x 1 pixels and 32 bits.
    void replyWithPicture() {
        const DibPtr made(new DibStream);
        reply.header = made->CreateHeader(2, 1, 32);
        reply.buffer = made->CreateBuffer(reply.header);
        std::memcpy(reply.buffer, "\1\2\3\4\5\6\7\10", 8);
    }
    bool loadExr(const char* path = "a.exr") { return formats::loadExr(loader, path, &image); }
    bool loadDds(DibProgressCallback callback = nullptr, void* user = nullptr) {
        return formats::loadDds(loader, L"a.dds", &image, callback, user);
    }
    // Blocks alive but for what was recorded, which is forgotten.
    static long aliveBlocks() {
        Steps().swap(steps);  // assigning {} would keep the capacity
        return testing_support::liveAllocations();
    }
    std::string openedPath() const { return steps.empty() ? "" : steps.front().substr(5); }

    DibStream image;
    RecordingLoader loader{image};
};

TEST_F(PluginTest, StepsComeInOrder) {
    replyWithPicture();
    EXPECT_TRUE(loadExr());
    EXPECT_EQ(steps, (Steps{"open vexlibexr.bundle", "load code", "find LoadEXR", "call", "release"}));
    steps.clear();
    replyWithPicture();
    EXPECT_TRUE(loadDds());
    EXPECT_EQ(steps, (Steps{"open vexlibdds.bundle", "load code", "find LoadDDS", "call", "release"}));
}

TEST_F(PluginTest, FailuresEndEarlyAndReleaseTheBundle) {
    const std::pair<const char*, Steps> cases[] = {
        {"open", {"open vexlibexr.bundle"}},
        {"load code", {"open vexlibexr.bundle", "load code", "release"}},
        {"find", {"open vexlibexr.bundle", "load code", "find LoadEXR", "release"}},
    };
    ASSERT_TRUE(image.Create(1, 1, 8));
    const unsigned char* before = image.Buffer;
    for (const auto& [step, expected] : cases) {
        loader.failingStep = step;
        steps.clear();
        EXPECT_FALSE(loadExr()) << step;
        EXPECT_EQ(steps, expected);
        steps.clear();
        EXPECT_FALSE(loadDds()) << step;
        EXPECT_EQ(steps.size(), expected.size());
        EXPECT_EQ(image.Buffer, before);
    }
}

TEST_F(PluginTest, TheBundleIsLookedUpInThePluginFolder) {
    const std::pair<const char*, const char*> cases[] = {
        {"", "vexlibexr.bundle"},
        {"plugins", "plugins/vexlibexr.bundle"},
        {"plugins/", "plugins/vexlibexr.bundle"},
        {"/opt/a b", "/opt/a b/vexlibexr.bundle"},
        {"/opt/a b/", "/opt/a b/vexlibexr.bundle"},
        {"/", "/vexlibexr.bundle"},
        {"/\xC3\xA9\xF0\x9F\x98\x80", "/\xC3\xA9\xF0\x9F\x98\x80/vexlibexr.bundle"},
        {"/\xFF", "/\xFF/vexlibexr.bundle"},
    };
    loader.failingStep = "open";
    for (const auto& [folder, expected] : cases) {
        DibStream::SetDllFilePath(folder);
        steps.clear();
        EXPECT_FALSE(loadExr());
        EXPECT_EQ(openedPath(), expected);
    }
    steps.clear();
    DibStream::SetDllFilePath("plugins");
    EXPECT_FALSE(loadDds());
    EXPECT_EQ(openedPath(), "plugins/vexlibdds.bundle");
}

TEST_F(PluginTest, TheLongestFolderFits) {
    // As many characters of four bytes as fit; where wide ones have 16 bits each takes two.
    const std::wstring face = L"\U0001F600";
    const std::size_t faces = 1023 / face.size();
    std::wstring folder;
    for (std::size_t i = 0; i < faces; ++i) folder += face;
    DibStream::SetDllFilePath(folder.c_str());
    loader.failingStep = "open";
    EXPECT_FALSE(loadExr());
    EXPECT_EQ(openedPath().size(), faces * 4 + 1 + 16);
    EXPECT_EQ(openedPath().substr(faces * 4 - 4), "\xF0\x9F\x98\x80/vexlibexr.bundle");
}

TEST_F(PluginTest, AFolderWithoutAnEightBitFormIsNotTheWorkingDirectory) {
    if (sizeof(wchar_t) == 2) GTEST_SKIP() << "every wide text has an 8-bit form";
    const wchar_t folder[] = {L'a', static_cast<wchar_t>(0x110000), L'\0'};
    DibStream::SetDllFilePath(folder);
    EXPECT_FALSE(loadExr());
    EXPECT_FALSE(loadDds());
    EXPECT_EQ(steps, Steps());
}

TEST_F(PluginTest, ExrGetsThePathAndNoProgress) {
    replyWithPicture();
    EXPECT_TRUE(loadExr("\xC3\xA9.exr"));
    EXPECT_EQ(call.exrPath, "\xC3\xA9.exr");
    EXPECT_TRUE(call.outPointersWereNull);
    EXPECT_EQ(call.progress, nullptr);
    EXPECT_EQ(call.user, nullptr);
}

TEST_F(PluginTest, DdsGetsTheWidePathAndACallback) {
    replyWithPicture();
    EXPECT_TRUE(loadDds());
    EXPECT_EQ(call.ddsPath, L"a.dds");
    EXPECT_TRUE(call.outPointersWereNull);
    EXPECT_EQ(call.progress, DdsCallback);
    EXPECT_NE(call.user, nullptr);
}

TEST_F(PluginTest, WithoutACallbackEveryAnswerIsYes) {
    replyWithPicture();
    reply.fractions = {0.0F, 0.5F, 1.0F};
    int user = 0;
    EXPECT_TRUE(loadDds(nullptr, &user));
    EXPECT_EQ(call.answers, (std::vector<bool>{true, true, true}));
}

TEST_F(PluginTest, DdsProgressReachesTheCaller) {
    replyWithPicture();
    reply.fractions = {0.25F, 0.5F, 0.75F};
    ProgressLog log;
    log.cancelAt = 1;
    EXPECT_TRUE(loadDds(ProgressLog::callback, &log));
    EXPECT_EQ(log.fractions, (std::vector<float>{0.25F, 0.5F, 0.75F}));
    EXPECT_EQ(call.answers, (std::vector<bool>{true, false, true}));
}

TEST_F(PluginTest, TheContextHoldsCallbackAndUserInThatOrder) {
    ProgressLog log;
    formats::DdsContext context = {ProgressLog::callback, &log};
    EXPECT_EQ(offsetof(formats::DdsContext, callback), 0U);
    EXPECT_EQ(offsetof(formats::DdsContext, user), sizeof(void*));
    EXPECT_TRUE(DdsCallback(0.5F, &context));
    EXPECT_EQ(log.fractions, std::vector<float>{0.5F});
    context.callback = nullptr;
    EXPECT_TRUE(DdsCallback(0.75F, &context));
    EXPECT_EQ(log.fractions.size(), 1U);
}

TEST_F(PluginTest, TheBlocksBecomeTheImagesOwn) {
    ASSERT_TRUE(image.Create(5, 5, 24));
    replyWithPicture();
    const long before = aliveBlocks();
    EXPECT_TRUE(loadExr());
    EXPECT_EQ(image.Header, reply.header);
    EXPECT_EQ(image.Buffer, reply.buffer);
    EXPECT_EQ(image.HeaderOwner, 6U);
    EXPECT_EQ(image.BufferOwner, 6U);
    EXPECT_EQ(loader.headerAtRelease, reply.header) << "adopted before the bundle is released";
    EXPECT_EQ(image.Pixel(1, 0)[2], 7);
    EXPECT_EQ(aliveBlocks(), before - 2) << "the old blocks are released";
    image.Clear();
    EXPECT_EQ(aliveBlocks(), before - 4);
}

TEST_F(PluginTest, ARefusedFileKeepsTheImage) {
    ASSERT_TRUE(image.Create(5, 5, 24));
    const BITMAPINFOHEADER* header = image.Header;
    reply.result = false;
    EXPECT_FALSE(loadExr());
    EXPECT_FALSE(loadDds());
    EXPECT_EQ(image.Header, header);
    EXPECT_EQ(steps.back(), "release");
}

TEST_F(PluginTest, WhatARefusalLeavesBehindIsNotTouched) {
    // Plug-ins may free their blocks and forget to clear the pointers: freeing them again would break the
    // process.
    reply.result = false;
    reply.header = reinterpret_cast<BITMAPINFOHEADER*>(16);
    reply.buffer = reinterpret_cast<unsigned char*>(16);
    EXPECT_FALSE(loadExr());
    EXPECT_EQ(image.Header, nullptr);
}

TEST_F(PluginTest, SuccessWithoutBothBlocksIsFailure) {
    ASSERT_TRUE(image.Create(5, 5, 24));
    const BITMAPINFOHEADER* kept = image.Header;
    for (const bool keepsHeader : {true, false}) {
        const long before = aliveBlocks();
        replyWithPicture();
        if (keepsHeader) {
            std::free(std::exchange(reply.buffer, nullptr));
        } else {
            std::free(std::exchange(reply.header, nullptr));
        }
        EXPECT_FALSE(loadExr());
        EXPECT_EQ(image.Header, kept);
        EXPECT_EQ(aliveBlocks(), before);
    }
    reply = {};
    EXPECT_FALSE(loadDds());
    EXPECT_EQ(image.Header, kept);
}

TEST_F(PluginTest, HeadersThatNoImageCanHaveAreRefused) {
    const auto refuses = [this](auto change) {
        const long before = aliveBlocks();
        replyWithPicture();
        change(*reply.header);
        const bool refused = !loadExr() && image.Header == nullptr;
        return refused && aliveBlocks() == before;
    };
    EXPECT_TRUE(refuses([](BITMAPINFOHEADER& header) { header.biWidth = -1; }));
    EXPECT_TRUE(refuses([](BITMAPINFOHEADER& header) { header.biHeight = INT32_MIN; }));
    EXPECT_TRUE(refuses([](BITMAPINFOHEADER& header) { header.biWidth = INT32_MAX; }));
    EXPECT_TRUE(refuses([](BITMAPINFOHEADER& header) { header.biClrUsed = 257; }));
    EXPECT_TRUE(refuses([](BITMAPINFOHEADER& header) {
        header.biBitCount = 4;
        header.biClrUsed = 17;
    }));
    EXPECT_TRUE(refuses([](BITMAPINFOHEADER& header) { header.biSize = 125; }));
    EXPECT_TRUE(refuses([](BITMAPINFOHEADER& header) { header.biSize = 0xFFFFFFFF; }));
    EXPECT_TRUE(refuses([](BITMAPINFOHEADER& header) { header.biClrUsed = 0xFFFFFFFF; }));
    EXPECT_TRUE(refuses([](BITMAPINFOHEADER& header) { header.biWidth = INT32_MIN; }));
    EXPECT_TRUE(refuses([](BITMAPINFOHEADER& header) {
        header.biWidth = 1;
        header.biHeight = INT32_MAX;
    }));
    EXPECT_TRUE(refuses([](BITMAPINFOHEADER& header) {
        header.biWidth = 262148;
        header.biBitCount = 0xFFFF;
    }));
}

// Sizes of 0 are sizes: such a picture is the caller's to judge, and nothing of it is read.
TEST_F(PluginTest, PicturesWithoutPixelsAreHandedOver) {
    for (const bool isFlat : {false, true}) {
        replyWithPicture();
        (isFlat ? reply.header->biHeight : reply.header->biWidth) = 0;
        EXPECT_TRUE(loadExr());
        EXPECT_EQ(image.Header, reply.header);
        EXPECT_EQ(image.Buffer, reply.buffer);
    }
}

TEST_F(PluginTest, MissingPathsAndImagesAreRefused) {
    EXPECT_FALSE(formats::loadExr(loader, nullptr, &image));
    EXPECT_FALSE(formats::loadExr(loader, "a.exr", nullptr));
    EXPECT_FALSE(formats::loadDds(loader, nullptr, &image, nullptr, nullptr));
    EXPECT_FALSE(formats::loadDds(loader, L"a.dds", nullptr, nullptr, nullptr));
    EXPECT_EQ(steps, Steps());
}

TEST_F(PluginTest, EveryFailingAllocationIsSurvived) {
    DibStream::SetDllFilePath("plugins");
    QuietLoader quiet;
    bool loaded = false;
    const int failures = testing_support::forEachFailingAllocation(
        [&] {
            replyWithPicture();
            steps.clear();
            steps.reserve(1);
            quiet.wasOpened = false;
        },
        [&] { loaded = formats::loadExr(quiet, "a.exr", &image); },
        [&](bool failureMet) {
            // Without memory for the folder's name nothing is opened, not even in the working directory.
            EXPECT_EQ(loaded, !failureMet);
            EXPECT_EQ(quiet.wasOpened, !failureMet);
            if (!loaded) {
                std::free(reply.header);
                std::free(reply.buffer);
            }
            image.Clear();
            steps = {};
        });
    EXPECT_GT(failures, 0);
}

}  // namespace
}  // namespace codec_test

// The image object: counting, new images, addressing, error texts and the plug-in folder.
#include <DibStream.h>
#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <cstring>
#include <string>

#include "dib/ImageSize.h"
#include "tests/dib/ContainerSupport.h"
#include "tests/support/FailingMalloc.h"
#include "tests/support/TestImages.h"

namespace container_support {
namespace {

using testing_support::liveAllocations;

TEST(Container, NewObjectIsEmpty) {
    DibStream dib;
    EXPECT_EQ(dib.RefCount, 1U);
    expectEmpty(dib);
    EXPECT_EQ(dib.ErrorCode, 0);
    EXPECT_EQ(dib.GetPitch(), 0U);
    EXPECT_EQ(dib.GetImageSize(), 0);
    EXPECT_EQ(dib.Pixel(0, 0), nullptr);
    EXPECT_EQ(dib.ScanLine(0), nullptr);
    EXPECT_EQ(dib.ScanLine(7), nullptr);
    dib.SetMonoPalette();
    expectEmpty(dib);
}

TEST(Container, FieldsStandInTheirOrder) {
    DibStream dib;
    const auto at = [&](const void* field) {
        return static_cast<const char*>(field) - reinterpret_cast<const char*>(&dib);
    };
    constexpr std::ptrdiff_t kPointer = sizeof(void*);  // 8, or 4 on 32-bit systems
    EXPECT_EQ(at(&dib.RefCount), kPointer) << "after the pointer to the virtual destructor";
    EXPECT_EQ(at(&dib.Header), kPointer + 8);
    EXPECT_EQ(at(&dib.Buffer), 2 * kPointer + 8);
    EXPECT_EQ(at(&dib.HeaderOwner), 3 * kPointer + 8);
    EXPECT_EQ(at(&dib.BufferOwner), 3 * kPointer + 12);
    EXPECT_EQ(at(&dib.ErrorCode), 3 * kPointer + 16);
}

struct Derived : DibStream {
    explicit Derived(int* count) : destroyed(count) {}
    ~Derived() override { ++*destroyed; }
    int* destroyed;
};

TEST(Container, ReleaseDestroysDerivedObjectsWhole) {
    const long before = liveAllocations();
    int destroyed = 0;
    auto* dib = new Derived(&destroyed);
    ASSERT_TRUE(dib->Create(4, 4, 8));
    EXPECT_EQ(dib->AddRef(), 2U);
    EXPECT_EQ(dib->AddRef(), 3U);
    EXPECT_EQ(dib->Release(), 2U);
    EXPECT_EQ(dib->Release(), 1U);
    EXPECT_EQ(dib->RefCount, 1U);
    EXPECT_EQ(destroyed, 0);
    EXPECT_EQ(dib->Release(), 0U);
    EXPECT_EQ(destroyed, 1);
    EXPECT_EQ(liveAllocations(), before);
}

TEST(Container, CreateMakesOwnedBlocksAtEveryDepth) {
    struct Row {
        int bits;
        unsigned pitch;
        unsigned colors;
    };
    for (const auto& [bits, pitch, colors] :
         {Row{1, 4, 2}, Row{4, 4, 16}, Row{8, 8, 256}, Row{16, 12, 0}, Row{24, 16, 0}, Row{32, 20, 0}}) {
        for (const int height : {3, -3}) {
            DibStream dib;
            ASSERT_TRUE(dib.Create(5, height, bits));
            EXPECT_EQ(dib.HeaderOwner, 6U);
            EXPECT_EQ(dib.BufferOwner, 6U);
            EXPECT_EQ(dib.ErrorCode, 0);
            EXPECT_EQ(dib.GetPitch(), pitch);
            EXPECT_EQ(dib.GetImageSize(), static_cast<int>(pitch * 3));
            EXPECT_EQ(dib.Header->biSize, 40U);
            EXPECT_EQ(dib.Header->biWidth, 5);
            EXPECT_EQ(dib.Header->biHeight, height);
            EXPECT_EQ(dib.Header->biPlanes, 1);
            EXPECT_EQ(dib.Header->biBitCount, bits);
            EXPECT_EQ(dib.Header->biCompression, 0U);
            EXPECT_EQ(dib.Header->biSizeImage, pitch * 3);
            EXPECT_EQ(dib.Header->biXPelsPerMeter, 0);
            EXPECT_EQ(dib.Header->biYPelsPerMeter, 0);
            EXPECT_EQ(dib.Header->biClrUsed, colors);
            EXPECT_EQ(dib.Header->biClrImportant, 0U);
            std::memset(dib.Buffer, 0xA5, pitch * 3);  // every byte is there
            if (bits == 8) expectGrey(dib, 256, 1);
            if (bits == 1) expectGrey(dib, 2, 255);
        }
    }
}

TEST(Container, CreateRefusesWhatCannotExist) {
    struct Row {
        int width;
        int height;
        int bits;
    };
    const Row rows[] = {{5, 0, 24},          {0, 5, 24},        {0, 0, 8},           {-5, 3, 8},
                        {5, 5, 12},          {5, 5, 0},         {5, 5, -8},          {5, 5, 64},
                        {5, 5, 65544},       {5, INT_MIN, 24},  {1, INT_MIN, 1},     {INT_MIN, 1, 1},
                        {0x10000001, 1, 64}, {INT_MAX, 1, 24},  {INT_MAX, 2, 8},     {INT_MAX, INT_MAX, 32},
                        {0x10000001, 8, 8},  {46341, 46341, 8}, {1, 0x20000000, 32}, {0x20000000, 1, 32},
                        {0x2AAAAAAB, 1, 24}};
    for (const auto& [width, height, bits] : rows) {
        DibStream dib;
        ASSERT_TRUE(dib.Create(3, 3, 8));
        EXPECT_FALSE(dib.Create(width, height, bits)) << width << " x " << height << " x " << bits;
        EXPECT_EQ(dib.ErrorCode, DIB_ERROR_MEMORY);
        expectEmpty(dib);
    }
}

TEST(Container, TheWidestImagesThatFit) {
    // Wherever a size is admitted, the 32-bit pitch that callers see is the true one.
    for (const int bits : {4, 8, 16, 24, 32}) {
        const auto limit = static_cast<int>((0xFFFFFFFFLL - 31) / bits);
        for (const int width : {limit - 1, limit}) {
            const dib::ImageSize size = dib::admitSize(width, 1, bits);
            EXPECT_TRUE(size.admitted) << width << " x " << bits;
            EXPECT_EQ(size.rowBytes, dib::pitch32(bits, width));
        }
        EXPECT_FALSE(dib::admitSize(limit + 1, 1, bits).admitted) << bits;
    }
    DibStream dib;
    ASSERT_TRUE(dib.Create(0x10000001, 1, 1));
    EXPECT_EQ(dib.GetPitch(), 0x2000004U);
    EXPECT_EQ(dib.GetImageSize(), 0x2000004);
    EXPECT_FALSE(dib.Create(0x10000001, 1, 32));
    EXPECT_FALSE(dib.Create(0x10000001, 1, 24));
}

TEST(Container, SetBitmapInfoWritesTheFirstFieldsOfABadDepth) {
    DibStream dib;
    BITMAPINFOHEADER info;
    std::memset(&info, 0x77, sizeof info);
    EXPECT_FALSE(dib.SetBitmapInfo(info, 7, -9, 12));
    EXPECT_EQ(info.biSize, 40U);
    EXPECT_EQ(info.biWidth, 7);
    EXPECT_EQ(info.biHeight, -9);
    EXPECT_EQ(info.biPlanes, 1);
    EXPECT_EQ(info.biBitCount, 12);
    EXPECT_EQ(info.biCompression, 0x77777777U);
    EXPECT_EQ(info.biSizeImage, 0x77777777U);
    EXPECT_EQ(info.biClrUsed, 0x77777777U);
    EXPECT_EQ(info.biClrImportant, 0x77777777U);
    EXPECT_EQ(dib.ErrorCode, 0);
    // Sizes are counted in 32 bits and wrap.
    EXPECT_TRUE(dib.SetBitmapInfo(info, 0x10000000, INT_MIN, 32));
    EXPECT_EQ(info.biSizeImage, 0U);
}

TEST(Container, CreateHeaderAndCreateBufferLeaveTheObjectAlone) {
    DibStream dib;
    EXPECT_EQ(dib.CreateHeader(3, 3, 12), nullptr);
    EXPECT_EQ(dib.ErrorCode, 0) << "a bad depth has no code";
    BITMAPINFOHEADER* header = dib.CreateHeader(3, -2, 8);
    ASSERT_NE(header, nullptr);
    EXPECT_EQ(header->biClrUsed, 256U);
    EXPECT_EQ(reinterpret_cast<unsigned char*>(header)[40 + 4 * 200], 200);
    unsigned char* buffer = dib.CreateBuffer(header);
    ASSERT_NE(buffer, nullptr);
    std::memset(buffer, 1, 8);
    expectEmpty(dib);
    header->biHeight = 0;
    EXPECT_EQ(dib.CreateBuffer(header), nullptr);
    header->biHeight = INT_MIN;
    EXPECT_EQ(dib.CreateBuffer(header), nullptr);
    EXPECT_EQ(dib.CreateBuffer(nullptr), nullptr);
    EXPECT_EQ(dib.ErrorCode, 0);
    std::free(header);
    std::free(buffer);
}

TEST(Container, FourBitTablesAreLeftToTheirMaker) {
    const testing_support::FillNewBlocks fill(0x5C);
    DibStream dib;
    for (const int bits : testing_support::kDepths) {
        ASSERT_TRUE(dib.Create(3, 2, bits));
        if (bits == 1) expectGrey(dib, 2, 255);
        if (bits == 8) expectGrey(dib, 256, 1);
        if (bits == 4) {
            const auto* table = reinterpret_cast<const unsigned char*>(dib.Header) + 40;
            for (int i = 0; i < 64; ++i) EXPECT_EQ(table[i], 0x5C) << i;
        }
        // Pixels too, but for the word of a row that holds fill: 3 pixels of 32 bits have none.
        const int pitch = static_cast<int>(dib.GetPitch());
        for (int i = 0; i < dib.GetImageSize(); ++i) {
            const bool isLastWord = i % pitch >= pitch - 4;
            EXPECT_EQ(dib.Buffer[i], isLastWord && bits != 32 ? 0 : 0x5C) << i;
        }
    }
}

TEST(Container, FreeingClearsPointersAndWords) {
    DibStream dib;
    ASSERT_TRUE(dib.Create(2, 2, 24));
    dib.ErrorCode = 7;
    dib.AddRef();
    dib.HeaderFree();
    EXPECT_EQ(dib.Header, nullptr);
    EXPECT_EQ(dib.HeaderOwner, 0U);
    EXPECT_NE(dib.Buffer, nullptr);
    dib.BufferFree();
    expectEmpty(dib);
    ASSERT_TRUE(dib.Create(2, 2, 24));
    EXPECT_EQ(dib.ErrorCode, 7) << "success keeps the last code";
    dib.Clear();
    expectEmpty(dib);
    EXPECT_EQ(dib.ErrorCode, 7);
    EXPECT_EQ(dib.RefCount, 2U);
}

TEST(Container, RowsAreCountedFromTheTop) {
    DibStream dib;
    ASSERT_TRUE(dib.Create(5, 3, 24));
    EXPECT_EQ(dib.ScanLine(0), dib.Buffer + 32);
    EXPECT_EQ(dib.ScanLine(2), dib.Buffer);
    EXPECT_EQ(dib.ScanLine(3), dib.Buffer - 16) << "nothing is checked";
    ASSERT_TRUE(dib.Create(5, -3, 24));
    EXPECT_EQ(dib.ScanLine(0), dib.Buffer);
    EXPECT_EQ(dib.ScanLine(2), dib.Buffer + 32);
    dib.HeaderFree();
    EXPECT_EQ(dib.ScanLine(2), dib.Buffer) << "without a header rows have no length";
    EXPECT_EQ(dib.Pixel(1, 1), nullptr);
    ASSERT_TRUE(dib.Create(5, 3, 24));
    dib.BufferFree();
    EXPECT_EQ(dib.ScanLine(0), nullptr);
    EXPECT_EQ(dib.Pixel(1, 1), nullptr);
}

TEST(Container, PixelAddressesTheByteThatHoldsIt) {
    struct Row {
        int bits;
        int x;
        int offset;
    };
    for (const auto& [bits, x, offset] :
         {Row{32, 3, 12}, Row{24, 3, 9}, Row{16, 3, 6}, Row{8, 3, 3}, Row{4, 3, 1}, Row{4, 4, 2},
          Row{1, 7, 0}, Row{1, 8, 1}, Row{1, -1, -1}, Row{1, -8, -1}, Row{1, -9, -2}, Row{4, -1, -1},
          Row{8, -2, -2}, Row{24, -1, -3}}) {
        DibStream dib;
        ASSERT_TRUE(dib.Create(16, 3, bits));
        EXPECT_EQ(dib.Pixel(x, 1) - dib.ScanLine(1), offset) << bits << " bits, column " << x;
    }
    DibStream dib;
    ASSERT_TRUE(dib.Create(16, 3, 8));
    for (const int bits : {0, 2, 12, 64}) {
        dib.Header->biBitCount = static_cast<std::uint16_t>(bits);
        EXPECT_EQ(dib.Pixel(0, 0), nullptr);
    }
}

TEST(Container, PitchAndImageSizeOfAnyHeader) {
    HeaderBlock block(5, 3, 24);
    unsigned char pixels[1] = {};
    DibStream dib;
    dib.SetDib(block.header(), 0, pixels, 0);
    block.header()->biSizeImage = 7;
    EXPECT_EQ(dib.GetImageSize(), 7);
    block.header()->biSizeImage = 0xFFFFFFFFU;
    EXPECT_EQ(dib.GetImageSize(), -1);
    block.header()->biSizeImage = 0;
    EXPECT_EQ(dib.GetImageSize(), 48);
    block.header()->biHeight = -3;
    EXPECT_EQ(dib.GetImageSize(), 48);
    block.header()->biHeight = INT_MIN;
    EXPECT_EQ(dib.GetImageSize(), 0) << "32-bit arithmetic";
    block.header()->biWidth = -2;
    EXPECT_EQ(dib.GetPitch(), 0x1FFFFFFCU);
    block.header()->biWidth = 0x10000000;
    EXPECT_EQ(dib.GetPitch(), 0x10000000U);
    block.header()->biWidth = 0;
    EXPECT_EQ(dib.GetPitch(), 0U);
    for (const auto& [bits, width, pitch] :
         {std::tuple{1, 32, 4U}, {1, 33, 8U}, {4, 8, 4U}, {4, 9, 8U}, {16, 1, 4U}}) {
        block.header()->biBitCount = static_cast<std::uint16_t>(bits);
        block.header()->biWidth = width;
        EXPECT_EQ(dib.GetPitch(), pitch);
    }
}

TEST(Container, ErrorTexts) {
    const char* texts[] = {
        "",           "some error",    "allocate memory", "open file",      "read file",
        "write file", "invalid image", "unsupport type",  "not match type", "load interrput"};
    for (int code = 0; code < 10; ++code) EXPECT_STREQ(DibStream::GetErrorString(code), texts[code]);
    for (const int code : {10, 11, -1, INT_MAX, INT_MIN}) {
        EXPECT_STREQ(DibStream::GetErrorString(code), "(undefined)");
    }
}

TEST(Container, PluginFolderInUtf8AndWide) {
    static_assert(sizeof DibStream::DllPath == 1024 * sizeof(wchar_t));
    char narrow[4096];
    wchar_t wide[1024];
    DibStream::GetDllFilePath(narrow);
    EXPECT_STREQ(narrow, "") << "empty at start";

    for (const char* path :
         {"/usr/lib/plug-ins", "/\xC3\xA4/\xE3\x81\x82/\xF0\x9F\x98\x80", "/bad\xFF\xC3/\x80", ""}) {
        DibStream::SetDllFilePath(path);
        DibStream::GetDllFilePath(narrow);
        EXPECT_STREQ(narrow, path);
        EXPECT_EQ(DibStream::GetDllFilePath(wide), wide);
        EXPECT_STREQ(wide, DibStream::DllPath);
    }
    DibStream::SetDllFilePath("/\xC3\xA4\xF0\x9F\x98\x80");
    EXPECT_STREQ(DibStream::DllPath, L"/\x00E4\U0001F600");
    DibStream::SetDllFilePath(L"/\x3042");
    DibStream::GetDllFilePath(narrow);
    EXPECT_STREQ(narrow, "/\xE3\x81\x82");

    DibStream::SetDllFilePath("/folder");
    DibStream::GetDllFilePath(static_cast<char*>(nullptr));
    EXPECT_EQ(DibStream::GetDllFilePath(static_cast<wchar_t*>(nullptr)), nullptr);
    EXPECT_STREQ(DibStream::DllPath, L"/folder");
    DibStream::SetDllFilePath(static_cast<const char*>(nullptr));
    EXPECT_STREQ(DibStream::DllPath, L"") << "null is the empty path";
    DibStream::SetDllFilePath("/folder");
    DibStream::SetDllFilePath(static_cast<const wchar_t*>(nullptr));
    EXPECT_STREQ(DibStream::DllPath, L"");

    const std::string longest(1023, 'x');
    DibStream::SetDllFilePath(longest.c_str());
    DibStream::GetDllFilePath(narrow);
    EXPECT_EQ(narrow, longest);
    DibStream::SetDllFilePath("");
}

TEST(Container, CreateSurvivesEveryFailingAllocation) {
    for (const int bits : testing_support::kDepths) {
        DibStream* dib = nullptr;
        bool created = false;
        const int failures = testing_support::forEachFailingAllocation(
            [&] {
                dib = new DibStream;
                dib->Create(2, 2, 8);
            },
            [&] { created = dib->Create(5, -3, bits); },
            [&](bool failureMet) {
                EXPECT_EQ(created, !failureMet);
                EXPECT_EQ(dib->ErrorCode, failureMet ? DIB_ERROR_MEMORY : DIB_OK);
                if (failureMet) expectEmpty(*dib);
                EXPECT_EQ(dib->HeaderOwner, failureMet ? 0U : 6U);
                dib->Release();
            });
        EXPECT_EQ(failures, 2);
    }
}

TEST(Container, CreateHeaderAndBufferSurviveEveryFailingAllocation) {
    DibStream dib;
    BITMAPINFOHEADER* header = nullptr;
    EXPECT_EQ(testing_support::forEachFailingAllocation(
                  [&] { dib.ErrorCode = 0; }, [&] { header = dib.CreateHeader(5, 3, 8); },
                  [&](bool failureMet) {
                      EXPECT_EQ(header == nullptr, failureMet);
                      EXPECT_EQ(dib.ErrorCode, failureMet ? DIB_ERROR_MEMORY : DIB_OK);
                      std::free(header);
                  }),
              1);
    HeaderBlock block(5, 3, 8);
    unsigned char* buffer = nullptr;
    dib.ErrorCode = 0;
    EXPECT_EQ(
        testing_support::forEachFailingAllocation([] {}, [&] { buffer = dib.CreateBuffer(block.header()); },
                                                  [&](bool failureMet) {
                                                      EXPECT_EQ(buffer == nullptr, failureMet);
                                                      EXPECT_EQ(dib.ErrorCode, 0);
                                                      std::free(buffer);
                                                  }),
        1);
}

TEST(Container, PluginFolderSurvivesEveryFailingAllocation) {
    const std::string path = "/a/folder/whose/name/does/not/fit/in/a/short/string";
    char out[4096];
    testing_support::forEachFailingAllocation([] { DibStream::SetDllFilePath(""); },
                                              [&] { DibStream::SetDllFilePath(path.c_str()); },
                                              [&](bool failureMet) {
                                                  DibStream::GetDllFilePath(out);
                                                  EXPECT_EQ(out, failureMet ? std::string() : path);
                                              });
    testing_support::forEachFailingAllocation(
        [] {}, [&] { DibStream::GetDllFilePath(out); },
        [&](bool failureMet) { EXPECT_EQ(out, failureMet ? std::string() : path); });
    DibStream::SetDllFilePath("");
}

}  // namespace
}  // namespace container_support

// What a progress callback finds in the image of a PSD load, and what it may do to it.
#include <functional>

#include "tests/formats/PsdTest.h"

namespace psd_test {
namespace {

// Runs `act` at each call, with the number of calls before.
struct Watcher {
    std::function<void(int)> act;
    int calls = 0;

    static bool callback(float, void* user) {
        auto& watcher = *static_cast<Watcher*>(user);
        watcher.act(watcher.calls++);
        return true;
    }
};

struct Watched {
    const char* name;
    Bytes file;
    std::vector<Bytes> blocks;  // at the call of each channel, and after the load
};

constexpr int kSectionCalls = 4;

Bytes repeated(std::size_t count) { return Bytes(count, 255); }

TEST(PsdCallback, FindsTheChannelsStoredSoFar) {
    const auto floats = ByteWriter().be16(0).be32(0x3F000000).be32(0x3F800000).be32(0).be32(0x3E800000).bytes;
    const Watched cases[] = {
        {"RGB of 8 bits, raw",
         document(3, 8, 3, 2, 1, {0, 0, 1, 2, 11, 12, 21, 22}).bytes(),
         {repeated(8),
          {255, 255, 1, 255, 255, 2, 255, 255},
          {255, 11, 1, 255, 12, 2, 255, 255},
          {21, 11, 1, 22, 12, 2, 255, 255}}},
        {"RGB of 8 bits, PackBits",
         document(3, 8, 3, 2, 1, {0, 1, 0, 3, 0, 3, 0, 2, 1, 1, 2, 1, 11, 12, 255, 21}).bytes(),
         {repeated(8),
          {255, 255, 1, 255, 255, 2, 255, 255},
          {255, 11, 1, 255, 12, 2, 255, 255},
          {21, 11, 1, 21, 12, 2, 255, 255}}},
        {"RGB of 16 bits with alpha and a fifth channel, raw",
         document(3, 16, 5, 1, 1, {0, 0, 1, 9, 2, 9, 3, 9, 4, 9, 5, 9}).bytes(),
         {repeated(4), {255, 255, 1, 255}, {255, 2, 1, 255}, {3, 2, 1, 255}, {3, 2, 1, 4}, {3, 2, 1, 4}}},
        {"CMYK of 8 bits, PackBits",
         document(4, 8, 4, 1, 1, {0, 1, 0, 2, 0, 2, 0, 2, 0, 2, 0, 1, 0, 2, 0, 3, 0, 4}).bytes(),
         {repeated(4), {255, 255, 1, 255}, {255, 2, 1, 255}, {3, 2, 1, 255}, {3, 2, 1, 4}}},
        {"grey of 8 bits in two rows, raw",
         document(1, 8, 1, 2, 2, {0, 0, 1, 2, 3, 4}).bytes(),
         {repeated(8), {3, 4, 255, 255, 1, 2, 255, 255}}},
        {"grey of 16 bits, PackBits",
         document(1, 16, 1, 2, 1, {0, 1, 0, 5, 3, 7, 0, 8, 0}).bytes(),
         {repeated(4), {7, 8, 255, 255}}},
        {"grey of 32 bits with a second channel, raw",
         document(1, 32, 2, 2, 1, floats).bytes(),
         {repeated(8), {127, 255, 255, 255, 255, 255, 255, 255}, {127, 255, 255, 255, 255, 255, 255, 255}}},
        {"indexed, raw", document(2, 8, 1, 3, 1, {0, 0, 5, 6, 7}).bytes(), {repeated(4), {5, 6, 7, 255}}},
        {"bitmap, PackBits",
         document(0, 1, 1, 3, 1, {0, 1, 0, 2, 0, 0xA0}).bytes(),
         {repeated(4), {0, 255, 0, 255}}},
        {"RGB of 8 bits whose second channel ends early",
         document(3, 8, 3, 1, 2, {0, 0, 1, 2, 11}).bytes(),
         {repeated(8), {255, 255, 2, 255, 255, 255, 1, 255}, {255, 255, 2, 255, 255, 11, 1, 255}}},
    };
    for (const Watched& watched : cases) {
        const DibPtr image(new DibStream);
        DibPSDLoader loader(image.get());
        std::vector<Bytes> seen;
        Watcher watcher{[&](int call) {
            EXPECT_EQ(image->Header != nullptr, call > 0);
            if (call > 0 && call < kSectionCalls) {
                EXPECT_EQ(testing_support::pixelBytes(*image), repeated(watched.blocks[0].size()));
            }
            if (call >= kSectionCalls) seen.push_back(testing_support::pixelBytes(*image));
        }};
        loader.SetCallback(Watcher::callback, &watcher);
        loader.Load(testing_support::openBytes(watched.file).get());
        seen.push_back(testing_support::pixelBytes(*image));
        EXPECT_EQ(seen, watched.blocks) << watched.name;
    }
}

// Documents that load through every way of storing rows, with layers.
std::vector<PsdDocument> watchedDocuments() {
    std::vector<PsdDocument> documents;
    for (const int channels : {1, 3, 4}) {
        for (const PsdCompression compression : {PsdCompression::kRaw, PsdCompression::kPackBits}) {
            PsdDocument made;
            made.mode = channels == 1 ? 1 : 3;
            made.channels = channels;
            made.width = 40;
            made.height = 9;
            made.compression = compression;
            made.colorMode = Bytes(768, 7);
            made.addLayer({0, 0, 2, 2}, {0});
            documents.push_back(made);
        }
    }
    return documents;
}

// Loads with `act` at the given call; the result is that of the load.
bool loadWith(const PsdDocument& made, DibStream& image, int atCall, const std::function<void()>& act) {
    DibPSDLoader loader(&image);
    Watcher watcher{[&](int call) {
        if (call == atCall) act();
    }};
    loader.SetCallback(Watcher::callback, &watcher);
    loader.EnableLayer(true);
    const bool loaded = loader.Load(testing_support::openBytes(made.bytes()).get());
    EXPECT_EQ(watcher.calls, loaded ? kSectionCalls + 2 + made.channels : atCall + 1);
    return loaded;
}

TEST(PsdCallback, EmptyingOrReplacingTheImageEndsTheLoad) {
    static unsigned char foreignPixels[4] = {1, 2, 3, 4};
    const std::function<void(DibStream&)> changes[] = {
        [](DibStream& image) { image.Clear(); },
        [](DibStream& image) { image.HeaderFree(); },
        [](DibStream& image) { image.BufferFree(); },
        [](DibStream& image) { image.Create(1, 1, 24); },
        [](DibStream& image) { image.Create(5000, 2, 32); },
        // The same size and depth, whose blocks may get the addresses of the old ones.
        [](DibStream& image) { image.Create(40, 9, image.Header->biBitCount); },
        [](DibStream& image) { image.SetBuffer(foreignPixels, 0); },
        [](DibStream& image) { image.Header->biWidth = 4000; },
        [](DibStream& image) { image.Header->biHeight = -9000; },
        [](DibStream& image) { image.Header->biBitCount = image.Header->biBitCount == 24 ? 32 : 24; },
    };
    for (const PsdDocument& made : watchedDocuments()) {
        for (int call = 1; call < kSectionCalls + 2 + made.channels; ++call) {
            for (const auto& change : changes) {
                const DibPtr image(new DibStream);
                image->ErrorCode = kUntouched;
                EXPECT_FALSE(loadWith(made, *image, call, [&] { change(*image); })) << call;
                EXPECT_EQ(image->ErrorCode, kUntouched);
                EXPECT_TRUE(image->HeaderOwner == 6 || image->Header == nullptr);
            }
            // What only looks at the image, or holds it, disturbs nothing.
            const DibPtr image(new DibStream);
            EXPECT_TRUE(loadWith(made, *image, call, [&] { image->Clone()->Release(); }));
            EXPECT_EQ(image->HeaderOwner, 6U);
            EXPECT_EQ(image->BufferOwner, 6U);
        }
    }
}

TEST(PsdCallback, TheImageMayBeReleasedWhileItLoads) {
    const PsdDocument made = watchedDocuments()[0];
    auto* image = new DibStream;
    EXPECT_TRUE(loadWith(made, *image, 3, [&] { image->Release(); }));
}

TEST(PsdCallback, AnImageOfTheCallersOwnMayNotChangeEither) {
    // A step that the callback calls reports its channels, too; the inner call replaces the step's image.
    PsdDocument made = document(1, 8, 1, 40, 9, Bytes(2 + 360));
    const DibPtr target(new DibStream);
    const DibPtr other = testing_support::blankImage(40, 9, 8);
    DibPSDLoader loader(target.get());
    bool stepped = true;
    Watcher watcher{[&](int call) {
        if (call == 3) stepped = loader.LoadImageData(other.get(), nullptr, {PSD_CHANNEL_RED});
        if (call == 4) other->Create(4000, 9000, 8);
    }};
    loader.SetCallback(Watcher::callback, &watcher);
    EXPECT_FALSE(loader.Load(testing_support::openBytes(made.bytes()).get()));
    EXPECT_FALSE(stepped);
}

TEST(PsdCallback, TheLoaderMayBeUsedMeanwhile) {
    const Bytes bytes = watchedDocuments()[2].bytes();
    const DibPtr image(new DibStream);
    // A second load fails and leaves the first one alone.
    {
        DibPSDLoader loader(image.get());
        Watcher watcher{[&](int) { EXPECT_FALSE(loader.Load(testing_support::openBytes(bytes).get())); }};
        loader.SetCallback(Watcher::callback, &watcher);
        EXPECT_TRUE(loader.Load(testing_support::openBytes(bytes).get()));
    }
    // Layers are not read while they are being read.
    {
        DibPSDLoader loader(image.get());
        loader.EnableLayer(true);
        Watcher watcher{[&](int call) {
            if (call == 4 || call == 5) {
                EXPECT_FALSE(loader.LoadLayerMaskInfo());
            }
        }};
        loader.SetCallback(Watcher::callback, &watcher);
        EXPECT_TRUE(loader.Load(testing_support::openBytes(bytes).get()));
        EXPECT_EQ(loader.GetLayerNum(), 1);
        EXPECT_EQ(watcher.calls, kSectionCalls + 2 + 3);
    }
    // Without its target the load has nothing to fill.
    for (const int call : {0, 1, 4, 5}) {
        image->AddRef();  // the reference that the loader forgets
        {
            DibPSDLoader loader(image.get());
            image->Release();
            Watcher watcher{[&](int at) {
                if (at == call) loader.InitVariable();
            }};
            loader.SetCallback(Watcher::callback, &watcher);
            EXPECT_FALSE(loader.Load(testing_support::openBytes(bytes).get()));
            EXPECT_EQ(watcher.calls, call + 1);
        }
        EXPECT_EQ(image->RefCount, 2U);
        image->Release();
    }
}

}  // namespace
}  // namespace psd_test

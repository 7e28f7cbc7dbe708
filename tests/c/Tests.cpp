// Runs the tests in C, and fails the allocations of each call.
#include <DibHandle.h>
#include <DibOperation.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>

#include "tests/c/Checks.h"
#include "tests/support/FailingMalloc.h"
#include "tests/support/Paths.h"
#include "tests/support/PsdBuilder.h"
#include "tests/support/TestImages.h"

void checkInC(int holds, const char* condition, const char* file, int line) {
    if (holds == 0) ADD_FAILURE_AT(file, line) << condition;
}

const char* temporaryFile(const char* name) {
    static std::string path;
    path = testing_support::temporaryPath(name);
    return path.c_str();
}

Block document(void) {
    testing_support::PsdDocument document;
    testing_support::PsdLayer& sky = document.addLayer({0, 1, 2, 4}, {0, 1, 2});
    sky.name = "sky";
    sky.opacity = 200;
    testing_support::PsdLayer& roof =
        document.addLayer({-2, -3, 1, 2}, {0, -2}, testing_support::PsdRectangle{1, 1, 3, 6});
    roof.name = "roof";
    roof.clipping = 1;
    roof.flags = 2;
    const testing_support::PsdBytes bytes = document.bytes();
    const Block block = {std::malloc(bytes.size()), bytes.size()};
    std::memcpy(block.bytes, bytes.data(), bytes.size());
    return block;
}

#define RUN_TEST_IN_C(name) \
    TEST(InC, name) { ::name(); }
TESTS_IN_C(RUN_TEST_IN_C)

namespace {

using testing_support::forEachFailingAllocation;

// Every failing allocation must give code 2. Returns how many there are.
int failEach(const std::function<dib_code()>& act) {
    dib_code code = DIB_C_OK;
    return forEachFailingAllocation(
        [] {}, [&] { code = act(); },
        [&](bool failureMet) { EXPECT_EQ(code, failureMet ? DIB_C_ERROR_MEMORY : DIB_C_OK); });
}

TEST(MemoryInC, imagesGiveCode2) {
    dib_image* image = countedImage(8, DIB_C_TOP_DOWN);
    EXPECT_EQ(failEach(makeInC), 3);
    EXPECT_EQ(failEach(wrapInC), 2);
    EXPECT_EQ(failEach([&] { return cloneInC(image); }), 3);
    EXPECT_GE(failEach([&] { return compareInC(image); }), 3);
    EXPECT_GE(failEach([&] { return montageInC(image); }), 3);
    dib_image_release(image);
}

TEST(MemoryInC, palettesGiveCode2) {
    // A table of two entries has to grow.
    DibHandle image = DibHandle::make();
    const auto prepare = [&] {
        ASSERT_TRUE(image->Create(3, 2, 8));
        image->Header->biClrUsed = 2;
    };
    dib_code code = DIB_C_OK;
    const int failures = forEachFailingAllocation(
        prepare, [&] { code = setPaletteInC(reinterpret_cast<dib_image*>(image.get())); },
        [&](bool failureMet) {
            EXPECT_EQ(code, failureMet ? DIB_C_ERROR_MEMORY : DIB_C_OK);
            EXPECT_EQ(image->Header->biClrUsed, failureMet ? 2U : 1U);
            image->Clear();
        });
    EXPECT_EQ(failures, 1);
}

TEST(MemoryInC, filesGiveCode2) {
    dib_image* image = countedImage(8, DIB_C_TOP_DOWN);
    const Block file = encoded(image, "bmp");
    EXPECT_GE(failEach([&] { return loadInC(&file); }), 3);
    EXPECT_GE(failEach([&] { return probeInC(&file); }), 1);
    EXPECT_GE(failEach([&] { return saveInC(image); }), 1);
    dib_free(file.bytes);
    dib_image_release(image);
    const Block psd = document();
    EXPECT_GE(failEach([&] { return probeLayersInC(&psd); }), 2);
    dib_free(psd.bytes);
    EXPECT_GE(failEach(setFolderInC), 1);
    EXPECT_GE(failEach(describeInC), 1);
    dib_set_plugin_folder(nullptr);
}

TEST(MemoryInC, chainsGiveCode2) {
    dib_image* image = nullptr;
    dib_code code = DIB_C_OK;
    const int failures = forEachFailingAllocation([&] { image = countedImage(24, DIB_C_TOP_DOWN); },
                                                  [&] { code = applyInC(image); },
                                                  [&](bool failureMet) {
                                                      EXPECT_EQ(code, failureMet ? 2 : 0);
                                                      dib_image_release(image);
                                                  });
    EXPECT_GE(failures, 4);
}

// The same bytes as in C++.
TEST(InC, chainsGiveTheSameBytes) {
    const char* chain = "resize:40x30 rotate:30,wrap=xy gaussian:4 bpp:8,method=median";
    dib_image* image = countedImage(24, DIB_C_TOP_DOWN);
    DibHandle same = DibHandle(reinterpret_cast<DibStream*>(image)->Clone());
    ASSERT_EQ(dib_apply(image, chain, nullptr, nullptr, nullptr, nullptr), DIB_C_OK);
    ASSERT_TRUE(DibApply(same.get(), chain));
    EXPECT_TRUE(testing_support::sameImage(*reinterpret_cast<DibStream*>(image), *same));
    dib_image_release(image);
}

}  // namespace

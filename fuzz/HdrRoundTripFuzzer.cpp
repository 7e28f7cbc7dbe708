#include <algorithm>
#include <vector>

#include "formats/Hdr.h"
#include "fuzz/FuzzSupport.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    const int width = 1 + input.below(40);
    const int rows = 1 + input.below(4);
    std::vector<float> colors(static_cast<std::size_t>(3 * width * rows));
    for (float& part : colors) part = input.anyFloat();
    std::FILE* file = std::tmpfile();
    fuzz::require(RGBE_WritePixels_RLE(file, colors.data(), width, rows) == 0, "colours can be written");
    std::rewind(file);
    std::vector<float> again(colors.size());
    fuzz::require(RGBE_ReadPixels_RLE(file, again.data(), width, rows) == 0, "and read");
    std::fclose(file);

    file = std::tmpfile();
    rgbe_header_info info = {};
    info.valid = input.below(8);
    info.gamma = 2.5F;
    info.exposure = 0.5F;
    fuzz::require(RGBE_WriteHeader(file, width, rows, &info) == 0, "a header can be written");
    fuzz::require(RGBE_WritePixels(file, colors.data(), width * rows) == 0, "and flat colours");
    std::rewind(file);
    rgbe_header_info read = {};
    int readWidth = 0;
    int readRows = 0;
    fuzz::require(RGBE_ReadHeader(file, &readWidth, &readRows, &read) == 0, "a header can be read");
    fuzz::require(readWidth == width && readRows == rows, "with the size");
    std::vector<float> flat(colors.size());
    fuzz::require(RGBE_ReadPixels(file, flat.data(), width * rows) == 0, "and flat colours");
    std::fclose(file);
    fuzz::require(std::all_of(again.begin(), again.end(), [](float part) { return part >= 0; }),
                  "as colours");
    return 0;
}

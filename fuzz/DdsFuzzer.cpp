#include "fuzz/FuzzSupport.h"
#include "plugins/dds/Reader.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::withFile(data, size, [](std::FILE* file) {
        plugins::Picture picture;
        if (!plugins::dds::read(file, picture, nullptr, nullptr)) return;
        BITMAPINFOHEADER* header = nullptr;
        unsigned char* buffer = nullptr;
        picture.release(&header, &buffer);
        DibStream image;
        fuzz::require(image.SetDib(header, 6, buffer, 6), "a picture can be adopted");
        fuzz::checkImage(image);
    });
    return 0;
}

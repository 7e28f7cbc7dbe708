#include <DibCodec.h>

#include "dib/File.h"
#include "formats/Ilbm.h"
#include "fuzz/CodecFuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto save = [](std::FILE* file, DibStream& image) {
        formats::iff_outstream form;
        if (!SaveIFF(form, &image, fuzz::reportOf(image), nullptr)) return false;
        const unsigned char head[] = {'F', 'O', 'R', 'M', 0x7F, 0xFF, 0xFF, 0xFF};
        return dib::writeBytes(file, head, sizeof head) && dib::writeBytes(file, form.buffer, form.length);
    };
    // Fewer than eight planes do not keep their pixels.
    const auto judge = [](DibStream& saved, DibStream& loaded) {
        if (saved.Header->biBitCount >= 8) fuzz::requireSameColors(saved, loaded);
    };
    return fuzz::roundTrip(save, LoadIFF, judge, data, size, SaveIFF, SaveIFF);
}

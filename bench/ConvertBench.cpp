// Changes of colour depth. A conversion replaces the image it works on, so the timed image borrows the blocks
// of the picture anew for each call: like the peers it reads the same source each time and makes a new
// result.
#include "bench/Bench.h"

namespace {

using Convert = bool (*)(DibStream&);

// The picture with the colour table given, or the grey one.
bench::DibRef source(int width, int height, int channels) {
    return bench::dibOf(pb::img(width, height, channels));
}

bench::DibRef withPalette(bench::DibRef dib) {
    const std::vector<std::uint8_t> palette = pb::palette332();
    std::memcpy(reinterpret_cast<unsigned char*>(dib->Header) + 40, palette.data(), palette.size());
    return dib;
}

bool isGrey(const DibStream& dib) {
    if (dib.Header->biBitCount != 8) return false;
    const unsigned char* entry = reinterpret_cast<const unsigned char*>(dib.Header) + 40;
    for (int i = 0; i < 256; ++i, entry += 4) {
        if (entry[0] != i || entry[1] != i || entry[2] != i) return false;
    }
    return true;
}

pb::Op borrowed(const bench::DibRef& from, Convert convert) {
    const bench::DibRef to = bench::adopt(new DibStream);
    return pb::Op(
        [=] {
            to->SetDib(from->Header, 0, from->Buffer, 0);
            pb::need(convert(*to), "conversion failed");
        },
        [=] {
            // Greys are compared as they are, indices as the colours they stand for.
            if (to->Header->biBitCount <= 8 && !isGrey(*to)) to->ChangeTo24Bit(0);
            return bench::outOf(*to);
        });
}

pb::Op cloned(const bench::DibRef& from, Convert convert) {
    return pb::Op([=] { pb::need(convert(*bench::adopt(from->Clone())), "conversion failed"); });
}

void add(const char* op, int width, int height, int channels, Convert convert, int slow = 0) {
    pb::add(
        op, width, height, 8 * channels, "ours", "source borrowed, result allocated",
        [=] { return borrowed(source(width, height, channels), convert); }, slow);
    pb::add(
        op, width, height, 8 * channels, "ours.clone", "clone included",
        [=] { return cloned(source(width, height, channels), convert); }, slow);
}

void registerCases() {
    const Convert to32 = [](DibStream& dib) { return dib.ChangeBpp(32, 0); };
    const Convert to24 = [](DibStream& dib) { return dib.ChangeBpp(24, 0); };
    const Convert to16 = [](DibStream& dib) { return dib.ChangeBpp(16, 0); };
    const Convert toGrey = [](DibStream& dib) { return dib.ChangeBpp(8, 0); };
    add("cvt_24_to_32", pb::W, pb::H, 3, to32);
    add("cvt_24_to_32", pb::W4, pb::H4, 3, to32);
    add("cvt_32_to_24", pb::W, pb::H, 4, to24);
    add("cvt_24_to_16", pb::W, pb::H, 3, to16);
    add("cvt_24_to_8grey", pb::W, pb::H, 3, toGrey);
    add("cvt_24_to_8grey", pb::W4, pb::H4, 3, toGrey);
    add("cvt_24_to_8grey", pb::W, pb::H, 4, toGrey);
    add("cvt_8_to_24", pb::W, pb::H, 1, to24);
    pb::add("cvt_8_to_24", pb::W, pb::H, 8, "ours.palette", "colours, not a grey ramp",
            [=] { return borrowed(withPalette(source(pb::W, pb::H, 1)), to24); });
    add("ordered_dither", pb::W, pb::H, 3, [](DibStream& dib) { return dib.ChangeTo8Bit(DIB_DITHER); });
    add("dither_1bit", pb::W, pb::H, 3, [](DibStream& dib) { return dib.ChangeTo1Bit(0); });
    add("dither_1bit", pb::W, pb::H, 1, [](DibStream& dib) { return dib.ChangeTo1Bit(0); });
    add("quantize_256", pb::W, pb::H, 3, [](DibStream& dib) { return dib.ChangeTo8Bit(DIB_MEDIAN_CUT); });
}

const bench::Registrar registrar(registerCases);

}  // namespace

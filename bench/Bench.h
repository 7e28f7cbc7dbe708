// Our side of the comparison: the shared pictures as DibStream images, and results for the exactness check.
#ifndef BENCH_BENCH_H
#define BENCH_BENCH_H

#include <DibStream.h>

#include <cstring>
#include <memory>

#include "bench/harness/Harness.h"

namespace bench {

using DibRef = std::shared_ptr<DibStream>;

inline DibRef adopt(DibStream* dib) {
    pb::need(dib != nullptr, "no image");
    return {dib, [](DibStream* d) { d->Release(); }};
}

// A top-down copy of a benchmark picture: 8 bits grey, 24 or 32 bits by its channels.
inline DibRef dibOf(const pb::Image& image) {
    DibRef dib = adopt(new DibStream);
    pb::need(dib->Create(image.w, -image.h, image.ch * 8), "no memory");
    for (int y = 0; y < image.h; ++y) std::memcpy(dib->ScanLine(y), image.row(y), image.stride());
    return dib;
}

// The pixels for the exactness check.
inline pb::Out outOf(DibStream& dib) {
    pb::Out out;
    out.w = dib.Header->biWidth;
    out.h = std::abs(dib.Header->biHeight);
    out.ch = dib.Header->biBitCount / 8;
    const std::size_t rowBytes = static_cast<std::size_t>(out.w) * static_cast<std::size_t>(out.ch);
    for (int y = 0; y < out.h; ++y) out.d.insert(out.d.end(), dib.ScanLine(y), dib.ScanLine(y) + rowBytes);
    return out;
}

// Each *Bench.cpp registers its cases through one of these.
struct Registrar {
    explicit Registrar(void (*registerCases)()) { registerCases(); }
};

}  // namespace bench

#endif

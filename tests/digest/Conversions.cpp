// Every conversion between depths, and what the container makes of an image.
#include <array>

#include "dib/Memory.h"
#include "tests/digest/Digest.h"

namespace digest {

namespace {

void printChangeBpp(const Kind& kind, int target, unsigned int flags) {
    const Hash hash = runOnSizes(
        kind, [&](DibProgressCallback, void*, DibStream* image) { return image->ChangeBpp(target, flags); });
    line("convert " + nameOf(kind) + " to " + std::to_string(target) + " flags=" + std::to_string(flags), "-",
         hash);
}

// Pixels as plain bytes, one, three or four to a pixel.
void printPlainPixels(const Kind& kind) {
    Hash hash;
    for (const auto& size : testing_support::kSizes) {
        const DibPtr image = picture(kind, size.width, size.height);
        const auto pixels = static_cast<std::size_t>(size.width * size.height);
        const dib::MallocPtr<unsigned char> grey(image->Create8Bit());
        const dib::MallocPtr<unsigned char> colour(image->Create24Bit());
        const dib::MallocPtr<unsigned char> alpha(image->Create32Bit());
        hash.bytes(grey.get(), pixels);
        hash.bytes(colour.get(), 3 * pixels);
        hash.bytes(alpha.get(), 4 * pixels);
    }
    line("plain pixels " + nameOf(kind), "-", hash);
}

void printAlphaPlane(const Kind& kind) {
    Hash hash;
    for (const auto& size : testing_support::kSizes) {
        const DibPtr image = picture(kind, size.width, size.height);
        const DibPtr alpha(image->CreateAlphaDib());
        hash.number(alpha != nullptr);
        if (alpha != nullptr) hash.image(*alpha);
        const DibPtr plane = picture({8, kind.topDown}, size.width, size.height);
        hash.number(image->SetAlphaPlane(plane.get()));
        hash.image(*image);
        const DibPtr clone(image->Clone());
        hash.image(*clone);
        image->SetMonoPalette();
        hash.image(*image);
    }
    line("container " + nameOf(kind), "-", hash);
}

}  // namespace

void printConversions() {
    for (const Kind& kind : kKinds) {
        for (const int target : testing_support::kDepths) {
            for (const unsigned int flags : {0U, 1U, 2U, 0x100002U}) printChangeBpp(kind, target, flags);
        }
        printPlainPixels(kind);
        printAlphaPlane(kind);
    }
}

}  // namespace digest

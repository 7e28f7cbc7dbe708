#include "dib/ByteTone.h"
#include "effects/EffectFrame.h"

bool DibEffectReverse(DibProgressCallback, void*, DibStream* image) {
    if (image == nullptr) return false;
    if (image->Header == nullptr) return true;
    // The block counts, not the rows: every depth is inverted alike, and sizes that cannot exist hold
    // nothing.
    const std::size_t imageBytes = dib::admitSize(*image->Header).imageBytes;
    if (imageBytes == 0) return true;
    if (image->Buffer == nullptr) return false;
    dib::invertBytes(image->Buffer, imageBytes);
    return true;
}

bool DibEffectReverse(DibProgressCallback callback, void* user, DibStream* image, DEReverseInfo*) {
    DibEffectReverse(callback, user, image);
    return true;
}

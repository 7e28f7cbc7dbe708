#include "dib/ToneLookup.h"
#include "effects/EffectFrame.h"

bool DibEffectReverse(DibProgressCallback, void*, DibStream* image) {
    if (image == nullptr) return false;
    if (image->Header == nullptr) return true;
    // The whole block is inverted, whatever the depth. Images of impossible sizes have none.
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

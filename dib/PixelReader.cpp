#include "dib/PixelReader.h"
#include "dib/Numbers.h"

#include "dib/Memory.h"

namespace dib {

PixelReader::PixelReader(DibStream& image, Packed form) : pixels_(image.Buffer) {
    if (image.Header == nullptr || image.Buffer == nullptr || !isDepth(image.Header->biBitCount)) return;
    size_ = admitSize(*image.Header);
    if (!size_.admitted) {
        failForMemory(image);
        return;
    }
    const int bitCount = image.Header->biBitCount;
    convert_ = converterOf(bitCount, form);
    isStored_ = bitCount >= 24 && bitsOf(form) == bitCount;
    bitCount_ = asSize(bitCount);
    width_ = asSize(image.Header->biWidth);
    if (bitCount <= 8) colors_ = IndexColors(*image.Header);
}

}  // namespace dib

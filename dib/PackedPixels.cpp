// The packed working forms of an image: rows in buffer order without fill bytes.
#include <DibStream.h>

#include "dib/ImageSize.h"
#include "dib/Memory.h"
#include "dib/PixelReader.h"

namespace {

unsigned char* createPacked(DibStream& image, dib::Packed form) {
    const dib::PixelReader reader(image, form);
    if (!reader.readable()) return nullptr;

    const BITMAPINFOHEADER& header = *image.Header;
    const std::size_t pixelBytes = dib::bytesOf(form);
    dib::MallocPtr<unsigned char> packed;
    if (dib::admitSize(header.biWidth, header.biHeight, dib::bitsOf(form)).admitted) {
        packed = dib::allocateImageBlock(reader.width() * pixelBytes * reader.rows());
    }
    if (packed == nullptr) {
        dib::failForMemory(image);
        return nullptr;
    }
    for (std::size_t row = 0; row < reader.rows(); ++row) {
        unsigned char* to = packed.get() + row * reader.width() * pixelBytes;
        dib::forEachStrip(reader.width(), [&](std::size_t x, std::size_t count) {
            reader.read(row, x, count, to + x * pixelBytes);
        });
    }
    return packed.release();
}

}  // namespace

unsigned char* DibStream::Create8Bit() { return createPacked(*this, dib::Packed::kGrey); }

unsigned char* DibStream::Create24Bit() { return createPacked(*this, dib::Packed::kBgr); }

unsigned char* DibStream::Create32Bit() { return createPacked(*this, dib::Packed::kBgra); }

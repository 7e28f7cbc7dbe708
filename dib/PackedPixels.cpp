// The packed working forms of an image: rows in buffer order without fill bytes.
#include <DibStream.h>

#include "dib/ImageSize.h"
#include "dib/Memory.h"
#include "dib/PixelReader.h"

namespace {

using Read = void (dib::PixelReader::*)(std::size_t, std::size_t, std::size_t, std::uint8_t*) const;

unsigned char* createPacked(DibStream& image, std::size_t pixelBytes, Read read) {
    const dib::PixelReader reader(image);
    if (!reader.readable()) return nullptr;

    const BITMAPINFOHEADER& header = *image.Header;
    dib::MallocPtr<unsigned char> packed;
    if (dib::admitSize(header.biWidth, header.biHeight, static_cast<std::int64_t>(8 * pixelBytes)).admitted) {
        packed = dib::allocateImageBlock(reader.width() * pixelBytes * reader.rows());
    }
    if (packed == nullptr) {
        dib::failForMemory(image);
        return nullptr;
    }
    for (std::size_t row = 0; row < reader.rows(); ++row) {
        unsigned char* to = packed.get() + row * reader.width() * pixelBytes;
        dib::forEachStrip(reader.width(), [&](std::size_t x, std::size_t count) {
            (reader.*read)(row, x, count, to + x * pixelBytes);
        });
    }
    return packed.release();
}

}  // namespace

unsigned char* DibStream::Create8Bit() { return createPacked(*this, 1, &dib::PixelReader::readGrey); }

unsigned char* DibStream::Create24Bit() { return createPacked(*this, 3, &dib::PixelReader::readBgr); }

unsigned char* DibStream::Create32Bit() { return createPacked(*this, 4, &dib::PixelReader::readBgra); }

// The pixels of an image as a QImage, and those of a QImage as an image. Both pad their rows to 4 bytes.
#include <DibEffect.h>
#include <DibStream.h>

#include <QColor>
#include <QImage>
#include <cstdio>

// The first row of a QImage is the top row: UpDown(true) reorders the rows in place.
QImage pictureOf(DibStream& image) {
    if (!image.UpDown(true)) return {};
    const auto format = image.Header->biBitCount == 24   ? QImage::Format_BGR888
                        : image.Header->biBitCount == 32 ? QImage::Format_ARGB32
                                                         : QImage::Format_Invalid;
    if (format == QImage::Format_Invalid) return {};
    return {image.Buffer, image.Header->biWidth, -image.Header->biHeight, static_cast<int>(image.GetPitch()),
            format};
}

// The image borrows picture and header, and both must live longer. bits() detaches a picture with shared
// pixels.
bool viewOf(QImage& picture, BITMAPINFOHEADER& header, DibStream& image) {
    const int bitCount = picture.format() == QImage::Format_BGR888   ? 24
                         : picture.format() == QImage::Format_ARGB32 ? 32
                                                                     : 0;
    if (!image.SetBitmapInfo(header, picture.width(), -picture.height(), bitCount)) return false;
    return image.SetDib(&header, 0, picture.bits(), 0) &&
           image.GetPitch() == static_cast<unsigned int>(picture.bytesPerLine());
}

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: qt IN.bmp OUT.bmp\n");
        return 2;
    }
    DibStream image;
    if (!image.LoadFromFile(argv[1], DibStream::DIB_ACCEPT_ALL) || !image.ChangeBpp(32, 0)) return 1;

    QImage picture = pictureOf(image);
    if (picture.constBits() != image.Buffer) return 1;
    picture.setPixelColor(0, 0, QColor(30, 20, 10));
    const auto* pixel = reinterpret_cast<const DibBGRA*>(image.Pixel(0, 0));
    if (pixel->blue != 10 || pixel->green != 20 || pixel->red != 30) return 1;

    QImage own = picture.convertToFormat(QImage::Format_BGR888);
    BITMAPINFOHEADER header{};
    DibStream view;
    if (!viewOf(own, header, view) || !DibEffectReverse(nullptr, nullptr, &view)) return 1;
    if (own.pixelColor(0, 0) != QColor(225, 235, 245)) return 1;

    return image.SaveToFile(argv[2]) ? 0 : 1;
}

// Qt 5: QImage and QPainter's raster engine, as an application with windows would use them.
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QThreadPool>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "bench/harness/Harness.h"

namespace pb {
namespace {

using QImageRef = std::shared_ptr<QImage>;

// A copy. Pictures of 24 bits become those of 32, in which QPainter works, where `painted` asks for it.
QImageRef imageOf(const Image& picture, bool painted = false) {
    const QImage::Format format = picture.ch == 1   ? QImage::Format_Grayscale8
                                  : picture.ch == 3 ? QImage::Format_BGR888
                                                    : QImage::Format_ARGB32;
    const QImage pixels(picture.d.data(), picture.w, picture.h, static_cast<int>(picture.stride()), format);
    if (!painted) return std::make_shared<QImage>(pixels.copy());
    return std::make_shared<QImage>(
        pixels.convertToFormat(picture.ch == 3 ? QImage::Format_RGB32 : QImage::Format_ARGB32_Premultiplied));
}

QImageRef indexedOf(const Image& picture) {
    const auto image = std::make_shared<QImage>(picture.w, picture.h, QImage::Format_Indexed8);
    QVector<QRgb> palette;
    for (int value = 0; value < 256; ++value) palette << qRgb(value, value, value);
    image->setColorTable(palette);
    for (int y = 0; y < picture.h; ++y) std::memcpy(image->scanLine(y), picture.row(y), picture.stride());
    return image;
}

Out resultOf(const QImage& image) {
    const bool grey = image.format() == QImage::Format_Grayscale8;
    const QImage bytes = grey ? image : image.convertToFormat(QImage::Format_BGR888);
    return outOf(bytes.constBits(), bytes.width(), bytes.height(), bytes.depth() / 8,
                 static_cast<std::size_t>(bytes.bytesPerLine()));
}

enum class Pixels { asTheyAre, painted };

template <class Operation>
void addQt(const char* op, int depth, const char* note, Pixels pixels, Operation operate, int width = W,
           int height = H) {
    add(op, width, height, depth, "qt5", note, [=] {
        const QImageRef source = imageOf(img(width, height, depth / 8), pixels == Pixels::painted);
        const auto result = std::make_shared<QImage>();
        return Op([=] { *result = operate(*source); }, [=] { return resultOf(*result); });
    });
}

void load(const char* op, int depth, const char* note, int width = W, int height = H) {
    add(op, width, height, depth, "qt5", note, [=] {
        const QString path = QString::fromStdString(loadFile(op, width));
        return Op([=] {
            QImage image;
            need(image.load(path), "load");
        });
    });
}

void save(const char* op, const char* format, int depth, int quality, const char* note) {
    add(op, W, H, depth, "qt5", note, [=] {
        const QString path = QString::fromStdString(file(std::string("out_qt.") + format));
        const QImageRef source = depth == 8 ? indexedOf(img(W, H, 1)) : imageOf(img(W, H, 3), true);
        return Op([=] { need(source->save(path, format, quality), "save"); });
    });
}

void files() {
    load("load_bmp24", 24, "`QImage::load`, makes 32 bits");
    load("load_bmp24", 24, "`QImage::load`, makes 32 bits", W4, H4);
    load("load_bmp32", 32, "`QImage::load`");
    load("load_bmp8", 8, "`QImage::load`");
    load("load_bmp_rle8", 8, "`QImage::load`");
    load("load_ppm_p6", 24, "`QImage::load`, makes 32 bits");
    load("load_pgm_p5", 8, "`QImage::load`");
    load("load_png24", 24, "`QImage::load`");
    load("load_jpeg", 24, "`QImage::load`");
    save("save_bmp24", "bmp", 24, -1, "`QImage::save` of 32 bits");
    save("save_bmp8", "bmp", 8, -1, "`QImage::save`");
    save("save_ppm_p6", "ppm", 24, -1, "`QImage::save` of 32 bits");
    save("save_png24", "png", 24, -1, "`QImage::save`, its own level");
    save("save_jpeg", "jpg", 24, 90, "`QImage::save`, quality 90");
}

void size(const char* op, int depth, int width, int height) {
    addQt(op, depth, "`QImage::scaled`, smooth, on 32 bits", Pixels::painted, [=](const QImage& source) {
        return source.scaled(width, height, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    });
}

QImage rotate(const QImage& source) {
    QImage result(source.size(), source.format());
    result.fill(0);
    QPainter painter(&result);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    painter.translate(W * .5, H * .5);
    painter.rotate(-kRotateDeg);
    painter.translate(-W * .5, -H * .5);
    painter.drawImage(0, 0, source);
    painter.end();
    return result;
}

void geometry(int depth) {
    size("resize_bilinear_up", depth, UpW, UpH);
    size("resize_bilinear_down", depth, DnW, DnH);
    size("resize_area_037", depth, ArW, ArH);
    size("resize_half", depth, HfW, HfH);
    addQt("rotate30", depth, "`QPainter::rotate`, smooth, on 32 bits, corners stay blank", Pixels::painted,
          rotate);
    addQt("invert", depth, "`invertPixels` of a copy, on 32 bits", Pixels::painted, [](const QImage& source) {
        QImage result = source;
        result.invertPixels();
        return result;
    });
}

void convert(const char* op, int depth, const char* note, Pixels pixels, QImage::Format format,
             Qt::ImageConversionFlags flags = Qt::AutoColor, int width = W, int height = H) {
    addQt(
        op, depth, note, pixels, [=](const QImage& source) { return source.convertToFormat(format, flags); },
        width, height);
}

void depths() {
    convert("ordered_dither", 24, "`convertToFormat`, the same colours", Pixels::painted,
            QImage::Format_Indexed8, Qt::ColorOnly | Qt::OrderedDither);
    convert("dither_colour_cube_diffuse", 24, "`convertToFormat`", Pixels::painted, QImage::Format_Indexed8,
            Qt::ColorOnly | Qt::DiffuseDither);
    convert("dither_1bit", 24, "`convertToFormat`, other shares of the error", Pixels::painted,
            QImage::Format_Mono, Qt::MonoOnly | Qt::DiffuseDither);
    convert("ordered_dither_1bit", 24, "`convertToFormat`", Pixels::painted, QImage::Format_Mono,
            Qt::MonoOnly | Qt::OrderedDither);
    convert("cvt_24_to_8grey", 24, "`convertToFormat` of 32 bits, other weights", Pixels::painted,
            QImage::Format_Grayscale8);
    convert("cvt_24_to_32", 24, "`convertToFormat`", Pixels::asTheyAre, QImage::Format_RGB32);
    convert("cvt_24_to_32", 24, "`convertToFormat`", Pixels::asTheyAre, QImage::Format_RGB32, Qt::AutoColor,
            W4, H4);
    convert("cvt_32_to_24", 32, "`convertToFormat`", Pixels::asTheyAre, QImage::Format_BGR888);
    convert("cvt_24_to_16", 24, "`convertToFormat` of 32 bits", Pixels::painted, QImage::Format_RGB555);
    add("cvt_8_to_24", W, H, 8, "qt5", "`convertToFormat`, makes 32 bits", [] {
        const QImageRef source = indexedOf(img(W, H, 1));
        const auto result = std::make_shared<QImage>();
        return Op([=] { *result = source->convertToFormat(QImage::Format_RGB32); });
    });
}

void copies() {
    const auto turnOver = [](const QImage& source) { return source.mirrored(false, true); };
    const auto copy = [](const QImage& source) { return source.copy(); };
    for (const int depth : {24, 32}) {
        addQt("flip_v", depth, "`QImage::mirrored`", Pixels::asTheyAre, turnOver);
        addQt("clone_deep", depth, "`QImage::copy`", Pixels::asTheyAre, copy);
    }
    addQt("flip_v", 24, "`QImage::mirrored`", Pixels::asTheyAre, turnOver, W4, H4);
    addQt("clone_deep", 24, "`QImage::copy`", Pixels::asTheyAre, copy, W4, H4);
    addQt("flip_h", 24, "`QImage::mirrored`", Pixels::asTheyAre,
          [](const QImage& source) { return source.mirrored(true, false); });
    addQt("crop_half", 24, "`QImage::copy` of a rectangle", Pixels::asTheyAre,
          [](const QImage& source) { return source.copy(CropX, CropY, CropW, CropH); });
    add("compose_half", W, H, 32, "qt5", "`QPainter::drawImage` at half opacity, in place", [] {
        const QImageRef image = imageOf(img(W, H, 3), true), other = imageOf(img2(W, H, 3), true);
        return Op([=] {
            QPainter painter(image.get());
            painter.setOpacity(kOpacity);
            painter.drawImage(0, 0, *other);
        });
    });
}

}  // namespace
}  // namespace pb

int main(int argc, char** argv) {
    ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
    int own = 1;  // Qt takes none of the options
    const QGuiApplication application(own, argv);
    QThreadPool::globalInstance()->setMaxThreadCount(1);
    pb::addProgram("qt5", std::string("Qt ") + qVersion());
    pb::files();
    for (const int depth : {24, 32}) pb::geometry(depth);
    pb::depths();
    pb::copies();
    return pb::benchMain(argc, argv);
}

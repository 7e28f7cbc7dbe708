#include "Picture.h"

#include <DibOperation.h>

#include <algorithm>
#include <new>

// Of a DibFileResult or a DibOperationResult, with the picture that was made, if there is one.
template <class Result>
static Outcome outcomeOf(const Result& result, const std::shared_ptr<Picture>& made = nullptr) {
    Outcome outcome;
    outcome.reason = QString::fromUtf8(result.reason);
    outcome.code = result.code;
    for (int i = 0; i < result.noteCount; ++i) outcome.notes << QString::fromUtf8(result.notes[i].text);
    if (result.code != DIB_OK || made == nullptr) return outcome;
    if (!made->image.UpDown(true)) throw std::bad_alloc();
    outcome.picture = made;
    return outcome;
}

static DibBytes copyOf(const DibBytes& from) {
    DibBytes to;
    if (from.size > 0) to.data = static_cast<unsigned char*>(std::malloc(from.size));
    if (from.size > 0 && to.data == nullptr) throw std::bad_alloc();
    std::copy_n(from.data, from.size, to.data);
    to.size = from.size;
    return to;
}

static DibMetadata copyOf(const DibMetadata& from) {
    return {from.xResolution,          from.yResolution,   from.orientation,
            copyOf(from.colorProfile), copyOf(from.exif),  copyOf(from.paletteAlpha),
            copyOf(from.timFrame),     copyOf(from.texts), copyOf(from.xmp)};
}

// QImage knows indices of 8 bits. Those beyond the end of the colour table are black.
static QImage indexed(const Picture& picture) {
    const BITMAPINFOHEADER& header = *picture.image.Header;
    const std::size_t bits = header.biBitCount, count = std::size_t(1) << bits;
    const auto* table = reinterpret_cast<const DibBGRA*>(&header + 1);
    const DibBytes& alpha = picture.metadata.paletteAlpha;
    QList<QRgb> colors(qsizetype(count), qRgb(0, 0, 0));
    for (std::size_t i = 0; i < count && (header.biClrUsed == 0 || i < header.biClrUsed); ++i)
        colors[qsizetype(i)] =
            qRgba(table[i].red, table[i].green, table[i].blue, i < alpha.size ? alpha.data[i] : 255);
    QImage shown(header.biWidth, -header.biHeight, QImage::Format_Indexed8);
    shown.setColorTable(colors);
    const unsigned char* row = picture.image.Buffer;
    for (int y = 0; y < shown.height(); ++y, row += picture.image.GetPitch())
        for (std::size_t x = 0, bit = 0; bit < bits * std::size_t(shown.width()); ++x, bit += bits)
            shown.scanLine(y)[x] = uchar(row[bit / 8] >> (8 - bits - bit % 8) & (count - 1));
    return shown;
}

Work openPicture(const QString& path, int layer) {
    return [path, layer](Progress progress) {
        const auto picture = std::make_shared<Picture>();
        const auto layers = std::make_shared<DibLayers>();
        DibLoadOptions options;
        options.layer = layer;
        DibFileResult result;
        const QByteArray name = path.toUtf8();
        if (DibLoadFile(name, &picture->image, &options, &result, progress.callback, progress.user)) {
            picture->metadata = std::move(result.metadata);
            DibProbeLayers(name, layers.get());
        }
        Outcome outcome = outcomeOf(result, picture);
        outcome.layers = layers;
        return outcome;
    };
}

Work applyStep(const PicturePtr& picture, const QByteArray& step) {
    return [picture, step](Progress progress) {
        const auto changed = std::make_shared<Picture>();
        DibOperationResult result;
        DibChain chain;
        // An owner of 0 lends a block: DibApply reads it, and gives the image blocks of its own.
        changed->image.SetDib(picture->image.Header, 0, picture->image.Buffer, 0);
        if (!DibParseStep(step, &chain, &result) ||
            !DibApply(&changed->image, chain.steps, 1, nullptr, &result, progress.callback, progress.user))
            return outcomeOf(result);
        changed->metadata = copyOf(picture->metadata);
        if (result.exchangesAxes) std::swap(changed->metadata.xResolution, changed->metadata.yResolution);
        if (!chain.steps->operation->movesPixels)
            changed->metadata.paletteAlpha = std::move(result.paletteAlpha);
        return outcomeOf(result, changed);
    };
}

Work savePicture(const PicturePtr& picture, const QString& path, bool acceptsLosses) {
    return [picture, path, acceptsLosses](Progress progress) {
        DibSaveOptions options;
        options.metadata = &picture->metadata;
        options.refusesLosses = !acceptsLosses;
        DibFileResult result;
        DibSaveFile(path.toUtf8(), &picture->image, &options, &result, progress.callback, progress.user);
        return outcomeOf(result);
    };
}

QImage shownImage(const PicturePtr& picture) {
    const DibStream& image = picture->image;
    const int bits = image.Header->biBitCount;
    if (bits <= 8) return indexed(*picture);
    const auto format = bits == 16   ? QImage::Format_RGB555
                        : bits == 24 ? QImage::Format_BGR888
                                     : QImage::Format_ARGB32;
    // Both pad rows to 4 bytes. The QImage drops its reference to the picture with its last copy.
    const auto drop = [](void* reference) { delete static_cast<PicturePtr*>(reference); };
    return QImage(image.Buffer, image.Header->biWidth, -image.Header->biHeight,
                  static_cast<qsizetype>(image.GetPitch()), format, drop, new PicturePtr(picture));
}

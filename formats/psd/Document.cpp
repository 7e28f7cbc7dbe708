#include "formats/psd/Document.h"

#include <algorithm>
#include <cstdarg>
#include <cstring>
#include <new>

#include "dib/Memory.h"
#include "dib/Numbers.h"
#include "formats/CallbackGuard.h"
#include "formats/psd/Pixels.h"

namespace formats::psd {

Document::Document(DibPSDLoader& loader, ByteReader& source, std::FILE* stream)
    : file(source),
      isWatched(loader.callback_ != nullptr),
      header(loader.header_),
      target(loader.target_),
      layers(loader.layers_),
      layerImages(loader.layerImages_),
      loader_(loader) {
    loader.stream_ = stream;
    loader.fileSize_ = file.size();
    loader.document_ = this;
}

Document::~Document() {
    loader_.stream_ = nullptr;
    loader_.document_ = nullptr;
}

bool Document::load() {
    if (!readHeader(*this) || !createTarget()) return false;
    if (readColorMode(*this) && readResources(*this) && readLayers(*this)) return readMergedPicture(*this);
    if (!isWatched) fillWhite(*target);
    return false;
}

bool Document::createTarget() {
    if (target == nullptr) target = new (std::nothrow) DibStream;
    if (target == nullptr) return false;
    const int bitCount = header.channels == 3 ? 24 : header.channels == 1 ? 8 : 32;
    if (!createPicture(file, *target, header.columns, header.rows, bitCount)) return false;
    // Without a callback the picture is not seen before its pixels are stored; only the rest is filled then.
    if (isWatched) fillWhite(*target);
    return true;
}

bool Document::report() {
    if (loader_.callback_ == nullptr) return true;
    // Lengths in the file may lead beyond its end, and it may be empty; a fraction stays between 0 and 1.
    const std::int64_t position = std::min(file.position(), file.size());
    const float fraction = file.size() > 0 ? dib::doneShare(position, file.size()) : 0.0F;
    DibStream* const image = target;
    if (image == nullptr) return loader_.callback_(fraction, loader_.user_);
    const CallbackGuard guard(*image);
    return loader_.callback_(fraction, loader_.user_) && target == image && guard.isIntact();
}

void Document::log(const char* format, ...) const {
    if (!hasLog()) return;
    std::va_list values;
    va_start(values, format);
    std::vfprintf(loader_.log_, format, values);
    va_end(values);
}

void Document::setError(DibErrorCode code) {
    if (target != nullptr) target->ErrorCode = code;
}

bool readText(Reader& file, char*& out, int unit) {
    unsigned char block[4];
    if (unit < 1 || unit > 4) return false;
    const auto unitBytes = dib::asSize(unit);
    if (!file.read(block, unitBytes)) return false;
    const std::size_t length = block[0];
    out = dib::allocateZeroed<char>(length + 1).release();
    if (out == nullptr) return false;

    std::size_t copied = std::min(length, unitBytes - 1);
    std::memcpy(out, block + 1, copied);
    while (copied < length) {
        if (!file.read(block, unitBytes)) return false;
        const std::size_t part = std::min(unitBytes, length - copied);
        std::memcpy(out + copied, block, part);
        copied += part;
    }
    return true;
}

}  // namespace formats::psd

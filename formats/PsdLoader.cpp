// The frame of a PSD document: header, colour-mode data and the order of the five sections.
#include <DibCodec.h>
#include <DibPSDLoader.h>

#include <algorithm>
#include <cstdarg>
#include <cstring>
#include <new>

#include "dib/ColorTable.h"
#include "dib/File.h"
#include "dib/ImageSize.h"
#include "dib/Memory.h"
#include "formats/CallbackGuard.h"
#include "formats/CodecFrame.h"
#include "formats/PsdPixels.h"
#include "formats/PsdReader.h"

// Construction and settings.

DibPSDLoader::DibPSDLoader() = default;

DibPSDLoader::DibPSDLoader(DibStream* dib) : target_(dib) {
    if (target_ != nullptr) target_->AddRef();
}

DibPSDLoader::~DibPSDLoader() {
    DropDocument();
    if (target_ != nullptr) target_->Release();
}

void DibPSDLoader::InitVariable() {
    target_ = nullptr;
    callback_ = nullptr;
    user_ = nullptr;
    log_ = nullptr;
    enableLayer_ = false;
    enableMask_ = false;
    stream_ = nullptr;
    fileSize_ = 0;
}

void DibPSDLoader::SetCallback(DibProgressCallback callback, void* user) {
    callback_ = callback;
    user_ = user;
}

void DibPSDLoader::SetLog(std::FILE* log) { log_ = log; }
void DibPSDLoader::EnableLayer(bool enable) { enableLayer_ = enable; }
void DibPSDLoader::EnableMask(bool enable) { enableMask_ = enable; }

void DibPSDLoader::DropDocument() {
    for (DibStream* image : channelImages_) {
        if (image != nullptr) image->Release();
    }
    channelImages_.clear();
    layers_.clear();
    layerImages_.clear();
    header_ = {};
}

void DibPSDLoader::SetTargetError(int code) {
    if (target_ != nullptr) target_->ErrorCode = code;
}

void DibPSDLoader::Log(const char* format, ...) const {
    if (log_ == nullptr) return;
    std::va_list values;
    va_start(values, format);
    std::vfprintf(log_, format, values);
    va_end(values);
}

// Loading.

template <class Path>
bool DibPSDLoader::LoadPath(const Path* path) {
    const dib::FilePtr file = dib::openForReading(path);
    return file != nullptr && Load(file.get());
}

bool DibPSDLoader::Load(const char* path) { return LoadPath(path); }
bool DibPSDLoader::Load(const wchar_t* path) { return LoadPath(path); }

bool DibPSDLoader::Load(std::FILE* file) {
    // A callback may not start a second load of the document that is being loaded.
    if (file == nullptr || reader_ != nullptr) return false;
    DropDocument();
    formats::PsdReader reader(file);
    stream_ = file;
    fileSize_ = reader.size();
    reader_ = &reader;
    bool loaded = false;
    try {
        loaded = LoadSections();
    } catch (const std::bad_alloc&) {
        // Lists of layers and channels grow with the file; without memory for them the load has failed.
    }
    FillTarget();
    reader_ = nullptr;
    stream_ = nullptr;
    return loaded;
}

bool DibPSDLoader::LoadSections() {
    if (!LoadHeader()) return false;
    if (!CreateTarget()) return false;
    if (!LoadColorModeData()) return false;
    if (!LoadImageResource()) return false;
    if (!LoadLayerMaskInfo()) return false;

    // A second channel of two is not stored: whether it is green or alpha is not said by the count.
    std::vector<PSD_CHANNEL_ID> ids(header_.channels, PSD_CHANNEL_NONE);
    if (!ids.empty()) ids[0] = PSD_CHANNEL_RED;
    if (ids.size() >= 3) {
        ids[1] = PSD_CHANNEL_GREEN;
        ids[2] = PSD_CHANNEL_BLUE;
    }
    if (ids.size() >= 4) ids[3] = PSD_CHANNEL_TRANSPARENCY;
    return LoadImageData(target_, enableMask_ ? &channelImages_ : nullptr, ids);
}

bool DibPSDLoader::LoadHeader() {
    if (reader_ == nullptr || !DoCallback()) return false;
    header_ = {};
    if (!reader_->read(header_.signature, 4) || std::memcmp(header_.signature, "8BPS", 4) != 0) {
        SetTargetError(DIB_ERROR_INVALID);
        return false;
    }
    // Where the file ends early the missing bytes are 0, and the checks below judge what that makes.
    reader_->read16(header_.version);
    reader_->readSome(header_.reserved, sizeof header_.reserved);
    reader_->read16(header_.channels);
    reader_->read32(header_.rows);
    reader_->read32(header_.columns);
    reader_->read16(header_.depth);
    reader_->read16(header_.mode);

    Log("Channels: %d\n", header_.channels);
    Log("Rows: %d\n", static_cast<int>(header_.rows));
    Log("Columns: %d\n", static_cast<int>(header_.columns));
    Log("Depth: %d\n", header_.depth);
    Log("Mode: %d\n", header_.mode);

    if (header_.version == 1 && formats::isPsdVariant(header_.mode, header_.depth)) return true;
    SetTargetError(DIB_ERROR_UNSUPPORTED);
    return false;
}

bool DibPSDLoader::CreateTarget() {
    if (target_ == nullptr) target_ = new DibStream;
    const int bitCount = header_.channels == 3 ? 24 : header_.channels == 1 ? 8 : 32;
    if (!formats::createImage(*target_, header_.columns, header_.rows, bitCount, *reader_)) return false;
    fillPending_ = true;
    // Only a callback can see the image before its pixels are there.
    if (callback_ != nullptr) FillTarget();
    return true;
}

void DibPSDLoader::FillTarget() {
    if (fillPending_ && target_ != nullptr && dib::hasRows(*target_)) formats::fillWhite(*target_);
    fillPending_ = false;
}

bool DibPSDLoader::LoadColorModeData() {
    if (reader_ == nullptr || !DoCallback()) return false;
    std::uint32_t length = 0;
    if (!reader_->read32(length)) return false;
    constexpr std::uint32_t kPaletteBytes = 768;
    if (length != kPaletteBytes) {
        reader_->seek(reader_->position() + length);
        return true;
    }
    // A palette is 256 reds, then the greens, then the blues; grey documents may carry one, too.
    unsigned char planes[kPaletteBytes];
    if (!reader_->read(planes, sizeof planes)) return false;
    const bool hasTable = target_ != nullptr && target_->Header != nullptr &&
                          target_->Header->biBitCount == 8 && dib::announcedEntries(*target_->Header) >= 256;
    if (!hasTable) return true;
    DibBGRA* table = dib::colorTable(target_->Header);
    for (int i = 0; i < 256; ++i) table[i] = {planes[512 + i], planes[256 + i], planes[i], 0};
    return true;
}

// Primitives.

bool DibPSDLoader::Read(unsigned char* buffer, int count) {
    return count < 1 || (reader_ != nullptr && reader_->read(buffer, static_cast<std::size_t>(count)));
}

bool DibPSDLoader::ReadPString(char*& out, int unit) {
    unsigned char block[4];
    if (unit < 1 || unit > 4 || !Read(block, unit)) return false;
    const int length = block[0];
    auto text = dib::allocateZeroed<char>(static_cast<std::size_t>(length) + 1);
    if (text == nullptr) return false;
    out = text.release();

    int copied = std::min(length, unit - 1);
    std::memcpy(out, block + 1, static_cast<std::size_t>(copied));
    while (copied < length) {
        if (!Read(block, unit)) return false;
        const int part = std::min(unit, length - copied);
        std::memcpy(out + copied, block, static_cast<std::size_t>(part));
        copied += part;
    }
    return true;
}

bool DibPSDLoader::DoCallback() {
    if (callback_ == nullptr) return true;
    // Lengths in the file may lead beyond its end, and it may be empty; a fraction stays between 0 and 1.
    const std::int64_t position = reader_ != nullptr ? std::min(reader_->position(), fileSize_) : 0;
    const float fraction =
        fileSize_ > 0 ? static_cast<float>(position) / static_cast<float>(fileSize_) : 0.0F;
    DibStream* const image = target_;
    if (image == nullptr) return callback_(fraction, user_);
    const formats::CallbackGuard guard(*image);
    return callback_(fraction, user_) && target_ == image && guard.isIntact();
}

// Queries.

int DibPSDLoader::GetChannelNum() { return header_.channels; }
int DibPSDLoader::GetColorMode() { return header_.mode; }
int DibPSDLoader::GetDepth() const { return header_.depth; }
int DibPSDLoader::GetLayerNum() const { return static_cast<int>(layers_.size()); }

const PSDLayerInfo* DibPSDLoader::GetLayerInfo(int index) const {
    return index >= 0 && index < GetLayerNum() ? &layers_[static_cast<std::size_t>(index)] : nullptr;
}

DibStream* DibPSDLoader::GetLayerImage(int index, int& left, int& top) {
    const PSDLayerInfo* layer = GetLayerInfo(index);
    left = layer != nullptr ? layer->left : 0;
    top = layer != nullptr ? layer->top : 0;
    // After a failed load there may be fewer pictures than records.
    if (layer == nullptr || static_cast<std::size_t>(index) >= layerImages_.size()) return nullptr;
    DibStream* image = layerImages_[static_cast<std::size_t>(index)].image;
    // Callers keep one reference however often they ask; one that is only the loader's own is doubled.
    if (image != nullptr && image->RefCount == 1) image->AddRef();
    return image;
}

int DibPSDLoader::GetLayerBlendMode(int index) const {
    const PSDLayerInfo* layer = GetLayerInfo(index);
    return layer != nullptr ? layer->blendMode : -1;
}

int DibPSDLoader::GetLayerVisible(int index) const {
    const PSDLayerInfo* layer = GetLayerInfo(index);
    return layer != nullptr ? (layer->flags >> 1) & 1 : 0;
}

// One call for the merged picture.

namespace {

bool loadMerged(std::FILE* file, DibStream* dib, DibProgressCallback callback, void* user) {
    DibPSDLoader loader(dib);
    loader.SetCallback(callback, user);
    return loader.Load(file);
}

}  // namespace

bool LoadPSD(const char* path, DibStream* dib, DibProgressCallback callback, void* user) {
    return formats::loadPath(path, loadMerged, dib, callback, user);
}

bool LoadPSD(const wchar_t* path, DibStream* dib, DibProgressCallback callback, void* user) {
    return formats::loadPath(path, loadMerged, dib, callback, user);
}

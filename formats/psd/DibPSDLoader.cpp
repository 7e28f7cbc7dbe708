// The public class: settings and queries; each step of a load is that of the document being loaded.
#include <DibCodec.h>
#include <DibPSDLoader.h>

#include "dib/File.h"
#include "dib/Numbers.h"
#include "formats/CodecFrame.h"
#include "formats/psd/Document.h"
#include "formats/psd/Pixels.h"

namespace psd = formats::psd;

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
    for (DibStream* image : channelImages_) image->Release();
    channelImages_.clear();
    layers_.clear();
    layerImages_.clear();
    header_ = {};
}

// Loading.

bool DibPSDLoader::Load(const char* path) { return Load(dib::openForReading(path).get()); }
bool DibPSDLoader::Load(const wchar_t* path) { return Load(dib::openForReading(path).get()); }

bool DibPSDLoader::Load(std::FILE* file) {
    // A callback may not start a second load of the document that is being loaded.
    if (file == nullptr || document_ != nullptr) return false;
    DropDocument();
    std::fseek(file, 0, SEEK_SET);
    formats::ByteReader reader(file);
    const bool isLoaded = psd::Document(*this, reader, file).load();
    // The file stays where reading stopped.
    reader.leave();
    return isLoaded;
}

// Steps.

bool DibPSDLoader::LoadHeader() { return document_ != nullptr && psd::readHeader(*document_); }
bool DibPSDLoader::LoadColorModeData() { return document_ != nullptr && psd::readColorMode(*document_); }
bool DibPSDLoader::LoadImageResource() { return document_ != nullptr && psd::readResources(*document_); }
bool DibPSDLoader::LoadLayerMaskInfo() { return document_ != nullptr && psd::readLayers(*document_); }

bool DibPSDLoader::LoadImageData(DibStream* dib, std::vector<DibStream*>* extra,
                                 const std::vector<PSD_CHANNEL_ID>& ids) {
    return document_ != nullptr && psd::readImageData(*document_, dib, extra, ids);
}

bool DibPSDLoader::StoreLineToDib(DibStream* dib, int row, PSD_CHANNEL_ID id, const unsigned char* line) {
    return psd::storeRow({header_.mode, header_.depth}, dib, row, id, line);
}

void DibPSDLoader::ConvertCMYKToRGB(DibStream*) {}

bool DibPSDLoader::Read(unsigned char* buffer, int count) {
    if (count < 1) return true;
    return document_ != nullptr && document_->file.read(buffer, dib::asSize(count));
}

bool DibPSDLoader::ReadPString(char*& out, int unit) {
    return document_ != nullptr && psd::readText(document_->file, out, unit);
}

bool DibPSDLoader::DecodeRLE(unsigned char* out, int count, int packedSize) {
    return document_ != nullptr && psd::readPackBitsRow(*document_, out, count, packedSize);
}

bool DibPSDLoader::DoCallback() {
    if (document_ != nullptr) return document_->report();
    return callback_ == nullptr || callback_(0.0F, user_);
}

// Queries.

int DibPSDLoader::GetChannelNum() { return header_.channels; }
int DibPSDLoader::GetColorMode() { return header_.mode; }
int DibPSDLoader::GetDepth() const { return header_.depth; }
int DibPSDLoader::GetLayerNum() const { return dib::asInt(layers_.size()); }

const PSDLayerInfo* DibPSDLoader::GetLayerInfo(int index) const {
    return index >= 0 && index < GetLayerNum() ? layers_.data() + index : nullptr;
}

DibStream* DibPSDLoader::GetLayerImage(int index, int& left, int& top) {
    const PSDLayerInfo* layer = GetLayerInfo(index);
    left = layer != nullptr ? layer->left : 0;
    top = layer != nullptr ? layer->top : 0;
    // After a failed load there may be fewer pictures than records.
    if (layer == nullptr || layerImages_.size() != layers_.size()) return nullptr;
    DibStream* image = layerImages_.data()[index].image;
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

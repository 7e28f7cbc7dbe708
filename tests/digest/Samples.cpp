// Loading the files of a folder by every loader; documents with layers, masks and the log.
#include <DibCodec.h>
#include <DibPSDLoader.h>

#include <algorithm>
#include <filesystem>
#include <vector>

#include "dib/File.h"
#include "tests/digest/Digest.h"
#include "tests/digest/Loaders.h"
#include "tests/support/Paths.h"

namespace digest {

namespace {

bool loadBmp(const char* path, DibStream* image, DibProgressCallback, void*) {
    return image->LoadFromFile(path, DibStream::DIB_ACCEPT_ALL);
}

bool saveBmp(const char* path, DibStream* image, DibProgressCallback, void*) {
    return image->SaveToFile(path);
}

bool loadDds(const char* path, DibStream* image, DibProgressCallback callback, void* user) {
    return LoadDDS(std::wstring(path, path + std::string(path).size()).c_str(), image, callback, user);
}

void addLayer(Hash& hash, DibPSDLoader& loader, int index) {
    const PSDLayerInfo* info = loader.GetLayerInfo(index);
    for (const std::int32_t value :
         {info->top, info->left, info->bottom, info->right, info->channelCount, info->blendMode,
          info->maskTop, info->maskLeft, info->maskBottom, info->maskRight}) {
        hash.number(value);
    }
    for (const std::uint8_t value :
         {info->opacity, info->clipping, info->flags, info->maskDefaultColor, info->maskFlags}) {
        hash.number(value);
    }
    for (const PSD_CHANNEL_ID id : info->channelIDs) hash.number(id);
    if (info->name != nullptr) hash.text(info->name);
    hash.bytes(&info->grayBlendRange, sizeof info->grayBlendRange);
    for (const auto& range : info->channelBlendRanges) hash.bytes(&range, sizeof range);
    int left = 0;
    int top = 0;
    const DibPtr image(loader.GetLayerImage(index, left, top));
    hash.number(left);
    hash.number(top);
    if (image != nullptr) hash.image(*image);
}

// Layers, masks and the log of a document.
Hash document(const std::string& path) {
    Hash hash;
    const dib::FilePtr log(std::tmpfile());
    const DibPtr image(new DibStream);
    {
        Progress progress(hash);
        DibPSDLoader loader(image.get());
        loader.SetCallback(Progress::callback, &progress);
        loader.SetLog(log.get());
        loader.EnableLayer(true);
        loader.EnableMask(true);
        hash.number(loader.Load(path.c_str()));
        hash.image(*image);
        hash.number(loader.GetLayerNum());
        for (int i = 0; i < loader.GetLayerNum(); ++i) addLayer(hash, loader, i);
    }
    std::rewind(log.get());
    for (int c = std::fgetc(log.get()); c != EOF; c = std::fgetc(log.get())) hash.number(c);
    return hash;
}

std::vector<std::string> filesBelow(const std::string& folder) {
    std::vector<std::string> paths;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
        if (entry.is_regular_file()) paths.push_back(entry.path().string());
    }
    std::sort(paths.begin(), paths.end());
    return paths;
}

}  // namespace

std::span<const Loader> loaders() {
    static constexpr Loader kLoaders[] = {
        {"bmp", "-", loadBmp, saveBmp},        {"tga", "-", LoadTGA, SaveTGA},
        {"tim", "-", LoadTIM, SaveTIM},        {"pnm", "-", LoadPPM, SavePPM},
        {"ilbm", "-", LoadIFF, SaveIFF},       {"hdr", "libm", LoadHDR, nullptr},
        {"psd", "-", LoadPSD, nullptr},        {"png", "codec", LoadPNG, SavePNG},
        {"jpeg", "codec", LoadJPEG, SaveJPEG}, {"tiff", "codec", LoadTIFF, SaveTIFF},
        {"exr", "codec", LoadEXR, nullptr},    {"dds", "-", loadDds, nullptr},
    };
    return kLoaders;
}

void loadInto(Hash& hash, const Loader& loader, const std::string& path, int cancelAt) {
    const DibPtr image = picture({8, false}, 3, 2);
    Progress progress(hash, cancelAt);
    hash.number(loader.load(path.c_str(), image.get(), Progress::callback, &progress));
    hash.image(*image);
}

void printSamples(const std::string& folder) {
    DibStream::SetDllFilePath(testing_support::builtPlugins().c_str());
    for (const std::string& path : filesBelow(folder)) {
        const std::string name = path.substr(folder.size());
        for (const Loader& loader : loaders()) {
            Hash hash;
            for (const int cancelAt : {-1, 2}) loadInto(hash, loader, path, cancelAt);
            line("sample " + name + " as " + loader.name, loader.dependsOn, hash);
        }
        line("document " + name, "-", document(path));
    }
}

}  // namespace digest

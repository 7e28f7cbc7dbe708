#include "formats/Bundles.h"

#include <VexLibs.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <filesystem>
#include <memory>
#include <mutex>
#include <new>
#include <string_view>
#include <system_error>
#include <utility>

#include "formats/OpenBundle.h"
#include "vexlibs/NativePath.h"
#include "vexlibs/PathText.h"

namespace formats {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view kExtension = ".bundle";
constexpr std::size_t kLongestName = 15;
constexpr std::size_t kMostNames = 16;
// The record grows by some pointers at most; what claims more is not one.
constexpr std::size_t kLeastDescription = offsetof(DibPluginDescription, load) + sizeof(void*);
constexpr std::size_t kMostDescription = 4096;

bool isName(const char* text) {
    const std::size_t length = strnlen(text, kLongestName + 1);
    const auto isSmall = [](char c) { return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9'); };
    return length > 0 && length <= kLongestName && std::all_of(text, text + length, isSmall);
}

bool isType(const char* text) {
    constexpr std::size_t kLongestType = 127;
    return strnlen(text, kLongestType + 1) <= kLongestType;
}

// Whether a list ends, has an entry, and each of them is well-formed.
bool isList(const char* const* list, bool (*isEntry)(const char*)) {
    for (std::size_t i = 0; i <= kMostNames; ++i) {
        if (list[i] == nullptr) return i > 0;
        if (!isEntry(list[i])) return false;
    }
    return false;
}

// What is wrong with it, empty when nothing is: later code uses the description unchecked.
std::string problemOf(const DibPluginDescription& description) {
    const std::pair<bool, const char*> pointers[] = {
        {description.name != nullptr, "name"},
        {description.title != nullptr, "title"},
        {description.extensions != nullptr, "extensions"},
        {description.mimeTypes != nullptr, "MIME types"},
        {description.library != nullptr, "library"},
        {description.recognizes != nullptr, "test of first bytes"},
        {description.probe != nullptr, "probe"},
        {description.load != nullptr, "load"},
    };
    for (const auto& [isThere, what] : pointers) {
        if (!isThere) return std::string("describes no ") + what;
    }
    if (!isName(description.name)) return "describes a format without a proper name";
    if (!isList(description.extensions, isName)) return "describes improper extensions";
    if (!isList(description.mimeTypes, isType)) return "describes improper MIME types";
    const unsigned depths = description.readDepths;
    if (depths == 0 || (depths & ~unsigned{DibStream::DIB_ACCEPT_ALL}) != 0)
        return "describes improper depths";
    constexpr unsigned kWritten = DibStream::DIB_ACCEPT_24 | DibStream::DIB_ACCEPT_32;
    const bool isWriter = description.save != nullptr;
    if ((description.writeDepths & ~kWritten) != 0 || (description.writeDepths != 0) != isWriter)
        return "describes improper depths of files that it writes";
    return {};
}

std::string copyDescription(const DibPluginDescription* theirs, DibPluginDescription& description) {
    if (theirs == nullptr) return "describes nothing";
    const std::size_t size = theirs->size;
    if (size < kLeastDescription || size > kMostDescription)
        return "describes itself in " + std::to_string(size) + " bytes";
    std::memcpy(&description, theirs, std::min(size, sizeof description));
    if (description.version != DIB_PLUGIN_VERSION)
        return "follows version " + std::to_string(description.version) + " of the contract";
    return problemOf(description);
}

void describe(Bundle& bundle) {
    OpenBundle open(platformPluginLoader(), bundle.path.c_str());
    if (!open.exists() || !open.loadCode()) {
        bundle.problem = "holds no code that can be loaded here";
        return;
    }
    const auto function = reinterpret_cast<DibPluginDescriber>(open.find("DibPluginDescribe"));
    bundle.isDescribed = function != nullptr;
    bundle.problem = bundle.isDescribed ? copyDescription(function(), bundle.description)
                                        : "has no function DibPluginDescribe";
}

// Never freed: other threads, and functions that run at exit, may still use what it holds.
struct Catalog {
    std::vector<std::unique_ptr<Bundle>> bundles;
    std::vector<std::vector<const DibFormat*>> lists;
    // What was last found.
    std::string folder;
    fs::file_time_type changed;
    std::vector<const Bundle*> added;
};
constinit Catalog* onlyCatalog = nullptr;

// Not every C++ library makes a mutex without running code.
std::mutex& catalogMutex() {
    static std::mutex mutex;
    return mutex;
}

Catalog& catalog() {
    if (onlyCatalog == nullptr) onlyCatalog = new Catalog;
    return *onlyCatalog;
}

// The plug-in folder with a slash at its end; empty when there is none.
struct Folder {
    bool isKnown =
        true;  // false for one without a UTF-8 form, which must not turn into the working directory
    std::string path;
};

Folder pluginFolder() {
    const VexString wide(static_cast<const wchar_t*>(DibStream::DllPath));
    if (!wide.isValid()) return {.isKnown = false, .path = {}};
    Folder folder = {.isKnown = true, .path = wide.toUtf8String().c_str()};
    if (!folder.path.empty() && !vexlibs::isSeparator(folder.path.back())) folder.path += '/';
    return folder;
}

std::string absolute(const std::string& path) {
    const fs::path given = vexlibs::pathOf(path);
    if (given.is_absolute()) return path;
    std::error_code error;
    const fs::path here = fs::current_path(error);
    if (error == std::errc::not_enough_memory) throw std::bad_alloc();
    return vexlibs::textOf(here / given);
}

// Null when there is no such file.
Bundle* bundleAt(const std::string& path) {
    std::error_code error;
    if (!fs::exists(vexlibs::pathOf(path), error)) return nullptr;
    const std::string whole = absolute(path);
    auto& bundles = catalog().bundles;
    for (const auto& bundle : bundles) {
        if (bundle->path == whole) return bundle.get();
    }
    auto bundle = std::make_unique<Bundle>();
    bundle->path = whole;
    bundles.reserve(bundles.size() + 1);
    describe(*bundle);
    bundles.push_back(std::move(bundle));
    return bundles.back().get();
}

// A name that the table has, or its extensions, would hide the format of the table.
void addFormat(Bundle& bundle) {
    if (!bundle.isUsable() || bundle.format.info.name != nullptr) return;
    const DibPluginDescription& description = bundle.description;
    if (tableFormatOfName(description.name) != nullptr) {
        bundle.problem = std::string("describes ") + description.name + " files, which another format has";
        return;
    }
    const std::size_t name = bundle.path.size() - vexlibs::nameIn(bundle.path).size();
    bundle.format = {.info = {.name = description.name,
                              .title = description.title,
                              .extensions = description.extensions,
                              .mimeTypes = description.mimeTypes,
                              .readDepths = description.readDepths,
                              .writeDepths = description.writeDepths,
                              .hasLayers = description.hasLayers,
                              .hasPages = description.hasPages,
                              .plugin = bundle.path.c_str() + name},
                     .probe = probeByBundle,
                     .listLayers = listLayersByBundle,
                     .findPage = findPageByBundle,
                     .read = readByBundle,
                     .losses = lossesByBundle,
                     .write = description.save != nullptr ? writeByBundle : nullptr};
}

std::vector<std::string> bundlesIn(const std::string& folder) {
    std::vector<std::string> paths;
    std::error_code error;
    fs::directory_iterator entries(vexlibs::pathOf(folder), error);
    for (; !error && entries != fs::directory_iterator(); entries.increment(error)) {
        const fs::path& path = entries->path();
        const auto isOfRow = [&](const FileFormat* format) {
            return format->info.plugin != nullptr && path.filename() == format->info.plugin;
        };
        const bool isKnown = std::any_of(allFormats().begin(), allFormats().end(), isOfRow);
        if (path.extension() == kExtension && !isKnown) paths.push_back(vexlibs::textOf(path));
    }
    std::sort(paths.begin(), paths.end());
    return paths;
}

void findAdded(Catalog& all, const std::string& folder) {
    std::vector<const Bundle*> added;
    for (const std::string& path : bundlesIn(folder)) {
        Bundle* bundle = bundleAt(path);
        if (bundle == nullptr) continue;
        addFormat(*bundle);
        const auto isSame = [&](const Bundle* other) {
            return std::string_view(other->description.name) == bundle->description.name;
        };
        if (bundle->isUsable() && std::none_of(added.begin(), added.end(), isSame)) added.push_back(bundle);
    }
    all.added = std::move(added);
}

const Bundle* addedBundleOf(const FileFormat& format) {
    for (const auto& bundle : catalog().bundles) {
        if (&bundle->format == &format) return bundle.get();
    }
    return nullptr;
}

}  // namespace

const Bundle* bundleOf(const FileFormat& format) {
    const std::lock_guard<std::mutex> lock(catalogMutex());
    if (const Bundle* added = addedBundleOf(format)) return added;
    const Folder folder = pluginFolder();
    if (!folder.isKnown) return nullptr;
    Bundle* bundle = bundleAt(folder.path + format.info.plugin);
    if (bundle != nullptr && bundle->isUsable() &&
        std::string_view(bundle->description.name) != format.info.name) {
        bundle->problem = std::string("describes ") + bundle->description.name + " files";
    }
    return bundle;
}

const Bundle* describedBundleOf(const FileFormat& format) {
    const Bundle* bundle = bundleOf(format);
    return bundle != nullptr && bundle->isDescribed && bundle->isUsable() ? bundle : nullptr;
}

std::vector<const Bundle*> addedBundles() {
    if (DibStream::DllPath[0] == L'\0') return {};
    const Folder folder = pluginFolder();
    if (!folder.isKnown) return {};
    const std::lock_guard<std::mutex> lock(catalogMutex());
    Catalog& all = catalog();
    std::error_code error;
    // The C library of Windows finds no folder whose path ends with a separator.
    const fs::path place = (vexlibs::pathOf(folder.path) / "x").parent_path();
    const fs::file_time_type changed = fs::last_write_time(place, error);
    if (error) return {};
    if (all.folder != folder.path || all.changed != changed) {
        findAdded(all, folder.path);
        all.folder = folder.path;
        all.changed = changed;
    }
    return all.added;
}

const FileFormat* addedFormatOf(const DibFormat* record) {
    const std::lock_guard<std::mutex> lock(catalogMutex());
    for (const auto& bundle : catalog().bundles) {
        if (&bundle->format.info == record) return &bundle->format;
    }
    return nullptr;
}

std::span<const DibFormat* const> withAddedFormats(std::span<const DibFormat* const> records) {
    const std::vector<const Bundle*> added = addedBundles();
    if (added.empty()) return records;
    std::vector<const DibFormat*> list(records.begin(), records.end() - 1);
    for (const Bundle* bundle : added) list.push_back(&bundle->format.info);
    list.push_back(nullptr);
    const std::lock_guard<std::mutex> lock(catalogMutex());
    auto& lists = catalog().lists;
    const auto known = std::find(lists.begin(), lists.end(), list);
    return known != lists.end() ? *known : lists.emplace_back(std::move(list));
}

}  // namespace formats

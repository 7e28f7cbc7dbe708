#include "formats/Formats.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <new>

#include "dib/Bytes.h"
#include "formats/Bundles.h"
#include "formats/door/Frame.h"

namespace formats {

bool isNamed(std::string_view small, std::string_view any) {
    const auto same = [](char a, char b) {
        return a == (b >= 'A' && b <= 'Z' ? dib::charOf(b - 'A' + 'a') : b);
    };
    return std::equal(small.begin(), small.end(), any.begin(), any.end(), same);
}

namespace {

constexpr const FileFormat* kFormats[] = {
    &kBmpFormat, &kTgaFormat,  &kPpmFormat,  &kTimFormat, &kIlbmFormat, &kHdrFormat,  &kPsdFormat,
    &kPngFormat, &kJpegFormat, &kTiffFormat, &kExrFormat, &kDdsFormat,  &kWebpFormat, &kGifFormat,
};

// The public records of the same formats, ended by null.
constexpr auto kRecords = [] {
    std::array<const DibFormat*, std::size(kFormats) + 1> records{};
    for (std::size_t i = 0; i < std::size(kFormats); ++i) records[i] = &kFormats[i]->info;
    return records;
}();

bool contains(const char* const* names, std::string_view name) {
    for (; names != nullptr && *names != nullptr; ++names) {
        if (isNamed(*names, name)) return true;
    }
    return false;
}

template <class Accept>
const FileFormat* findFormat(Accept accept) {
    const auto* found = std::find_if(std::begin(kFormats), std::end(kFormats),
                                     [&](const FileFormat* format) { return accept(*format); });
    return found != std::end(kFormats) ? *found : nullptr;
}

template <class Accept>
const FileFormat* findAddedFormat(Accept accept) {
    for (const Bundle* bundle : addedBundles()) {
        if (accept(*bundle)) return &bundle->format;
    }
    return nullptr;
}

}  // namespace

std::span<const FileFormat* const> allFormats() { return kFormats; }

const FileFormat* tableFormatOfName(std::string_view name) {
    const FileFormat* format =
        findFormat([&](const FileFormat& one) { return isNamed(one.info.name, name); });
    return format != nullptr
               ? format
               : findFormat([&](const FileFormat& one) { return contains(one.info.extensions, name); });
}

const FileFormat* formatOfName(std::string_view name) {
    if (const FileFormat* format = tableFormatOfName(name)) return format;
    const FileFormat* format =
        findAddedFormat([&](const Bundle& one) { return isNamed(one.format.info.name, name); });
    return format != nullptr ? format : formatOfExtension(name);
}

const FileFormat* formatOfExtension(std::string_view extension) {
    const FileFormat* format =
        findFormat([&](const FileFormat& one) { return contains(one.info.extensions, extension); });
    if (format != nullptr || extension.empty()) return format;
    return findAddedFormat(
        [&](const Bundle& one) { return contains(one.format.info.extensions, extension); });
}

const char* spellingOf(const FileFormat& format, std::string_view nameOrExtension) {
    const char* const* extension = format.info.extensions;
    while (*extension != nullptr && !isNamed(*extension, nameOrExtension)) ++extension;
    return *extension != nullptr ? *extension : format.info.name;
}

const char* extensionOf(const char* path) {
    const std::string_view name(path);
    const std::size_t dot = name.find_last_of("./");
    return dot != std::string_view::npos && name[dot] == '.' ? path + dot + 1 : path + name.size();
}

const FileFormat* composeFormatOfExtension(std::string_view extension) {
    return findFormat([&](const FileFormat& one) { return contains(one.composeExtensions, extension); });
}

const FileFormat* formatOfContent(FirstBytes bytes) {
    const FileFormat* format =
        findFormat([&](const FileFormat& one) { return one.recognizes != nullptr && one.recognizes(bytes); });
    if (format != nullptr || bytes.empty()) return format;
    return findAddedFormat(
        [&](const Bundle& one) { return one.description.recognizes(bytes.data(), bytes.size()); });
}

const FileFormat* formatOfResemblance(FirstBytes bytes) {
    return findFormat(
        [&](const FileFormat& one) { return one.resembles != nullptr && one.resembles(bytes); });
}

// By its address, because a name may belong to another plug-in now; by its name when it is a copy.
const FileFormat* formatOf(const DibFormat* format) {
    if (format == nullptr) return nullptr;
    if (const FileFormat* row = findFormat([&](const FileFormat& one) { return &one.info == format; }))
        return row;
    if (const FileFormat* added = addedFormatOf(format)) return added;
    return formatOfName(format->name);
}

}  // namespace formats

const DibFormat* const* DibGetFormats(std::size_t* count) {
    std::span<const DibFormat* const> records = formats::kRecords;
    try {
        records = formats::withAddedFormats(records);
    } catch (const std::bad_alloc&) {  // those of the table
    }
    if (count != nullptr) *count = records.size() - 1;
    return records.data();
}

const DibFormat* DibFindFormat(const char* nameOrExtension) {
    if (nameOrExtension == nullptr) return nullptr;
    try {
        const formats::FileFormat* format = formats::formatOfName(nameOrExtension);
        return format != nullptr ? &format->info : nullptr;
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

bool DibIsFormatAvailable(const DibFormat* format) {
    try {
        const formats::FileFormat* row = formats::formatOf(format);
        return row != nullptr && formats::isAvailable(*row, nullptr);
    } catch (const std::bad_alloc&) {
        return false;
    }
}

const char* DibGetFormatLibrary(const DibFormat* format) {
    try {
        const formats::FileFormat* row = formats::formatOf(format);
        const formats::Bundle* bundle =
            row != nullptr && row->info.plugin != nullptr ? formats::describedBundleOf(*row) : nullptr;
        return bundle != nullptr ? bundle->description.library : nullptr;
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

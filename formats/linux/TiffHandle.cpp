#include "formats/linux/TiffHandle.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "dib/Numbers.h"
#include "formats/linux/TiffNumbers.h"

namespace formats {

namespace {

TiffSource& sourceOf(thandle_t handle) { return *static_cast<TiffSource*>(handle); }
TiffTarget& targetOf(thandle_t handle) { return *static_cast<TiffTarget*>(handle); }

tmsize_t readFrom(thandle_t handle, void* out, tmsize_t bytes) {
    return static_cast<tmsize_t>(sourceOf(handle).file.copy(out, dib::asSize(bytes)));
}
tmsize_t readNothing(thandle_t, void*, tmsize_t) { return 0; }
tmsize_t writeNothing(thandle_t, void*, tmsize_t) { return 0; }
tmsize_t writeTo(thandle_t handle, void* from, tmsize_t bytes) {
    return static_cast<tmsize_t>(targetOf(handle).write(from, dib::asSize(bytes)));
}

template <class File>
toff_t seekIn(File& file, toff_t offset, int origin) {
    std::int64_t target = dib::asOffset(offset);
    if (origin == SEEK_CUR) target += file.position();
    if (origin == SEEK_END) target += file.size();
    return target >= 0 && file.seek(target) ? static_cast<toff_t>(target) : static_cast<toff_t>(-1);
}
toff_t seekSource(thandle_t handle, toff_t offset, int origin) {
    return seekIn(sourceOf(handle).file, offset, origin);
}
toff_t seekTarget(thandle_t handle, toff_t offset, int origin) {
    return seekIn(targetOf(handle), offset, origin);
}
template <class File>
toff_t lengthOf(File& file) {
    const std::int64_t size = file.size();
    return size > 0 ? static_cast<toff_t>(size) : 0;
}
toff_t sizeOfSource(thandle_t handle) { return lengthOf(sourceOf(handle).file); }
toff_t sizeOfTarget(thandle_t handle) { return lengthOf(targetOf(handle)); }

// The file has another owner.
int closeNothing(thandle_t) { return 0; }

int keepQuiet(TIFF*, void*, const char*, const char*, va_list) { return 1; }
// The library says in words alone that an allocation failed. It refuses pieces beyond its limit in words of
// its own first.
bool isOfMemory(const char* text) {
    constexpr std::string_view kWords[] = {"Out of memory",     "Not enough memory", "No space",
                                           "allocate memory",   "allocate space",    "Cannot allocate",
                                           "Unable to allocate"};
    const std::string_view all(text);
    return std::any_of(std::begin(kWords), std::end(kWords),
                       [&](std::string_view words) { return all.find(words) != all.npos; });
}
TiffSource& noteText(void* source, const char* format, va_list values) {
    auto& noted = *static_cast<TiffSource*>(source);
    char text[256];
    std::vsnprintf(text, sizeof text, format, values);
    noted.isBeyondLimit = noted.isBeyondLimit || std::strstr(text, "is beyond the") != nullptr;
    noted.isShortOfMemory = noted.isShortOfMemory || (!noted.isBeyondLimit && isOfMemory(text));
    return noted;
}
int noteError(TIFF*, void* source, const char*, const char* format, va_list values) {
    ++noteText(source, format, values).complaints;
    return 1;
}
int noteWarning(TIFF*, void* source, const char* module, const char* format, va_list values) {
    TiffSource& noted = noteText(source, format, values);
    const std::string_view decoder = module != nullptr ? module : "";
    const bool isJpeg = decoder == "JPEGLib";
    if (isJpeg || decoder.starts_with("Fax")) ++noted.complaints;
    noted.isJpegBroken = noted.isJpegBroken || isJpeg;
    return 1;
}

template <class Open>
TiffPtr open(const Open& call, TiffSource* source) {
    TIFFOpenOptions* options = TIFFOpenOptionsAlloc();
    if (options == nullptr) {
        if (source != nullptr) source->isShortOfMemory = true;
        return nullptr;
    }
    // Strips and tiles are unpacked whole; no picture needs larger ones than this.
    constexpr tmsize_t kMostAtOnce = 1 << 29;
    TIFFOpenOptionsSetMaxSingleMemAlloc(options, kMostAtOnce);
    TIFFOpenOptionsSetErrorHandlerExtR(options, source != nullptr ? noteError : keepQuiet, source);
    TIFFOpenOptionsSetWarningHandlerExtR(options, source != nullptr ? noteWarning : keepQuiet, source);
    TiffPtr tiff(call(options));
    TIFFOpenOptionsFree(options);
    return tiff;
}

}  // namespace

TiffPtr readTiff(TiffSource& source) {
    return open(
        [&](TIFFOpenOptions* options) {
            return TIFFClientOpenExt("", "rm", &source, readFrom, writeNothing, seekSource, closeNothing,
                                     sizeOfSource, nullptr, nullptr, options);
        },
        &source);
}

TiffPtr writeTiff(TiffTarget& target, const char* mode) {
    return open(
        [&](TIFFOpenOptions* options) {
            return TIFFClientOpenExt("", mode, &target, readNothing, writeTo, seekTarget, closeNothing,
                                     sizeOfTarget, nullptr, nullptr, options);
        },
        nullptr);
}

int countTiffPages(ByteReader& file) {
    unsigned char start[16] = {};
    if (!file.seek(0) || file.copy(start, sizeof start) < 8) return 1;
    const TiffNumbers numbers(start[0] == 'I');
    const bool isBig = numbers.read16(start + 2) == 43;
    const std::size_t offsetBytes = isBig ? 8 : 4;
    const std::size_t countBytes = isBig ? 8 : 2;
    const std::uint64_t entryBytes = isBig ? 20 : 12;
    constexpr int kMostPages = 65536;
    std::uint64_t at = numbers.read(start + offsetBytes, offsetBytes);
    int pages = 0;
    // A chain that loops ends when it returns to the place that was remembered last.
    std::uint64_t remembered = 0;
    unsigned char bytes[8];
    while (pages < kMostPages && at != 0 && at != remembered && at <= INT64_MAX) {
        if ((pages & (pages - 1)) == 0) remembered = at;
        if (!file.seek(at) || !file.read(bytes, countBytes)) break;
        const std::uint64_t entries = numbers.read(bytes, countBytes);
        if (entries == 0 || entries > 65535) break;
        if (!file.skip(entries * entryBytes) || !file.read(bytes, offsetBytes)) break;
        ++pages;
        at = numbers.read(bytes, offsetBytes);
    }
    return pages > 0 ? pages : 1;
}

}  // namespace formats

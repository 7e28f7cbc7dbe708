// A bundle for tests that describes itself, as the variable DIB_TEST_BUNDLE says: with a mistake, or as a
// format whose files are "TEST", a width, a height and one byte that every pixel shows.
#include <DibExport.h>
#include <DibPlugin.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>

namespace {

bool has(const char* word) {
    const char* words = std::getenv("DIB_TEST_BUNDLE");
    return words != nullptr && std::strstr(words, word) != nullptr;
}

struct Header {
    unsigned char bytes[7];
    bool isRead;
};
Header headerOf(const DibPluginCall* call) {
    Header header = {};
    header.isRead =
        call->readFile(call->library, 0, header.bytes, sizeof header.bytes) == sizeof header.bytes;
    if (!header.isRead) call->refuse(call->library, DIB_ERROR_READ, "three bytes are missing");
    return header;
}

bool recognizes(const unsigned char* bytes, std::size_t count) {
    return count >= 4 && std::memcmp(bytes, "TEST", 4) == 0;
}

bool probe(const DibPluginCall* call, DibPluginInfo* info) {
    const Header header = headerOf(call);
    if (!header.isRead) return false;
    info->width = has("probes nonsense") ? -1 : header.bytes[4];
    info->height = header.bytes[5];
    info->bitCount = 32;
    info->pages = 3;
    info->layers = 2;
    info->levels = 4;
    info->hasAlpha = true;
    info->xResolution = 300;
    info->yResolution = has("nonsense") ? -1 : 150;
    info->orientation = has("nonsense") ? 99 : 1;
    std::memset(info->compression, 'x', sizeof info->compression);
    std::memset(info->pageName, 'n', sizeof info->pageName);
    return true;
}

int findPage(const DibPluginCall* /*call*/, const char* name) {
    return std::strcmp(name, "second") == 0 ? 1 : -1;
}

bool load(const DibPluginCall* call, DibPluginPicture* picture) {
    const Header header = headerOf(call);
    if (!header.isRead) return false;
    const std::size_t width = header.bytes[4];
    const std::size_t height = header.bytes[5];
    call->note(call->library, DIB_NOTE_LOSS, "tests are not pictures");
    call->note(call->library, 77, "no such kind");
    call->note(call->library, DIB_NOTE_LOSS, nullptr);
    picture->header = static_cast<BITMAPINFOHEADER*>(std::calloc(1, sizeof(BITMAPINFOHEADER)));
    picture->pixels = static_cast<unsigned char*>(std::calloc(width * height, 4));
    if (picture->header == nullptr || picture->pixels == nullptr) std::abort();
    *picture->header = {40, static_cast<int>(width), -static_cast<int>(height), 1, 32, 0, 0, 0, 0, 0, 0};
    if (has("gives nonsense")) picture->header->biWidth = -5;
    if (has("gives half")) std::free(std::exchange(picture->pixels, nullptr));
    picture->exif = static_cast<unsigned char*>(std::malloc(2));
    picture->exifBytes = picture->exif != nullptr ? 2 : 0;
    if (picture->exif != nullptr) std::memcpy(picture->exif, "II", 2);
    for (std::size_t y = 0; y < height && picture->pixels != nullptr; ++y) {
        for (std::size_t x = 0; x < width; ++x) {
            const int pixel[] = {call->page, call->layer, call->level, header.bytes[6]};
            for (int i = 0; i < 4; ++i)
                picture->pixels[(y * width + x) * 4 + static_cast<std::size_t>(i)] =
                    static_cast<unsigned char>(pixel[i]);
        }
        picture->rows = y + 1;
        if (!call->report(call->library, static_cast<double>(y + 1) / static_cast<double>(height)))
            return false;
        if (has("fails") && y == 0) {
            call->refuse(call->library, DIB_ERROR_INVALID, "the second row is not to its liking");
            return false;
        }
    }
    return !has("says nothing");
}

constexpr const char* kExtensions[] = {"tst", nullptr};
constexpr const char* kTypes[] = {"image/x-test", nullptr};
constexpr const char* kEmpty[] = {nullptr};
constexpr const char* kUpper[] = {"TST", nullptr};

bool save(const DibPluginSave* call) {
    if (has("and fails")) {
        call->refuse(call->library, DIB_ERROR_INVALID, "it does not want to");
        return false;
    }
    const int head[] = {call->width, call->height, call->bitCount, call->isLossy ? 1 : 0, call->quality};
    for (const int number : head) {
        const auto byte = static_cast<unsigned char>(number);
        if (!call->write(call->library, &byte, 1)) return false;
    }
    unsigned char row[8 * 4];
    for (int y = 0; y < call->height; ++y) {
        call->readRow(call->library, y, row);
        if (!call->write(call->library, row, static_cast<std::size_t>(call->width) * 4)) return false;
        if (!call->report(call->library, static_cast<double>(y + 1) / call->height)) return false;
    }
    return true;
}

// Counts the calls where the test sees it.
void count() {
    const char* before = std::getenv("DIB_TEST_DESCRIBED");
    const int calls = before != nullptr ? std::atoi(before) : 0;
    const std::string now = std::to_string(calls + 1);
#ifdef _WIN32
    _putenv_s("DIB_TEST_DESCRIBED", now.c_str());
#else
    setenv("DIB_TEST_DESCRIBED", now.c_str(), 1);
#endif
}

}  // namespace

extern "C" DIB_EXPORT const DibPluginDescription* DibPluginDescribe() {
    count();
    if (has("is null")) return nullptr;
    static DibPluginDescription description;
    description = {};
    description.size = has("is short") ? 8 : has("is long") ? SIZE_MAX : sizeof description;
    description.version = has("is new") ? 2 : 1;
    description.name = has("has no name") ? nullptr
                       : has("is a png")  ? "png"
                       : has("is exr")    ? "exr"
                       : has("shouts")    ? "TEST"
                       : has("talks")     ? "averyverylongname"
                                          : "test";
    description.title = has("has no title") ? nullptr : "Test pictures";
    description.extensions = has("has no extensions") ? nullptr
                             : has("is empty")        ? kEmpty
                             : has("is upper")        ? kUpper
                                                      : kExtensions;
    description.mimeTypes = has("has no types") ? nullptr : kTypes;
    description.library = has("has no library") ? nullptr : "libtest 1.2.3";
    description.readDepths = has("has no depths") ? 0U : unsigned{DibStream::DIB_ACCEPT_32};
    description.hasLayers = true;
    description.hasPages = true;
    description.recognizes = has("has no test") ? nullptr : recognizes;
    description.probe = has("has no probe") ? nullptr : probe;
    description.load = has("has no load") ? nullptr : load;
    description.findPage = has("names no pages") ? nullptr : findPage;
    if (has("writes")) {
        description.writeDepths = has("writes no depths") ? 0U
                                  : has("writes greys")   ? unsigned{DibStream::DIB_ACCEPT_8}
                                                          : unsigned{DibStream::DIB_ACCEPT_32};
        description.mostSide = 8;
        description.save = save;
    }
    return &description;
}

// A plug-in for a format of its own: pictures drawn in text. A file begins with "ART", the width and the
// height; then come the rows, '#' for black and '.' for white.
#include <DibPlugin.h>

#include <cctype>
#include <cstdlib>
#include <cstring>

namespace {

// The bytes of the file, in order.
struct Text {
    const DibPluginCall* call;
    std::uint64_t at = 0;

    int next() {
        unsigned char byte;
        return call->readFile(call->library, at++, &byte, 1) == 1 ? byte : -1;
    }
    int number() {
        int value = 0;
        int byte = next();
        while (byte == ' ') byte = next();
        for (; byte >= '0' && byte <= '9' && value < 100000; byte = next()) value = 10 * value + (byte - '0');
        return value;
    }
};

bool recognizes(const unsigned char* bytes, std::size_t count) {
    return count >= 4 && std::memcmp(bytes, "ART ", 4) == 0;
}

bool readSize(Text& text, DibPluginInfo& info) {
    text.at = 4;
    info.width = text.number();
    info.height = text.number();
    info.bitCount = 24;
    info.storedBits = 8;
    return info.width > 0 && info.height > 0;
}

bool probe(const DibPluginCall* call, DibPluginInfo* info) {
    Text text{call};
    if (readSize(text, *info)) return true;
    call->refuse(call->library, DIB_ERROR_INVALID, "the size is missing");
    return false;
}

bool load(const DibPluginCall* call, DibPluginPicture* picture) {
    DibPluginInfo info{};
    Text text{call};
    if (!readSize(text, info)) {
        call->refuse(call->library, DIB_ERROR_INVALID, "the size is missing");
        return false;
    }
    const std::size_t pitch = (static_cast<std::size_t>(info.width) * 3 + 3) / 4 * 4;
    const std::size_t rows = static_cast<std::size_t>(info.height);
    if (static_cast<std::uint64_t>(info.width) * rows > call->mostPixels || pitch * rows > call->mostBytes) {
        call->refuse(call->library, DIB_ERROR_MISMATCH, "the picture is too large");
        return false;
    }
    picture->header = static_cast<BITMAPINFOHEADER*>(std::calloc(1, sizeof(BITMAPINFOHEADER)));
    picture->pixels = static_cast<unsigned char*>(std::calloc(pitch, rows));
    if (picture->header == nullptr || picture->pixels == nullptr) {
        call->refuse(call->library, DIB_ERROR_MEMORY, "memory is short");
        return false;  // the library frees both blocks
    }
    picture->header->biSize = sizeof(BITMAPINFOHEADER);
    picture->header->biWidth = info.width;
    picture->header->biHeight = -info.height;  // the top row first
    picture->header->biPlanes = 1;
    picture->header->biBitCount = 24;
    for (; picture->rows < rows; ++picture->rows) {
        unsigned char* row = picture->pixels + picture->rows * pitch;
        for (int x = 0; x < info.width; ++x) {
            int mark = text.next();
            while (mark >= 0 && std::isspace(mark)) mark = text.next();
            if (mark < 0) {
                call->refuse(call->library, DIB_ERROR_READ, "the file ends before its pixels do");
                return false;  // the rows read so far are kept if the caller wants them
            }
            std::memset(row + 3 * x, mark == '#' ? 0 : 255, 3);
        }
        if (!call->report(call->library, static_cast<double>(picture->rows + 1) / static_cast<double>(rows)))
            return false;
    }
    return true;
}

}  // namespace

extern "C" DIB_EXPORT const DibPluginDescription* DibPluginDescribe() {
    static const char* const extensions[] = {"art", nullptr};
    static const char* const mimeTypes[] = {"text/x-art", nullptr};
    static const DibPluginDescription description = [] {
        DibPluginDescription made{};
        made.size = sizeof made;
        made.version = DIB_PLUGIN_VERSION;
        made.name = "art";
        made.title = "Picture in text";
        made.extensions = extensions;
        made.mimeTypes = mimeTypes;
        made.library = "art 1.0";
        made.readDepths = DibStream::DIB_ACCEPT_24;
        made.recognizes = recognizes;
        made.probe = probe;
        made.load = load;
        return made;
    }();
    return &description;
}

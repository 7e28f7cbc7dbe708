// The first picture of a GIF file, on the canvas of the file, by giflib.
#include "plugins/gif/Reader.h"

#include <gif_lib.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <span>
#include <vector>

#include "dib/Bytes.h"
#include "plugins/Job.h"

namespace plugins::gif {

namespace {

constexpr int kNone = -1;  // no transparent colour

// Giflib's state of a file that is read from its start.
class File {
public:
    explicit File(Job& job) : job_(job) {
        int error = D_GIF_SUCCEEDED;
        file_ = DGifOpen(this, readInput, &error);
        if (file_ == nullptr) refuse(error);
    }
    ~File() {
        if (file_ != nullptr) DGifCloseFile(file_, nullptr);
    }
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    bool isOpen() const { return file_ != nullptr; }
    const GifFileType& get() const { return *file_; }
    int transparent() const { return transparent_; }
    bool hasComment() const { return hasComment_; }

    // Moves to the next picture, whose description is then in get(). False at the end of the file, and with a
    // reason when it is damaged.
    bool findPicture() {
        GifRecordType type = UNDEFINED_RECORD_TYPE;
        transparent_ = kNone;
        while (DGifGetRecordType(file_, &type) == GIF_OK && type != TERMINATE_RECORD_TYPE) {
            if (type == IMAGE_DESC_RECORD_TYPE) return DGifGetImageDesc(file_) == GIF_OK || refuse();
            if (type == EXTENSION_RECORD_TYPE && !readExtension()) return refuse();
        }
        return type != TERMINATE_RECORD_TYPE && refuse();
    }
    // Whether another picture follows; damage after the first one does not matter.
    bool hasMore() {
        GifRecordType type = UNDEFINED_RECORD_TYPE;
        while (DGifGetRecordType(file_, &type) == GIF_OK && type == EXTENSION_RECORD_TYPE) {
            if (!readExtension()) return false;
        }
        return type == IMAGE_DESC_RECORD_TYPE;
    }
    bool readLine(unsigned char* line) {
        return DGifGetLine(file_, line, file_->Image.Width) == GIF_OK || refuse();
    }
    const ColorMapObject* colors() const {
        return file_->Image.ColorMap != nullptr ? file_->Image.ColorMap : file_->SColorMap;
    }

private:
    static int readInput(GifFileType* file, GifByteType* out, int bytes) {
        auto& self = *static_cast<File*>(file->UserData);
        const std::size_t got =
            self.job_.readAt(self.position_, out, static_cast<std::size_t>(std::max(bytes, 0)));
        self.position_ += got;
        return static_cast<int>(got);
    }

    // Keeps the transparent colour of the graphics control extension and skips all others, comments too.
    bool readExtension() {
        int code = 0;
        GifByteType* block = nullptr;
        if (DGifGetExtension(file_, &code, &block) != GIF_OK) return false;
        hasComment_ = hasComment_ || code == COMMENT_EXT_FUNC_CODE;
        GraphicsControlBlock control;
        if (code == GRAPHICS_EXT_FUNC_CODE && block != nullptr &&
            DGifExtensionToGCB(block[0], block + 1, &control) == GIF_OK) {
            transparent_ = control.TransparentColor;
        }
        while (block != nullptr) {
            if (DGifGetExtensionNext(file_, &block) != GIF_OK) return false;
        }
        return true;
    }

    bool refuse() { return refuse(file_->Error); }
    bool refuse(int error) {
        switch (error) {
            case D_GIF_ERR_NOT_ENOUGH_MEM: return job_.refuse(DIB_ERROR_MEMORY, "there is not enough memory");
            case D_GIF_ERR_NOT_GIF_FILE: return job_.refuse(DIB_ERROR_UNSUPPORTED, "not a GIF file");
            case D_GIF_ERR_OPEN_FAILED:
            case D_GIF_ERR_READ_FAILED:
            case D_GIF_ERR_EOF_TOO_SOON:
                return job_.refuse(DIB_ERROR_READ, "the file ends before its pixels do");
            case D_GIF_ERR_NO_SCRN_DSCR:
                return job_.refuse(DIB_ERROR_READ, "the file ends inside its header");
            default: return job_.refuse(DIB_ERROR_INVALID, "the file is damaged");
        }
    }

    Job& job_;
    GifFileType* file_ = nullptr;
    std::uint64_t position_ = 0;
    int transparent_ = kNone;
    bool hasComment_ = false;
};

// The first picture of a file, as it is shown.
class Frame {
public:
    explicit Frame(File& file) : file_(file), image_(file.get().Image) {
        // Some writers store a canvas that is smaller than the picture, or empty.
        width = std::max(file.get().SWidth, image_.Left + image_.Width);
        height = std::max(file.get().SHeight, image_.Top + image_.Height);
        coversAll = image_.Left == 0 && image_.Top == 0 && image_.Width == width && image_.Height == height;
        // Transparent pixels need 32 bits; otherwise indices and palette stay as they are.
        bitCount = coversAll && file.transparent() == kNone ? Picture::kGrey : Picture::kColor;
        // Without any colours indices are greys.
        const ColorMapObject* colors = file.colors();
        colorCount = colors != nullptr ? std::clamp(colors->ColorCount, 0, 256) : 256;
        for (int i = 0; i < 256; ++i) {
            const auto grey = dib::byteOf(i);
            const GifColorType color = colors == nullptr ? GifColorType{grey, grey, grey}
                                       : i < colorCount  ? colors->Colors[i]
                                                         : GifColorType{0, 0, 0};
            palette[i] = {color.Blue, color.Green, color.Red, 0};
        }
    }

    bool isEmpty() const { return width < 1 || height < 1; }

    int width;
    int height;
    bool coversAll;
    int bitCount;
    int colorCount;
    DibBGRA palette[256];

    bool create(Picture& picture) const {
        if (!picture.create(width, height, bitCount)) return false;
        if (bitCount == Picture::kGrey) picture.usePalette(palette, static_cast<std::uint32_t>(colorCount));
        return true;
    }

    bool read(Job& job, Picture& picture) {
        std::vector<unsigned char> line(static_cast<std::size_t>(image_.Width));
        const auto rows = static_cast<std::size_t>(image_.Height);
        std::size_t done = 0;
        const std::span<const Pass> passes = image_.Interlace ? std::span<const Pass>(kInterlaced) : kPlain;
        for (const Pass& pass : passes) {
            for (std::size_t y = pass.first; y < rows; y += pass.step) {
                if (!file_.readLine(line.data())) return false;
                putLine(line, picture.row(static_cast<std::size_t>(image_.Top) + y));
                if (pass.isLast) picture.rowsRead = static_cast<std::size_t>(image_.Top) + y + 1;
                if (!job.report(++done, rows)) return false;
            }
        }
        picture.rowsRead = static_cast<std::size_t>(height);
        return true;
    }

private:
    // Rows come in four passes when a picture is interlaced; the last one fills the rows between.
    struct Pass {
        std::size_t first;
        std::size_t step;
        bool isLast;
    };
    static constexpr Pass kInterlaced[] = {{0, 8, false}, {4, 8, false}, {2, 4, false}, {1, 2, true}};
    static constexpr Pass kPlain[] = {{0, 1, true}};

    void putLine(const std::vector<unsigned char>& line, unsigned char* row) const {
        const auto left = static_cast<std::size_t>(image_.Left);
        if (bitCount == Picture::kGrey) {
            std::memcpy(row + left, line.data(), line.size());
            return;
        }
        for (std::size_t x = 0; x < line.size(); ++x) {
            DibBGRA color = palette[line[x]];
            color.alpha = line[x] == file_.transparent() ? 0 : 255;
            std::memcpy(row + (left + x) * sizeof color, &color, sizeof color);
        }
    }

    File& file_;
    const GifImageDesc& image_;
};

bool read(Job& job, Picture& picture, DibPluginPicture& /*out*/) {
    File file(job);
    if (!file.isOpen()) return false;
    if (!file.findPicture()) return job.refuse(DIB_ERROR_INVALID, "the file holds no picture");
    Frame frame(file);
    if (!Picture::isPossible(frame.width, frame.height, frame.bitCount))
        return job.refuse(DIB_ERROR_MEMORY, "no picture can have that size");
    if (!frame.create(picture)) return job.refuse(DIB_ERROR_MEMORY, "there is not enough memory");
    if (frame.bitCount == Picture::kColor && file.transparent() != kNone)
        job.note(DIB_NOTE_LOSS, "the palette has transparency: its indices became 32-bit colours");
    if (!frame.read(job, picture)) return false;
    if (file.hasMore()) job.note(DIB_NOTE_LOSS, "of several pictures the first is shown");
    if (file.hasComment()) job.note(DIB_NOTE_LOSS, "the comment is not kept");
    return true;
}

bool recognizes(const unsigned char* bytes, std::size_t count) {
    return count >= 6 && (std::memcmp(bytes, "GIF87a", 6) == 0 || std::memcmp(bytes, "GIF89a", 6) == 0);
}

bool probe(const DibPluginCall* call, DibPluginInfo* info) {
    CallJob job(*call);
    File file(job);
    if (!file.isOpen()) return false;
    if (!file.findPicture()) return job.refuse(DIB_ERROR_INVALID, "the file holds no picture");
    const Frame frame(file);
    if (frame.isEmpty()) return job.refuse(DIB_ERROR_MEMORY, "no picture can have that size");
    info->width = frame.width;
    info->height = frame.height;
    info->bitCount = frame.bitCount;
    info->storedBits = file.colors() != nullptr ? file.colors()->BitsPerPixel : 8;
    info->paletteSize = frame.bitCount == Picture::kGrey ? frame.colorCount : 0;
    info->hasAlpha = frame.bitCount == Picture::kColor;
    std::memcpy(info->compression, "lzw", 4);
    return true;
}

constexpr const char* kExtensions[] = {"gif", nullptr};
constexpr const char* kTypes[] = {"image/gif", nullptr};

const char* libraryName() {
    static char name[32];
    std::snprintf(name, sizeof name, "giflib %d.%d.%d", GIFLIB_MAJOR, GIFLIB_MINOR, GIFLIB_RELEASE);
    return name;
}

}  // namespace

const DibPluginDescription& description() {
    static const DibPluginDescription kDescription = {
        .size = sizeof(DibPluginDescription),
        .version = DIB_PLUGIN_VERSION,
        .name = "gif",
        .title = "GIF, its first picture",
        .extensions = kExtensions,
        .mimeTypes = kTypes,
        .library = libraryName(),
        .readDepths = DibStream::DIB_ACCEPT_8 | DibStream::DIB_ACCEPT_32,
        .hasLayers = false,
        .hasPages = false,
        .recognizes = recognizes,
        .probe = probe,
        .load = loadBy<read>,
    };
    return kDescription;
}

}  // namespace plugins::gif

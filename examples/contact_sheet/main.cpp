// Lays BMP pictures out on one sheet, at most four beside each other.
#include <DibCodec.h>
#include <DibStream.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string_view>

namespace {

constexpr int kTileWidth = 320;
constexpr int kTileHeight = 240;
constexpr int kGap = 8;
constexpr int kMostColumns = 4;

// Shrinks the picture to fit a tile. Area averages are the method for making pictures smaller.
bool fit(DibStream& picture) {
    const int width = picture.Header->biWidth;
    const int height = std::abs(picture.Header->biHeight);
    const double scale =
        std::min({static_cast<double>(kTileWidth) / width, static_cast<double>(kTileHeight) / height, 1.0});
    return picture.Resize(std::max(1, static_cast<int>(width * scale)),
                          std::max(1, static_cast<int>(height * scale)), DibStream::DIB_RESIZE_INTEGRAL);
}

// Copies a picture into the middle of a tile. ScanLine counts from the top, however either image is stored.
void place(DibStream& sheet, DibStream& picture, int left, int top) {
    const int height = std::abs(picture.Header->biHeight);
    left += (kTileWidth - picture.Header->biWidth) / 2;
    top += (kTileHeight - height) / 2;
    for (int row = 0; row < height; ++row) {
        std::memcpy(sheet.Pixel(left, top + row), picture.ScanLine(row),
                    static_cast<std::size_t>(picture.Header->biWidth) * sizeof(DibBGR));
    }
}

bool save(DibStream& sheet, const char* path) {
    const std::string_view name = path;
    const std::string_view ending = name.substr(name.size() - std::min<std::size_t>(name.size(), 4));
    if (ending == ".png") return SavePNG(path, &sheet, nullptr, nullptr);
    if (ending == ".jpg") return SaveJPEG(path, &sheet, nullptr, nullptr);
    return sheet.SaveToFile(path);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 3) {
        std::fprintf(stderr, "usage: contact_sheet PICTURE.bmp... OUT.bmp|.png|.jpg\n");
        return 2;
    }
    const int count = argc - 2;
    const int columns = std::min(count, kMostColumns);
    const int rows = (count + columns - 1) / columns;

    DibStream sheet;
    if (!sheet.Create(columns * (kTileWidth + kGap) + kGap, rows * (kTileHeight + kGap) + kGap, 24)) {
        std::fprintf(stderr, "sheet: %s\n", DibStream::GetErrorString(sheet.ErrorCode));
        return 1;
    }
    std::memset(sheet.Buffer, 32, static_cast<std::size_t>(sheet.GetImageSize()));

    for (int i = 0; i < count; ++i) {
        DibStream picture;
        const char* path = argv[i + 1];
        if (!picture.LoadFromFile(path, DibStream::DIB_ACCEPT_ALL) || !picture.ChangeBpp(24, 0) ||
            !fit(picture)) {
            std::fprintf(stderr, "%s: %s\n", path, DibStream::GetErrorString(picture.ErrorCode));
            return 1;
        }
        place(sheet, picture, kGap + i % columns * (kTileWidth + kGap),
              kGap + i / columns * (kTileHeight + kGap));
    }
    if (!save(sheet, argv[argc - 1])) {
        std::fprintf(stderr, "%s cannot be written\n", argv[argc - 1]);
        return 1;
    }
    return 0;
}

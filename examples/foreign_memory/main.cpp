// Runs an effect on pixels that the program owns, without copying them.
#include <DibEffect.h>
#include <DibStream.h>

#include <cstdio>
#include <vector>

namespace {

// Pixels as a program may hold them: blue, green, red, alpha, top row first, 4 bytes each.
struct Frame {
    int width;
    int height;
    std::vector<DibBGRA> pixels;
};

Frame frameOf(DibStream& image) {
    Frame frame{image.Header->biWidth, std::abs(image.Header->biHeight), {}};
    for (int row = 0; row < frame.height; ++row) {
        const auto* pixels = reinterpret_cast<const DibBGRA*>(image.ScanLine(row));
        frame.pixels.insert(frame.pixels.end(), pixels, pixels + frame.width);
    }
    return frame;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: foreign_memory IN.bmp OUT.bmp\n");
        return 2;
    }
    DibStream loaded;
    if (!loaded.LoadFromFile(argv[1], DibStream::DIB_ACCEPT_ALL) || !loaded.ChangeBpp(32, 0)) {
        std::fprintf(stderr, "%s: %s\n", argv[1], DibStream::GetErrorString(loaded.ErrorCode));
        return 1;
    }
    Frame frame = frameOf(loaded);

    // A negative height says that the top row comes first. Rows of 32 bits have no fill bytes.
    DibStream view;
    BITMAPINFOHEADER header{};
    view.SetBitmapInfo(header, frame.width, -frame.height, 32);
    // Owners of 0: both blocks are borrowed and must live longer than the view.
    if (!view.SetDib(&header, 0, frame.pixels.data(), 0)) return 1;

    // Effects work in the borrowed block. A change of size or depth would give the view a block of its own.
    const DibBGRA before = frame.pixels.front();
    if (!DibEffectReverse(nullptr, nullptr, &view)) return 1;
    if (frame.pixels.front().blue != 255 - before.blue || view.Buffer != view.ScanLine(0)) return 1;
    return view.SaveToFile(argv[2]) ? 0 : 1;
}

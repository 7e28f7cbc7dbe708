// The pixels of an image as an SDL_Surface, and those of an SDL_Surface as an image.
#include <DibEffect.h>
#include <DibStream.h>

#define SDL_MAIN_HANDLED
#include <SDL.h>

#include <cstdio>

// The first row of a surface is the top row: UpDown(true) reorders the rows in place. SDL_FreeSurface
// frees the surface and leaves the pixels alone.
SDL_Surface* surfaceOf(DibStream& image) {
    if (!image.UpDown(true)) return nullptr;
    const int bitCount = image.Header->biBitCount;
    if (bitCount != 24 && bitCount != 32) return nullptr;
    return SDL_CreateRGBSurfaceWithFormatFrom(
        image.Buffer, image.Header->biWidth, -image.Header->biHeight, bitCount,
        static_cast<int>(image.GetPitch()), bitCount == 24 ? SDL_PIXELFORMAT_BGR24 : SDL_PIXELFORMAT_BGRA32);
}

// The image borrows surface and header, and both must live longer. Rows of an image are padded to 4 bytes.
bool viewOf(SDL_Surface& surface, BITMAPINFOHEADER& header, DibStream& image) {
    if (surface.format->format != SDL_PIXELFORMAT_BGRA32 || SDL_MUSTLOCK(&surface)) return false;
    if (!image.SetBitmapInfo(header, surface.w, -surface.h, 32)) return false;
    return image.SetDib(&header, 0, surface.pixels, 0) &&
           image.GetPitch() == static_cast<unsigned int>(surface.pitch);
}

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: sdl IN.bmp OUT.bmp\n");
        return 2;
    }
    DibStream image;
    if (!image.LoadFromFile(argv[1], DibStream::DIB_ACCEPT_ALL) || !image.ChangeBpp(24, 0)) return 1;

    SDL_Surface* surface = surfaceOf(image);
    if (surface == nullptr || surface->pixels != image.Buffer) return 1;
    const SDL_Rect corner{0, 0, 1, 1};
    SDL_FillRect(surface, &corner, SDL_MapRGB(surface->format, 30, 20, 10));
    const auto* pixel = reinterpret_cast<const DibBGR*>(image.Pixel(0, 0));
    const bool painted = pixel->blue == 10 && pixel->green == 20 && pixel->red == 30;

    SDL_Surface* own = SDL_ConvertSurfaceFormat(surface, SDL_PIXELFORMAT_BGRA32, 0);
    SDL_FreeSurface(surface);
    BITMAPINFOHEADER header{};
    DibStream view;
    bool reversed = own != nullptr && viewOf(*own, header, view) && DibEffectReverse(nullptr, nullptr, &view);
    if (reversed) {
        const auto* first = static_cast<const DibBGRA*>(own->pixels);
        reversed = first->blue == 245 && first->green == 235 && first->red == 225;
    }
    SDL_FreeSurface(own);
    return painted && reversed && image.SaveToFile(argv[2]) ? 0 : 1;
}

// Reduces a BMP picture to a palette of its own, of at most 256 colours.
#include <DibStream.h>

#include <cstdio>

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: first_program IN.bmp OUT.bmp\n");
        return 2;
    }
    DibStream picture;
    const bool done = picture.LoadFromFile(argv[1], DibStream::DIB_ACCEPT_ALL) &&
                      picture.ChangeBpp(8, DIB_MEDIAN_CUT) && picture.SaveToFile(argv[2]);
    if (!done) std::fprintf(stderr, "failed: %s\n", DibStream::GetErrorString(picture.ErrorCode));
    return done ? 0 : 1;
}

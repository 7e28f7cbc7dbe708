// `dib gallery`: what every operation of the table does to one picture.
#ifndef TOOLS_GALLERY_GALLERY_H
#define TOOLS_GALLERY_GALLERY_H

#include <string>

#include "tools/commands/Pictures.h"

namespace tool {

inline constexpr int kSmallestGallerySide = 240;
inline constexpr int kLargestGallerySide = 1024;

struct GalleryJob {
    std::string input;
    std::string folder;       // created if missing
    PictureOptions pictures;  // how the input is opened
    int longerSide = 320;     // of the shown picture, `kSmallestGallerySide` to `kLargestGallerySide`
    bool showsProgress = false;
};

// Writes "index.html", a page with every sample of every operation, their pictures and a contact sheet. The
// commands on the page start from "in.bmp" and "other.bmp", which are written too: run in the folder, they
// give what the page shows. Throws Failure.
void makeGallery(const GalleryJob& job);

}  // namespace tool

#endif

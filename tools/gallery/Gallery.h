/// `dib gallery`: what every operation of the table does to one picture.
#ifndef TOOLS_GALLERY_GALLERY_H
#define TOOLS_GALLERY_GALLERY_H

#include <string>

#include "tools/commands/Pictures.h"

namespace tool {

inline constexpr int kSmallestGallerySide = 240;
inline constexpr int kLargestGallerySide = 1024;

struct GalleryJob {
    std::string input;
    std::string folder;       ///< Created if missing.
    PictureOptions pictures;  ///< How the input is opened.
    int longerSide = 320;  ///< Of the picture that is shown, `kSmallestGallerySide` to `kLargestGallerySide`.
    bool showsProgress = false;
};

/// Writes a page with every sample of every operation, "index.html", and beside it the pictures, a contact sheet
/// and the two pictures that the commands on the page start from, "in.bmp" and "other.bmp": run in the folder,
/// they give what the page shows.
/// @throws Failure.
void makeGallery(const GalleryJob& job);

}  // namespace tool

#endif

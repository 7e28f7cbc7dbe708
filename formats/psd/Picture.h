// The pictures of a document: the merged one, those of layers, and masks.
#ifndef FORMATS_PSD_PICTURE_H
#define FORMATS_PSD_PICTURE_H

#include <DibFile.h>

#include <array>
#include <cstddef>

#include "dib/Numbers.h"
#include "formats/psd/Outline.h"
#include "formats/psd/PlaneRows.h"
#include "formats/psd/RowColors.h"

namespace formats::psd {

// The planes of a picture, and what they show.
struct Picture {
    int width = 0;
    int height = 0;
    PlaneKind kind;
    // The planes of the merged picture lie in one block, those of a layer have one each.
    std::array<PlaneBlock, kMostPlanes> blocks;
    std::array<bool, kMostPlanes> exists = {};
    bool isOneBlock = false;
    std::size_t planes() const {
        return dib::asSize(kind.colors) + (kind.hasAlpha ? std::size_t{1} : std::size_t{0});
    }
};

// The picture that the options choose. False with the reason when there is none.
bool findPicture(const RefusedFile& file, const Outline& outline, const DibLoadOptions& options,
                 DibFileResult& result, Picture& picture);

}  // namespace formats::psd

#endif

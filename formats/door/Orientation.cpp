#include "formats/door/Orientation.h"

#include <iterator>
#include <utility>

#include "dib/MoveBlocks.h"
#include "dib/Turn.h"
#include "formats/Exif.h"
#include "formats/door/Request.h"

namespace formats {

void exchangeResolution(int orientation, DibMetadata& metadata) {
    if (!exchangesSides(orientation)) return;
    std::swap(metadata.xResolution, metadata.yResolution);
    orderResolutions(metadata.exif, metadata);
}

bool turnUpright(DibStream& image, DibFileResult& result) {
    const int orientation = result.metadata.orientation;
    result.metadata.orientation = 1;
    if (orientation < 2 || orientation > static_cast<int>(std::size(dib::kTurns))) return true;
    DibStream turned;
    if (!dib::turnInto(image, dib::kTurns[orientation - 1], 1, turned)) {
        return refuseForMemory(result, "to turn the picture");
    }
    dib::moveBlocks(turned, image);
    exchangeResolution(orientation, result.metadata);
    return true;
}

}  // namespace formats

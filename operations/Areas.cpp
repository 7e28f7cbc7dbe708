// The areas of the table. It has a file of its own, which a test replaces to add an operation.
#include "operations/Operations.h"

namespace operations {

// One line for each file in rows/, here and in areas().
Area blurOps();
Area colorOps();
Area composeOps();
Area depthOps();
Area distortionOps();
Area edgeOps();
Area geometryOps();
Area levelOps();
Area noiseOps();
Area overlayOps();
Area placeOps();
Area rankOps();
Area textOps();
Area toneOps();
Area turnOps();
Area unsharpOps();

std::span<const Area> areas() {
    static const Area all[] = {
        depthOps(), colorOps(),    distortionOps(), blurOps(), unsharpOps(), noiseOps(),
        rankOps(),  toneOps(),     levelOps(),      edgeOps(), composeOps(), overlayOps(),
        textOps(),  geometryOps(), placeOps(),      turnOps(),
    };
    return all;
}

}  // namespace operations

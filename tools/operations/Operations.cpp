#include "tools/operations/Operations.h"

namespace tool {

// One line for each file in ops/, here and in areas().
std::span<const Operation> blurOps();
std::span<const Operation> composeOps();
std::span<const Operation> depthOps();
std::span<const Operation> distortionOps();
std::span<const Operation> noiseOps();
std::span<const Operation> rankOps();
std::span<const Operation> toneOps();
std::span<const Operation> edgeOps();
std::span<const Operation> geometryOps();

std::span<const Area> areas() {
    static const Area all[] = {
        {"Colour depth", depthOps()},
        {"Distortions", distortionOps()},
        {"Blur and sharpen", blurOps()},
        {"Noise", noiseOps()},
        {"Rank filters", rankOps()},
        {"Tone curves", toneOps()},
        {"Edge, relief and motion", edgeOps()},
        {"Second picture", composeOps()},
        {"Size, place and tone", geometryOps()},
    };
    return all;
}

std::span<const Operation> operations() {
    static const std::vector<Operation> all = [] {
        std::vector<Operation> rows;
        for (const Area& area : areas()) {
            rows.insert(rows.end(), area.operations.begin(), area.operations.end());
        }
        return rows;
    }();
    return all;
}

const Operation* findOperation(std::string_view name) {
    for (const Operation& operation : operations()) {
        if (operation.name == name) return &operation;
    }
    return nullptr;
}

}  // namespace tool

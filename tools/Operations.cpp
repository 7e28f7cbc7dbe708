#include "tools/Operations.h"

namespace tool {

// One line for each file in ops/, here and in operations().
std::span<const Operation> blurOps();
std::span<const Operation> composeOps();
std::span<const Operation> depthOps();
std::span<const Operation> distortionOps();
std::span<const Operation> noiseOps();
std::span<const Operation> rankOps();
std::span<const Operation> toneOps();
std::span<const Operation> edgeOps();
std::span<const Operation> geometryOps();

std::span<const Operation> operations() {
    static const std::vector<Operation> all = [] {
        std::vector<Operation> rows;
        for (const auto& area : {
                 depthOps(),
                 distortionOps(),
                 blurOps(),
                 noiseOps(),
                 rankOps(),
                 toneOps(),
                 edgeOps(),
                 composeOps(),
                 geometryOps(),
             }) {
            rows.insert(rows.end(), area.begin(), area.end());
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

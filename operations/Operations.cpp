#include "operations/Operations.h"

namespace operations {

namespace {

// The public list, made at its first use. It has room for many more rows than there are.
struct Table {
    static constexpr std::size_t kMostRows = 1023;

    Table() {
        for (const Area& area : areas()) {
            for (const Operation& row : area) {
                if (row.isListed && count < kMostRows) rows[count++] = &row.info;
            }
        }
    }

    const DibOperation* rows[kMostRows + 1] = {};
    std::size_t count = 0;
};

const Table& table() {
    static const Table all;
    return all;
}

}  // namespace

void requirePixels(const DibStream* image) {
    if (image == nullptr || image->Header == nullptr || image->Buffer == nullptr)
        throw Refusal{DIB_ERROR_INVALID, "the image has no pixels"};
}

}  // namespace operations

const DibOperation* const* DibGetOperations(std::size_t* count) {
    if (count != nullptr) *count = operations::table().count;
    return operations::table().rows;
}

const DibOperation* DibFindOperation(const char* name) {
    if (name == nullptr) return nullptr;
    for (const operations::Area& area : operations::areas()) {
        for (const operations::Operation& row : area) {
            if (std::string_view(row.info.name) == name) return &row.info;
        }
    }
    return nullptr;
}

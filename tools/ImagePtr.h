/// Images of the heap that go away by themselves.
#pragma once

#include <DibStream.h>

#include <memory>

namespace tool {

struct ReleaseImage {
    void operator()(DibStream* image) const { image->Release(); }
};
using ImagePtr = std::unique_ptr<DibStream, ReleaseImage>;

}  // namespace tool

/// The library's word for a failure.
#pragma once

#include <DibStream.h>

#include <string>

namespace tool {

/// What the code of an image says; "failed" where it says nothing, since not every failure sets one.
inline std::string errorText(const DibStream& image) {
    const std::string text = DibStream::GetErrorString(image.ErrorCode);
    return text.empty() ? "failed" : text;
}

}  // namespace tool

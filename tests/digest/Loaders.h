// The loaders and savers of the library by the names that the index of samples gives their formats.
#ifndef TESTS_DIGEST_LOADERS_H
#define TESTS_DIGEST_LOADERS_H

#include <DibStream.h>

#include <span>
#include <string>

#include "tests/digest/Digest.h"

namespace digest {

using Codec = bool (*)(const char* path, DibStream* image, DibProgressCallback callback, void* user);

struct Loader {
    const char* name;
    const char* dependsOn;
    Codec load;
    Codec save;  // null where the format is not written
};
std::span<const Loader> loaders();

/// Loads a file into an image that held another picture, and adds all that can be seen of it.
void loadInto(Hash& hash, const Loader& loader, const std::string& path, int cancelAt);

}  // namespace digest

#endif

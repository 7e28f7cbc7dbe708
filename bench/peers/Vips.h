// What the files of the libvips bench share.
#ifndef BENCH_PEERS_VIPS_H
#define BENCH_PEERS_VIPS_H

#include <functional>
#include <string>
#include <vips/vips8>

#include "bench/harness/Harness.h"

namespace pb {

// The pixels of a picture, not a copy.
vips::VImage vipsOf(const Image& picture);

// Makes the pixels, which libvips leaves until somebody asks for them.
vips::VImage computed(const vips::VImage& image);

using VipsOperation = std::function<vips::VImage(const vips::VImage& source)>;
void addVips(const std::string& op, int depth, const std::string& note, const VipsOperation& operate,
             int width = W, int height = H, int slow = 0);

void addVipsFiles();
void addVipsFilters();
void addVipsGeometry();
void addVipsPixels();

}  // namespace pb

#endif

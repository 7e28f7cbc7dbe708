// Builds without zlib do not unpack its streams.
#include "formats/Inflater.h"

#include <cstdlib>

namespace formats {

struct Inflater::Stream {};

Inflater::~Inflater() { std::free(stream_); }
bool Inflater::isAvailable() { return false; }
bool Inflater::start() { return false; }
void Inflater::feed(const unsigned char*, std::size_t) {}
std::size_t Inflater::unpack(unsigned char*, std::size_t) { return 0; }
std::size_t Inflater::left() const { return 0; }

}  // namespace formats

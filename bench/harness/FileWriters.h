// Writers of the files that the benches load. They share no code with the library, whose loaders are
// measured on them.
#ifndef BENCH_HARNESS_FILE_WRITERS_H
#define BENCH_HARNESS_FILE_WRITERS_H

#include <cstdint>
#include <string>
#include <vector>

#include "bench/harness/Pictures.h"

namespace pb {

using Bytes = std::vector<std::uint8_t>;

// Numbers at the end of a file, the lowest byte first or last.
void putLittle(Bytes& bytes, int number, int count);
void putBig(Bytes& bytes, int number, int count);
void putText(Bytes& bytes, const std::string& text);

// Writes a file of the folder; throws std::runtime_error where that fails.
void writeFile(const std::string& name, const Bytes& bytes);

void writeBmp(const std::string& name, const Image& picture, const Bytes& palette = {});
void writeBmpRuns(const std::string& name, const Image& picture, const Bytes& palette);
void writeTga(const std::string& name, const Image& picture, bool packets);
void writePnm(const std::string& name, const Image& picture);
void writeTim16(const std::string& name, const Image& picture);

void writePsd(const std::string& name, const Image& picture);
void writeIlbm(const std::string& name, const Image& picture, int planes, const Bytes& palette = {});
void writeRadiance(const std::string& name, const Image& picture);

void writePng(const std::string& name, const Image& picture);
void writeJpeg(const std::string& name, const Image& picture);
void writeTiff(const std::string& name, const Image& picture, int compression);

}  // namespace pb

#endif

// The files that the benches load, and the folder that they lie in. The program bench_files writes them.
#ifndef BENCH_HARNESS_FILES_H
#define BENCH_HARNESS_FILES_H

#include <cstdint>
#include <string>
#include <vector>

namespace pb {

// A path in the folder that the environment names in PEER_TMP, by default one in memory. The folder is made.
std::string file(const std::string& name);

// The bytes of a file; throws std::runtime_error where it cannot be read.
std::vector<std::uint8_t> slurp(const std::string& path);

struct InputFile {
    const char* op;  // the operation that loads it
    const char* name;
    int w, h, depth;
};
const std::vector<InputFile>& loadFiles();

// The path of the file of an operation; throws std::runtime_error where there is none of that width.
std::string loadFile(const char* op, int width);
std::string loadFile(const char* op);

}  // namespace pb

#endif

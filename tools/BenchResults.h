/// What benchmarks measured, read from the JSON of Google Benchmark.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <tuple>
#include <vector>

namespace tool {

/// One job: the operation, the picture that it is done to.
struct BenchCase {
    std::string operation;  ///< Letters, digits and "_.+-", as is the name of a peer.
    int width = 0;
    int height = 0;
    int depth = 0;

    bool operator<(const BenchCase& other) const {
        return std::tie(operation, width, height, depth) <
               std::tie(other.operation, other.width, other.height, other.depth);
    }

    double pixels() const { return static_cast<double>(width) * height; }
    double bytes() const { return pixels() * depth / 8; }
    std::string sizeText() const { return std::to_string(width) + "x" + std::to_string(height); }
};

struct BenchTime {
    double nanoseconds = 0;  ///< Processor time of one call: the median of all repetitions in all files.
    double peakBytes =
        -1;  ///< The most memory that one call held besides what was there before; -1: not known.
};

struct BenchResults {
    /// By peer: "ours", another program, or a bound such as "limit" (memcpy) and "limit.fread".
    std::map<BenchCase, std::map<std::string, BenchTime>> cases;
    std::string machine;       ///< Processors, clock and day of the first file that tells them; may be empty.
    std::size_t unknown = 0;   ///< Entries whose name is not operation/WIDTHxHEIGHT/depth/peer.
    std::size_t failures = 0;  ///< Entries that ended with an error.
};

/// Reads and joins files. @throws Failure (bad input) when one is not what benchmarks write.
BenchResults readBenchResults(const std::vector<std::string>& files);

}  // namespace tool

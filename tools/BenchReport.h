/// `dib bench-report`: a page of plots of what benchmarks measured.
#pragma once

#include <string>
#include <vector>

namespace tool {

struct BenchReportJob {
    std::vector<std::string> inputs;  ///< JSON of Google Benchmark, of our benches and of other programs'.
    std::string output;               ///< A page; with the extension "svg" the first plot alone.
};

/// @throws Failure.
void makeBenchReport(const BenchReportJob& job);

}  // namespace tool

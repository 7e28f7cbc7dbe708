/// The plots and the table of `dib bench-report`.
#pragma once

#include <string>
#include <vector>

#include "tools/BenchResults.h"
#include "tools/Svg.h"

namespace tool {

/// Throughput of our operations on one kind of picture, beside that of peers and of the bounds.
struct ThroughputPlot {
    std::string heading;  ///< "1920x1080, 24 bits"
    MarkPlot plot;
    std::vector<BenchCase> cases;  ///< Row by row.
};

/// For every size and depth with at least three operations, pixels and files apart, the richest first. Where nothing
/// was measured to compare with there is no plot, unless there would be none at all.
std::vector<ThroughputPlot> throughputPlots(const BenchResults& results);
/// Time per pixel against the number of pixels, a line for each operation that was measured at three sizes.
/// No lines when there are none.
LinePlot sizePlot(const BenchResults& results);
/// Time against radius, a plot for each family of operations ("box_blur_r2", "box_blur_r10") and peers.
std::vector<LinePlot> radiusPlots(const BenchResults& results);
/// The most memory that a call held, in pictures. No bars when it was not recorded.
BarPlot memoryPlot(const BenchResults& results);

/// The peer of our own measurements.
inline constexpr const char* kOwnPeer = "ours";
/// Whether a peer is a bound, not a program.
bool isBound(const std::string& peer);
/// The fastest of the other programs, or null.
const std::pair<const std::string, BenchTime>* bestPeer(const std::map<std::string, BenchTime>& peers);
/// What bounds a case: a bound of its own, else memcpy of as many bytes; 0 nanoseconds when none was measured.
struct Bound {
    std::string name;
    double nanoseconds = 0;
};
Bound boundOf(const BenchResults& results, const BenchCase& benchCase);

}  // namespace tool

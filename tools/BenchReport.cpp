#include "tools/BenchReport.h"

#include "tools/BenchPlots.h"
#include "tools/Failure.h"
#include "tools/Files.h"
#include "tools/Formats.h"
#include "tools/Html.h"
#include "tools/WebAssets.h"

namespace tool {

namespace {

std::string figure(const std::string& svg, const std::string& kind = "wide") {
    return "<figure class=\"" + kind + "\" tabindex=\"0\">" + svg + "</figure>\n";
}

std::string masthead(const BenchResults& results) {
    std::size_t own = 0;
    for (const auto& [benchCase, peers] : results.cases) own += peers.count(kOwnPeer);
    std::string html = "<header class=\"masthead\">\n<p class=\"kicker\">DibStream " DIB_TOOL_VERSION
                       "</p>\n<h1>Speed</h1>\n<p class=\"lead\">" +
                       std::to_string(own) + " measurements of ours among " +
                       std::to_string(results.cases.size()) + " cases" +
                       (results.machine.empty() ? "" : ", on " + htmlText(results.machine)) +
                       ".</p>\n<p class=\"hint\">Times are medians of processor time, on one thread. Compare "
                       "them within this page only: machines differ, and so do their days.";
    if (results.failures > 0)
        html += " " + std::to_string(results.failures) + " measurements ended with an error.";
    if (results.unknown > 0) {
        html += " " + std::to_string(results.unknown) +
                " entries are left out: their names are not operation/WIDTHxHEIGHT/depth/peer.";
    }
    return html + "</p>\n</header>\n<main>\n";
}

std::string cell(const std::string& text) { return "<td>" + htmlText(text) + "</td>"; }

// The figures of a plot, for those who do not see it or want to copy them.
std::string figuresTable(const BenchResults& results, const ThroughputPlot& plot) {
    std::string html = "<details><summary>The figures of " + htmlText(plot.heading) +
                       "</summary>\n<div class=\"wide\" "
                       "tabindex=\"0\"><table>\n<thead><tr><th>operation</th>"
                       "<th>ours, ms</th><th>MB/s</th><th>bound</th><th>bound, ms</th><th>best other</th>"
                       "<th>ms</th><th>times as fast</th></tr></thead>\n<tbody>\n";
    for (const BenchCase& benchCase : plot.cases) {
        const auto& peers = results.cases.at(benchCase);
        const double own = peers.at(kOwnPeer).nanoseconds;
        const Bound bound = boundOf(results, benchCase);
        html += "<tr><th scope=\"row\">" + htmlText(benchCase.operation) + "</th>" +
                cell(threeDigits(own / 1e6)) + cell(threeDigits(benchCase.bytes() / own * 1e3)) +
                cell(bound.name) + cell(bound.nanoseconds > 0 ? threeDigits(bound.nanoseconds / 1e6) : "");
        const auto* best = bestPeer(peers);
        if (best != nullptr) {
            html += cell(best->first) + cell(threeDigits(best->second.nanoseconds / 1e6)) +
                    cell(threeDigits(best->second.nanoseconds / own));
        } else {
            html += cell("") + cell("") + cell("");
        }
        html += "</tr>\n";
    }
    return html + "</tbody></table></div>\n</details>\n";
}

std::string throughputSection(const BenchResults& results, const std::vector<ThroughputPlot>& plots) {
    if (plots.empty()) return {};
    std::string html =
        "<section>\n<h2>Throughput</h2>\n<p>Each row is an operation. The full coloured dot is ours, the "
        "grey dot the fastest other program, the rings are the rest, and the bar is mere copying: "
        "<code>memcpy</code> of as many bytes, or the plain reading or writing of the file. Operations that "
        "write fewer bytes than they are given can pass it. The axis is logarithmic; further right is "
        "faster. At the end of a row stands how many times as fast ours is as "
        "the best other, which may do related work rather than the very same.</p>\n";
    for (const ThroughputPlot& plot : plots) {
        html += figure(svgOf(plot.plot)) + figuresTable(results, plot);
    }
    return html + "</section>\n";
}

std::string growthSection(const BenchResults& results) {
    const LinePlot sizes = sizePlot(results);
    const std::vector<LinePlot> radii = radiusPlots(results);
    if (sizes.lines.empty() && radii.empty()) return {};
    std::string html = "<section>\n<h2>Growth</h2>\n";
    if (!sizes.lines.empty()) {
        html += "<p>A level line means that the time grows with the number of pixels and no faster.</p>\n" +
                figure(svgOf(sizes));
    }
    if (!radii.empty()) {
        html += "<p>A level line means that the radius costs nothing.</p>\n<div class=\"pair\">\n";
        for (const LinePlot& plot : radii) html += figure(svgOf(plot), "half");
        html += "</div>\n";
    }
    return html + "</section>\n";
}

std::string memorySection(const BenchResults& results) {
    const BarPlot plot = memoryPlot(results);
    if (plot.bars.empty()) return {};
    return "<section>\n<h2>Memory</h2>\n<p>What the process grew by during a call, new results "
           "included.</p>\n" +
           figure(svgOf(plot)) + "</section>\n";
}

}  // namespace

void makeBenchReport(const BenchReportJob& job) {
    const BenchResults results = readBenchResults(job.inputs);
    const std::vector<ThroughputPlot> plots = throughputPlots(results);
    if (plots.empty()) {
        throw Failure(kExitBadInput, "bench-report: no three operations of '" + std::string(kOwnPeer) +
                                         "' were measured on the same picture");
    }
    if (extensionOf(job.output) == "svg") {
        writeText(job.output, svgOf(plots.front().plot));
        return;
    }
    const std::string style = std::string(kBaseStyle) + std::string(kReportStyle);
    writeText(job.output, htmlDocument({"DibStream speed",
                                        style,
                                        {},
                                        masthead(results) + throughputSection(results, plots) +
                                            growthSection(results) + memorySection(results) + "</main>\n"}));
}

}  // namespace tool

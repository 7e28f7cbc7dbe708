#include "tools/BenchPlots.h"

#include <algorithm>
#include <charconv>

namespace tool {

namespace {

using Peers = std::map<std::string, BenchTime>;

bool isFileOperation(const BenchCase& benchCase) {
    return benchCase.operation.starts_with("load_") || benchCase.operation.starts_with("save_");
}

// Variants of ours, like "ours.cb", are no other programs.
bool isProgram(const std::string& peer) {
    return !isBound(peer) && peer != kOwnPeer && !peer.starts_with(std::string(kOwnPeer) + ".");
}

double megabytesPerSecond(const BenchCase& benchCase, double nanoseconds) {
    return benchCase.bytes() / nanoseconds * 1e3;
}

MarkRow::Mark markOf(const BenchCase& benchCase, const std::string& name, double nanoseconds) {
    const double speed = megabytesPerSecond(benchCase, nanoseconds);
    return {speed, name + ": " + threeDigits(speed) + " MB/s, " + threeDigits(nanoseconds / 1e6) + " ms"};
}

MarkRow rowOf(const BenchResults& results, const BenchCase& benchCase, const Peers& peers) {
    MarkRow row;
    row.label = benchCase.operation;
    const BenchTime& own = peers.at(kOwnPeer);
    row.own.push_back(markOf(benchCase, benchCase.operation, own.nanoseconds));
    const auto* best = bestPeer(peers);
    for (const auto& [peer, time] : peers) {
        if (isProgram(peer) && peer != best->first)
            row.others.push_back(markOf(benchCase, peer, time.nanoseconds));
    }
    if (best != nullptr) {
        row.best.push_back(markOf(benchCase, best->first, best->second.nanoseconds));
        const double ratio = best->second.nanoseconds / own.nanoseconds;
        row.remark = threeDigits(ratio) + " x " + best->first;
        row.isWarning = ratio < 1;
    }
    const Bound bound = boundOf(results, benchCase);
    if (bound.nanoseconds > 0) row.bounds.push_back(markOf(benchCase, bound.name, bound.nanoseconds));
    return row;
}

ThroughputPlot plotOf(const BenchResults& results, std::vector<BenchCase> cases, const std::string& heading) {
    const auto speed = [&results](const BenchCase& benchCase) {
        return benchCase.bytes() / results.cases.at(benchCase).at(kOwnPeer).nanoseconds;
    };
    std::ranges::stable_sort(cases, std::greater{}, speed);
    ThroughputPlot result{heading, {"Throughput, " + heading, "MB/s", {}}, std::move(cases)};
    for (const BenchCase& benchCase : result.cases) {
        result.plot.rows.push_back(rowOf(results, benchCase, results.cases.at(benchCase)));
    }
    return result;
}

struct Family {
    std::string name;
    int radius = 0;
};

// "box_blur_r10" and "gauss_R15" belong to a family; the radius of others is 0.
Family familyOf(const std::string& operation) {
    const std::size_t place = operation.find_last_of("rR");
    if (place == std::string::npos || place < 2 || operation[place - 1] != '_') return {};
    Family family{operation.substr(0, place - 1), 0};
    const char* end = operation.data() + operation.size();
    const auto [stop, error] = std::from_chars(operation.data() + place + 1, end, family.radius);
    if (error != std::errc() || stop != end || family.radius < 1) return {};
    return family;
}

std::string pictureText(const BenchCase& benchCase) {
    return benchCase.sizeText() + ", " + std::to_string(benchCase.depth) + " bits";
}

}  // namespace

bool isBound(const std::string& peer) { return peer.starts_with("limit"); }

const std::pair<const std::string, BenchTime>* bestPeer(const Peers& peers) {
    const std::pair<const std::string, BenchTime>* best = nullptr;
    for (const auto& entry : peers) {
        if (isProgram(entry.first) &&
            (best == nullptr || entry.second.nanoseconds < best->second.nanoseconds)) {
            best = &entry;
        }
    }
    return best;
}

Bound boundOf(const BenchResults& results, const BenchCase& benchCase) {
    const Peers& peers = results.cases.at(benchCase);
    for (const auto& [peer, time] : peers) {
        if (isBound(peer)) return {peer.substr(peer.find('.') + 1), time.nanoseconds};
    }
    BenchCase copying = benchCase;
    copying.operation = "memcpy";
    const auto found = results.cases.find(copying);
    // A file is not bounded by memory.
    if (found == results.cases.end() || isFileOperation(benchCase)) return {};
    const auto time = found->second.find("limit");
    if (time == found->second.end()) return {};
    return {"memcpy", time->second.nanoseconds};
}

std::vector<ThroughputPlot> throughputPlots(const BenchResults& results) {
    constexpr std::size_t kLeastRows = 3;
    // By whether files are read or written, and by the picture.
    std::map<std::tuple<bool, int, int, int>, std::vector<BenchCase>> groups;
    for (const auto& [benchCase, peers] : results.cases) {
        if (!peers.contains(kOwnPeer) || benchCase.operation.starts_with("call_")) continue;
        groups[{isFileOperation(benchCase), benchCase.width, benchCase.height, benchCase.depth}].push_back(
            benchCase);
    }
    std::vector<ThroughputPlot> plots;
    for (auto& [key, cases] : groups) {
        if (cases.size() < kLeastRows) continue;
        const std::string what = std::get<0>(key) ? "files of " : "pictures of ";
        plots.push_back(plotOf(results, cases, what + pictureText(cases.front())));
    }
    const auto isAlone = [](const ThroughputPlot& plot) {
        return std::ranges::all_of(plot.plot.rows,
                                   [](const MarkRow& row) { return row.best.empty() && row.bounds.empty(); });
    };
    if (!std::ranges::all_of(plots, isAlone)) std::erase_if(plots, isAlone);
    std::ranges::stable_sort(plots, std::greater{},
                             [](const ThroughputPlot& plot) { return plot.cases.size(); });
    return plots;
}

LinePlot sizePlot(const BenchResults& results) {
    constexpr std::size_t kLeastSizes = 3;
    std::map<std::pair<std::string, int>, std::vector<LinePlot::Point>> lines;
    for (const auto& [benchCase, peers] : results.cases) {
        const auto own = peers.find(kOwnPeer);
        if (own == peers.end()) continue;
        lines[{benchCase.operation, benchCase.depth}].push_back(
            {benchCase.pixels() / 1e6, own->second.nanoseconds / benchCase.pixels()});
    }
    LinePlot plot{
        "Time per pixel against the size of the picture", "million pixels", "ns per pixel", 960, {}};
    for (auto& [key, points] : lines) {
        if (points.size() < kLeastSizes) continue;
        std::ranges::sort(points, {}, &LinePlot::Point::x);
        plot.lines.push_back({key.first + ", " + std::to_string(key.second), true, points});
    }
    return plot;
}

std::vector<LinePlot> radiusPlots(const BenchResults& results) {
    // By family and picture, which is a case without an operation.
    std::map<std::pair<std::string, BenchCase>, std::map<std::string, std::vector<LinePlot::Point>>> families;
    for (const auto& [benchCase, peers] : results.cases) {
        const Family family = familyOf(benchCase.operation);
        if (family.radius == 0) continue;
        BenchCase picture = benchCase;
        picture.operation.clear();
        for (const auto& [peer, time] : peers) {
            if (isProgram(peer) || peer == kOwnPeer) {
                families[{family.name, picture}][peer].push_back(
                    {static_cast<double>(family.radius), time.nanoseconds / 1e6});
            }
        }
    }
    std::vector<LinePlot> plots;
    for (auto& [key, peers] : families) {
        const auto own = peers.find(kOwnPeer);
        if (own == peers.end() || own->second.size() < 2) continue;
        LinePlot plot{key.first + ", " + pictureText(key.second), "radius", "ms", 470, {}};
        for (auto& [peer, points] : peers) {
            if (points.size() < 2) continue;
            std::ranges::sort(points, {}, &LinePlot::Point::x);
            plot.lines.push_back({peer, peer == kOwnPeer, points});
        }
        // Ours is drawn last, over the others.
        std::stable_partition(plot.lines.begin(), plot.lines.end(),
                              [](const LinePlot::Line& line) { return !line.isOwn; });
        plots.push_back(std::move(plot));
    }
    return plots;
}

BarPlot memoryPlot(const BenchResults& results) {
    // One bar for an operation: of the largest picture that it was measured with.
    std::map<std::string, const BenchCase*> largest;
    for (const auto& [benchCase, peers] : results.cases) {
        const auto own = peers.find(kOwnPeer);
        if (own == peers.end() || own->second.peakBytes < 0) continue;
        const BenchCase*& kept = largest[benchCase.operation];
        if (kept == nullptr || kept->bytes() < benchCase.bytes()) kept = &benchCase;
    }
    BarPlot plot{"Memory that a call holds at its peak, beside the picture", "in pictures of that size", {}};
    for (const auto& [operation, benchCase] : largest) {
        const double peak = results.cases.at(*benchCase).at(kOwnPeer).peakBytes;
        const double pictures = peak / benchCase->bytes();
        plot.bars.push_back({operation, pictures,
                             threeDigits(pictures) + " (" + threeDigits(peak / 1e6) + " MB, " +
                                 benchCase->sizeText() + "x" + std::to_string(benchCase->depth) + ")"});
    }
    std::ranges::stable_sort(plot.bars, std::greater{}, &BarPlot::Bar::value);
    return plot;
}

}  // namespace tool

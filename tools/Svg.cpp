#include "tools/Svg.h"

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <functional>

#include "tools/Html.h"

namespace tool {

namespace {

constexpr double kWidth = 960;

constexpr const char* kStyle = R"(<style>
.plot { --ink: #22252b; --faint: #626773; --line: #dedad2; --own: #c2560f; --other: #8b93a3; --warning: #b3261e; }
@media (prefers-color-scheme: dark) {
.plot { --ink: #e6e3dc; --faint: #a0a5b0; --line: #343942; --own: #f2a25c; --other: #8b93a3; --warning: #ff8a80; }
}
.plot text { font: 12px system-ui, "Noto Sans", "DejaVu Sans", sans-serif; fill: var(--ink); }
.plot .name { font-family: ui-monospace, Menlo, Consolas, "DejaVu Sans Mono", monospace; }
.plot .axis { fill: var(--faint); }
.plot .title { font-size: 15px; font-weight: 600; }
.plot .grid { stroke: var(--line); }
.plot .bound { stroke: var(--ink); stroke-width: 2.5; }
.plot .other { fill: none; stroke: var(--other); }
.plot .best { fill: var(--other); }
.plot .own { fill: var(--own); }
.plot .span { stroke: var(--own); stroke-opacity: 0.45; stroke-width: 2; }
.plot .warning { fill: var(--warning); font-weight: 600; }
.plot .line { fill: none; stroke: var(--other); stroke-width: 1.5; }
.plot .line.own { fill: none; stroke: var(--own); stroke-width: 2.5; }
</style>
)";

// Attributes with numbers.
[[gnu::format(printf, 1, 2)]] std::string text(const char* pattern, ...) {
    char buffer[512];
    va_list values;
    va_start(values, pattern);
    std::vsnprintf(buffer, sizeof buffer, pattern, values);
    va_end(values);
    return buffer;
}

std::string label(double x, double y, const char* anchor, const char* kind, const std::string& words) {
    return text("<text x=\"%.1f\" y=\"%.1f\" text-anchor=\"%s\" class=\"%s\">", x, y, anchor, kind) +
           htmlText(words) + "</text>\n";
}

std::string line(double x1, double y1, double x2, double y2, const char* kind) {
    return text("<line x1=\"%.1f\" y1=\"%.1f\" x2=\"%.1f\" y2=\"%.1f\" class=\"%s\"/>\n", x1, y1, x2, y2,
                kind);
}

std::string explained(const std::string& shape, const std::string& words) {
    return "<g><title>" + htmlText(words) + "</title>" + shape + "</g>\n";
}

std::string circle(double x, double y, double radius, const char* kind) {
    return text("<circle cx=\"%.1f\" cy=\"%.1f\" r=\"%.1f\" class=\"%s\"/>", x, y, radius, kind);
}

std::string document(const std::string& title, double width, double height, const std::string& content) {
    return text(
               "<svg xmlns=\"http://www.w3.org/2000/svg\" class=\"plot\" role=\"img\" viewBox=\"0 0 %.0f "
               "%.0f\">\n",
               width, height) +
           "<title>" + htmlText(title) + "</title>\n" + kStyle + content + "</svg>\n";
}

// What the marks of a MarkPlot are, on the line of its title.
std::string legend() {
    constexpr double kY = 12;
    return circle(530, kY, 5.5, "own") + label(542, kY + 4, "start", "axis", "ours") +
           circle(596, kY, 4.5, "best") + label(607, kY + 4, "start", "axis", "fastest other program") +
           circle(760, kY, 3, "other") + label(769, kY + 4, "start", "axis", "the others") +
           line(848, kY - 8, 848, kY + 8, "bound") + label(858, kY + 4, "start", "axis", "mere copying");
}

// A logarithmic axis that holds some values, with a mark at 1, 2 and 5 of every power of ten, or at the powers alone
// when these are many.
class LogAxis {
public:
    LogAxis(std::vector<double> values, double start, double end) : start_(start), end_(end) {
        const auto [least, most] = std::ranges::minmax(values);
        low_ = std::log10(least) - 0.08;
        high_ = std::log10(most) + 0.08;
    }

    double place(double value) const {
        return start_ + (std::log10(value) - low_) / (high_ - low_) * (end_ - start_);
    }

    std::vector<double> marks() const {
        std::vector<double> found;
        const bool isWide = high_ - low_ > 2.6;
        for (int power = static_cast<int>(std::floor(low_)); power <= high_; ++power) {
            for (const double digit : {1.0, 2.0, 5.0}) {
                if (isWide && digit != 1) continue;
                const double mark = digit * std::pow(10.0, power);
                if (std::log10(mark) >= low_ && std::log10(mark) <= high_) found.push_back(mark);
            }
        }
        return found;
    }

private:
    double start_;
    double end_;
    double low_ = 0;
    double high_ = 1;
};

// Moves labels apart, from the top down, so that each has its line of text.
void spread(std::vector<double>& places, double least) {
    std::vector<std::size_t> order(places.size());
    for (std::size_t i = 0; i < order.size(); ++i) order[i] = i;
    std::ranges::sort(order, {}, [&places](std::size_t i) { return places[i]; });
    for (std::size_t i = 1; i < order.size(); ++i) {
        places[order[i]] = std::max(places[order[i]], places[order[i - 1]] + least);
    }
}

}  // namespace

std::string threeDigits(double number) {
    if (number == 0) return "0";
    const int digits = std::clamp(2 - static_cast<int>(std::floor(std::log10(std::fabs(number)))), 0, 12);
    return text("%.*f", digits, number);
}

std::string svgOf(const MarkPlot& plot) {
    constexpr double kLabelEnd = 190;
    constexpr double kAxisEnd = 740;
    constexpr double kTop = 56;
    constexpr double kRow = 21;
    std::vector<double> values;
    for (const MarkRow& row : plot.rows) {
        for (const auto* marks : {&row.others, &row.bounds, &row.best, &row.own}) {
            for (const MarkRow::Mark& mark : *marks) values.push_back(mark.value);
        }
    }
    if (values.empty()) return {};
    const LogAxis axis(values, kLabelEnd + 14, kAxisEnd);
    const double bottom = kTop + kRow * static_cast<double>(plot.rows.size());
    std::string content = label(0, 16, "start", "title", plot.title) + legend();
    for (const double mark : axis.marks()) {
        const double x = axis.place(mark);
        content +=
            line(x, kTop - 6, x, bottom, "grid") + label(x, kTop - 12, "middle", "axis", text("%g", mark));
    }
    content += label(kWidth, kTop - 12, "end", "axis", plot.unit);
    double y = kTop + kRow / 2;
    for (const MarkRow& row : plot.rows) {
        content += label(kLabelEnd, y + 4, "end", "name", row.label);
        if (!row.own.empty() && !row.best.empty()) {
            content += line(axis.place(row.best[0].value), y, axis.place(row.own[0].value), y, "span");
        }
        for (const MarkRow::Mark& mark : row.bounds) {
            const double x = axis.place(mark.value);
            content += explained(line(x, y - 8, x, y + 8, "bound"), mark.text);
        }
        for (const MarkRow::Mark& mark : row.others)
            content += explained(circle(axis.place(mark.value), y, 3, "other"), mark.text);
        for (const MarkRow::Mark& mark : row.best)
            content += explained(circle(axis.place(mark.value), y, 4.5, "best"), mark.text);
        for (const MarkRow::Mark& mark : row.own)
            content += explained(circle(axis.place(mark.value), y, 5.5, "own"), mark.text);
        content += label(kAxisEnd + 16, y + 4, "start", row.isWarning ? "warning" : "axis", row.remark);
        y += kRow;
    }
    return document(plot.title, kWidth, bottom + 8, content);
}

std::string svgOf(const LinePlot& plot) {
    constexpr double kLeft = 62;
    constexpr double kTop = 40;
    constexpr double kBottom = 320;
    constexpr double kLabelWidth = 130;
    const double right = plot.width - kLabelWidth;
    std::vector<double> xs;
    std::vector<double> ys;
    for (const LinePlot::Line& series : plot.lines) {
        for (const LinePlot::Point& point : series.points) {
            xs.push_back(point.x);
            ys.push_back(point.y);
        }
    }
    if (xs.empty()) return {};
    const LogAxis across(xs, kLeft, right);
    const LogAxis up(ys, kBottom, kTop);
    std::string content = label(0, 16, "start", "title", plot.title);
    for (const double mark : across.marks()) {
        const double x = across.place(mark);
        content +=
            line(x, kTop, x, kBottom, "grid") + label(x, kBottom + 18, "middle", "axis", text("%g", mark));
    }
    for (const double mark : up.marks()) {
        const double y = up.place(mark);
        content +=
            line(kLeft, y, right, y, "grid") + label(kLeft - 8, y + 4, "end", "axis", text("%g", mark));
    }
    content += label(right, kBottom + 36, "end", "axis", plot.xTitle) +
               label(0, kTop - 6, "start", "axis", plot.yTitle);
    std::vector<double> labelPlaces;
    for (const LinePlot::Line& series : plot.lines) {
        std::string path;
        std::string dots;
        for (const LinePlot::Point& point : series.points) {
            const double x = across.place(point.x);
            const double y = up.place(point.y);
            path += text("%s%.1f %.1f", path.empty() ? "M" : " L", x, y);
            dots += explained(circle(x, y, series.isOwn ? 3.5 : 2.5, series.isOwn ? "own" : "best"),
                              series.label + ", " + threeDigits(point.x) + ": " + threeDigits(point.y));
        }
        content += "<path d=\"" + path + "\" class=\"line" + (series.isOwn ? " own" : "") + "\"/>\n" + dots;
        labelPlaces.push_back(up.place(series.points.back().y) + 4);
    }
    spread(labelPlaces, 13);
    double bottom = kBottom + 44;
    for (std::size_t i = 0; i < plot.lines.size(); ++i) {
        content += label(right + 10, labelPlaces[i], "start", plot.lines[i].isOwn ? "name" : "axis",
                         plot.lines[i].label);
        bottom = std::max(bottom, labelPlaces[i] + 8);
    }
    return document(plot.title, plot.width, bottom, content);
}

std::string svgOf(const BarPlot& plot) {
    constexpr double kLabelEnd = 190;
    constexpr double kTop = 36;
    constexpr double kRow = 19;
    constexpr double kTextWidth = 210;
    if (plot.bars.empty()) return {};
    double most = 1e-9;
    for (const BarPlot::Bar& bar : plot.bars) most = std::max(most, bar.value);
    const double scale = (kWidth - kLabelEnd - 14 - kTextWidth) / most;
    std::string content =
        label(0, 16, "start", "title", plot.title) + label(kWidth, 16, "end", "axis", plot.unit);
    double y = kTop;
    for (const BarPlot::Bar& bar : plot.bars) {
        const double width = bar.value * scale;
        content += label(kLabelEnd, y + 12, "end", "name", bar.label) +
                   text("<rect x=\"%.1f\" y=\"%.1f\" width=\"%.1f\" height=\"12\" rx=\"2\" class=\"own\"/>\n",
                        kLabelEnd + 14, y + 2, width) +
                   label(kLabelEnd + 14 + width + 8, y + 12, "start", "axis", bar.text);
        y += kRow;
    }
    return document(plot.title, kWidth, y + 6, content);
}

}  // namespace tool

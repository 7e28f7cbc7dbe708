/// Plots as SVG, to stand in a page or alone; their colours follow the reader's choice of light or dark.
#pragma once

#include <string>
#include <vector>

namespace tool {

/// A number with three digits that count: "0.0123", "1.23", "123", "12300".
std::string threeDigits(double number);

/// A row of a plot of marks along a logarithmic axis.
struct MarkRow {
    struct Mark {
        double value;
        std::string text;  ///< Shown when the mark is pointed at.
    };
    std::string label;
    std::string remark;        ///< At the end of the row.
    bool isWarning = false;    ///< Whether the remark is bad news.
    std::vector<Mark> others;  ///< Small rings.
    std::vector<Mark> bounds;  ///< Short bars: the yardstick.
    std::vector<Mark> best;    ///< Full grey dots.
    std::vector<Mark> own;     ///< Full coloured dots.
};
struct MarkPlot {
    std::string title;
    std::string unit;  ///< Of the axis, as "MB/s".
    std::vector<MarkRow> rows;
};
std::string svgOf(const MarkPlot& plot);

/// A plot of lines on two logarithmic axes.
struct LinePlot {
    struct Point {
        double x;
        double y;
    };
    struct Line {
        std::string label;
        bool isOwn;  ///< Coloured, else grey.
        std::vector<Point> points;
    };
    std::string title;
    std::string xTitle;
    std::string yTitle;
    int width = 960;
    std::vector<Line> lines;
};
std::string svgOf(const LinePlot& plot);

/// Horizontal bars from 0.
struct BarPlot {
    struct Bar {
        std::string label;
        double value;
        std::string text;  ///< At the end of the bar.
    };
    std::string title;
    std::string unit;
    std::vector<Bar> bars;
};
std::string svgOf(const BarPlot& plot);

}  // namespace tool
